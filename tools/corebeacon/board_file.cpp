#include "board_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace corebeacon::tool {

std::optional<board::ReadBoard> ReadBoardFile(const std::string& path, std::ostream& diagnostics) {
    // One byte more than the reader takes, so that it can say that the file is too long.
    std::string text(board::kMaxBoardBytes + 1, '\0');
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    // A folder opens, but cannot be read.
    if (!file.is_open() || file.bad()) {
        diagnostics << "corebeacon: cannot read " << path << ": " << std::strerror(errno) << "\n";
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    return board::ParseBoard(text);
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
