// Engines whose workers take turns on a virtual time.
#include "turn_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "engine/resource_manager.h"
#include "platform/clock.h"
#include "recording_node_io.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

/// An engine with the built-in tables on the simulated device of chip 0.
class Engine {
public:
    explicit Engine(Pace pace)
        : mClock(pace),
          mDevice(sim::SimulatedDevice::ForChip(0)),
          mRecord(*mDevice),
          mNodeIo(mRecord),
          mBegin(SteadyNow()) {
        PerfDefaultConfig config;
        config.qosConfigMap = GetPerfQosConfigMap();
        mFront = std::make_unique<ConfigManager>();
        EXPECT_EQ(0, mFront->Init(config, GetConfigurableEventVec(CHIP_TYPE_COMMON),
                                  GetConfigurableScenarioVec(CHIP_TYPE_COMMON), ProbeEvent()));
        std::vector<PerfQosId> ids;
        mFront->Resources().GetResourceIds(ids);
        std::vector<TurnClock::Station> stations;
        for (const PerfQosId id : ids) {
            const PerfResource* const resource = mFront->Resources().GetResourcePtr(id).get();
            stations.push_back({resource, resource + 1});
        }
        mClock.Conduct(stations, [this](Round round, TimePoint time) {
            mRounds.emplace_back(round, Millis(time));
        });
    }
    ~Engine() { mClock.LetGo(); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    unsigned long Request(PerfQosId qosId, int value, unsigned duration) {
        unsigned long handle = 0;
        mClock.Ask();
        EXPECT_EQ(
            0, mFront->PerfRequest(
                   1001, duration,
                   {{qosId, {{.groupId = 0, .values = {{PERF_OPERATION_BOOST, value}}}}}}, handle));
        return handle;
    }

    void Pass(milliseconds time) {
        const TimePoint until = SteadyNow() + time;
        while (SteadyNow() < until) {
            mRecord.WaitForWrite(until);
            Collect();
        }
    }

    /// "500: policy0/scaling_min_freq=1364000" and so on.
    std::string Writes() {
        Collect();
        return std::exchange(mWrites, "");
    }

    static long long Millis(TimePoint time, TimePoint since) {
        return std::chrono::duration_cast<milliseconds>(time - since).count();
    }
    long long Millis(TimePoint time) const { return Millis(time, mBegin); }

    TurnClock& Clock() { return mClock; }
    ConfigManager& Front() { return *mFront; }
    const std::vector<std::pair<Round, long long>>& Rounds() const { return mRounds; }

private:
    void Collect() {
        for (const NodeWrite& write : mRecord.Take()) {
            const std::size_t file = write.path.rfind('/');
            const std::size_t directory = write.path.rfind('/', file - 1);
            mWrites += std::to_string(Millis(write.time)) + ": " +
                       write.path.substr(directory + 1) + "=" + write.value + "\n";
        }
    }

    const corebeacon::test::LogCapture mLog{0};
    TurnClock mClock;
    std::unique_ptr<sim::SimulatedDevice> mDevice;
    RecordingNodeIo mRecord;
    const corebeacon::test::ScopedNodeIo mNodeIo;
    const TimePoint mBegin;
    std::vector<std::pair<Round, long long>> mRounds;
    std::string mWrites;
    std::unique_ptr<ConfigManager> mFront;
};

TEST(TurnClock, NobodyMovesUntilTimeIsToPass) {
    Engine engine(Pace::VIRTUAL);
    engine.Request(PERF_QOS_GPU, 400000000, 500);
    EXPECT_EQ("", engine.Writes());
    engine.Pass(milliseconds(1));
    EXPECT_NE("", engine.Writes());
}

TEST(TurnClock, WritesComeInTheOrderOfTheStationsAndOfTheirTimes) {
    Engine engine(Pace::VIRTUAL);
    engine.Request(PERF_QOS_GPU, 400000000, 300);
    engine.Request(PERF_QOS_CPU_M, 1655000, 300);
    engine.Request(PERF_QOS_CPU_B, 2309000, 200);
    engine.Pass(milliseconds(1000));
    std::vector<std::string> order;
    const std::string writes = engine.Writes();
    for (std::size_t at = 0; at < writes.size(); at = writes.find('\n', at) + 1) {
        const std::string line = writes.substr(at, writes.find('/', at) - at);
        if (order.empty() || order.back() != line) {
            order.push_back(line);
        }
    }
    EXPECT_EQ((std::vector<std::string>{"0: policy1", "0: policy2", "0: gpufreq", "200: policy2",
                                        "300: policy1", "300: gpufreq"}),
              order);
}

TEST(TurnClock, AMinuteTakesNoTimeAndIsTheSameEachTime) {
    const auto begin = std::chrono::steady_clock::now();
    std::string first;
    for (int turn = 0; turn < 2; ++turn) {
        Engine engine(Pace::VIRTUAL);
        for (int i = 0; i < 60; ++i) {
            engine.Request(PERF_QOS_CPU_B, 2309000, 20 + static_cast<unsigned>(i % 10) * 30);
            engine.Request(PERF_QOS_CPU_M, 1655000, 1000);
            engine.Pass(milliseconds(1000));
        }
        const std::string writes = engine.Writes();
        EXPECT_NE(std::string::npos, writes.find("\n59290: "));
        first = turn == 0 ? writes : first;
        EXPECT_EQ(first, writes);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(TurnClock, ADumpGetsItsAnswers) {
    Engine engine(Pace::VIRTUAL);
    engine.Request(PERF_QOS_CPU_B, 2309000, 500);
    std::ostringstream dump;
    EXPECT_EQ(0, engine.Front().TaskDump(false, dump));
    EXPECT_NE(std::string::npos, dump.str().find("2309000"));
    EXPECT_EQ((std::vector<std::pair<Round, long long>>{{Round::ALL, 0}}), engine.Rounds());
}

TEST(TurnClock, TellsOfRoundsOnlyWhenSomebodyIsDue) {
    Engine engine(Pace::VIRTUAL);
    engine.Request(PERF_QOS_CPU_B, 2309000, 500);
    engine.Pass(milliseconds(2000));
    EXPECT_EQ((std::vector<std::pair<Round, long long>>{{Round::ALL, 0}, {Round::DUE, 500}}),
              engine.Rounds());
    EXPECT_EQ(2000, engine.Millis(SteadyNow()));
    engine.Clock().Run(Round::DUE);
    EXPECT_EQ(2U, engine.Rounds().size());
}

TEST(TurnClock, TimeNeverGoesBack) {
    Engine engine(Pace::VIRTUAL);
    const TimePoint begin = SteadyNow();
    engine.Clock().MoveTo(begin + milliseconds(50));
    engine.Clock().MoveTo(begin);
    EXPECT_EQ(50, Engine::Millis(SteadyNow(), begin));
    EXPECT_EQ(milliseconds(50), GetClock().WallNow().time_since_epoch());
}

TEST(TurnClock, AtTheRealPaceTimePassesAsItDoes) {
    Engine engine(Pace::REAL);
    const auto begin = std::chrono::steady_clock::now();
    engine.Request(PERF_QOS_CPU_B, 2309000, 30);
    engine.Pass(milliseconds(60));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(60));
    EXPECT_GE(SteadyNow() - begin, milliseconds(60));
    const std::string writes = engine.Writes();
    EXPECT_NE(std::string::npos, writes.find("policy2/scaling_min_freq=2309000"));
    ASSERT_EQ(2U, engine.Rounds().size());
    EXPECT_EQ(Round::DUE, engine.Rounds()[1].first);
    EXPECT_GE(engine.Rounds()[1].second, 30);
    EXPECT_LT(GetClock().WallNow() - std::chrono::system_clock::now(), std::chrono::seconds(5));
}

TEST(TurnClock, TheFormerClockIsBackAfterwards) {
    Clock& former = GetClock();
    { const TurnClock clock(Pace::VIRTUAL); }
    EXPECT_EQ(&former, &GetClock());
}

}  // namespace

}  // namespace corebeacon::tool
