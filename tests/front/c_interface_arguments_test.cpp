// What the C interface refuses before it asks the engine, and what it lets replace in the process.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "corebeacon/log.h"
#include "corebeacon/node_io.h"
#include "front/c_interface_fixture.h"
#include "support/deadline.h"
#include "support/thread_state.h"

extern "C" int UseTheInterfaceFromC(void);

namespace corebeacon {
namespace {

using namespace test;

class CArgumentsTest : public CInterfaceFixture {
protected:
    /// -1, with one line in the log that names the function.
    void ExpectRefused(const std::string& function, int result, const std::string& why) {
        EXPECT_EQ(result, -1) << function;
        EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, function + ": " + why), 1U) << function;
        mLog.Clear();
    }

    void ExpectNotCreated(const corebeacon_options& options, const std::string& why) {
        mEngine = reinterpret_cast<corebeacon_engine*>(this);
        const int result = corebeacon_create(&options, &mEngine);
        EXPECT_EQ(mEngine, nullptr);
        ExpectRefused("corebeacon_create", result, why);
    }

    static constexpr corebeacon_item kItem = {COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, 893000};
    static constexpr std::size_t kTooMany = COREBEACON_MAX_COUNT + 1;
};

TEST_F(CArgumentsTest, WithoutAnEngineEveryOperationIsRefused) {
    unsigned long handle = 0;
    const uint32_t qos = 0;
    char buffer[8] = "";
    const std::string none = "no engine";
    ExpectRefused("corebeacon_request", corebeacon_request(nullptr, kPid, 0, &kItem, 1, &handle),
                  "no engine, no handle or no items");
    ExpectRefused("corebeacon_release", corebeacon_release(nullptr, kPid, 1), none);
    ExpectRefused("corebeacon_release_all", corebeacon_release_all(nullptr, kPid), none);
    ExpectRefused("corebeacon_reset", corebeacon_reset(nullptr), none);
    ExpectRefused("corebeacon_set_scenario", corebeacon_set_scenario(nullptr, kPid, 0, &handle),
                  "no engine or no handle");
    ExpectRefused("corebeacon_set_mode", corebeacon_set_mode(nullptr, kPid, 0, &handle),
                  "no engine or no handle");
    ExpectRefused("corebeacon_set_suspend", corebeacon_set_suspend(nullptr, 1, &qos, 1),
                  "no engine or no QoS");
    ExpectRefused("corebeacon_event", corebeacon_event(nullptr, 0, nullptr, 0, ""),
                  "no engine, no message or no parameters");
    ExpectRefused("corebeacon_start_event", corebeacon_start_event(nullptr, 0, 0), none);
    ExpectRefused("corebeacon_stop_event", corebeacon_stop_event(nullptr, 0), none);
    ExpectRefused("corebeacon_start_probe", corebeacon_start_probe(nullptr, 1), none);
    ExpectRefused("corebeacon_stop_probe", corebeacon_stop_probe(nullptr, 1), none);
    ExpectRefused("corebeacon_dump", corebeacon_dump(nullptr, "--task", buffer, 8),
                  "no engine or no type");
    ExpectRefused("corebeacon_task_dump", corebeacon_task_dump(nullptr, 0, buffer, 8), none);
    ExpectRefused("corebeacon_dump_limit_history",
                  corebeacon_dump_limit_history(nullptr, buffer, 8), none);
    ExpectRefused("corebeacon_dump_core_version", corebeacon_dump_core_version(nullptr, buffer, 8),
                  none);
    ExpectRefused("corebeacon_debug_set", corebeacon_debug_set(nullptr, "--x", buffer, 8),
                  "no engine or no option");
    ExpectRefused("corebeacon_game_start_flag", corebeacon_game_start_flag(nullptr), none);
    corebeacon_destroy(nullptr);
}

TEST_F(CArgumentsTest, AnOperationWithoutItsOtherArgumentsIsRefused) {
    CreateEngine();
    unsigned long handle = 0;
    const uint32_t qos = 0;
    const unsigned int param = 1;
    char buffer[8] = "";
    const std::string request = "no engine, no handle or no items";
    ExpectRefused("corebeacon_request", corebeacon_request(mEngine, kPid, 0, &kItem, 1, nullptr),
                  request);
    ExpectRefused("corebeacon_request", corebeacon_request(mEngine, kPid, 0, nullptr, 1, &handle),
                  request);
    ExpectRefused("corebeacon_request",
                  corebeacon_request(mEngine, kPid, 0, &kItem, kTooMany, &handle), request);
    ExpectRefused("corebeacon_set_scenario",
                  corebeacon_set_scenario(mEngine, kPid, kScenario, nullptr),
                  "no engine or no handle");
    ExpectRefused("corebeacon_set_mode", corebeacon_set_mode(mEngine, kPid, 1, nullptr),
                  "no engine or no handle");
    ExpectRefused("corebeacon_set_suspend", corebeacon_set_suspend(mEngine, 1, nullptr, 1),
                  "no engine or no QoS");
    ExpectRefused("corebeacon_set_suspend", corebeacon_set_suspend(mEngine, 1, &qos, kTooMany),
                  "no engine or no QoS");
    const std::string event = "no engine, no message or no parameters";
    ExpectRefused("corebeacon_event", corebeacon_event(mEngine, kEvent, &param, 1, nullptr), event);
    ExpectRefused("corebeacon_event", corebeacon_event(mEngine, kEvent, nullptr, 1, ""), event);
    ExpectRefused("corebeacon_event", corebeacon_event(mEngine, kEvent, &param, kTooMany, ""),
                  event);
    ExpectRefused("corebeacon_dump", corebeacon_dump(mEngine, nullptr, buffer, 8),
                  "no engine or no type");
    ExpectRefused("corebeacon_dump", corebeacon_dump(mEngine, "--task", nullptr, 8), "no buffer");
    ExpectRefused("corebeacon_task_dump", corebeacon_task_dump(mEngine, 0, nullptr, 8),
                  "no buffer");
    ExpectRefused("corebeacon_debug_set", corebeacon_debug_set(mEngine, nullptr, buffer, 8),
                  "no engine or no option");
    corebeacon_group_state state = {};
    const std::string inspect = "no engine or no state of a known size";
    ExpectRefused("corebeacon_inspect", corebeacon_inspect(mEngine, qos, 0, &state), inspect);
    ExpectRefused("corebeacon_inspect", corebeacon_inspect(mEngine, qos, 0, nullptr), inspect);
    state.size = sizeof(state);
    ExpectRefused("corebeacon_inspect", corebeacon_inspect(nullptr, qos, 0, &state), inspect);
    ExpectRefused("corebeacon_bind_trace", corebeacon_bind_trace(nullptr), "no path");
    uint32_t id = 0;
    ExpectRefused("corebeacon_qos_id", corebeacon_qos_id(nullptr, &id),
                  "no name or nowhere to put the id");
    ExpectRefused("corebeacon_qos_id", corebeacon_qos_id("CPU_L", nullptr),
                  "no name or nowhere to put the id");
    Settle(mEngine->front);
    EXPECT_EQ(mDevice->Writes().size(), 0U);
}

TEST_F(CArgumentsTest, AnEngineIsNotMadeOfOptionsThatCannotBe) {
    ExpectRefused("corebeacon_create", corebeacon_create(nullptr, nullptr),
                  "nowhere to put the engine");
    const char* const noName = nullptr;
    const corebeacon_item twoQos[] = {kItem, {COREBEACON_QOS_CPU_B, 0, COREBEACON_BOOST, 1952000}};
    const corebeacon_event_step noItems = {kEvent, 100, nullptr, 1};
    const corebeacon_event_step emptyStep = {kEvent, 100, nullptr, 0};
    const corebeacon_event_step stepOfTwoQos = {kEvent, 100, twoQos, 2};
    const corebeacon_scenario scenarioWithoutItems = {kScenario, nullptr, 2};
    corebeacon_probe probeOfNoSize = kProbeRow;
    probeOfNoSize.size = 0;
    const uint32_t unknownQos = COREBEACON_QOS_EAS;

    const auto with = [this](const std::function<void(corebeacon_options&)>& change) {
        corebeacon_options options = Options();
        change(options);
        return options;
    };
    using O = corebeacon_options;
    ExpectNotCreated(with([](O& o) { o.size = 0; }), "options of an unknown size");
    ExpectNotCreated(with([](O& o) { --o.size; }), "options of an unknown size");
    ExpectNotCreated(with([](O& o) { o.size = 1 << 20; }), "options of an unknown size");
    ExpectNotCreated(with([](O& o) { o.invalid_cluster_count = 1; }), "no invalid clusters");
    ExpectNotCreated(with([&](O& o) {
                         o.invalid_clusters = &noName;
                         o.invalid_cluster_count = 1;
                     }),
                     "no name of an invalid cluster");
    ExpectNotCreated(with([](O& o) { o.qos_count = kTooMany; }), "no QoS");
    ExpectNotCreated(with([](O& o) { o.qos = nullptr; }), "no QoS");
    ExpectNotCreated(with([](O& o) { o.own_qos_count = 1; }), "no QoS of one's own");
    for (const corebeacon_own_qos& own :
         {corebeacon_own_qos{COREBEACON_QOS_INVALID, "name", "/node", 0, 1, 0},
          corebeacon_own_qos{COREBEACON_QOS_CPU_BOOST, nullptr, "/node", 0, 1, 0},
          corebeacon_own_qos{COREBEACON_QOS_CPU_BOOST, "name", nullptr, 0, 1, 0}}) {
        ExpectNotCreated(with([&](O& o) {
                             o.own_qos = &own;
                             o.own_qos_count = 1;
                         }),
                         "a QoS of one's own without id, name or node");
    }
    ExpectNotCreated(with([&](O& o) {
                         o.qos = &unknownQos;
                         o.qos_count = 1;
                     }),
                     "a QoS that the table has not");
    ExpectNotCreated(with([](O& o) { o.scenarios = nullptr; }), "no scenarios");
    ExpectNotCreated(with([&](O& o) { o.scenarios = &scenarioWithoutItems; }),
                     "no items of a scenario");
    ExpectNotCreated(with([](O& o) { o.event_steps = nullptr; }), "no event steps");
    for (const auto& [step, why] :
         {std::pair(&noItems, "no items of an event step"),
          std::pair(&emptyStep, "the items of an event step name no QoS or several"),
          std::pair(&stepOfTwoQos, "the items of an event step name no QoS or several")}) {
        ExpectNotCreated(with([&, bad = step](O& o) {
                             o.event_steps = bad;
                             o.event_step_count = 1;
                         }),
                         why);
    }
    ExpectNotCreated(with([&](O& o) { o.probe = &probeOfNoSize; }), "a probe of an unknown size");
    for (const char* corebeacon_probe::*const text :
         {&corebeacon_probe::node_path, &corebeacon_probe::bind_text,
          &corebeacon_probe::unbind_text}) {
        corebeacon_probe probe = kProbeRow;
        probe.*text = nullptr;
        ExpectNotCreated(with([&](O& o) { o.probe = &probe; }), "a probe without its texts");
    }
}

TEST_F(CArgumentsTest, TheEnginesOwnRefusalIsPassedOn) {
    corebeacon_options options = Options();
    options.work_mode = 3;
    EXPECT_EQ(corebeacon_create(&options, &mEngine), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "workMode invalid 3"), 1U);
    EXPECT_EQ(mEngine, nullptr);
}

TEST_F(CArgumentsTest, ALargerRecordIsTakenWhenNothingMoreIsSetInIt) {
    struct {
        corebeacon_options known;
        uint64_t later;
    } grown = {Options(), 0};
    static_assert(sizeof(grown) > sizeof(corebeacon_options));
    grown.known.size = sizeof(grown);
    grown.later = 1;
    ExpectNotCreated(grown.known, "options of an unknown size");
    grown.later = 0;
    EXPECT_EQ(corebeacon_create(&grown.known, &mEngine), 0);
}

TEST_F(CArgumentsTest, ARecordOfAnOlderHeaderLeavesWhatItLacksAsItIs) {
    struct Grown {
        uint32_t atFirst;
        uint32_t later;
    };
    constexpr c_interface::RecordSizes kSizes = {sizeof(uint32_t), sizeof(Grown)};
    const Grown told = {1, 2};
    Grown taken = {8, 9};
    EXPECT_FALSE(c_interface::TakeRecord(&told, sizeof(uint32_t) - 1, kSizes, &taken));
    EXPECT_EQ(taken.atFirst, 8U);
    EXPECT_TRUE(c_interface::TakeRecord(&told, sizeof(uint32_t), kSizes, &taken));
    EXPECT_EQ(taken.atFirst, 1U);
    EXPECT_EQ(taken.later, 9U);
    EXPECT_TRUE(c_interface::TakeRecord(&told, sizeof(Grown), kSizes, &taken));
    EXPECT_EQ(taken.later, 2U);
}

TEST_F(CArgumentsTest, OptionsReachTheEngine) {
    const char* const absent[] = {"policy2"};
    corebeacon_options options = Options();
    options.invalid_clusters = absent;
    options.invalid_cluster_count = 1;
    options.work_mode = 2;
    options.max_handles = 2;
    options.max_handles_per_process = 1;
    options.reserved_pid = 100;
    ASSERT_EQ(Create(options), 0);
    const ConfigManager& front = mEngine->front;
    EXPECT_EQ(front.Resources().FindResource(PERF_QOS_CPU_B), nullptr);
    EXPECT_NE(front.Resources().FindResource(PERF_QOS_CPU_L), nullptr);
    char mode[64] = "";
    ASSERT_GT(corebeacon_dump(mEngine, "--workMode", mode, sizeof(mode)), 0);
    EXPECT_STREQ(mode, "\ncurrent mode = 2, modeNum(1) <value, handle>:\n<0,*>");
    unsigned long handle = 0;
    EXPECT_EQ(corebeacon_request(mEngine, 100, 0, &kItem, 1, &handle), -1);
    EXPECT_EQ(corebeacon_request(mEngine, 101, 0, &kItem, 1, &handle), 0);
    EXPECT_EQ(corebeacon_request(mEngine, 101, 0, &kItem, 1, &handle), -1);
    EXPECT_EQ(corebeacon_request(mEngine, 102, 0, &kItem, 1, &handle), 0);
    EXPECT_EQ(corebeacon_request(mEngine, 103, 0, &kItem, 1, &handle), -1);
}

TEST_F(CArgumentsTest, TheNumberOfProcessesCanBeBounded) {
    corebeacon_options options = Options();
    options.max_processes = 1;
    ASSERT_EQ(Create(options), 0);
    unsigned long handle = 0;
    EXPECT_EQ(corebeacon_request(mEngine, 101, 0, &kItem, 1, &handle), 0);
    EXPECT_EQ(corebeacon_request(mEngine, 102, 0, &kItem, 1, &handle), -1);
}

TEST_F(CArgumentsTest, AQosOfTheHostsOwnWritesItsNode) {
    static constexpr const char* kNode = "/sys/devices/system/cpu/cpufreq/boost";
    mDevice->AddText(kNode, "0");
    const corebeacon_own_qos own = {COREBEACON_QOS_CPU_BOOST, "CPU_BOOST", kNode, 0, 1, 0};
    const uint32_t qos[] = {COREBEACON_QOS_CPU_BOOST};
    corebeacon_options options = {};
    options.size = sizeof(options);
    options.own_qos = &own;
    options.own_qos_count = 1;
    options.qos = qos;
    options.qos_count = 1;
    ASSERT_EQ(corebeacon_create(&options, &mEngine), 0);
    const corebeacon_item item = {COREBEACON_QOS_CPU_BOOST, 0, COREBEACON_BOOST, 1};
    unsigned long handle = 0;
    EXPECT_EQ(corebeacon_request(mEngine, kPid, 0, &item, 1, &handle), -1);
    DestroyEngine();

    options.cpu_boost = 1;
    ASSERT_EQ(corebeacon_create(&options, &mEngine), 0);
    EXPECT_EQ(corebeacon_request(mEngine, kPid, 0, &item, 1, &handle), 0);
    EXPECT_EQ(ValueOfC(kNode), "1");
    EXPECT_EQ(corebeacon_release(mEngine, kPid, handle), 0);
    EXPECT_EQ(ValueOfC(kNode), "0");
    const corebeacon_item tooMuch = {COREBEACON_QOS_CPU_BOOST, 0, COREBEACON_BOOST, 2};
    EXPECT_EQ(corebeacon_request(mEngine, kPid, 0, &tooMuch, 1, &handle), -1);
}

TEST_F(CArgumentsTest, EveryScenarioOfTheTableIsTaken) {
    const std::array<corebeacon_scenario, 3> scenarios = {
        {kScenarioRow,
         {kScenario + 1, kScenarioItems.data(), 1},
         {kScenario + 2, &kScenarioItems[1], 1}}};
    corebeacon_options options = Options();
    options.scenarios = scenarios.data();
    options.scenario_count = scenarios.size();
    ASSERT_EQ(Create(options), 0);
    for (const corebeacon_scenario& scenario : scenarios) {
        unsigned long handle = 0;
        EXPECT_EQ(corebeacon_set_scenario(mEngine, kPid, scenario.scenario, &handle), 0);
    }
}

TEST_F(CArgumentsTest, EmptyTablesLeaveTheEngineWithoutScenariosAndEvents) {
    corebeacon_options options = Options();
    options.scenario_count = 0;
    options.event_step_count = 0;
    options.probe = nullptr;
    ASSERT_EQ(Create(options), 0);
    unsigned long handle = 0;
    EXPECT_EQ(corebeacon_set_scenario(mEngine, kPid, kScenario, &handle), -1);
    EXPECT_EQ(corebeacon_start_event(mEngine, kEvent, 0), -1);
}

/// Log lines that a plain function was given.
struct Heard {
    std::atomic<int> count{0};
};

void Hear(void* user, int level, const char* tag, const char* message) {
    Heard& heard = *static_cast<Heard*>(user);
    EXPECT_EQ(level, COREBEACON_LOG_ERROR);
    EXPECT_STREQ(tag, "PF_C_API");
    EXPECT_NE(std::string(message).find("] corebeacon_reset: no engine"), std::string::npos);
    ++heard.count;
}

TEST_F(CArgumentsTest, LogLinesGoToThePlainFunctionInForce) {
    Heard first;
    Heard second;
    EXPECT_EQ(corebeacon_set_log_function(Hear, &first), 0);
    EXPECT_EQ(corebeacon_reset(nullptr), -1);
    EXPECT_EQ(corebeacon_set_log_function(Hear, &second), 0);
    EXPECT_EQ(corebeacon_reset(nullptr), -1);
    EXPECT_EQ(corebeacon_reset(nullptr), -1);
    EXPECT_EQ(first.count, 1);
    EXPECT_EQ(second.count, 2);

    EXPECT_EQ(corebeacon_set_log_function(nullptr, &second), 0);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(corebeacon_reset(nullptr), -1);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("corebeacon_reset: no engine"),
              std::string::npos);
    EXPECT_EQ(second.count, 2);
}

TEST_F(CArgumentsTest, TheLogSwitchIsTheProcesss) {
    EXPECT_EQ(corebeacon_set_log_switch(COREBEACON_LOG_SWITCH_DEBUG), 0);
    EXPECT_EQ(corebeacon_log_switch(), 2U);
    EXPECT_EQ(PfLogonNamespace::PfLogonGet()->load(), 2U);
}

corebeacon_node_io DeafNodeIo() {
    return {sizeof(corebeacon_node_io),
            nullptr,
            [](void*, const char*, int) { return -1; },
            [](void*, int, void*, size_t) -> ssize_t { return -1; },
            [](void*, int, const void*, size_t) -> ssize_t { return -1; },
            [](void*, int) { return -1; },
            [](void*, int, unsigned long, void*) { return -1; }};
}

TEST_F(CArgumentsTest, NodeAccessAnswersWhatItsFunctionsAnswer) {
    corebeacon_node_io functions = DeafNodeIo();
    functions.open_node = [](void*, const char*, int) { return 11; };
    functions.read_node = [](void*, int, void*, size_t) -> ssize_t { return 12; };
    functions.write_node = [](void*, int, const void*, size_t) -> ssize_t { return 13; };
    functions.close_node = [](void*, int) { return 14; };
    functions.ioctl_node = [](void*, int, unsigned long, void*) { return 15; };
    ASSERT_EQ(corebeacon_set_node_io(&functions), 0);
    EXPECT_EQ(GetNodeIo().Open("/node", 0), 11);
    EXPECT_EQ(GetNodeIo().Read(11, nullptr, 0), 12);
    EXPECT_EQ(GetNodeIo().Write(11, nullptr, 0), 13);
    EXPECT_EQ(GetNodeIo().Close(11), 14);
    EXPECT_EQ(GetNodeIo().Ioctl(11, 0, nullptr), 15);
    EXPECT_EQ(corebeacon_set_node_io(nullptr), 0);
}

TEST_F(CArgumentsTest, NodeAccessIsRefusedWithoutEachOfItsFunctions) {
    const std::string why = "node access of an unknown size or without a function";
    const auto refused = [&](const std::function<void(corebeacon_node_io&)>& spoil) {
        corebeacon_node_io functions = DeafNodeIo();
        spoil(functions);
        ExpectRefused("corebeacon_set_node_io", corebeacon_set_node_io(&functions), why);
    };
    refused([](corebeacon_node_io& io) { io.size = 0; });
    refused([](corebeacon_node_io& io) { io.open_node = nullptr; });
    refused([](corebeacon_node_io& io) { io.read_node = nullptr; });
    refused([](corebeacon_node_io& io) { io.write_node = nullptr; });
    refused([](corebeacon_node_io& io) { io.close_node = nullptr; });
    refused([](corebeacon_node_io& io) { io.ioctl_node = nullptr; });
    EXPECT_EQ(&GetNodeIo(), mDevice.get());
}

TEST_F(CArgumentsTest, NodeAccessStaysWhileAnEngineRuns) {
    CreateEngine();
    const corebeacon_node_io functions = DeafNodeIo();
    ExpectRefused("corebeacon_set_node_io", corebeacon_set_node_io(&functions),
                  "an engine is running");
    ExpectRefused("corebeacon_set_node_io", corebeacon_set_node_io(nullptr),
                  "an engine is running");
    DestroyEngine();
    EXPECT_EQ(corebeacon_set_node_io(&functions), 0);
    EXPECT_NE(&GetNodeIo(), mDevice.get());
    EXPECT_EQ(corebeacon_set_node_io(nullptr), 0);
}

class CTraceTest : public CArgumentsTest {
protected:
    CTraceTest() { mDevice->AddText(kMarker, ""); }
    ~CTraceTest() override { corebeacon_unbind_trace(); }

    static constexpr const char* kMarker = "/tracing/trace_marker";
};

TEST_F(CTraceTest, NodeAccessStaysWhileATraceIsBound) {
    ASSERT_EQ(corebeacon_bind_trace(kMarker), 0);
    const corebeacon_node_io functions = DeafNodeIo();
    ExpectRefused("corebeacon_set_node_io", corebeacon_set_node_io(&functions), "a trace is bound");
    corebeacon_unbind_trace();
    EXPECT_EQ(mDevice->OpenDescriptors(), 0U);
    EXPECT_EQ(corebeacon_set_node_io(&functions), 0);
    EXPECT_EQ(corebeacon_set_node_io(nullptr), 0);
}

TEST_F(CTraceTest, NodeAccessStaysWhileATraceIsBeingBound) {
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->Inject(kMarker, sim::OperationKind::OPEN, sim::Fault::Hold(gate));
    std::thread binder([] { EXPECT_EQ(corebeacon_bind_trace(kMarker), 0); });
    EXPECT_TRUE(gate->AwaitWaiting(1));
    std::atomic<pid_t> tid{0};
    std::atomic<int> result{1};
    std::thread replacer([&] {
        tid = static_cast<pid_t>(::syscall(SYS_gettid));
        result = corebeacon_set_node_io(nullptr);
    });
    EXPECT_TRUE(Eventually([&] { return result != 1 || IsAsleep(tid); }));
    gate->Open();
    binder.join();
    replacer.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(&GetNodeIo(), mDevice.get());
}

TEST(CInterfaceInC, ServesAProgramInC) {
    EXPECT_EQ(UseTheInterfaceFromC(), 0) << "the line of c_interface_in_c.c that was not fulfilled";
}

}  // namespace
}  // namespace corebeacon
