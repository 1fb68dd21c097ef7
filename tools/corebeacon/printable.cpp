#include "printable.h"

#include <cstddef>

namespace corebeacon::tool {

namespace {

constexpr unsigned char kDelete = 0x7f;

// In UTF-8 the control characters U+0080 to U+009F are this byte and one of that range.
constexpr unsigned char kControlLead = 0xc2;
constexpr unsigned char kControlFirst = 0x80;
constexpr unsigned char kControlLast = 0x9f;

bool IsWideControl(std::string_view text) {
    if (text.size() < 2 || static_cast<unsigned char>(text[0]) != kControlLead) {
        return false;
    }
    const auto second = static_cast<unsigned char>(text[1]);
    return second >= kControlFirst && second <= kControlLast;
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    printable.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto letter = static_cast<unsigned char>(text[at]);
        if (IsWideControl(text.substr(at))) {
            printable += '?';
            ++at;
        } else if (letter == '\t') {
            printable += ' ';
        } else {
            printable += letter < ' ' || letter == kDelete ? '?' : text[at];
        }
    }
    return printable;
}

}  // namespace corebeacon::tool
