#include "board_file.h"

#include "text_file.h"

namespace corebeacon::tool {

std::optional<board::ReadBoard> ReadBoardFile(const std::string& path, std::ostream& diagnostics) {
    const auto text = ReadTextFile(path, board::kMaxBoardBytes, diagnostics);
    return text ? std::optional(board::ParseBoard(*text)) : std::nullopt;
}

std::optional<board::Board> LoadBoard(const std::string& path, std::ostream& diagnostics) {
    std::optional<board::ReadBoard> read = ReadBoardFile(path, diagnostics);
    if (!read) {
        return std::nullopt;
    }
    for (const board::BoardError& error : read->errors) {
        PrintBoardError(path, error, diagnostics);
    }
    return read->errors.empty() ? std::optional(std::move(read->board)) : std::nullopt;
}

void PrintBoardError(const std::string& path, const board::BoardError& error,
                     std::ostream& diagnostics) {
    diagnostics << path << ":" << error.place.line << ":" << error.place.column << ": "
                << error.message << "\n";
}

}  // namespace corebeacon::tool
