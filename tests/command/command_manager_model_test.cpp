// The handle table against a model so plain that it cannot be wrong: one list of live commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <set>
#include <vector>

#include "command/command_manager.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon {
namespace {

using std::chrono::milliseconds;

constexpr unsigned int kMaxOwners = 5;
constexpr unsigned int kMaxPerOwner = 6;
constexpr unsigned int kMaxTotal = 20;
constexpr int kReserved = 10;
constexpr int kOwnerSpan = 8;  // more owners than may hold handles, so that all limits are met

enum class Origin { REQUEST, EVENT, PROBE };

struct Entry {
    int owner;
    unsigned long handle;
    PerfCommandType type;
    TimePoint end;
    Origin origin;
    PerfEventId event;
};

class Model {
public:
    void Expire(const TimePoint& now) {
        std::erase_if(mEntries, [&](const Entry& entry) {
            return entry.type == PERF_COMMAND_SHORT_START && entry.end <= now;
        });
    }

    bool HasRoom(int owner) const {
        std::set<int> owners;
        unsigned int ofOwner = 0;
        for (const Entry& entry : mEntries) {
            owners.insert(entry.owner);
            ofOwner += entry.owner == owner ? 1U : 0U;
        }
        return mEntries.size() < kMaxTotal && ofOwner < kMaxPerOwner &&
               (ofOwner > 0 || owners.size() < kMaxOwners);
    }

    bool IsProbed(int tid) const {
        return std::any_of(mEntries.begin(), mEntries.end(), [tid](const Entry& entry) {
            return entry.origin == Origin::PROBE && entry.owner == tid;
        });
    }

    unsigned long Add(Entry entry) {
        entry.handle = mNext++;
        mEntries.push_back(entry);
        return entry.handle;
    }

    /// Takes out, in order of handle, all that `leaves` says yes to.
    template <typename Predicate>
    std::vector<Entry> Take(Predicate leaves) {
        std::vector<Entry> taken;
        std::copy_if(mEntries.begin(), mEntries.end(), std::back_inserter(taken), leaves);
        std::erase_if(mEntries, leaves);
        return taken;
    }

    const std::vector<Entry>& Entries() const { return mEntries; }
    unsigned long Next() const { return mNext; }

private:
    std::vector<Entry> mEntries;
    unsigned long mNext = kFirstHandle;
};

class CommandManagerModel : public testing::TestWithParam<unsigned int> {
protected:
    unsigned int Draw(unsigned int count) {
        return std::uniform_int_distribution<unsigned int>(0, count - 1)(mRandom);
    }
    int DrawOwner() { return kReserved + 1 + static_cast<int>(Draw(kOwnerSpan)); }
    TimePoint Now() const { return mClock.SteadyNow(); }

    void Step();
    void DoRequest();
    void DoEvent();
    void DoProbe();
    void DoRelease();
    void DoReleaseAllOf();
    void DoReleaseAll();
    void DoStopEvent();
    void DoStopProbe();
    void ExpectRelease(const CommandWrapper& release, const Entry& entry) const;
    void ExpectSameTables() const;

    std::mt19937 mRandom{GetParam()};
    test::ManualClock mClock;
    test::LogCapture mLog{0};  // the log shows errors only
    CommandManager mManager{kMaxOwners, kMaxPerOwner, kMaxTotal, kReserved};
    Model mModel;
};

void CommandManagerModel::DoRequest() {
    const PerfCommandType types[] = {PERF_COMMAND_SHORT_START, PERF_COMMAND_LONG_START,
                                     PERF_COMMAND_MODE_START};
    const PerfCommandType type = types[Draw(3)];
    const int owner = DrawOwner();
    TimePoint end;
    if (type == PERF_COMMAND_SHORT_START) {
        end = Now() + milliseconds(Draw(40));
    } else if (type == PERF_COMMAND_MODE_START) {
        end = Now();
    }
    CommandWrapper cmd(type, Now(), end, 0);
    unsigned long handle = kNoHandle;
    const int result = mManager.RequestHandle(owner, Now(), cmd, handle);
    mModel.Expire(Now());
    if (mModel.HasRoom(owner)) {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(handle, mModel.Add({owner, 0, type, end, Origin::REQUEST, 0}));
    } else {
        ASSERT_EQ(result, -1);
        ASSERT_EQ(handle, kInvalidHandle);
    }
}

void CommandManagerModel::DoEvent() {
    const PerfEventId id = 18 + Draw(4);
    const TimePoint end = Now() + milliseconds(Draw(40));
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, Now(), Now(), 0);
    cmd.InsertEventCommand(PERF_QOS_GPU, Now(), end, {});
    unsigned long handle = kNoHandle;
    const int result = mManager.RequestEventHandle(id, Now(), cmd, handle);
    mModel.Expire(Now());
    if (mModel.HasRoom(kReserved)) {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(handle, mModel.Add({kReserved, 0, cmd.GetType(), end, Origin::EVENT, id}));
    } else {
        ASSERT_EQ(result, -1);
    }
}

void CommandManagerModel::DoProbe() {
    const int tid = DrawOwner();
    const TimePoint end = Now() + milliseconds(Draw(40));
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, Now(), Now(), 0);
    cmd.InsertProbeCommand(Now(), end, 1, 2, 3);
    unsigned long handle = kNoHandle;
    const int result = mManager.RequestProbeHandle(tid, Now(), cmd, handle);
    mModel.Expire(Now());
    if (mModel.IsProbed(tid)) {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(handle, kNoHandle);
    } else if (mModel.HasRoom(tid)) {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(handle, mModel.Add({tid, 0, cmd.GetType(), end, Origin::PROBE, 0}));
    } else {
        ASSERT_EQ(result, 2);
    }
}

void CommandManagerModel::DoRelease() {
    int pid = DrawOwner();
    unsigned long handle = mModel.Next() + 1 - Draw(static_cast<unsigned int>(mModel.Next()));
    if (!mModel.Entries().empty() && Draw(2) == 0) {
        const auto size = static_cast<unsigned int>(mModel.Entries().size());
        const Entry& entry = mModel.Entries()[Draw(size)];
        pid = entry.owner;
        handle = entry.handle;
    }
    CommandWrapper release;
    const int result = mManager.BuildReleaseCommand(pid, handle, release);
    if (pid <= kReserved) {
        ASSERT_EQ(result, -1);  // refused before anything else, expiry included
        return;
    }
    mModel.Expire(Now());
    const auto taken = mModel.Take(
        [pid, handle](const Entry& entry) { return entry.owner == pid && entry.handle == handle; });
    ASSERT_EQ(result, taken.empty() ? -1 : 0);
    if (!taken.empty()) {
        ExpectRelease(release, taken[0]);
    }
}

void CommandManagerModel::DoReleaseAllOf() {
    const int pid = DrawOwner();
    HandleCommandMap releases;
    const int result = mManager.BuildReleaseAllCommand(pid, releases);
    mModel.Expire(Now());
    const auto taken = mModel.Take([pid](const Entry& entry) { return entry.owner == pid; });
    ASSERT_EQ(result, taken.empty() ? -1 : 0);
    ASSERT_EQ(releases.size(), taken.size());
    for (const Entry& entry : taken) {
        ExpectRelease(releases.at(entry.handle), entry);
    }
}

void CommandManagerModel::DoReleaseAll() {
    std::unordered_map<int, HandleCommandMap> releases;
    ASSERT_EQ(mManager.BuildReleaseAllCommand(releases), 0);
    mModel.Expire(Now());
    const auto taken = mModel.Take([](const Entry&) { return true; });
    std::size_t count = 0;
    for (const auto& [owner, commands] : releases) {
        count += commands.size();
    }
    ASSERT_EQ(count, taken.size());
    for (const Entry& entry : taken) {
        ExpectRelease(releases.at(entry.owner).at(entry.handle), entry);
    }
}

void CommandManagerModel::DoStopEvent() {
    const PerfEventId id = 18 + Draw(4);
    std::vector<CommandWrapper> releases;
    const int result = mManager.BuildEventReleaseCommand(id, releases);
    mModel.Expire(Now());
    const auto taken = mModel.Take(
        [id](const Entry& entry) { return entry.origin == Origin::EVENT && entry.event == id; });
    ASSERT_EQ(result, taken.empty() ? -1 : 0);
    ASSERT_EQ(releases.size(), taken.size());
    for (std::size_t i = 0; i < taken.size(); ++i) {
        ExpectRelease(releases[i], taken[i]);
    }
}

void CommandManagerModel::DoStopProbe() {
    const int tid = DrawOwner();
    CommandWrapper release;
    const int result = mManager.BuildProbeReleaseCommand(tid, release);
    mModel.Expire(Now());
    const auto taken = mModel.Take(
        [tid](const Entry& entry) { return entry.origin == Origin::PROBE && entry.owner == tid; });
    ASSERT_EQ(result, taken.empty() ? -1 : 0);
    if (!taken.empty()) {
        ExpectRelease(release, taken[0]);
    }
}

void CommandManagerModel::ExpectRelease(const CommandWrapper& release, const Entry& entry) const {
    const auto stop = entry.type == PERF_COMMAND_MODE_START
                          ? entry.type
                          : static_cast<PerfCommandType>(entry.type + 1);
    EXPECT_EQ(release.GetType(), stop);
    EXPECT_EQ(release.GetHandle(), entry.handle);
    EXPECT_EQ(release.GetEndTime(), entry.end);
}

void CommandManagerModel::ExpectSameTables() const {
    CommandManager::Counts expected;
    std::set<int> owners;
    for (const Entry& entry : mModel.Entries()) {
        owners.insert(entry.owner);
        expected.endTimeRecords += entry.type == PERF_COMMAND_SHORT_START ? 1U : 0U;
        expected.events += entry.origin == Origin::EVENT ? 1U : 0U;
        expected.probes += entry.origin == Origin::PROBE ? 1U : 0U;
        ASSERT_TRUE(mManager.IsRegistered(entry.owner, entry.handle));
    }
    const CommandManager::Counts counts = mManager.GetCounts();
    ASSERT_EQ(counts.liveHandles, mModel.Entries().size());
    ASSERT_EQ(counts.commands, mModel.Entries().size());
    ASSERT_EQ(counts.owners, owners.size());
    ASSERT_EQ(counts.endTimeRecords, expected.endTimeRecords);
    ASSERT_EQ(counts.events, expected.events);
    ASSERT_EQ(counts.probes, expected.probes);
}

void CommandManagerModel::Step() {
    const unsigned int choice = Draw(100);
    if (choice < 30) {
        DoRequest();
    } else if (choice < 45) {
        DoEvent();
    } else if (choice < 60) {
        DoProbe();
    } else if (choice < 80) {
        DoRelease();
    } else if (choice < 85) {
        DoReleaseAllOf();
    } else if (choice < 86) {
        DoReleaseAll();
    } else if (choice < 90) {
        DoStopEvent();
    } else if (choice < 95) {
        DoStopProbe();
    } else {
        mClock.Advance(milliseconds(Draw(25)));
    }
}

TEST_P(CommandManagerModel, EveryTableAgreesWithTheModelAfterEveryStep) {
    for (int i = 0; i < 4000; ++i) {
        Step();
        // What says that the tables contradict each other may never come up.
        for (const char* text :
             {"deleteFromeEndtimeMap failed", "UpdateReleaseCommandType failed"}) {
            ASSERT_EQ(mLog.Count(6, text), 0U);
        }
        mLog.Clear();
        ASSERT_NO_FATAL_FAILURE(ExpectSameTables()) << "step " << i << ", seed " << GetParam();
        ASSERT_FALSE(HasFailure()) << "step " << i << ", seed " << GetParam();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CommandManagerModel, testing::Range(1U, 9U));

}  // namespace
}  // namespace corebeacon
