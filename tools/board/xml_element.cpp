#include "board/xml_element.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

#include "near_match.h"
#include "printable.h"

namespace corebeacon::board {

namespace {

constexpr std::size_t kMaxQuotedBytes = 60;
constexpr std::string_view kBlanks = " \t\r\n";

/// Where the attribute's name stands in a tag that begins, after its '<', at `at`; npos if nowhere.
/// The parser has accepted the tag, so its quotes are paired.
std::size_t FindAttribute(std::string_view text, std::size_t at, std::string_view attribute) {
    at = text.find_first_of(" \t\r\n/>", at);
    while (at < text.size() && text[at] != '>') {
        at = text.find_first_not_of(" \t\r\n/", at);
        const std::size_t nameEnd = std::min(text.find_first_of(" \t\r\n=>", at), text.size());
        if (at == std::string_view::npos || text[at] == '>') {
            break;
        }
        if (text.substr(at, nameEnd - at) == attribute) {
            return at;
        }
        const std::size_t open = text.find_first_of("\"'", nameEnd);
        if (open == std::string_view::npos) {
            break;
        }
        at = text.find(text[open], open + 1);
        at = at == std::string_view::npos ? at : at + 1;
    }
    return std::string_view::npos;
}

}  // namespace

std::optional<std::int64_t> WholeNumber(std::string_view text) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && !text.empty() ? std::optional(number)
                                                                : std::nullopt;
}

std::string Quoted(std::string_view text) {
    return "'" + tool::Printable(text.substr(0, kMaxQuotedBytes)) +
           (text.size() > kMaxQuotedBytes ? "...'" : "'");
}

Source::Source(std::string_view text) : mText(text), mLineStarts{0} {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\n') {
            mLineStarts.push_back(at + 1);
        }
    }
}

Place Source::PlaceOf(std::size_t offset) const {
    const auto after = std::ranges::upper_bound(mLineStarts, std::min(offset, mText.size()));
    const auto line = static_cast<std::size_t>(after - mLineStarts.begin());
    return {line, std::min(offset, mText.size()) - mLineStarts[line - 1] + 1};
}

void Source::AddError(const Place& place, std::string message) {
    if (mErrors.size() < kMaxErrors) {
        mErrors.push_back({place, std::move(message)});
    }
}

std::string Element::Tag() const {
    return "<" + std::string(mNode.name()) + ">";
}

Place Element::Where() const {
    // The offset is that of the name; a reader looks for the bracket before it.
    const std::ptrdiff_t offset = mNode.offset_debug();
    return mSource.PlaceOf(offset > 0 ? static_cast<std::size_t>(offset) - 1 : 0);
}

Place Element::WhereIs(std::string_view attribute) const {
    const std::ptrdiff_t offset = mNode.offset_debug();
    const std::size_t found = FindAttribute(
        mSource.Text(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)), attribute);
    return found == std::string_view::npos ? Where() : mSource.PlaceOf(found);
}

bool Element::Has(const char* attribute) {
    mAskedFor.emplace_back(attribute);
    return !mNode.attribute(attribute).empty();
}

std::optional<std::string> Element::Text(const char* attribute, bool isNeeded) {
    if (Has(attribute)) {
        return mNode.attribute(attribute).value();
    }
    if (isNeeded) {
        Complain(Tag() + " needs the attribute '" + attribute + "'");
    }
    return std::nullopt;
}

void Element::ComplainOfValue(const char* attribute, const std::string& value,
                              const std::string& due) {
    Complain(attribute, std::string("'") + attribute + "' takes " + due + ", not " + Quoted(value));
}

std::optional<std::int64_t> Element::Number(const char* attribute, bool isNeeded, std::int64_t min,
                                            std::int64_t max) {
    const std::optional<std::string> text = Text(attribute, isNeeded);
    if (!text) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> number = WholeNumber(*text);
    if (!number || *number < min || *number > max) {
        ComplainOfValue(
            attribute, *text,
            "a whole number from " + std::to_string(min) + " to " + std::to_string(max));
        return std::nullopt;
    }
    return number;
}

std::optional<float> Element::Real(const char* attribute) {
    const std::optional<std::string> text = Text(attribute);
    if (!text) {
        return std::nullopt;
    }
    float number = 0;
    const char* const end = text->data() + text->size();
    const auto [rest, error] = std::from_chars(text->data(), end, number);
    if (error != std::errc() || rest != end || !std::isfinite(number)) {
        ComplainOfValue(attribute, *text, "a number");
        return std::nullopt;
    }
    return number;
}

std::optional<bool> Element::Flag(const char* attribute) {
    const std::optional<std::string> text = Text(attribute);
    if (!text) {
        return std::nullopt;
    }
    if (*text != "true" && *text != "false") {
        ComplainOfValue(attribute, *text, "true or false");
        return std::nullopt;
    }
    return *text == "true";
}

void Element::CheckAttributes() {
    std::vector<std::string_view> seen;
    for (const pugi::xml_attribute attribute : mNode.attributes()) {
        const std::string_view name = attribute.name();
        // A file may name its schema.
        if (name == "xmlns" || name.starts_with("xmlns:") || name.starts_with("xsi:")) {
            continue;
        }
        if (std::ranges::find(mAskedFor, name) == mAskedFor.end()) {
            Complain(name, Tag() + " has no attribute " + Quoted(name) +
                               tool::DidYouMean(name, mAskedFor));
        } else if (std::ranges::find(seen, name) != seen.end()) {
            Complain(name, "attribute " + Quoted(name) + " is given twice");
        }
        seen.push_back(name);
    }
}

std::vector<Element> Element::Finish(std::initializer_list<std::string_view> childNames) {
    CheckAttributes();
    std::vector<Element> children;
    for (const pugi::xml_node child : mNode.children()) {
        const bool isText = child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
        const std::string_view value = child.value();
        if (isText && value.find_first_not_of(kBlanks) != std::string_view::npos) {
            Complain(Tag() + " takes no text, but has " + Quoted(value));
        } else if (child.type() == pugi::node_element) {
            Element element(mSource, child);
            if (std::ranges::find(childNames, element.Name()) != childNames.end()) {
                children.push_back(std::move(element));
            } else {
                element.Complain(Tag() + " has no element " + Quoted(child.name()) +
                                 tool::DidYouMean(child.name(), childNames));
            }
        }
    }
    return children;
}

std::string Element::FinishAsText() {
    CheckAttributes();
    std::string text;
    for (const pugi::xml_node child : mNode.children()) {
        if (child.type() == pugi::node_element) {
            Element(mSource, child).Complain(Tag() + " holds text, no elements");
        } else if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            text += child.value();
        }
    }
    return text;
}

}  // namespace corebeacon::board
