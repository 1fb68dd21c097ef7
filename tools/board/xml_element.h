/// An XML element that is read strictly: what nobody asked for, and what does not read as it
/// should, becomes an error with its place in the file. The classes serve one reading of one file,
/// on one thread; the reader owns them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace corebeacon::board {

/// Counted from 1, columns in bytes.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
};

struct BoardError {
    Place place;
    std::string message;
};

/// The text of a file and what is wrong with it.
class Source {
public:
    /// Beyond this many nobody reads on.
    static constexpr std::size_t kMaxErrors = 50;

    explicit Source(std::string_view text);

    std::string_view Text() const { return mText; }
    Place PlaceOf(std::size_t offset) const;
    void AddError(const Place& place, std::string message);
    std::vector<BoardError> TakeErrors() { return std::move(mErrors); }

private:
    std::string_view mText;
    std::vector<std::size_t> mLineStarts;
    std::vector<BoardError> mErrors;
};

/// One element. The attributes asked for by the time it is finished are those that it may have.
class Element {
public:
    Element(Source& source, pugi::xml_node node) : mSource(source), mNode(node) {}

    std::string Tag() const;  ///< "<row>"
    Place Where() const;
    /// Of the attribute's name; of the element when it has no such attribute.
    Place WhereIs(std::string_view attribute) const;
    void Complain(const std::string& message) { mSource.AddError(Where(), message); }
    void Complain(std::string_view attribute, const std::string& message) {
        mSource.AddError(WhereIs(attribute), message);
    }

    bool Has(const char* attribute);
    /// Absence is an error where `isNeeded`.
    std::optional<std::string> Text(const char* attribute, bool isNeeded = false);
    std::optional<std::int64_t> Number(const char* attribute, bool isNeeded = false,
                                       std::int64_t min = std::numeric_limits<std::int32_t>::min(),
                                       std::int64_t max = std::numeric_limits<std::int32_t>::max());
    std::optional<float> Real(const char* attribute);
    std::optional<bool> Flag(const char* attribute);

    /// Complains of every attribute that was not asked for, of every child with another name and of
    /// text between them. Gives the children that are left.
    std::vector<Element> Finish(std::initializer_list<std::string_view> childNames);
    /// The same for an element that holds text alone.
    std::string FinishAsText();

    std::string_view Name() const { return mNode.name(); }

private:
    void CheckAttributes();
    void ComplainOfValue(const char* attribute, const std::string& value, const std::string& due);

    Source& mSource;
    pugi::xml_node mNode;
    std::vector<std::string_view> mAskedFor;
};

/// A decimal number and nothing else.
std::optional<std::int64_t> WholeNumber(std::string_view text);

/// The text in single quotes, short and printable whatever the file holds.
std::string Quoted(std::string_view text);

}  // namespace corebeacon::board
