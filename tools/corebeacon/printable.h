/// Keeps what others wrote - the comments of a script, the names of a board - from doing more to a
/// terminal than to be read there. A free function without state; any thread.
#pragma once

#include <string>
#include <string_view>

namespace corebeacon::tool {

/// The text as one line that moves no cursor and changes no colour: a blank for each tab, a '?' for
/// each other control character of ASCII or UTF-8.
std::string Printable(std::string_view text);

}  // namespace corebeacon::tool
