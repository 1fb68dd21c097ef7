// Each function of the C interface beside the C++ operation that it stands for: the same results,
// the same log lines, the same texts and the same writes.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "front/c_interface_fixture.h"

namespace corebeacon {
namespace {

using namespace test;

constexpr unsigned long kUnused = 77;

/// What the calls of a story gave, in words.
class Story {
public:
    void Add(long result) { text += std::to_string(result) + "\n"; }
    void Add(int result, unsigned long handle) {
        text += std::to_string(result) + " handle " + std::to_string(handle) + "\n";
    }
    void Add(int result, const std::string& told) {
        text += std::to_string(result) + " '" + told + "'\n";
    }

    std::string text;
};

struct Case {
    const char* name;
    std::function<void(ConfigManager&, Story&)> inCpp;
    std::function<void(corebeacon_engine*, Story&)> inC;
};

std::vector<PerfRequestInfo> CpuLFloor(int value) {
    return {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, value)};
}

/// A request for one value of one group.
int RequestInC(corebeacon_engine* engine, unsigned int duration, const corebeacon_item& item,
               unsigned long& handle) {
    return corebeacon_request(engine, kPid, duration, &item, 1, &handle);
}

corebeacon_item CpuLFloorInC(int value) {
    return {COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, value};
}

/// A text that comes as a length and a buffer.
void AddText(Story& story, const std::function<int(char*, std::size_t)>& tell) {
    std::vector<char> buffer(65536, 'x');
    const int length = tell(buffer.data(), buffer.size());
    const std::string text = buffer.data();
    if (length >= 0) {
        EXPECT_EQ(static_cast<std::size_t>(length), text.size());
    }
    story.Add(length < 0 ? -1 : 0, text);
}

void AddText(Story& story, const std::function<int(std::ostringstream&)>& tell) {
    std::ostringstream out;
    const int result = tell(out);
    story.Add(result, out.str());
}

void RequestInBoth(std::vector<Case>& cases) {
    cases.push_back(
        {"timed and standing requests",
         [](ConfigManager& front, Story& story) {
             unsigned long handle = kUnused;
             const int timed = front.PerfRequest(kPid, 100, CpuLFloor(893000), handle);
             story.Add(timed, handle);
             const int standing =
                 front.PerfRequest(kPid, 0,
                                   {AskRange(PERF_QOS_GPU, 400000000, 495000000),
                                    Ask(PERF_QOS_CPU_B, PERF_OPERATION_LIMIT, 1952000),
                                    Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 300000000)},
                                   handle);
             story.Add(standing, handle);
         },
         [](corebeacon_engine* engine, Story& story) {
             unsigned long handle = kUnused;
             const int timed = RequestInC(engine, 100, CpuLFloorInC(893000), handle);
             story.Add(timed, handle);
             const corebeacon_item items[] = {{COREBEACON_QOS_GPU, 0, COREBEACON_BOOST, 400000000},
                                              {COREBEACON_QOS_GPU, 0, COREBEACON_LIMIT, 495000000},
                                              {COREBEACON_QOS_CPU_B, 0, COREBEACON_LIMIT, 1952000},
                                              {COREBEACON_QOS_GPU, 0, COREBEACON_BOOST, 300000000}};
             const int standing = corebeacon_request(engine, kPid, 0, items, 4, &handle);
             story.Add(standing, handle);
         }});
    cases.push_back(
        {"requests that are refused",
         [](ConfigManager& front, Story& story) {
             unsigned long handle = kUnused;
             story.Add(front.PerfRequest(kPid, 19, CpuLFloor(893000), handle));
             story.Add(front.PerfRequest(kPid, 0, {}, handle));
             story.Add(front.PerfRequest(0, 0, CpuLFloor(893000), handle));
             story.Add(front.PerfRequest(
                 kPid, 0, {{PERF_QOS_CPU_L, {{7, {{PERF_OPERATION_BOOST, 1}}}}}}, handle));
             story.Add(front.PerfRequest(
                 kPid, 0, {{PERF_QOS_CPU_L, {{0, {{PerfOperationType(9), 893000}}}}}}, handle));
         },
         [](corebeacon_engine* engine, Story& story) {
             unsigned long handle = kUnused;
             story.Add(RequestInC(engine, 19, CpuLFloorInC(893000), handle));
             story.Add(corebeacon_request(engine, kPid, 0, nullptr, 0, &handle));
             const corebeacon_item item = CpuLFloorInC(893000);
             story.Add(corebeacon_request(engine, 0, 0, &item, 1, &handle));
             story.Add(RequestInC(engine, 0, {COREBEACON_QOS_CPU_L, 7, 0, 1}, handle));
             story.Add(RequestInC(engine, 0, {COREBEACON_QOS_CPU_L, 0, 9, 893000}, handle));
         }});
}

void ReleaseInBoth(std::vector<Case>& cases) {
    cases.push_back({"releases",
                     [](ConfigManager& front, Story& story) {
                         unsigned long handle = kUnused;
                         story.Add(front.PerfRequest(kPid, 0, CpuLFloor(893000), handle), handle);
                         story.Add(front.PerfRelease(kPid, handle));
                         story.Add(front.PerfRelease(kPid, handle));
                         story.Add(front.PerfRequest(kPid, 0, CpuLFloor(1211000), handle), 0);
                         story.Add(front.PerfReleaseAll(kPid));
                         story.Add(front.PerfReleaseAll(kPid));
                         story.Add(front.PerfRequest(kPid, 0, CpuLFloor(1211000), handle), 0);
                         story.Add(front.Reset());
                     },
                     [](corebeacon_engine* engine, Story& story) {
                         unsigned long handle = kUnused;
                         story.Add(RequestInC(engine, 0, CpuLFloorInC(893000), handle), handle);
                         story.Add(corebeacon_release(engine, kPid, handle));
                         story.Add(corebeacon_release(engine, kPid, handle));
                         story.Add(RequestInC(engine, 0, CpuLFloorInC(1211000), handle), 0);
                         story.Add(corebeacon_release_all(engine, kPid));
                         story.Add(corebeacon_release_all(engine, kPid));
                         story.Add(RequestInC(engine, 0, CpuLFloorInC(1211000), handle), 0);
                         story.Add(corebeacon_reset(engine));
                     }});
}

void ScenarioInBoth(std::vector<Case>& cases, unsigned int known, PerfEventId event) {
    cases.push_back({"scenarios, modes and suspension",
                     [known](ConfigManager& front, Story& story) {
                         unsigned long handle = kUnused;
                         story.Add(front.PerfSetScenario(kPid, known, handle), handle);
                         story.Add(front.PerfSetScenario(kPid, 99, handle));
                         story.Add(front.PerfSetMode(kPid, 2, handle), handle);
                         story.Add(front.PerfSetMode(kPid, 3, handle));
                         story.Add(front.PerfSetSuspend({1, 0, 2, 99}));
                         story.Add(front.PerfRequest(kPid, 0, CpuLFloor(1211000), handle), handle);
                         story.Add(front.PerfSetSuspend({0, 0, 2}));
                         story.Add(front.PerfSetSuspend({1}));
                         story.Add(front.PerfSetSuspend({1, 99}));
                     },
                     [known](corebeacon_engine* engine, Story& story) {
                         unsigned long handle = kUnused;
                         story.Add(corebeacon_set_scenario(engine, kPid, known, &handle), handle);
                         story.Add(corebeacon_set_scenario(engine, kPid, 99, &handle));
                         story.Add(corebeacon_set_mode(engine, kPid, 2, &handle), handle);
                         story.Add(corebeacon_set_mode(engine, kPid, 3, &handle));
                         const uint32_t qos[] = {0, 2, 99};
                         story.Add(corebeacon_set_suspend(engine, 1, qos, 3));
                         story.Add(RequestInC(engine, 0, CpuLFloorInC(1211000), handle), handle);
                         story.Add(corebeacon_set_suspend(engine, 0, qos, 2));
                         story.Add(corebeacon_set_suspend(engine, 1, nullptr, 0));
                         story.Add(corebeacon_set_suspend(engine, 1, &qos[2], 1));
                     }});
    cases.push_back({"events",
                     [event](ConfigManager& front, Story& story) {
                         story.Add(front.StartEvent(event, 0));
                         story.Add(front.StartEvent(event, 300));
                         story.Add(front.StartEvent(19, 0));
                         front.StopEvent(event);
                         front.StopEvent(19);
                         story.Add(0);
                         story.Add(front.PerfEvent(event, {1, 500}, "begin"));
                         story.Add(front.PerfEvent(event, {}, ""));
                         story.Add(front.PerfEvent(event, {5}, "odd"));
                         story.Add(front.PerfEvent(8192, {1, 0}, "suspend"));
                     },
                     [event](corebeacon_engine* engine, Story& story) {
                         story.Add(corebeacon_start_event(engine, event, 0));
                         story.Add(corebeacon_start_event(engine, event, 300));
                         story.Add(corebeacon_start_event(engine, 19, 0));
                         story.Add(corebeacon_stop_event(engine, event) |
                                   corebeacon_stop_event(engine, 19));
                         const unsigned int begin[] = {1, 500};
                         story.Add(corebeacon_event(engine, event, begin, 2, "begin"));
                         story.Add(corebeacon_event(engine, event, nullptr, 0, ""));
                         const unsigned int odd[] = {5};
                         story.Add(corebeacon_event(engine, event, odd, 1, "odd"));
                         const unsigned int suspend[] = {1, 0};
                         story.Add(corebeacon_event(engine, 8192, suspend, 2, "suspend"));
                     }});
}

void DumpInBoth(std::vector<Case>& cases) {
    cases.push_back(
        {"dumps",
         [](ConfigManager& front, Story& story) {
             unsigned long handle = kUnused;
             story.Add(front.PerfRequest(kPid, 0, CpuLFloor(1211000), handle));
             for (const char* type : {"--event", "--scenario", "--base_info", "--workMode",
                                      "--task", "--limit_history", "--nonsense"}) {
                 AddText(story, [&](std::ostringstream& out) { return front.Dump(out, {type}); });
             }
             AddText(story, [&](std::ostringstream& out) { return front.TaskDump(true, out); });
             AddText(story, [&](std::ostringstream& out) { return front.TaskDump(false, out); });
             AddText(story, [&](std::ostringstream& out) {
                 front.DumpFreqLimitHistory(out);
                 return 0;
             });
             AddText(story, [&](std::ostringstream& out) {
                 front.DumpCoreVersion(out);
                 return 0;
             });
         },
         [](corebeacon_engine* engine, Story& story) {
             unsigned long handle = kUnused;
             story.Add(RequestInC(engine, 0, CpuLFloorInC(1211000), handle));
             for (const char* type : {"--event", "--scenario", "--base_info", "--workMode",
                                      "--task", "--limit_history", "--nonsense"}) {
                 AddText(story, [&](char* buffer, std::size_t size) {
                     return corebeacon_dump(engine, type, buffer, size);
                 });
             }
             for (const int full : {1, 0}) {
                 AddText(story, [&](char* buffer, std::size_t size) {
                     return corebeacon_task_dump(engine, full, buffer, size);
                 });
             }
             AddText(story, [&](char* buffer, std::size_t size) {
                 return corebeacon_dump_limit_history(engine, buffer, size);
             });
             AddText(story, [&](char* buffer, std::size_t size) {
                 return corebeacon_dump_core_version(engine, buffer, size);
             });
         }});
}

void DebugInBoth(std::vector<Case>& cases) {
    static constexpr const char* kOptions[] = {"--onfire_mode_enable",     "--onfire_mode_enable",
                                               "--onfire_mode_disable",    "--onfire_mode_disable",
                                               "--game_start_mode_enable", "--nonsense",
                                               "--game_start_mode_disable"};
    cases.push_back({"debug options",
                     [](ConfigManager& front, Story& story) {
                         for (const char* option : kOptions) {
                             AddText(story, [&](std::ostringstream& out) {
                                 return front.DebugSet(out, option) ? 0 : -1;
                             });
                             story.Add(front.GetGameStartFlag() ? 1 : 0);
                         }
                     },
                     [](corebeacon_engine* engine, Story& story) {
                         for (const char* option : kOptions) {
                             AddText(story, [&](char* buffer, std::size_t size) {
                                 return corebeacon_debug_set(engine, option, buffer, size);
                             });
                             story.Add(corebeacon_game_start_flag(engine));
                         }
                     }});
}

using WritesByNode = std::map<std::string, Names>;
using CallersLines = std::vector<std::tuple<int, std::string, std::string>>;

class CInterfaceTest : public CInterfaceFixture {
protected:
    static std::vector<Case> Cases() {
        std::vector<Case> cases;
        RequestInBoth(cases);
        ReleaseInBoth(cases);
        ScenarioInBoth(cases, kScenario, kEvent);
        DumpInBoth(cases);
        DebugInBoth(cases);
        return cases;
    }

    WritesByNode TakeWrites(const ConfigManager& front) const {
        Settle(front);
        WritesByNode byNode;
        for (const sim::Operation& write : mDevice->Writes()) {
            byNode[write.path].push_back(write.bytes);
        }
        return byNode;
    }

    /// The front's own: those of the workers come in an order of their own.
    CallersLines TakeLines() const {
        CallersLines lines;
        for (const LogLine& line : mLog.Lines()) {
            if (line.tag == "PF_CFG_MGR") {
                lines.emplace_back(line.level, line.function, line.text);
            }
        }
        return lines;
    }
};

TEST_F(CInterfaceTest, EachFunctionDoesWhatTheOperationOfTheFrontDoes) {
    for (const Case& testCase : Cases()) {
        SCOPED_TRACE(testCase.name);
        Story inCpp;
        Start();
        testCase.inCpp(*mFront, inCpp);
        const WritesByNode writesOfCpp = TakeWrites(*mFront);
        const CallersLines linesOfCpp = TakeLines();
        mFront.reset();

        Story inC;
        CreateEngine();
        testCase.inC(mEngine, inC);
        const WritesByNode writesOfC = TakeWrites(mEngine->front);
        const CallersLines linesOfC = TakeLines();
        DestroyEngine();

        EXPECT_EQ(inC.text, inCpp.text);
        EXPECT_EQ(writesOfC, writesOfCpp);
        EXPECT_EQ(linesOfC, linesOfCpp);
    }
}

TEST_F(CInterfaceTest, AProbeBindsItsThreadForItsSpan) {
    CreateEngine();
    EXPECT_EQ(corebeacon_start_probe(mEngine, 4711), 0);
    EXPECT_EQ(corebeacon_start_probe(mEngine, 0), 2);
    mClock.Advance(milliseconds(10));
    EXPECT_TRUE(Eventually([&] { return mDevice->Value(kMinB) == "1952000"; }));
    EXPECT_TRUE(BinderWrote({"bind|4711"}));
    EXPECT_EQ(ValueOfC(kMinM), "1407000");
    EXPECT_EQ(ValueOfC(kMinGpu), "400000000");
    EXPECT_EQ(corebeacon_stop_probe(mEngine, 4711), 0);
    EXPECT_TRUE(BinderWrote({"bind|4711", "unbind|4711"}));
    EXPECT_EQ(ValueOfC(kMinB), kBaseMinB);
    EXPECT_EQ(corebeacon_stop_probe(mEngine, 4711), 0);
}

TEST_F(CInterfaceTest, AnInspectionTellsWhatHoldsInAGroup) {
    CreateEngine();
    unsigned long handle = 0;
    ASSERT_EQ(RequestInC(mEngine, 0, CpuLFloorInC(893000), handle), 0);
    ASSERT_EQ(RequestInC(mEngine, 0, CpuLFloorInC(1211000), handle), 0);
    corebeacon_group_state state = {};
    state.size = sizeof(state);
    ASSERT_EQ(corebeacon_inspect(mEngine, COREBEACON_QOS_CPU_L, 0, &state), 0);
    std::vector<GroupState> groups;
    ASSERT_EQ(mEngine->front.Inspect(PERF_QOS_CPU_L, groups), 0);
    const GroupState& told = groups.at(0);
    EXPECT_EQ(state.floor, 1211000);
    EXPECT_EQ(state.ceiling, told.inForce.ceiling);
    EXPECT_EQ(std::to_string(state.base_floor), kBaseMinL);
    EXPECT_EQ(state.base_ceiling, told.base.ceiling);
    EXPECT_EQ(state.range_min, told.rangeMin);
    EXPECT_EQ(state.range_max, told.rangeMax);
    EXPECT_EQ(state.work_mode, 0U);
    EXPECT_EQ(state.is_suspended, 0);
    EXPECT_EQ(state.request_count, 2U);
    EXPECT_EQ(state.node_count, 2U);
    EXPECT_EQ(state.failed_node_count, 0U);

    mDevice->Remove(kMinL);
    const uint32_t qos = COREBEACON_QOS_CPU_L;
    ASSERT_EQ(corebeacon_release(mEngine, kPid, handle), 0);
    ASSERT_EQ(corebeacon_set_suspend(mEngine, 1, &qos, 1), 0);
    ASSERT_EQ(corebeacon_set_mode(mEngine, kPid, 2, &handle), 0);
    ASSERT_EQ(corebeacon_inspect(mEngine, COREBEACON_QOS_CPU_L, 0, &state), 0);
    EXPECT_EQ(state.floor, 893000);
    EXPECT_EQ(state.request_count, 1U);
    EXPECT_EQ(state.is_suspended, 1);
    EXPECT_EQ(state.work_mode, 2U);
    EXPECT_EQ(state.failed_node_count, 1U);
}

TEST_F(CInterfaceTest, AnInspectionNeedsAGroupThatThereIs) {
    CreateEngine();
    corebeacon_group_state state = {};
    state.size = sizeof(state);
    EXPECT_EQ(corebeacon_inspect(mEngine, COREBEACON_QOS_DDR, 0, &state), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "no resource for qos id 4"), 1U);
    EXPECT_EQ(corebeacon_inspect(mEngine, COREBEACON_QOS_CPU_L, 1, &state), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "corebeacon_inspect: a group that the QoS has not"), 1U);
    EXPECT_EQ(state.floor, 0);
}

TEST_F(CInterfaceTest, WithoutOptionsTheEngineHasAllThatIsCompiledIn) {
    StartEngine();
    std::ostringstream events;
    std::ostringstream scenarios;
    std::ostringstream base;
    ASSERT_EQ(mFront->Dump(events, {"--event"}), 0);
    ASSERT_EQ(mFront->Dump(scenarios, {"--scenario"}), 0);
    ASSERT_EQ(mFront->Dump(base, {"--base_info"}), 0);
    mFront.reset();

    ASSERT_EQ(corebeacon_create(nullptr, &mEngine), 0);
    std::vector<char> buffer(1 << 20);
    ASSERT_GT(corebeacon_dump(mEngine, "--event", buffer.data(), buffer.size()), 0);
    EXPECT_EQ(buffer.data(), events.str());
    ASSERT_GT(corebeacon_dump(mEngine, "--scenario", buffer.data(), buffer.size()), 0);
    EXPECT_EQ(buffer.data(), scenarios.str());
    ASSERT_GT(corebeacon_dump(mEngine, "--base_info", buffer.data(), buffer.size()), 0);
    EXPECT_EQ(buffer.data(), base.str());
}

TEST_F(CInterfaceTest, ATextIsCutToItsBufferAndItsWholeLengthTold) {
    CreateEngine();
    const std::string whole = "core version: " COREBEACON_VERSION;
    const int length = static_cast<int>(whole.size());
    EXPECT_EQ(corebeacon_dump_core_version(mEngine, nullptr, 0), length);
    std::string buffer(whole.size() + 2, 'x');
    EXPECT_EQ(corebeacon_dump_core_version(mEngine, buffer.data(), 5), length);
    EXPECT_STREQ(buffer.c_str(), "core");
    EXPECT_EQ(buffer[5], 'x');
    EXPECT_EQ(corebeacon_dump_core_version(mEngine, buffer.data(), 1), length);
    EXPECT_STREQ(buffer.c_str(), "");
    EXPECT_EQ(corebeacon_dump_core_version(mEngine, buffer.data(), whole.size()), length);
    EXPECT_EQ(buffer.c_str(), whole.substr(0, whole.size() - 1));
    EXPECT_EQ(corebeacon_dump_core_version(mEngine, buffer.data(), whole.size() + 1), length);
    EXPECT_EQ(buffer.c_str(), whole);
    EXPECT_EQ(buffer.back(), 'x');
}

TEST_F(CInterfaceTest, EveryQosHasTheSameNumberInBothLanguages) {
    int seen = 0;
    for (uint32_t id = 0; id <= PERF_QOS_INVALID; ++id) {
        const char* const name = PerfQosName(static_cast<PerfQosId>(id));
        ASSERT_EQ(corebeacon_qos_name(id), name);
        if (name == nullptr) {
            continue;
        }
        ++seen;
        uint32_t found = 0;
        EXPECT_EQ(corebeacon_qos_id(name, &found), 0);
        EXPECT_EQ(found, id);
    }
    EXPECT_GT(seen, 40);
    uint32_t untouched = kUnused;
    EXPECT_EQ(corebeacon_qos_id("CPU_X", &untouched), -1);
    EXPECT_EQ(untouched, kUnused);
    EXPECT_EQ(corebeacon_eas_group_name(0), PerfEasGroupName(0));
    EXPECT_EQ(corebeacon_eas_group_name(kPerfEasGroupCount), nullptr);
}

TEST_F(CInterfaceTest, TheTraceIsBoundAndUnboundForTheProcess) {
    mDevice->AddText("/tracing/trace_marker", "");
    CreateEngine();
    EXPECT_EQ(corebeacon_bind_trace("/no/such/file"), -1);
    ASSERT_EQ(corebeacon_bind_trace("/tracing/trace_marker"), 0);
    unsigned long handle = 0;
    ASSERT_EQ(RequestInC(mEngine, 0, CpuLFloorInC(893000), handle), 0);
    Settle(mEngine->front);
    EXPECT_NE(mDevice->WritesTo("/tracing/trace_marker").size(), 0U);
    EXPECT_EQ(corebeacon_lost_trace_markers(), 0U);
    corebeacon_unbind_trace();
    EXPECT_EQ(mDevice->OpenDescriptors("/tracing/trace_marker"), 0U);
}

TEST_F(CInterfaceTest, TheVersionIsThatOfTheHeader) {
    EXPECT_STREQ(corebeacon_version(), COREBEACON_VERSION);
}

}  // namespace
}  // namespace corebeacon
