#include "sim/node.h"

#include <cerrno>
#include <charconv>
#include <system_error>

namespace corebeacon::sim {

namespace {

constexpr std::size_t kPageSize = 4096;

bool StripPrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

}  // namespace

Node::~Node() = default;

void Node::SetReadOnly(bool readOnly) {
    mReadOnly = readOnly;
}

void Node::Opened(int) {}

void Node::Closed(int) {}

ssize_t Node::Store(int, std::string_view) {
    return -EINVAL;
}

int Node::Control(unsigned long, const std::vector<std::uint8_t>&) {
    return -ENOTTY;
}

std::string Node::Value() const {
    std::string text;
    if (Fetch(text) != 0) {
        return "";
    }
    if (!text.empty() && (text.back() == '\n' || text.back() == '\0')) {
        text.pop_back();
    }
    return text;
}

void Node::Reset() {}

ssize_t Attribute::Store(int, std::string_view bytes) {
    const std::string_view taken = bytes.substr(0, kPageSize - 1);
    std::string_view text = taken;
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    const int error = StoreText(text);
    return error != 0 ? -error : static_cast<ssize_t>(taken.size());
}

int Attribute::Fetch(std::string& out) const {
    out.clear();
    const int error = ShowText(out);
    if (error == 0) {
        out += '\n';
    }
    return error;
}

int Attribute::StoreText(std::string_view) {
    return EIO;
}

int ParseNumber(std::string_view text, int base, std::int64_t& out) {
    const bool negative = StripPrefix(text, "-");
    if (!negative) {
        StripPrefix(text, "+");
    }
    if (base != 10 && (StripPrefix(text, "0x") || StripPrefix(text, "0X"))) {
        base = 16;
    } else if (base == 0) {
        base = text.size() > 1 && text.front() == '0' ? 8 : 10;
    }
    if (text.starts_with('-')) {
        return EINVAL;  // from_chars would take a second sign
    }
    // The sign belongs to the number: the lowest value has no positive counterpart.
    const std::string digits = (negative ? "-" : "") + std::string(text);
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, out, base);
    if (error == std::errc::invalid_argument || stop != end) {
        return EINVAL;
    }
    return error == std::errc::result_out_of_range ? ERANGE : 0;
}

}  // namespace corebeacon::sim
