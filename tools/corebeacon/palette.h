/// The colours of what a person reads on a terminal. A plain value on one thread.
#pragma once

namespace corebeacon::tool {

/// What to print before and behind a text to colour it; all empty without colours.
struct Palette {
    const char* value = "";    ///< what a node was told
    const char* failure = "";  ///< what came to nothing
    const char* note = "";     ///< the script's own story
    const char* reset = "";
};

/// With colours only when `fd` is a terminal that knows them and NO_COLOR is not set.
Palette PaletteFor(int fd);

}  // namespace corebeacon::tool
