/// Writes a recording as it comes about, line by line, so that even a run that is killed leaves
/// one, cut off though it is. Owned by the command that runs; the session tells it what it was set
/// up with and what happens. Calls of the engine and rounds come from the session's thread, answers
/// of nodes from it or from the worker whose turn it is, so never two at once.
#pragma once

#include <fstream>
#include <memory>
#include <ostream>
#include <string>

#include "platform/clock.h"
#include "recording/recording.h"

namespace corebeacon::tool {

class RecordingWriter {
public:
    /// Null when the file cannot be written, which is told.
    static std::unique_ptr<RecordingWriter> Open(const std::string& path,
                                                 std::ostream& diagnostics);

    void Begin(const RecordingHead& head);
    void Call(const EngineCall& call, TimePoint time);
    void Turn(Round round, TimePoint time);
    void Node(const NodeCall& call);
    void End(bool isStarted);

    /// Whether all of it has been written; told if not.
    bool Close(std::ostream& diagnostics);

private:
    explicit RecordingWriter(std::string path) : mPath(std::move(path)), mFile(mPath) {}
    void Line(const std::string& line);

    const std::string mPath;
    std::ofstream mFile;
    TimePoint mBegin;
    std::size_t mWrites = 0;
    int mError = 0;  // the first failure's errno
};

}  // namespace corebeacon::tool
