// An engine that comes and goes while memory is short, and the tables that it is made of.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "config/qos_amendments.h"
#include "oom/oom_fixture.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
const PerfRequestInfo kFloor = Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000);

/// What the front says of all base values.
std::string BaseInfo(ConfigManager& front) {
    std::ostringstream out;
    EXPECT_EQ(front.TaskDump(true, out), 0);
    return out.str();
}

class LifeOomTest : public OomFixture {
protected:
    const std::vector<ConfigurableEvent> mEvents = GetConfigurableEventVec(mChip);
    const std::vector<ConfigurableScenario> mScenarios = GetConfigurableScenarioVec(mChip);
    const ProbeEvent mProbe = ProbeEvent();
};

class InitOomTest : public LifeOomTest, public ::testing::WithParamInterface<Shortage> {};

TEST_P(InitOomTest, AnEngineThatCannotBeBuiltLeavesNothingAndIsBuiltTheNextTime) {
    mFront.reset();
    ConfigManager whole;
    PerfDefaultConfig config = BuiltinConfig();
    ASSERT_EQ(whole.Init(config, mEvents, mScenarios, mProbe), 0);
    const std::size_t descriptors = mDevice->OpenDescriptors();
    ConfigManager front;
    // The same description all the time: attempts that failed half-way have narrowed it already.
    config = BuiltinConfig();
    int result = -1;
    // Far beyond the first few hundred, one in some is as good as each.
    for (long nth = 1; result != 0; nth += 1 + nth / 50) {
        {
            const FailingHeap heap(HeapUser::THIS_THREAD, GetParam(), nth);
            EXPECT_NO_THROW(result = front.Init(config, mEvents, mScenarios, mProbe));
        }
        ASSERT_EQ(result, FailingHeap::HasFailed() ? -1 : 0) << "allocation " << nth;
        if (result != 0) {
            EXPECT_EQ(mDevice->OpenDescriptors(), descriptors);
            std::vector<PerfQosId> ids;
            front.Resources().GetResourceIds(ids);
            EXPECT_TRUE(ids.empty());
        }
    }
    EXPECT_EQ(BaseInfo(front), BaseInfo(whole));
    unsigned long handle = 0;
    EXPECT_EQ(front.PerfRequest(kPid, 0, {kFloor}, handle), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, InitOomTest, ::testing::Values(Shortage::ONCE, Shortage::FOR_EVER),
                         [](const auto& tested) {
                             return tested.param == Shortage::ONCE ? "Once" : "ForEver";
                         });

TEST_F(LifeOomTest, AConstructorThatFindsNoMemoryThrowsAndLeavesNothing) {
    std::unique_ptr<ConfigManager> front;
    for (long nth = 1; front == nullptr; ++nth) {
        ASSERT_LT(nth, 1000);
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::ONCE, nth);
        try {
            front = std::make_unique<ConfigManager>();
            EXPECT_FALSE(FailingHeap::HasFailed());
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(FailingHeap::HasFailed());
        }
    }
    PerfDefaultConfig config = BuiltinConfig();
    EXPECT_EQ(front->Init(config, mEvents, mScenarios, mProbe), 0);
}

TEST_F(LifeOomTest, AnEngineGoesWithoutMemoryWhateverIsQueued) {
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->InjectEverywhere(sim::OperationKind::WRITE, sim::Fault::Hold(gate).Forever());
    unsigned long handle = 0;
    for (int round = 0; round < 40; ++round) {
        ASSERT_EQ(mFront->PerfRequest(kPid, 0, {kFloor}, handle), 0);
        ASSERT_EQ(mFront->StartProbe(4711 + round), 0);
    }
    {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, 1);
        EXPECT_EQ(mFront->Reset(), 0);
        EXPECT_TRUE(FailingHeap::HasFailed()) << "no stop was late";
    }
    gate->Open();
    {
        const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
        mFront.reset();
    }
    EXPECT_EQ(mDevice->OpenDescriptors(), 0U);
}

/// The values of all rows as one text.
std::string RowsOf(const PerfQosConfigMap& table) {
    std::ostringstream out;
    for (const auto& [qosId, config] : table) {
        for (const PerfGroupConfig& row : config.get().groups) {
            out << qosId << "." << row.groupId << " " << row.name << " " << row.availableMin << " "
                << row.availableMax << " " << row.baseMin << " " << row.baseMax << " "
                << row.level2ValueMap.size() << " " << row.sysNodePaths.size() << "\n";
        }
    }
    return out.str();
}

TEST_F(LifeOomTest, TheBoardsNameIsReadWholeOrNotAtAll) {
    // Of words so long that each takes memory of its own: only the last says what the board is.
    mDevice->AddText("/proc/device-tree/vexa,boardname",
                     "a-maker-with-a-long-name the-board-udp-for-development");
    const std::string whole = RowsOf(GetPerfQosConfigMap());
    const QosAmendments amendments;
    bool isThrough = false;
    for (long nth = 1; !isThrough; ++nth) {
        ASSERT_LT(nth, 1000);
        PerfQosConfigMap table = GetPerfQosConfigMap();
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::ONCE, nth);
        try {
            AmendQosTable(amendments, table);
            isThrough = true;
        } catch (const std::bad_alloc&) {
        }
        const HeapExemption exemption;
        EXPECT_NE(isThrough, FailingHeap::HasFailed()) << "allocation " << nth;
        EXPECT_EQ(RowsOf(table), whole) << "allocation " << nth;
    }
}

TEST_F(LifeOomTest, TheBuiltinTableIsMadeWholeOrNotAtAll) {
    const std::string whole = RowsOf(GetPerfQosConfigMap());
    PerfQosConfigMap table;
    for (long nth = 1; table.empty(); nth += 1 + nth / 50) {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::ONCE, nth);
        try {
            table = GetPerfQosConfigMap();
            EXPECT_FALSE(FailingHeap::HasFailed()) << "allocation " << nth;
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(FailingHeap::HasFailed());
        }
    }
    EXPECT_EQ(RowsOf(table), whole);
}

}  // namespace
}  // namespace corebeacon::test
