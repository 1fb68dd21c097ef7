// What becomes of a write that failed. Nobody repeats it by itself: a group writes when a command
// or an expiry gives one of its queues another head, when its work mode is set and when it is
// resumed, and what it writes is then the value in force, whatever was written before. So a lost
// write is made good by the next of these.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "faults/bench.h"
#include "faults/node_kind.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::OperationKind;
using Texts = std::vector<std::string>;

const std::string kNode = "/node";
const std::string kSecondNode = "/second_node";
const std::string kThirdNode = "/third_node";
const std::string kGpuTop = "/gpu_top_freq";

/// A kind of node whose next writes fail.
class FailedWrite : public testing::Test {
protected:
    void Lose(const std::string& node, const Action& action) {
        sim::SimulatedDevice& device = mBench->Device();
        const auto fault = device.Inject(node, OperationKind::WRITE, Fault::Errno(EBUSY).Forever());
        mBench->Do(action);
        EXPECT_NE(device.FaultHits(fault), 0U);
        device.RemoveFault(fault);
        device.ClearRecord();
    }

    void Use(const char* kind) { mBench = std::make_unique<Bench>(NodeKindOf(kind)); }
    void Do(const Action& action) { mBench->Do(action); }
    std::string Value(const std::string& node) const { return mBench->Device().Value(node); }
    bool Untouched() const { return mBench->Device().Operations().empty(); }
    Texts Written() const { return mBench->Device().WritesTo(kNode); }

    std::unique_ptr<Bench> mBench;
};

class FailedWriteOfOneNode : public FailedWrite {
protected:
    FailedWriteOfOneNode() { Use("SingleNode"); }  // rests at 100, takes up to 1000
};

TEST_F(FailedWriteOfOneNode, IsNotRepeatedByACommandThatChangesNoHead) {
    Lose(kNode, Boost(1, 300));
    Do(Boost(2, 200));
    Do(Boost(3, 300));
    Do(Stop(Boost(2, 200)));
    EXPECT_TRUE(Untouched());
    EXPECT_EQ(Value(kNode), "-");
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodByTheNextHead) {
    Lose(kNode, Boost(1, 300));
    Do(Boost(2, 400));
    EXPECT_EQ(Written(), Texts{"400"});
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodByAHeadThatLeavesTheValueAsItIs) {
    Do(Boost(1, 300));
    Lose(kNode, Stop(Boost(1, 300)));
    EXPECT_EQ(Value(kNode), "300");
    Do(Boost(2, 50));  // below the base: 100 stays in force
    EXPECT_EQ(Value(kNode), "100");
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodWhenTheRequestEnds) {
    Lose(kNode, Boost(1, 300));
    Do(Pause(1000));
    EXPECT_EQ(Written(), Texts{"100"});
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodByARelease) {
    Lose(kNode, Boost(1, 300));
    Do(Stop(Boost(1, 300)));
    EXPECT_EQ(Written(), Texts{"100"});
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodByAResume) {
    Lose(kNode, Boost(1, 300));
    Do(Suspend());
    Do(Resume());
    EXPECT_EQ(Written(), Texts{"300"});
}

TEST_F(FailedWriteOfOneNode, IsMadeGoodByAWorkMode) {
    Lose(kNode, Boost(1, 300));
    Do({.type = PERF_COMMAND_MODE_START});
    EXPECT_EQ(Written(), Texts{"300"});
}

TEST_F(FailedWriteOfOneNode, OfALastingRequestIsMadeGoodOnlyByAnotherPairOfBaseValues) {
    Lose(kNode, Lasting(Boost(1, 1000)));
    Action ceiling = Boost(2, 1000);
    ceiling.groups = {{0, {{PERF_OPERATION_LIMIT, 1000}}}};
    Do(Lasting(ceiling));
    Do(Lasting(Boost(3, 500)));
    EXPECT_TRUE(Untouched());
    Do(Lasting(Stop(Boost(1, 1000))));
    EXPECT_EQ(Written(), Texts{"500"});
}

// Some kinds take note of what they wrote, or meant to write.

TEST_F(FailedWrite, OfTheGpuTopSwitchIsRepeatedWithTheNextLimitWrittenWhicheverItIs) {
    Use("Frequency");
    Lose(kGpuTop, Range(1, 400000, 800000));
    Do(Stop(Range(1, 400000, 800000)));  // back to where the switch still is
    EXPECT_EQ(Value(kGpuTop), "-");
    Do(Range(2, 400000, 800000));
    EXPECT_EQ(Value(kGpuTop), "0");
}

TEST_F(FailedWrite, OfAFloorKeepsTheGpuTopSwitchAsItWas) {
    Use("Frequency");
    Lose("/policy0/scaling_min_freq", Range(1, 400000, 800000));
    EXPECT_EQ(Value(kGpuTop), "-");
}

TEST_F(FailedWrite, OfAnAllocatorsEnabledIsMadeGoodOnTheNextWayDown) {
    Use("IpaPowerWithBoardSwitch");
    Do(Boost(1, 12000));
    Lose(kSecondNode, Stop(Boost(1, 12000)));
    EXPECT_EQ(Value(kSecondNode), "disabled");
    EXPECT_EQ(Value(kThirdNode), "enabled");
    Do(Boost(2, 5000));
    EXPECT_EQ(Value(kSecondNode), "disabled");
    Do(Boost(3, 12000));
    Do(Stop(Boost(3, 12000)));
    EXPECT_EQ(Value(kSecondNode), "enabled");
}

TEST_F(FailedWrite, OfAMonitorIsMadeGoodWhenTheRatioIsOpenedAnew) {
    Use("MemLatRatioAndMonitor");
    Do(Boost(1, 80));
    Do(Stop(Boost(1, 80)));
    EXPECT_EQ(Value(kSecondNode), "on");
    Lose(kSecondNode, Boost(2, 80));
    EXPECT_EQ(Value(kNode), "800");
    Do(Boost(3, 100));
    EXPECT_EQ(Value(kNode), "1000");
    EXPECT_EQ(Value(kSecondNode), "on");
    Do(Stop(Boost(3, 100)));
    Do(Stop(Boost(2, 80)));
    Do(Boost(4, 90));
    EXPECT_EQ(Value(kSecondNode), "off");
}

TEST_F(FailedWrite, OfARatioIsMadeGoodByTheNextRatio) {
    Use("MemLatRatioAndMonitor");
    Lose(kNode, Boost(1, 80));
    EXPECT_EQ(Value(kNode), "-");
    Do(Boost(2, 100));
    EXPECT_EQ(Value(kNode), "1000");
}

/// The device behind all nodes of a kind goes away and comes back with its defaults.
class LostDevice : public testing::TestWithParam<NodeKind> {
protected:
    LostDevice() {
        bench.Do(GetParam().script);
        sim::SimulatedDevice& device = bench.Device();
        const Texts nodes = device.Nodes();
        for (const std::string& node : nodes) {
            device.Remove(node);
        }
        EXPECT_EQ(device.Nodes(), Texts{});
        const Action& any = GetParam().script.front();
        bench.Do(any);
        bench.Do(Stop(any));
        for (const std::string& node : nodes) {
            device.Restore(node);
        }
    }

    Bench bench{GetParam()};
};

/// A descriptor that an ioctl failed on is kept, as the device may well be in order and only the
/// request not. That of a device that went away is dead.
bool KeepsDescriptors(const NodeKind& kind) {
    return kind.name == std::string("IoctlLevelMap");
}

TEST_P(LostDevice, IsInOrderAfterItsNextArbitration) {
    if (KeepsDescriptors(GetParam())) {
        bench.Do(GetParam().recovery);
        EXPECT_NE(bench.Device().Value(kNode), GetParam().inOrder.at(kNode));
        bench.Do(Suspend());
        bench.Do(Resume());
    } else {
        bench.Do(GetParam().recovery);
    }
    bench.ExpectInOrder();
    bench.ExpectCleanRecordAndLog();
}

INSTANTIATE_TEST_SUITE_P(Nodes, LostDevice, testing::ValuesIn(AllNodeKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
}  // namespace corebeacon::test
