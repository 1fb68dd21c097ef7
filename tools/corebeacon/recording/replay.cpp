#include "recording/replay.h"

#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "engine_session.h"
#include "platform/clock.h"

namespace corebeacon::tool {

namespace {

class Player {
public:
    explicit Player(const Recording& recording) : mRecording(recording), mNodes(recording) {}

    ReplayResult Play() {
        SessionOptions options;
        options.device = DeviceKind::GIVEN;
        options.nodes = &mNodes;
        options.chip = mRecording.head.chip;
        options.board = mRecording.head.board;
        options.host = mRecording.head.host;
        options.pace = Pace::VIRTUAL;
        std::size_t position = mNodes.Expect(0);
        mSession = EngineSession::Start(options);
        const bool isStarted = mSession != nullptr;
        if (isStarted) {
            mBegin = SteadyNow();
        }
        mNodes.ExpectNoMore();
        // The last entry is the end.
        while (isStarted && position + 1 < mRecording.entries.size() && !mNodes.FirstDifference()) {
            const RecordedEntry& entry = mRecording.entries[position];
            // What it causes stands behind it.
            position = mNodes.Expect(position + 1);
            Carry(entry);
            mNodes.ExpectNoMore();
        }
        if (!mNodes.FirstDifference()) {
            CompareEnds(mRecording.entries[position], isStarted);
        }
        return {mNodes.Writes(), isStarted, mNodes.FirstDifference()};
    }

private:
    void Carry(const RecordedEntry& entry) {
        if (const auto* const round = std::get_if<RecordedRound>(&entry.what)) {
            mSession->Turns()->MoveTo(mBegin + round->at);
            mSession->Turns()->Run(round->round);
        } else if (const auto* const call = std::get_if<RecordedCall>(&entry.what)) {
            mSession->Turns()->MoveTo(mBegin + call->at);
            Call(call->call, entry.line);
        }
    }

    void Call(const EngineCall& recorded, std::size_t line) {
        if (recorded.kind == CallKind::DUMP) {
            return;  // changes nothing, and its answer was not recorded
        }
        EngineCall call = recorded;
        const bool isRelease = call.kind == CallKind::RELEASE;
        if (const auto given = mHandles.find(call.handle); isRelease && given != mHandles.end()) {
            call.handle = given->second;
        }
        std::ostringstream none;
        mSession->Engine().Carry(call, none);
        if (!isRelease && call.result == 0) {
            mHandles[recorded.handle] = call.handle;
        }
        if (call.result != recorded.result) {
            mNodes.SetDifference({line, Told(recorded) + " gave " + std::to_string(recorded.result),
                                  "it gave " + std::to_string(call.result)});
        }
    }

    void CompareEnds(const RecordedEntry& entry, bool isStarted) {
        const auto* const end = std::get_if<RecordedEnd>(&entry.what);
        const bool wasStarted = end == nullptr || end->isStarted;
        if (isStarted != wasStarted) {
            mNodes.SetDifference({entry.line,
                                  wasStarted ? "the engine started" : "the engine did not start",
                                  isStarted ? "it started" : "it did not start"});
        } else if (end != nullptr && end->writes != mNodes.Writes()) {
            mNodes.SetDifference({entry.line, std::to_string(end->writes) + " writes",
                                  std::to_string(mNodes.Writes()) + " writes"});
        }
    }

    const Recording& mRecording;
    ReplayNodeIo mNodes;
    std::unique_ptr<EngineSession> mSession;
    TimePoint mBegin;
    std::map<unsigned long, unsigned long> mHandles;  // as recorded, to as given out now
};

}  // namespace

ReplayResult Replay(const Recording& recording) {
    return Player(recording).Play();
}

}  // namespace corebeacon::tool
