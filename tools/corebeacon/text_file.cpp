#include "text_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace corebeacon::tool {

std::optional<std::string> ReadText(std::istream& in, std::size_t maxBytes) {
    std::string text(maxBytes + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad()) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(in.gcount()));
    return text;
}

std::optional<std::string> ReadTextFile(const std::string& path, std::size_t maxBytes,
                                        std::ostream& diagnostics) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    // A folder opens, but cannot be read.
    std::optional<std::string> text = file.is_open() ? ReadText(file, maxBytes) : std::nullopt;
    if (!text) {
        TellUnreadable(path, errno, diagnostics);
    }
    return text;
}

void TellUnreadable(const std::string& path, int error, std::ostream& diagnostics) {
    diagnostics << "corebeacon: cannot read " << path << ": " << std::strerror(error) << "\n";
}

void TellUnwritable(const std::string& path, int error, std::ostream& diagnostics) {
    diagnostics << "corebeacon: cannot write " << path << ": " << std::strerror(error) << "\n";
}

}  // namespace corebeacon::tool
