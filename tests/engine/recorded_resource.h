/// A resource whose groups write into a list instead of a kernel, with the hooks that the tests of
/// the worker need. Owned by a test; the list may be read while the worker runs.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine/perf_resource.h"

namespace corebeacon::test {

/// What the groups were told to write, in order.
class WriteList {
public:
    struct Entry {
        std::string group;
        int boost;
        int limit;
        bool operator==(const Entry&) const = default;
    };

    void Add(const std::string& group, int boost, int limit) {
        std::lock_guard<std::mutex> lock(mMutex);
        mEntries.push_back({group, boost, limit});
    }
    std::vector<Entry> Get() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEntries;
    }
    std::size_t Size() const { return Get().size(); }

private:
    mutable std::mutex mMutex;
    std::vector<Entry> mEntries;  // guarded by mMutex
};

inline void PrintTo(const WriteList::Entry& entry, std::ostream* out) {
    *out << entry.group << " " << entry.boost << "~" << entry.limit;
}

/// What a test shares with the groups of its resource.
struct RecordedKnobs {
    WriteList writes;
    std::function<void(int boost, int limit)> onWrite;  // fixed before the first command
    int closeCount = 0;                                 // worker thread only
};

class RecordedGroup : public PerfGroup {
public:
    RecordedGroup(const PerfGroupConfig& config, PerfWorkMode workMode, RecordedKnobs& knobs)
        : PerfGroup(config, workMode),
          mLabel(config.name),
          mNodes(config.sysNodePaths),
          mKnobs(knobs) {}

    int DoConfig(int boost, int limit) override {
        mKnobs.writes.Add(mLabel, boost, limit);
        if (mKnobs.onWrite) {
            mKnobs.onWrite(boost, limit);
        }
        return 0;
    }
    void CloseAllFds() override { ++mKnobs.closeCount; }
    int DumpLimitHistoryLog(std::ostringstream& out) override {
        out << "history of " << mLabel << "\n";
        return 0;
    }
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& infos) const override {
        for (const std::string& node : mNodes) {
            infos.push_back({"low", node.size() % 2 == 0 ? "" : "high", node,
                             node.size() % 2 == 0 ? "" : node + "_max"});
        }
    }

private:
    const std::string mLabel;
    const std::vector<std::string> mNodes;
    RecordedKnobs& mKnobs;
};

class RecordedResource : public PerfResource {
public:
    RecordedResource(const ResConstructParam& param, RecordedKnobs& knobs)
        : PerfResource(param), mKnobs(knobs) {}
    ~RecordedResource() override { StopThread(); }

    int InitGroups(const PerfQosConfig& config, bool isLoaded) override {
        mLoadedFlag = isLoaded;
        for (const PerfGroupConfig& group : config.groups) {
            mGroups.push_back(std::make_shared<RecordedGroup>(group, mWorkMode, mKnobs));
        }
        return mInitResult;
    }

    /// A group that was not built.
    void LoseGroup(unsigned int groupId) { mGroups[groupId] = nullptr; }
    PerfWorkMode WorkMode() const { return mWorkMode; }
    bool IsSuspended() const { return mSuspended; }
    using PerfResource::NormalCommandProcess;

    bool mLoadedFlag = false;
    int mInitResult = 0;

private:
    RecordedKnobs& mKnobs;
};

}  // namespace corebeacon::test
