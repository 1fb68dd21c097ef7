#include "recording/recording_writer.h"

#include <cerrno>

#include "text_file.h"

namespace corebeacon::tool {

std::unique_ptr<RecordingWriter> RecordingWriter::Open(const std::string& path,
                                                       std::ostream& diagnostics) {
    errno = 0;
    std::unique_ptr<RecordingWriter> writer(new RecordingWriter(path));
    if (!writer->mFile) {
        TellUnwritable(path, errno, diagnostics);
        return nullptr;
    }
    return writer;
}

void RecordingWriter::Begin(const RecordingHead& head) {
    mBegin = SteadyNow();
    Line(LineOf(head));
}

void RecordingWriter::Call(const EngineCall& call, TimePoint time) {
    Line(LineOf(RecordedCall{time - mBegin, call}));
}

void RecordingWriter::Turn(Round round, TimePoint time) {
    Line(LineOf(RecordedRound{time - mBegin, round}));
}

void RecordingWriter::Node(const NodeCall& call) {
    mWrites += call.kind == NodeCallKind::WRITE || call.kind == NodeCallKind::IOCTL ? 1 : 0;
    Line(LineOf(call));
}

void RecordingWriter::End(bool isStarted) {
    Line(LineOf(RecordedEnd{isStarted, mWrites}));
}

bool RecordingWriter::Close(std::ostream& diagnostics) {
    errno = 0;
    mFile.close();
    if (!mFile) {
        TellUnwritable(mPath, mError != 0 ? mError : errno, diagnostics);
        return false;
    }
    return true;
}

void RecordingWriter::Line(const std::string& line) {
    errno = 0;
    mFile << line << "\n" << std::flush;
    if (!mFile && mError == 0) {
        mError = errno;
    }
}

}  // namespace corebeacon::tool
