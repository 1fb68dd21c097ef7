/// Files that anybody may have written, as the program's commands read them whole, and the words
/// for those that cannot be read or written. Free functions without state; any thread.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <string>

namespace corebeacon::tool {

/// All of it up to `maxBytes`, and one byte more of what is longer, so that whoever reads the text
/// can say so. Absent after a failed read, which errno tells of.
std::optional<std::string> ReadText(std::istream& in, std::size_t maxBytes);

/// The same of a file; absent when it cannot be read, which is told.
std::optional<std::string> ReadTextFile(const std::string& path, std::size_t maxBytes,
                                        std::ostream& diagnostics);

/// `error` is the errno of what failed.
void TellUnreadable(const std::string& path, int error, std::ostream& diagnostics);
void TellUnwritable(const std::string& path, int error, std::ostream& diagnostics);

}  // namespace corebeacon::tool
