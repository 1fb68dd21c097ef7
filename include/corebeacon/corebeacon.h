/// The engine for services that are not written in C++: an opaque engine and plain functions, valid
/// C99 and C++. Each does what the operation of corebeacon::ConfigManager that it names does, with
/// the same return values, and is documented here only as far as it differs; docs/guide.md tells
/// the whole with examples in both languages.
///
/// Nothing throws. A null argument, a count beyond COREBEACON_MAX_COUNT or a record whose size does
/// not fit gives -1 and a line in the log, as lack of memory does; a pointer to an array may be
/// null where its count is 0.
///
/// An engine belongs to who created it, and is destroyed after the last call has returned; all
/// other functions may be called from any number of threads at once. Texts and arrays are copied or
/// read before a function returns.
#pragma once

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): for C
#include <stdint.h>  // NOLINT(modernize-deprecated-headers): for C
#include <sys/types.h>

#include "corebeacon/export.h"
#include "corebeacon/version.h"

#ifdef __cplusplus
#define COREBEACON_NOEXCEPT noexcept
extern "C" {
#else
#define COREBEACON_NOEXCEPT
#endif

typedef struct corebeacon_engine corebeacon_engine;

/// The QoS of the compiled-in table, and those that only a host's own table has.
enum corebeacon_qos {
    COREBEACON_QOS_CPU_L = 0,
    COREBEACON_QOS_CPU_M = 1,
    COREBEACON_QOS_CPU_B = 2,
    COREBEACON_QOS_GPU = 3,
    COREBEACON_QOS_DDR = 4,
    COREBEACON_QOS_L3C = 5,
    COREBEACON_QOS_IPA_POWER = 6,
    COREBEACON_QOS_IPA_SWITCH_TEMP = 7,
    COREBEACON_QOS_CPU_BOOST = 8,
    COREBEACON_QOS_EAS = 9,
    COREBEACON_QOS_LATENCY_CPU = 10,
    COREBEACON_QOS_LATENCY_GPU = 11,
    COREBEACON_QOS_LATENCY_DDR = 12,
    COREBEACON_QOS_MEMLAT_TARGET_RATIO_CPU_L = 14,
    COREBEACON_QOS_MEMLAT_TARGET_RATIO_CPU_M = 15,
    COREBEACON_QOS_MEMLAT_TARGET_RATIO_CPU_B = 16,
    COREBEACON_QOS_GOVERNOR_LOAD_CPU_L = 20,
    COREBEACON_QOS_GOVERNOR_LOAD_CPU_M = 21,
    COREBEACON_QOS_GOVERNOR_LOAD_CPU_B = 22,
    COREBEACON_QOS_GOVERNOR_LOAD_GPU = 23,
    COREBEACON_QOS_GOVERNOR_DELAY_UP_CPU_L = 24,
    COREBEACON_QOS_GOVERNOR_DELAY_UP_CPU_M = 25,
    COREBEACON_QOS_GOVERNOR_DELAY_UP_CPU_B = 26,
    COREBEACON_QOS_GOVERNOR_DELAY_DOWN_CPU_L = 28,
    COREBEACON_QOS_GOVERNOR_DELAY_DOWN_CPU_M = 29,
    COREBEACON_QOS_GOVERNOR_DELAY_DOWN_CPU_B = 30,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_UP_CPU_L = 32,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_UP_CPU_M = 33,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_UP_CPU_B = 34,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_L = 35,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_M = 36,
    COREBEACON_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_B = 37,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_L = 38,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M = 39,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B = 40,
    COREBEACON_QOS_ISOLATION_MIN_CPUS_B = 43,
    COREBEACON_QOS_EAS_BASE = 45,
    COREBEACON_QOS_CPU_IDLE_LP_MODE = 47,
    COREBEACON_QOS_FREQ_REPORTING_POLICY_CPU_M = 49,
    COREBEACON_QOS_FREQ_REPORTING_POLICY_CPU_B = 50,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_L = 52,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M = 53,
    COREBEACON_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_B = 54,
    COREBEACON_QOS_VIDEO_ENCODE_FREQ = 56,
    COREBEACON_QOS_CPU_IOWAIT_BOOST = 60,
    COREBEACON_QOS_CPU_ED_TASK = 61,
    COREBEACON_QOS_CPU_INIT_TASK_LOAD = 62,
    COREBEACON_QOS_NPU_SC_PRIO = 72,
    COREBEACON_QOS_ONSYS_AVS_CTRL_LEVEL = 74,
    COREBEACON_QOS_IPA_SOC_CONTROL_TEMP = 98,
    COREBEACON_QOS_CAPACITY_MARGIN = 100,
    COREBEACON_QOS_THERMAL_THRESHOLD_UP = 104,
    COREBEACON_QOS_INVALID = 105,  ///< one past the last id
};

/// What a value does.
enum corebeacon_operation {
    COREBEACON_BOOST = 0,  ///< a floor: the final value reaches at least this
    COREBEACON_LIMIT = 1,  ///< a ceiling: the final value stays at or below this
};

/// The severities of log lines, and the switch's bit values for those that it hides.
enum corebeacon_log_level {
    COREBEACON_LOG_DEBUG = 3,    ///< only with COREBEACON_LOG_SWITCH_DEBUG
    COREBEACON_LOG_INFO = 4,     ///< only with COREBEACON_LOG_SWITCH_INFO
    COREBEACON_LOG_WARNING = 5,  ///< always
    COREBEACON_LOG_ERROR = 6,    ///< always
};
enum corebeacon_log_switch_bit {
    COREBEACON_LOG_SWITCH_INFO = 1,
    COREBEACON_LOG_SWITCH_DEBUG = 2,
};

/// The most elements that any array argument may have.
#define COREBEACON_MAX_COUNT 4096

/// One value of a request. This record never grows.
typedef struct corebeacon_item {
    uint32_t qos;        ///< enum corebeacon_qos
    uint32_t group;      ///< position of the group in its QoS; 0 where there is only one
    uint32_t operation;  ///< enum corebeacon_operation
    int32_t value;       ///< in the unit of the QoS: kHz, Hz, mW, millidegrees Celsius or a level
} corebeacon_item;

/// Values that are put in force and withdrawn together. This record never grows.
typedef struct corebeacon_scenario {
    uint32_t scenario;
    const corebeacon_item* items;
    size_t item_count;
} corebeacon_scenario;

/// One step of what an event does to one QoS, which all its items name. It begins where the step
/// before of the same event and QoS ends. This record never grows.
typedef struct corebeacon_event_step {
    uint32_t event;        ///< 0 to 19
    uint32_t duration_ms;  ///< 20 to 60000
    const corebeacon_item* items;
    size_t item_count;
} corebeacon_event_step;

/// A QoS of the host's own: one node, into which the value in force is written as text. It takes
/// the place of the compiled-in one of that id, if there is one. This record never grows.
typedef struct corebeacon_own_qos {
    uint32_t qos;      ///< below COREBEACON_QOS_INVALID
    const char* name;  ///< as logs and dumps show it
    const char* node_path;
    int32_t min;  ///< the bounds of any request; others are refused
    int32_t max;
    int32_t base;  ///< written while nobody asks for anything
} corebeacon_own_qos;

// The records that follow may grow at their end. Set the whole to zero and then `size` to its
// sizeof. A larger record is taken as long as what this library does not know of it is zero.

/// What happens to a probed thread; see corebeacon::ProbeEvent.
typedef struct corebeacon_probe {
    size_t size;
    const char* node_path;  ///< takes a thread id with the texts below
    const char* bind_text;
    const char* unbind_text;
    uint32_t start_delay_ms;
    uint32_t span_ms;
    int32_t cpu_m;  ///< floor of the middle cores in kHz; 0: none
    int32_t cpu_b;  ///< floor of the big cores in kHz; 0: none
    int32_t gpu;    ///< floor of the GPU in Hz; 0: none
} corebeacon_probe;

/// How an engine is made from the compiled-in tables. All zero but `size` is chip 0 with all its
/// QoS, scenarios and events.
typedef struct corebeacon_options {
    size_t size;
    uint32_t chip;       ///< the chip variant; see corebeacon::ChipTypeAvailableValue
    uint32_t work_mode;  ///< 0 to 2, in force until somebody asks for another
    int cpu_boost;       ///< other than 0: a COREBEACON_QOS_CPU_BOOST of own_qos is served
    int board_ipa;       ///< other than 0: the board has a thermal power allocator of its own
    /// Parts of node paths, such as "policy2", that belong to clusters this machine lacks.
    const char* const* invalid_clusters;
    size_t invalid_cluster_count;
    const corebeacon_own_qos* own_qos;
    size_t own_qos_count;
    /// The QoS that the engine is to have, of these and the compiled-in ones; null for all.
    const uint32_t* qos;
    size_t qos_count;
    /// In place of the compiled-in ones; null for these, a count of 0 with a pointer for none.
    const corebeacon_event_step* event_steps;
    size_t event_step_count;
    const corebeacon_scenario* scenarios;
    size_t scenario_count;
    const corebeacon_probe* probe;  ///< null: probes bind no thread and bring no floors
    /// The bounds of the handle table, each 0 for its default; see corebeacon::HandleLimits.
    uint32_t max_processes;
    uint32_t max_handles_per_process;
    uint32_t max_handles;
    int32_t reserved_pid;
} corebeacon_options;

/// Makes an engine and starts it (ConfigManager::Init). `options` may be null: all defaults.
/// Returns 0, or -1 with `*engine` null.
COREBEACON_API int corebeacon_create(const corebeacon_options* options,
                                     corebeacon_engine** engine) COREBEACON_NOEXCEPT;

/// Stops and joins the engine's threads and frees it. Null is no error.
COREBEACON_API void corebeacon_destroy(corebeacon_engine* engine) COREBEACON_NOEXCEPT;

/// PerfRequest. Where items contradict each other, the later one counts.
COREBEACON_API int corebeacon_request(corebeacon_engine* engine, int pid, unsigned int duration_ms,
                                      const corebeacon_item* items, size_t count,
                                      unsigned long* handle) COREBEACON_NOEXCEPT;
/// PerfRelease.
COREBEACON_API int corebeacon_release(corebeacon_engine* engine, int pid,
                                      unsigned long handle) COREBEACON_NOEXCEPT;
/// PerfReleaseAll.
COREBEACON_API int corebeacon_release_all(corebeacon_engine* engine, int pid) COREBEACON_NOEXCEPT;
/// Reset.
COREBEACON_API int corebeacon_reset(corebeacon_engine* engine) COREBEACON_NOEXCEPT;

/// PerfSetScenario.
COREBEACON_API int corebeacon_set_scenario(corebeacon_engine* engine, int pid,
                                           unsigned int scenario,
                                           unsigned long* handle) COREBEACON_NOEXCEPT;
/// PerfSetMode.
COREBEACON_API int corebeacon_set_mode(corebeacon_engine* engine, int pid, unsigned int mode,
                                       unsigned long* handle) COREBEACON_NOEXCEPT;
/// PerfSetSuspend: suspends these QoS, or resumes them where `suspended` is 0.
COREBEACON_API int corebeacon_set_suspend(corebeacon_engine* engine, int suspended,
                                          const uint32_t* qos, size_t count) COREBEACON_NOEXCEPT;

/// PerfEvent. Of its parameters, none is fewer than a `count` of 0.
COREBEACON_API int corebeacon_event(corebeacon_engine* engine, uint32_t event,
                                    const unsigned int* params, size_t count,
                                    const char* message) COREBEACON_NOEXCEPT;
/// StartEvent.
COREBEACON_API int corebeacon_start_event(corebeacon_engine* engine, uint32_t event,
                                          unsigned int duration_ms) COREBEACON_NOEXCEPT;
/// StopEvent. Returns 0.
COREBEACON_API int corebeacon_stop_event(corebeacon_engine* engine,
                                         uint32_t event) COREBEACON_NOEXCEPT;
/// StartProbe. Returns 0, -1 or 2.
COREBEACON_API int corebeacon_start_probe(corebeacon_engine* engine, int tid) COREBEACON_NOEXCEPT;
/// StopProbe. Returns 0.
COREBEACON_API int corebeacon_stop_probe(corebeacon_engine* engine, int tid) COREBEACON_NOEXCEPT;

/// What holds in a group, as far as plain numbers tell it. May grow: set `size` before the call,
/// and only as much is filled in.
typedef struct corebeacon_group_state {
    size_t size;
    int32_t floor;  ///< the pair in force, which was written last, or would be without a suspension
    int32_t ceiling;
    int32_t base_floor;  ///< the pair that holds while nobody asks for anything
    int32_t base_ceiling;
    int32_t range_min;  ///< the bounds of requests
    int32_t range_max;
    uint32_t work_mode;
    int32_t is_suspended;    ///< 1 while nothing is written
    uint32_t request_count;  ///< requests on the group, those that do not count among them
    uint32_t node_count;
    uint32_t failed_node_count;  ///< nodes that did not take the last text
} corebeacon_group_state;

/// Inspect, of one group. Waits for the QoS's worker, also while its node hangs. Returns 0, or -1
/// for a QoS or a group that this device lacks.
COREBEACON_API int corebeacon_inspect(corebeacon_engine* engine, uint32_t qos, uint32_t group,
                                      corebeacon_group_state* state) COREBEACON_NOEXCEPT;

// The functions below that take a buffer fill it as snprintf does: at most `size` bytes, the last
// of them a null, and they return the length of the whole text without it. A result of at least
// `size` means that the text was cut; the next one may be longer still, since the engine goes on. A
// null buffer with a size of 0 only asks for the length.

/// Dump of a type such as "--task". -1 for an unknown type, which the buffer is told.
COREBEACON_API int corebeacon_dump(corebeacon_engine* engine, const char* type, char* buffer,
                                   size_t size) COREBEACON_NOEXCEPT;
/// TaskDump. `full` other than 0: base values. Waits for the workers, also for one whose node
/// hangs.
COREBEACON_API int corebeacon_task_dump(corebeacon_engine* engine, int full, char* buffer,
                                        size_t size) COREBEACON_NOEXCEPT;
/// DumpFreqLimitHistory.
COREBEACON_API int corebeacon_dump_limit_history(corebeacon_engine* engine, char* buffer,
                                                 size_t size) COREBEACON_NOEXCEPT;
/// DumpCoreVersion.
COREBEACON_API int corebeacon_dump_core_version(corebeacon_engine* engine, char* buffer,
                                                size_t size) COREBEACON_NOEXCEPT;
/// DebugSet. The text tells what went wrong, and is empty when nothing did. -1 for an unknown
/// option.
COREBEACON_API int corebeacon_debug_set(corebeacon_engine* engine, const char* option, char* buffer,
                                        size_t size) COREBEACON_NOEXCEPT;
/// GetGameStartFlag: 1 or 0.
COREBEACON_API int corebeacon_game_start_flag(const corebeacon_engine* engine) COREBEACON_NOEXCEPT;

// What follows is the process's, not an engine's.

/// Takes one complete log line, which begins "[function:line] ". Called from callers' and worker
/// threads, several at once; must not call back into this library.
typedef void (*corebeacon_log_function)(void* user, int level, const char* tag,
                                        const char* message);

/// SetLogSink. Null restores the default, standard error. When this returns, no thread is inside
/// the former function any more. Returns 0.
COREBEACON_API int corebeacon_set_log_function(corebeacon_log_function function,
                                               void* user) COREBEACON_NOEXCEPT;
/// PfLogonSet: the sum of the bits of enum corebeacon_log_switch_bit. Returns 0.
COREBEACON_API int corebeacon_set_log_switch(unsigned int bits) COREBEACON_NOEXCEPT;
COREBEACON_API unsigned int corebeacon_log_switch(void) COREBEACON_NOEXCEPT;

/// What stands in for the kernel, see corebeacon::NodeIo: each function behaves as the POSIX call
/// of its name and is called from several threads at once. `user` is handed to each. May grow.
typedef struct corebeacon_node_io {
    size_t size;
    void* user;
    int (*open_node)(void* user, const char* path, int flags);
    ssize_t (*read_node)(void* user, int fd, void* buffer, size_t size);
    ssize_t (*write_node)(void* user, int fd, const void* data, size_t size);
    int (*close_node)(void* user, int fd);
    int (*ioctl_node)(void* user, int fd, unsigned long request, void* argument);
} corebeacon_node_io;

/// SetNodeIo. The record is copied; null restores the kernel's nodes. Returns 0, or -1 when a
/// function is missing, and while an engine made by corebeacon_create lives or a trace is bound,
/// whose descriptors belong to the implementation in force.
COREBEACON_API int corebeacon_set_node_io(const corebeacon_node_io* node_io) COREBEACON_NOEXCEPT;

/// BindSysTrace.
COREBEACON_API int corebeacon_bind_trace(const char* trace_marker_path) COREBEACON_NOEXCEPT;
/// UnbindSysTrace.
COREBEACON_API void corebeacon_unbind_trace(void) COREBEACON_NOEXCEPT;
/// LostSysTraceMarkers.
COREBEACON_API uint64_t corebeacon_lost_trace_markers(void) COREBEACON_NOEXCEPT;

/// The version of the library in use; that of this header is COREBEACON_VERSION.
COREBEACON_API const char* corebeacon_version(void) COREBEACON_NOEXCEPT;
/// PerfQosName: "CPU_L" for instance; null for an id without a name.
COREBEACON_API const char* corebeacon_qos_name(uint32_t qos) COREBEACON_NOEXCEPT;
/// The id of the QoS of that name. Returns 0, or -1 for an unknown name, which is not logged.
COREBEACON_API int corebeacon_qos_id(const char* name, uint32_t* qos) COREBEACON_NOEXCEPT;
/// PerfEasGroupName: the task group behind a group of COREBEACON_QOS_EAS; null where there is none.
COREBEACON_API const char* corebeacon_eas_group_name(unsigned int group) COREBEACON_NOEXCEPT;

#ifdef __cplusplus
}
#endif
