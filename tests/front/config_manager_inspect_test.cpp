// What the front tells of groups: who asks, what is in force, what the nodes were given.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "front/front_fixture.h"

namespace corebeacon::test {
namespace {

class InspectTest : public FrontFixture {
protected:
    void SetUp() override { Start(); }

    GroupState Inspect(PerfQosId qosId = PERF_QOS_GPU) {
        std::vector<GroupState> groups;
        EXPECT_EQ(mFront->Inspect(qosId, groups), 0);
        EXPECT_EQ(groups.size(), 1U);
        return groups.empty() ? GroupState() : groups.front();
    }
    static GroupItemState Of(const GroupState& group, unsigned long handle) {
        for (const GroupItemState& item : group.items) {
            if (item.handle == handle) {
                return item;
            }
        }
        ADD_FAILURE() << "nothing of " << handle;
        return {};
    }
};

TEST_F(InspectTest, AFreshGroupHasItsBaseAndHasWrittenNothing) {
    const GroupState group = Inspect();
    EXPECT_EQ(group.qosId, PERF_QOS_GPU);
    EXPECT_EQ(group.qosName, "GPU");
    EXPECT_EQ(group.kind, GroupKind::FREQUENCY);
    EXPECT_EQ(group.inForce, (GroupPair{279000000, 750000000}));
    EXPECT_EQ(group.base, group.inForce);
    EXPECT_EQ(group.inspectedAt, mClock.SteadyNow());
    ASSERT_EQ(group.nodes.size(), 2U);
    EXPECT_EQ(group.nodes[0].path, kMinGpu);
    EXPECT_EQ(group.nodes[1].path, kMaxGpu);
    EXPECT_EQ(group.nodes[0].status, NodeWriteStatus::NOTHING_WRITTEN);
    EXPECT_EQ(group.nodes[0].text, "");
}

TEST_F(InspectTest, EveryOriginIsLookedUp) {
    unsigned long handle = 0;
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 893000)}, handle),
        0);
    ASSERT_EQ(mFront->StartEvent(kEvent, 0), 0);
    ASSERT_EQ(mFront->StartProbe(77), 0);
    const GroupState group = Inspect(PERF_QOS_CPU_M);
    const GroupItemState asked = Of(group, handle);
    EXPECT_EQ(asked.origin, RequestOrigin::CLIENT);
    EXPECT_EQ(asked.pid, kPid);
    int events = 0;
    for (const GroupItemState& item : group.items) {
        if (item.origin == RequestOrigin::EVENT) {
            ++events;
            EXPECT_EQ(item.eventId, kEvent);
            EXPECT_EQ(item.pid, 0);
        } else if (item.origin == RequestOrigin::PROBE) {
            EXPECT_EQ(item.pid, 77);
        }
    }
    EXPECT_EQ(events, 2);  // both steps
    EXPECT_EQ(Of(group, GroupState::kNobody).origin, RequestOrigin::UNKNOWN);
}

TEST_F(InspectTest, TheStateIsThatAfterAllThatWasAskedBefore) {
    unsigned long handle = 0;
    ASSERT_EQ(mFront->PerfRequest(kPid, 500, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 600000000)},
                                  handle),
              0);
    const GroupState group = Inspect();
    EXPECT_EQ(group.inForce, (GroupPair{600000000, 750000000}));
    EXPECT_EQ(group.nodes[0].status, NodeWriteStatus::WRITTEN);
    EXPECT_EQ(group.nodes[0].text, "600000000");
    const GroupItemState item = Of(group, handle);
    EXPECT_TRUE(item.decidesFloor);
    EXPECT_EQ(item.end, mClock.SteadyNow() + milliseconds(500));
    EXPECT_EQ(group.nextWakeUp, item.end);
    EXPECT_EQ(item.afterEnd, (GroupPair{279000000, 750000000}));
}

TEST_F(InspectTest, AFailedWriteIsToldWithItsErrno) {
    mDevice->Inject(kMinGpu, sim::OperationKind::WRITE, sim::Fault::Errno(EIO).Forever());
    unsigned long handle = 0;
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 600000000)}, handle),
        0);
    const GroupState group = Inspect();
    EXPECT_EQ(group.nodes[0].status, NodeWriteStatus::FAILED);
    EXPECT_EQ(group.nodes[0].error, EIO);
    EXPECT_EQ(group.nodes[0].text, "600000000");
    EXPECT_EQ(group.nodes[1].status, NodeWriteStatus::WRITTEN);
}

TEST_F(InspectTest, AQosThatTheDeviceLacksHasNoState) {
    std::vector<GroupState> groups(3);
    EXPECT_EQ(mFront->Inspect(PERF_QOS_DDR, groups), -1);
    EXPECT_TRUE(groups.empty());
    EXPECT_EQ(mFront->Inspect(PERF_QOS_INVALID, groups), -1);
}

TEST_F(InspectTest, ManyMayAskAtOnce) {
    std::vector<std::thread> askers;
    for (int asker = 0; asker < 4; ++asker) {
        askers.emplace_back([this] {
            for (int i = 0; i < 50; ++i) {
                std::vector<GroupState> groups;
                EXPECT_EQ(mFront->Inspect(PERF_QOS_GPU, groups), 0);
                EXPECT_EQ(groups.size(), 1U);
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
}

TEST_F(InspectTest, ANodeThatHangsHoldsUpOnlyWhoAsksForItsQos) {
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->Inject(kMinGpu, sim::OperationKind::WRITE, sim::Fault::Hold(gate));
    unsigned long handle = 0;
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 600000000)}, handle),
        0);
    ASSERT_TRUE(gate->AwaitWaiting(1));
    EXPECT_EQ(Inspect(PERF_QOS_CPU_L).qosName, "CPU_L");
    GroupState group;
    std::thread asker([this, &group] { group = Inspect(); });
    gate->Open();
    asker.join();
    EXPECT_EQ(group.nodes[0].text, "600000000");
}

// ---- The nodes of every kind ----

class InspectWholeTable : public EngineFixture,
                          public ::testing::WithParamInterface<ChipTypeAvailableValue> {
protected:
    InspectWholeTable() : EngineFixture(GetParam()) {}

    /// What the node was given last, as a person reads it.
    std::string LastWrite(const std::string& path) const {
        const std::vector<std::string> writes = mDevice->WritesTo(path);
        if (writes.empty()) {
            return "";
        }
        const bool isBinary = writes.back().size() == 4 && path.starts_with("/dev/");
        return isBinary ? mDevice->Value(path) : writes.back();
    }

    void ExpectNodesAsWritten(PerfQosId qosId, std::set<GroupKind>& kinds) {
        std::vector<GroupState> groups;
        ASSERT_EQ(mFront->Inspect(qosId, groups), 0);
        for (const GroupState& group : groups) {
            EXPECT_NE(group.kind, GroupKind::OTHER) << group.qosName;
            kinds.insert(group.kind);
            for (const NodeState& node : group.nodes) {
                mTold.insert(node.path);
                if (group.kind == GroupKind::IOCTL_LEVEL_MAP) {
                    EXPECT_EQ(node.status, NodeWriteStatus::WRITTEN) << node.path;
                    EXPECT_FALSE(mDevice->IoctlsTo(node.path).empty());
                    continue;
                }
                const bool isWritten = !mDevice->WritesTo(node.path).empty();
                EXPECT_EQ(node.status == NodeWriteStatus::WRITTEN, isWritten) << node.path;
                EXPECT_EQ(node.text, LastWrite(node.path)) << node.path;
            }
        }
    }

    std::set<std::string> mTold;
};

TEST_P(InspectWholeTable, TellsWhatEveryNodeWasGivenLast) {
    const LogCapture log(0);
    StartEngine();
    unsigned long handle = 0;
    ASSERT_EQ(mFront->PerfSetMode(kPid, 1, handle), 0);  // has every group write
    std::vector<PerfQosId> ids;
    mFront->Resources().GetResourceIds(ids);
    std::set<GroupKind> kinds;
    for (const PerfQosId qosId : ids) {
        ExpectNodesAsWritten(qosId, kinds);
    }
    // All that there are but OTHER.
    EXPECT_EQ(kinds.size(), static_cast<std::size_t>(GroupKind::MONITOR_ENABLE));
    for (const sim::Operation& write : mDevice->Writes()) {
        EXPECT_TRUE(mTold.contains(write.path)) << write.path;
    }
}

INSTANTIATE_TEST_SUITE_P(AllChips, InspectWholeTable,
                         ::testing::Values(CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_1,
                                           CHIP_TYPE_VARIANT_2));

}  // namespace
}  // namespace corebeacon::test
