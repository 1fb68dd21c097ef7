#include "text_table.h"

#include <algorithm>

#include "printable.h"

namespace corebeacon::tool {

std::string Padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, text.size()), ' ');
}

std::string TextTable::Text(const std::string& margin) const {
    std::vector<std::size_t> widths;
    for (const std::vector<std::string>& row : mRows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const std::vector<std::string>& row : mRows) {
        std::string line = margin;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += (i > 0 ? "  " : "") + Padded(row[i], widths[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += Printable(line) + "\n";
    }
    return text;
}

}  // namespace corebeacon::tool
