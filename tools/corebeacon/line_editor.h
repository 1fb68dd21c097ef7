/// The line at a terminal's prompt: editing, history, completion, and a word in between when
/// something happens while nobody types. Owned by the shell and used on its thread alone, which
/// also is the one that gets the terminal's signals.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon::tool {

/// How far all candidates agree; "" of none.
std::string CommonBeginning(const std::vector<std::string>& candidates);

/// The candidates in as many columns as fit, each line with a newline; "" of none.
std::string InColumns(const std::vector<std::string>& candidates, std::size_t width);

/// $XDG_STATE_HOME/corebeacon/history or its default below the home folder; "" without either.
std::string HistoryFile();

class LineEditor {
public:
    struct Hooks {
        /// What the last word of the line up to the cursor may become.
        std::function<std::vector<std::string>(std::string_view)> complete;
        /// When to look for news although nobody types; absent for never.
        std::function<std::optional<TimePoint>()> nextLook;
        std::function<bool()> hasNews;
        /// Tells them, from the beginning of an empty line on.
        std::function<void()> tellNews;
    };
    enum class Answer { LINE, CANCELLED, END };

    /// An empty `historyFile` keeps the history to this editor. Input and output are the process's
    /// standard ones.
    LineEditor(std::string prompt, std::string historyFile, Hooks hooks);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// A line without its newline. Cancelled by an interruption (interruption.h), which it clears.
    Answer Read(std::string& line);

private:
    class Terminal;
    std::unique_ptr<Terminal> mTerminal;
};

}  // namespace corebeacon::tool
