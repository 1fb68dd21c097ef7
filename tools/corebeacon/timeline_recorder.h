/// Makes the timeline of a run while it is played: takes down what is asked and written, and asks
/// the engine for floors and ceilings whenever they may have changed. Owned by the command that
/// runs; called on the player's thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "run_observer.h"
#include "timeline.h"

namespace corebeacon::tool {

class TimelineRecorder : public RunObserver {
public:
    /// `title`: what the script is called.
    explicit TimelineRecorder(std::string title);

    void Begin(EngineSession& session, TimePoint begin) override;
    void Note(const Statement& note) override;
    void Asked(TimePoint time, const Statement& statement) override;
    void Accepted(const HeldRequest& held) override;
    void Ended(TimePoint time, const HeldRequest& held, HowEnded how) override;
    void Written(const NodeWrite& write, bool isRepetition) override;
    void Done(const Statement& statement) override;
    void End(const std::map<std::string, std::string>& values,
             const std::vector<HeldRequest>& standing) override;

    /// Whether there is anything to keep.
    bool HasBegun() const { return mSession != nullptr; }
    /// Whole after the run's end.
    const Timeline& Result() const { return mTimeline; }

private:
    using GroupKey = std::pair<PerfQosId, unsigned>;

    /// Where a node stands among the tracks.
    struct NodePlace {
        GroupKey group;
        std::size_t node = 0;
    };

    /// A group, of which nobody knows yet whether it plays a part.
    struct Candidate {
        TimelineTrack track;
        bool isUsed = false;
    };

    /// A request and what it asks for; its tracks get their numbers in the end.
    struct Asking {
        TimelineRequest request;
        std::vector<std::pair<GroupKey, TimelinePart>> parts;
        bool isOver = false;
    };

    void AddCandidates(PerfQosId qosId, const PerfQosConfig& config);
    Candidate& OtherNode(const std::string& path);
    void AddParts(const HeldRequest& held, Asking& asking);
    void MarkDirty(const Asking& asking, TimePoint time);
    void SampleDirty();
    void Sample(PerfQosId qosId, TimePoint time);
    void FinishRequests();
    void NumberTracks();
    TimelineMicros Micros(TimePoint time) const;

    EngineSession* mSession = nullptr;
    TimePoint mBegin;
    std::chrono::system_clock::time_point mWallBegin;
    Timeline mTimeline;
    std::map<GroupKey, Candidate> mCandidates;
    std::map<std::string, NodePlace> mPlaces;        // by path
    std::map<unsigned long, std::size_t> mByHandle;  // those in force
    std::vector<Asking> mAskings;
    std::vector<std::string> mNotes;          // until the time of the next statement is known
    std::map<PerfQosId, TimePoint> mDirty;    // since when floor and ceiling may be others
    std::map<PerfQosId, TimePoint> mSampled;  // what happened until then is known
    std::size_t mRepetitions = 0;             // since the statement
};

}  // namespace corebeacon::tool
