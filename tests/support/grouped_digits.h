/// A locale that writes numbers as many countries do, "1.211.000", whether or not this machine has
/// one installed. Owned by a test.
#pragma once

#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

namespace corebeacon::test {

inline std::locale GroupedDigits() {
    struct Facet : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    return std::locale(std::locale::classic(), new Facet);  // which owns the facet
}

/// Makes it the locale of the whole process for a scope.
class GlobalGroupedDigits {
public:
    GlobalGroupedDigits() : mFormer(std::locale::global(GroupedDigits())) {}
    ~GlobalGroupedDigits() { std::locale::global(mFormer); }
    GlobalGroupedDigits(const GlobalGroupedDigits&) = delete;
    GlobalGroupedDigits& operator=(const GlobalGroupedDigits&) = delete;

private:
    const std::locale mFormer;
};

/// Asks `stream` for everything that a dump must neither follow nor undo.
inline void AskForOddFormat(std::ostringstream& stream) {
    stream.imbue(GroupedDigits());
    stream << std::hex << std::showbase << std::left << std::setfill('*') << std::setw(9);
}

/// Whether all of that is still asked for. Empties the stream.
inline bool HasOddFormat(std::ostringstream& stream) {
    stream.str("");
    stream << 0xffff;
    return stream.str() == "0xf.fff**";
}

}  // namespace corebeacon::test
