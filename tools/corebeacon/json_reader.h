/// Reads JSON that anybody may have written, edited or cut short: each complaint tells its place,
/// and no text takes more than its share of memory. Free functions and plain values without state;
/// a JsonPlace refers to a value that must outlive it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace corebeacon::tool {

/// what() begins with the place, "12:5: " or "nodes[3].mode: ", unless that is the whole document.
/// Thrown and caught inside a reader.
class JsonError : public std::runtime_error {
public:
    explicit JsonError(const std::string& text, bool hasPlace = true)
        : std::runtime_error(text), mHasPlace(hasPlace) {}

    bool HasPlace() const { return mHasPlace; }

private:
    const bool mHasPlace;
};

/// Throws a JsonError for a text that is no JSON, or nested deeper than anything of ours is.
/// `firstLine` is the number of the text's first line.
nlohmann::json ParseJson(std::string_view text, std::size_t firstLine = 1);

/// A value and the way to it. Everything throws a JsonError where the value is not as asked for.
class JsonPlace {
public:
    JsonPlace(const nlohmann::json& value, std::string path)
        : mValue(value), mPath(std::move(path)) {}

    /// A member that must be there.
    JsonPlace Get(const char* key) const;
    std::optional<JsonPlace> Find(const char* key) const;
    /// Nothing but these members may be there.
    void MustKnow(std::initializer_list<std::string_view> keys) const;
    std::vector<JsonPlace> Elements(std::size_t maxCount) const;
    std::string Text(std::size_t maxBytes) const;
    std::int64_t Number(std::int64_t min, std::int64_t max) const;
    /// Any number of 64 bits.
    std::uint64_t Unsigned() const;
    bool Flag() const;

    [[noreturn]] void Fail(const std::string& message) const;

private:
    const nlohmann::json& Member(const char* key) const;

    const nlohmann::json& mValue;
    const std::string mPath;
};

/// Bytes as a member of an object: "text" where a person can read them, else "hex".
void PutBytes(nlohmann::ordered_json& object, const std::string& bytes);
/// The same read back; absent where the object has neither.
std::optional<std::string> GetBytes(const JsonPlace& object, std::size_t maxBytes);

std::string HexText(std::string_view bytes);
std::string HexBytes(const JsonPlace& place, std::size_t maxBytes);

}  // namespace corebeacon::tool
