// The whole built-in table at work on each chip: every scenario and event applies and withdraws
// exactly its values. What is written stands in a golden file for each chip, for people to review.
#include <gtest/gtest.h>

#include <cstring>
#include <iomanip>
#include <set>
#include <tuple>

#include "board/board_reader.h"
#include "board/board_writer.h"
#include "sim/eas_example.h"
#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/golden.h"
#include "support/manual_clock.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1001;

enum class Origin { COMPILED_IN, DESCRIBED };

class WholeTableTest
    : public EngineFixture,
      public ::testing::WithParamInterface<std::tuple<ChipTypeAvailableValue, Origin>> {
protected:
    WholeTableTest() : EngineFixture(std::get<0>(GetParam())) {}

    void SetUp() override {
        sim::AddEasNodes(*mDevice);
        PerfDefaultConfig config = BuiltinConfig();
        config.qosConfigMap.emplace(PERF_QOS_EAS, mEas);
        mEvents = GetConfigurableEventVec(mChip);
        mScenarios = GetConfigurableScenarioVec(mChip);
        if (std::get<1>(GetParam()) == Origin::DESCRIBED) {
            Describe(config);
        }
        mFront = std::make_unique<ConfigManager>();
        ASSERT_EQ(mFront->Init(config, mEvents, mScenarios, ProbeEvent()), 0);
        NoteOwners(config.qosConfigMap);
        NoteOwners(config.qosXmlConfigMap);
        Settle(*mFront);
        mDevice->ClearRecord();
    }

    /// What was written since the last call: QoS by QoS, since their workers are not in step, and
    /// for each its writes in their order.
    std::string NewWrites() {
        Settle(*mFront);
        std::map<PerfQosId, std::string> texts;
        for (const sim::Operation& operation : mDevice->Operations()) {
            if (!operation.Succeeded()) {
                ADD_FAILURE() << operation.path << ": errno " << operation.error;
            }
            std::ostringstream line;
            if (operation.kind == sim::OperationKind::WRITE) {
                line << "    " << operation.path << " " << Shown(operation.bytes) << "\n";
            } else if (operation.kind == sim::OperationKind::IOCTL) {
                line << "    " << operation.path << " " << std::hex << operation.request;
                for (const std::uint8_t byte : operation.argument) {
                    line << " " << std::setw(2) << std::setfill('0') << static_cast<int>(byte);
                }
                line << "\n";
            }
            texts[mOwners.at(operation.path)] += line.str();
        }
        mDevice->ClearRecord();
        std::ostringstream out;
        for (const auto& [qosId, text] : texts) {
            out << "  " << qosId << " " << PerfQosName(qosId) << "\n" << text;
        }
        return out.str();
    }

    /// Every node that the engine has written holds what it held before the engine came, or what
    /// the engine has written first for want of anybody's request.
    void ExpectBase(const std::string& when) {
        for (const auto& [path, value] : mDevice->Snapshot()) {
            EXPECT_EQ(value, path == "/dev/memory_bandwidth" && value != "0" ? mBaseBandwidth
                                                                             : mBefore.at(path))
                << path << " after " << when;
        }
    }

    ManualClock mClock;
    std::map<std::string, std::string> mBefore;
    const std::string mBaseBandwidth = "4012";  // 418 MHz x 9.6
    std::vector<ConfigurableEvent> mEvents;
    std::vector<ConfigurableScenario> mScenarios;

private:
    /// Puts what is read from a description of the tables in their place.
    void Describe(PerfDefaultConfig& config) {
        board::Board board = board::BuiltinBoard(mChip);
        board.qos.emplace(PERF_QOS_EAS, board::AsLoaded(mEas));
        mRead = board::ParseBoard(board::BoardText(board));
        ASSERT_TRUE(mRead.errors.empty()) << mRead.errors.front().message;
        config.qosConfigMap.clear();
        config.qosXmlConfigMap = mRead.board.QosMap();
        mEvents = mRead.board.events;
        mScenarios = mRead.board.scenarios;
    }

    void NoteOwners(const PerfQosConfigMap& table) {
        for (const auto& [qosId, config] : table) {
            for (const PerfGroupConfig& group : config.get().groups) {
                for (const std::string& path : group.sysNodePaths) {
                    mOwners[path] = qosId;
                }
            }
        }
        mOwners[sim::kEasGlobalBoostNode] = PERF_QOS_EAS;
        mBefore = mDevice->Snapshot();
    }

    /// A text as it was written, four raw bytes as their number.
    static std::string Shown(const std::string& bytes) {
        std::int32_t number = 0;
        for (const char byte : bytes) {
            if (byte < ' ' && bytes.size() == sizeof number) {
                std::memcpy(&number, bytes.data(), sizeof number);
                return "binary " + std::to_string(number);
            }
        }
        return "\"" + bytes + "\"";
    }

    PerfQosEasConfig mEas = sim::MakeEasConfig();
    board::ReadBoard mRead;
    std::map<std::string, PerfQosId> mOwners;
};

TEST_P(WholeTableTest, EveryQosHasItsResource) {
    std::vector<PerfQosId> ids;
    mFront->Resources().GetResourceIds(ids);
    EXPECT_EQ(ids.size(), 50U);  // the 49 of the table, and the example
    EXPECT_TRUE(mFront->Resources().GetUnsupportedQos().empty());
    EXPECT_EQ(NewWrites(), "");
}

TEST_P(WholeTableTest, ScenariosAndEventsWriteWhatWasReviewed) {
    std::ostringstream out;
    for (const ConfigurableScenario& scenario : mScenarios) {
        const std::string name = "scenario " + std::to_string(scenario.scenarioId);
        unsigned long handle = 0;
        ASSERT_EQ(mFront->PerfSetScenario(kPid, scenario.scenarioId, handle), 0);
        out << name << "\n" << NewWrites();
        ASSERT_EQ(mFront->PerfRelease(kPid, handle), 0);
        out << name << " released\n" << NewWrites();
        ExpectBase(name);
    }
    for (const ConfigurableEvent& event : mEvents) {
        const std::string name = "event " + std::to_string(event.eventId);
        std::set<unsigned int> times;
        for (const QosCommand& command : event.qosCommands) {
            unsigned int time = 0;
            for (const SequenceCommand& step : command.sequence) {
                times.insert(time += step.duration);
            }
        }
        ASSERT_EQ(mFront->StartEvent(event.eventId, 0), 0);
        out << name << "\n" << NewWrites();
        unsigned int now = 0;
        for (const unsigned int time : times) {
            Pass(*mFront, mClock, std::chrono::milliseconds(time - now));
            now = time;
            out << name << " after " << time << " ms\n" << NewWrites();
        }
        ExpectBase(name);
    }
    ExpectGolden(COREBEACON_GOLDEN_DIR "/writes_chip_" + std::to_string(mChip) + ".txt", out.str());
}

INSTANTIATE_TEST_SUITE_P(Chips, WholeTableTest,
                         ::testing::Combine(::testing::Values(CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_1,
                                                              CHIP_TYPE_VARIANT_2),
                                            ::testing::Values(Origin::COMPILED_IN,
                                                              Origin::DESCRIBED)));

}  // namespace
}  // namespace corebeacon::test
