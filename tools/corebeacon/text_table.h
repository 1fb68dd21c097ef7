/// Columns of text, as wide as their widest cell. A plain value on one thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corebeacon::tool {

/// The text, followed by blanks up to `width`.
std::string Padded(const std::string& text, std::size_t width);

class TextTable {
public:
    /// A row may have fewer cells than others.
    void AddRow(std::vector<std::string> cells) { mRows.push_back(std::move(cells)); }
    /// All lines, each begun with `margin`; without blanks at the end.
    std::string Text(const std::string& margin) const;

private:
    std::vector<std::vector<std::string>> mRows;
};

}  // namespace corebeacon::tool
