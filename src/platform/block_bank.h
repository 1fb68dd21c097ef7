/// Memory for objects that one thread makes and another one drops: a few blocks of one size that
/// are used again and again, the heap for all beyond. A heap keeps what a thread gives back for
/// that thread, so that a maker who never drops anything takes its longest way each time. Any
/// thread may take and give, also after a fork. The blocks stand in place: a bank that is a static
/// object needs no construction and is never destroyed, and a host which unloads the library loses
/// no memory. Blocks must not be in use any more when a bank goes.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>

namespace corebeacon {

template <std::size_t kBytes, std::size_t kBlocks>
class BlockBank {
public:
    constexpr BlockBank() = default;
    BlockBank(const BlockBank&) = delete;
    BlockBank& operator=(const BlockBank&) = delete;

    /// The lowest free block, which was used last as a rule and is still in the cache.
    void* Take() {
        std::uint64_t free = mFree.load(std::memory_order_relaxed);
        while (free != 0) {
            const auto lowest = static_cast<std::size_t>(std::countr_zero(free));
            if (mFree.compare_exchange_weak(free, free & (free - 1), std::memory_order_acquire,
                                            std::memory_order_relaxed)) {
                return mBlocks[lowest].memory;
            }
        }
        return ::operator new(kBytes);
    }

    void Give(void* memory) noexcept {
        const auto* const block = static_cast<const Block*>(memory);
        if (!IsOwn(block)) {
            ::operator delete(memory);
            return;
        }
        const auto at = static_cast<std::size_t>(block - mBlocks.data());
        mFree.fetch_or(std::uint64_t{1} << at, std::memory_order_release);
    }

private:
    struct alignas(std::max_align_t) Block {
        std::byte memory[kBytes];
    };
    static constexpr std::size_t kMostBlocks = 64;  // a bit of one word for each
    static_assert(kBlocks > 0 && kBlocks <= kMostBlocks);

    bool IsOwn(const Block* block) const {
        constexpr std::less<const Block*> isBefore;  // < is not defined between unrelated objects
        return !isBefore(block, mBlocks.data()) && isBefore(block, mBlocks.data() + mBlocks.size());
    }

    std::atomic<std::uint64_t> mFree{~std::uint64_t{0} >> (kMostBlocks - kBlocks)};
    std::array<Block, kBlocks> mBlocks{};
};

}  // namespace corebeacon
