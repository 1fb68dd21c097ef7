// The events: short sequences for moments that a phone knows of in advance.
//
// Frequencies lie within the ranges of every chip that a table serves. A memory-latency QoS gets
// only its ratio, never its monitor too: the resource can carry out one change at a time.

#include <cstdint>

#include "corebeacon/builtin_config.h"

namespace corebeacon {

namespace {

// Each counts up from 0 in the order in which hosts number them.
enum : PerfEventId {
    TOUCH_DOWN,
    APP_START,
    SCROLL,
    WINDOW_SWITCH,
    CAMERA_START,
    SCREEN_ON,
    UNLOCK,
    GAME_LOADING,  // chip variant 2 only
};

using Ms = std::uint32_t;

SequenceCommand Boost(Ms duration, int value) {
    return {duration, {{0, {{PERF_OPERATION_BOOST, value}}}}};
}

// The same step under the name of its unit.
SequenceCommand Khz(Ms duration, int khz) {
    return Boost(duration, khz);
}
SequenceCommand Hz(Ms duration, int hz) {
    return Boost(duration, hz);
}
SequenceCommand Level(Ms duration, int level) {
    return Boost(duration, level);
}

// A finger comes down: the first frame should not wait for a ramp.
ConfigurableEvent TouchDown() {
    return {TOUCH_DOWN,
            {
                {PERF_QOS_CPU_L, {Khz(100, 1148000), Khz(300, 869000)}},
                {PERF_QOS_CPU_M, {Khz(100, 1364000), Khz(300, 1018000)}},
                {PERF_QOS_LATENCY_DDR, {Level(200, 110)}},
            }};
}

// Loading and first drawing of an app: everything for half a second, then enough to finish.
ConfigurableEvent AppStart(int l3cHz) {
    return {APP_START,
            {
                {PERF_QOS_CPU_M, {Khz(500, 1850000), Khz(1500, 1364000)}},
                {PERF_QOS_CPU_B, {Khz(500, 2138000), Khz(1500, 1805000)}},
                {PERF_QOS_DDR, {Khz(1000, 1866000), Khz(1000, 1018000)}},
                {PERF_QOS_L3C, {Hz(1000, l3cHz)}},
                {PERF_QOS_LATENCY_CPU, {Level(1000, 110)}},
                {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B, {Level(1000, 110)}},
                {PERF_QOS_ISOLATION_MIN_CPUS_B, {Level(2000, 110)}},
                {PERF_QOS_CPU_INIT_TASK_LOAD, {Level(2000, 110)}},
            }};
}

// A moving list: an even frame rate, without the top frequencies.
ConfigurableEvent Scroll() {
    return {SCROLL,
            {
                {PERF_QOS_CPU_M, {Khz(600, 1364000), Khz(400, 1018000)}},
                {PERF_QOS_GPU, {Hz(600, 400000000)}},
                {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_M, {Level(1000, 110)}},
                {PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M, {Level(1000, 120)}},
            }};
}

// Two windows drawn at once during the animation.
ConfigurableEvent WindowSwitch(int l3cHz) {
    return {WINDOW_SWITCH,
            {
                {PERF_QOS_CPU_M, {Khz(300, 1850000), Khz(300, 1364000)}},
                {PERF_QOS_CPU_B, {Khz(300, 1805000)}},
                {PERF_QOS_GPU, {Hz(600, 550000000)}},
                {PERF_QOS_L3C, {Hz(600, l3cHz)}},
                {PERF_QOS_GOVERNOR_LOAD_GPU, {Level(600, 110)}},
            }};
}

// Sensor, image processing and preview start together, then the encoder stands ready.
ConfigurableEvent CameraStart() {
    return {CAMERA_START,
            {
                {PERF_QOS_CPU_M, {Khz(800, 1850000), Khz(1200, 1364000)}},
                {PERF_QOS_CPU_B, {Khz(800, 2138000)}},
                {PERF_QOS_DDR, {Khz(2000, 1866000)}},
                {PERF_QOS_LATENCY_DDR, {Level(2000, 120)}},
                {PERF_QOS_CPU_ED_TASK, {Level(2000, 110)}},
                {PERF_QOS_VIDEO_ENCODE_FREQ, {Level(800, 1), Level(2200, 2)}},
                {PERF_QOS_NPU_SC_PRIO, {Level(2000, 110)}},
            }};
}

// Out of deep idle: no cluster may power down again before the lock screen stands.
ConfigurableEvent ScreenOn() {
    return {SCREEN_ON,
            {
                {PERF_QOS_CPU_L, {Khz(400, 1430000)}},
                {PERF_QOS_CPU_M, {Khz(400, 1850000), Khz(400, 1364000)}},
                {PERF_QOS_LATENCY_GPU, {Level(800, 110)}},
                {PERF_QOS_CPU_IDLE_LP_MODE, {Level(800, 110)}},
            }};
}

// From the recognised finger to the home screen.
ConfigurableEvent Unlock() {
    return {UNLOCK,
            {
                {PERF_QOS_CPU_M, {Khz(300, 1850000)}},
                {PERF_QOS_CPU_B, {Khz(200, 2138000), Khz(300, 1805000)}},
                {PERF_QOS_GPU, {Hz(500, 550000000)}},
                {PERF_QOS_CPU_IOWAIT_BOOST, {Level(500, 110)}},
            }};
}

// Assets are unpacked on all big CPUs while the GPU builds its shaders.
ConfigurableEvent GameLoading(int l3cHz) {
    return {GAME_LOADING,
            {
                {PERF_QOS_CPU_B, {Khz(2000, 2200000), Khz(3000, 1980000)}},
                {PERF_QOS_GPU, {Hz(2000, 650000000), Hz(3000, 550000000)}},
                {PERF_QOS_DDR, {Khz(5000, 1866000)}},
                {PERF_QOS_L3C, {Hz(5000, l3cHz)}},
                {PERF_QOS_LATENCY_GPU, {Level(5000, 110)}},
                {PERF_QOS_ISOLATION_MIN_CPUS_B, {Level(5000, 110)}},
                {PERF_QOS_CPU_IOWAIT_BOOST, {Level(5000, 110)}},
                {PERF_QOS_CAPACITY_MARGIN, {Level(5000, 110)}},
            }};
}

std::vector<ConfigurableEvent> BuildEvents(bool isVariant2) {
    const int l3cHz = isVariant2 ? 1149000000 : 1152000000;
    std::vector<ConfigurableEvent> events = {
        TouchDown(),   AppStart(l3cHz), Scroll(), WindowSwitch(l3cHz),
        CameraStart(), ScreenOn(),      Unlock(),
    };
    if (isVariant2) {
        events.push_back(GameLoading(l3cHz));
    }
    return events;
}

}  // namespace

std::vector<ConfigurableEvent> GetConfigurableEventVec(ChipTypeAvailableValue chipType) {
    static const std::vector<ConfigurableEvent> common = BuildEvents(false);
    static const std::vector<ConfigurableEvent> variant2 = BuildEvents(true);
    return chipType == CHIP_TYPE_VARIANT_2 ? variant2 : common;
}

}  // namespace corebeacon
