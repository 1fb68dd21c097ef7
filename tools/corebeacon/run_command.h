/// The commands that play a script: `run`, `do` with its own command line and, with a script of its
/// own, `demo`. Each returns the program's exit code. Data goes to `out`, diagnostics to
/// `diagnostics`.
#pragma once

#include <chrono>
#include <functional>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "engine_session.h"
#include "palette.h"
#include "run_observer.h"
#include "script_player.h"
#include "statement.h"

namespace corebeacon::tool {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;    ///< the engine refused something, or was interrupted
inline constexpr int kExitBadInput = 2;  ///< nothing was applied
inline constexpr int kExitMismatch = 3;  ///< a node does not hold what was written

/// How to play, and what is to be made of the run.
struct RunOptions {
    SessionOptions session = {};
    std::string command = "run";  ///< as a JSON document calls it
    bool isJson = false;          ///< one document in the end instead of an account
    Palette palette = {};
    std::string timeline = {};  ///< the file for it, .json or .html; "" for none
    bool isVerifying = false;   ///< read back what is written
    /// How long to watch afterwards what others write to the nodes; 0: not at all.
    std::chrono::milliseconds watch{0};
    std::string recordFile = {};  ///< "" for none
};

/// `path` is the script's file; "-" stands for `in`.
int RunScript(const std::string& path, const RunOptions& options, std::istream& in,
              std::ostream& out, std::ostream& diagnostics);

/// The statements of a command line, one by one as the lines of a script.
int RunStatements(const std::vector<std::string>& statements, const RunOptions& options,
                  std::ostream& out, std::ostream& diagnostics);

/// `name` is what diagnostics call the script.
int PlayScript(std::string_view script, const std::string& name, const RunOptions& options,
               std::ostream& out, std::ostream& diagnostics);

/// What `play` returns, of a session that is recorded if the options say so; its session must end
/// before it returns. A recording that cannot be written is told.
int Recorded(const RunOptions& options, std::ostream& diagnostics,
             const std::function<int(const SessionOptions&)>& play);

/// What follows a play while its engine still runs.
using AfterPlay = std::function<void(const ScriptPlayer&, EngineSession&)>;

/// Starts a session for the statements and plays them.
int PlayStatements(const std::vector<Statement>& statements, const std::string& name,
                   const SessionOptions& options, RunObservers& observers,
                   std::ostream& diagnostics, const AfterPlay& after = {});

int PlayDemo(const RunOptions& options, std::ostream& out, std::ostream& diagnostics);

}  // namespace corebeacon::tool
