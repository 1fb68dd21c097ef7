#include "palette.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace corebeacon::tool {

Palette PaletteFor(int fd) {
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool isRefused = refused != nullptr && *refused != '\0';
    const bool isPlain = terminal == nullptr || std::string_view(terminal) == "dumb";
    if (isRefused || isPlain || ::isatty(fd) == 0) {
        return {};
    }
    return {.value = "\x1b[32m", .failure = "\x1b[31m", .note = "\x1b[36m", .reset = "\x1b[0m"};
}

}  // namespace corebeacon::tool
