#include "json_reader.h"

#include <algorithm>
#include <utility>

#include "printable.h"

namespace corebeacon::tool {

namespace {

using nlohmann::json;

constexpr int kMaxDepth = 16;
constexpr std::string_view kHexDigits = "0123456789abcdef";

/// "LINE:COLUMN: ", both counted from 1; `offset` is that of the first bad byte.
std::string PlaceText(std::string_view text, std::size_t offset, std::size_t firstLine) {
    const std::string_view before = text.substr(0, offset);
    const auto newlines = static_cast<std::size_t>(std::ranges::count(before, '\n'));
    const std::size_t lineBegin = newlines == 0 ? 0 : before.rfind('\n') + 1;
    return std::to_string(firstLine + newlines) + ":" +
           std::to_string(before.size() - lineBegin + 1) + ": ";
}

bool IsReadable(char c) {
    return (c >= ' ' && c <= '~') || c == '\n' || c == '\t';
}

}  // namespace

json ParseJson(std::string_view text, std::size_t firstLine) {
    const auto limitDepth = [&](int depth, json::parse_event_t, json&) {
        return depth < kMaxDepth
                   ? true
                   : throw JsonError(PlaceText(text, 0, firstLine) + "is nested too deeply");
    };
    try {
        return json::parse(text.begin(), text.end(), limitDepth);
    } catch (const json::parse_error& error) {
        const std::size_t offset = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
        const bool isCut = offset >= text.size();
        throw JsonError(PlaceText(text, offset, firstLine) +
                        (isCut ? "ends in the middle" : "is no JSON from here on"));
    } catch (const json::exception&) {
        throw JsonError(PlaceText(text, 0, firstLine) + "has a number that is too large");
    }
}

JsonPlace JsonPlace::Get(const char* key) const {
    const std::optional<JsonPlace> found = Find(key);
    if (!found) {
        Fail(std::string("has no \"") + key + "\"");
    }
    return *found;
}

std::optional<JsonPlace> JsonPlace::Find(const char* key) const {
    if (!mValue.is_object()) {
        Fail("must be an object");
    }
    const auto found = mValue.find(key);
    if (found == mValue.end()) {
        return std::nullopt;
    }
    return JsonPlace(*found, mPath.empty() ? key : mPath + "." + key);
}

void JsonPlace::MustKnow(std::initializer_list<std::string_view> keys) const {
    if (!mValue.is_object()) {
        Fail("must be an object");
    }
    for (const auto& [key, value] : mValue.items()) {
        if (std::ranges::find(keys, key) == keys.end()) {
            Fail("does not know \"" + Printable(key.substr(0, 40)) + "\"");
        }
    }
}

std::vector<JsonPlace> JsonPlace::Elements(std::size_t maxCount) const {
    if (!mValue.is_array()) {
        Fail("must be an array");
    }
    if (mValue.size() > maxCount) {
        Fail("has more than " + std::to_string(maxCount) + " elements");
    }
    std::vector<JsonPlace> elements;
    elements.reserve(mValue.size());
    for (std::size_t i = 0; i < mValue.size(); ++i) {
        elements.emplace_back(mValue[i], mPath + "[" + std::to_string(i) + "]");
    }
    return elements;
}

std::string JsonPlace::Text(std::size_t maxBytes) const {
    const auto* const text = mValue.get_ptr<const std::string*>();
    if (text == nullptr) {
        Fail("must be a text");
    }
    if (text->size() > maxBytes) {
        Fail("is longer than " + std::to_string(maxBytes) + " bytes");
    }
    return *text;
}

std::int64_t JsonPlace::Number(std::int64_t min, std::int64_t max) const {
    const bool isHuge = mValue.is_number_unsigned() &&
                        mValue.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX);
    if (!mValue.is_number_integer() || isHuge || mValue.get<std::int64_t>() < min ||
        mValue.get<std::int64_t>() > max) {
        Fail("must be a number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return mValue.get<std::int64_t>();
}

std::uint64_t JsonPlace::Unsigned() const {
    if (!mValue.is_number_unsigned()) {
        Fail("must be a number that is not negative");
    }
    return mValue.get<std::uint64_t>();
}

bool JsonPlace::Flag() const {
    if (!mValue.is_boolean()) {
        Fail("must be true or false");
    }
    return mValue.get<bool>();
}

void JsonPlace::Fail(const std::string& message) const {
    const bool hasPlace = !mPath.empty();
    throw JsonError((hasPlace ? mPath + ": " : "") + message, hasPlace);
}

void PutBytes(nlohmann::ordered_json& object, const std::string& bytes) {
    if (std::ranges::all_of(bytes, IsReadable)) {
        object["text"] = bytes;
    } else {
        object["hex"] = HexText(bytes);
    }
}

std::optional<std::string> GetBytes(const JsonPlace& object, std::size_t maxBytes) {
    if (const std::optional<JsonPlace> text = object.Find("text")) {
        return text->Text(maxBytes);
    }
    const std::optional<JsonPlace> hex = object.Find("hex");
    return hex ? std::optional(HexBytes(*hex, maxBytes)) : std::nullopt;
}

std::string HexText(std::string_view bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += kHexDigits[value >> 4U];
        text += kHexDigits[value & 15U];
    }
    return text;
}

std::string HexBytes(const JsonPlace& place, std::size_t maxBytes) {
    const std::string text = place.Text(2 * maxBytes);
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        const std::size_t high = kHexDigits.find(text[at]);
        const std::size_t low =
            at + 1 < text.size() ? kHexDigits.find(text[at + 1]) : std::string_view::npos;
        if (high == std::string_view::npos || low == std::string_view::npos) {
            place.Fail("must be bytes of two hexadecimal digits each");
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

}  // namespace corebeacon::tool
