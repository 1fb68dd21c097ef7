/// Bytes, read from front to back as whatever is wanted. Beyond their end all is zero, so that any
/// prefix of an input is one itself. Owned by one run of a target.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "fuzz/fuzz_targets.h"

namespace corebeacon::fuzz {

class ByteSource {
public:
    explicit ByteSource(Bytes bytes) : mBytes(bytes) {}

    bool IsEmpty() const { return mBytes.empty(); }

    std::uint8_t Byte() {
        if (mBytes.empty()) {
            return 0;
        }
        const std::uint8_t byte = mBytes.front();
        mBytes = mBytes.subspan(1);
        return byte;
    }

    std::uint32_t Word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i) {
            word = word << 8U | Byte();
        }
        return word;
    }

    /// A number below `end`, which is at most 256.
    unsigned int Below(std::size_t end) { return static_cast<unsigned int>(Byte() % end); }

    bool Flag() { return Below(2) != 0; }

    template <typename Elements>
    const auto& AnyOf(const Elements& elements) {
        return std::begin(elements)[Below(std::size(elements))];
    }

    /// Up to `max` bytes.
    std::string Text(std::size_t max) {
        // In a line of its own, since it takes a byte: what is left counts only afterwards.
        const std::size_t wanted = Below(max + 1);
        const std::size_t size = std::min(wanted, mBytes.size());
        const std::string text(mBytes.begin(), mBytes.begin() + static_cast<std::ptrdiff_t>(size));
        mBytes = mBytes.subspan(size);
        return text;
    }

    std::string Rest() {
        const std::string text(mBytes.begin(), mBytes.end());
        mBytes = {};
        return text;
    }

private:
    Bytes mBytes;
};

}  // namespace corebeacon::fuzz
