// The operations of an engine, for callers who do not speak C++.
#include "front/c_interface.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

#include "front/out_of_memory.h"
#include "platform/logging.h"

namespace corebeacon::c_interface {

namespace {

constexpr const char* LOG_TAG = "PF_C_API";

/// The element of `list` whose `id` member has that value, appended when there is none.
template <typename Element, typename Id>
Element& FindOrAdd(std::vector<Element>& list, Id Element::*id, Id value) {
    const auto found = std::ranges::find(list, value, id);
    if (found != list.end()) {
        return *found;
    }
    Element& added = list.emplace_back();
    added.*id = value;
    return added;
}

/// Copies a text as snprintf would and returns its length.
int CopyText(std::string_view text, char* buffer, std::size_t size) {
    if (size > 0) {
        const std::size_t copied = std::min(text.size(), size - 1);
        std::memcpy(buffer, text.data(), copied);
        buffer[copied] = '\0';
    }
    return static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
}

/// Runs `append(out)` and gives its text to the caller, also that of a failure. Returns the length
/// of the text, or -1 where `append` says that it failed.
template <typename Append>
int Tell(const char* operation, char* buffer, std::size_t size, Append append) noexcept {
    if (buffer == nullptr && size > 0) {
        return BadArgument(operation, "no buffer");
    }
    return Guarded(operation, [&] {
        std::ostringstream out;
        const bool isDone = append(out);
        const int length = CopyText(out.view(), buffer, size);
        return isDone && !out.bad() ? length : -1;
    });
}

constexpr std::size_t kFirstGroupStateSize = offsetof(corebeacon_group_state, failed_node_count) +
                                             sizeof(corebeacon_group_state::failed_node_count);

corebeacon_group_state ToPlain(const GroupState& group, std::size_t size) {
    // Two of the items are the base values.
    const auto isRequest = [](const GroupItemState& item) {
        return item.handle != GroupState::kNobody;
    };
    const auto hasFailed = [](const NodeState& node) {
        return node.status == NodeWriteStatus::FAILED;
    };
    return {
        .size = size,
        .floor = group.inForce.floor,
        .ceiling = group.inForce.ceiling,
        .base_floor = group.base.floor,
        .base_ceiling = group.base.ceiling,
        .range_min = group.rangeMin,
        .range_max = group.rangeMax,
        .work_mode = group.workMode,
        .is_suspended = group.isSuspended ? 1 : 0,
        .request_count = static_cast<std::uint32_t>(std::ranges::count_if(group.items, isRequest)),
        .node_count = static_cast<std::uint32_t>(group.nodes.size()),
        .failed_node_count =
            static_cast<std::uint32_t>(std::ranges::count_if(group.nodes, hasFailed))};
}

int NoEngine(const char* operation) noexcept {
    return BadArgument(operation, "no engine");
}

}  // namespace

int BadArgument(const char* operation, const char* what) noexcept {
    LOGE("[%s:%d] %s: %s", operation, what);
    return -1;
}

int Thrown(const char* operation) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return OutOfMemory(operation);
    } catch (const std::exception& error) {
        return BadArgument(operation, error.what());
    } catch (...) {
        return BadArgument(operation, "failed");
    }
}

std::vector<PerfRequestInfo> ToRequest(const corebeacon_item* items, std::size_t count) {
    std::vector<PerfRequestInfo> request;
    for (std::size_t i = 0; i < count; ++i) {
        const corebeacon_item& item = items[i];
        PerfRequestInfo& info =
            FindOrAdd(request, &PerfRequestInfo::qosId, static_cast<PerfQosId>(item.qos));
        FindOrAdd(info.groups, &GroupInfo::groupId, item.group)
            .values.emplace_back(static_cast<PerfOperationType>(item.operation), item.value);
    }
    return request;
}

bool TakeRecord(const void* from, std::size_t size, const RecordSizes& sizes, void* to) {
    constexpr std::size_t kAbsurdSize = 4096;
    if (size < sizes.atFirst || size > kAbsurdSize) {
        return false;
    }
    const auto* bytes = static_cast<const unsigned char*>(from);
    const std::size_t known = std::min(size, sizes.now);
    std::memcpy(to, bytes, known);
    return std::all_of(bytes + known, bytes + size, [](unsigned char byte) { return byte == 0; });
}

}  // namespace corebeacon::c_interface

using namespace corebeacon;
using namespace corebeacon::c_interface;

int corebeacon_request(corebeacon_engine* engine, int pid, unsigned int duration_ms,
                       const corebeacon_item* items, size_t count, unsigned long* handle) noexcept {
    if (engine == nullptr || handle == nullptr || !IsArray(items, count)) {
        return BadArgument(__func__, "no engine, no handle or no items");
    }
    return Guarded(__func__, [&] {
        return engine->front.PerfRequest(pid, duration_ms, ToRequest(items, count), *handle);
    });
}

int corebeacon_release(corebeacon_engine* engine, int pid, unsigned long handle) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] { return engine->front.PerfRelease(pid, handle); });
}

int corebeacon_release_all(corebeacon_engine* engine, int pid) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] { return engine->front.PerfReleaseAll(pid); });
}

int corebeacon_reset(corebeacon_engine* engine) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] { return engine->front.Reset(); });
}

int corebeacon_set_scenario(corebeacon_engine* engine, int pid, unsigned int scenario,
                            unsigned long* handle) noexcept {
    if (engine == nullptr || handle == nullptr) {
        return BadArgument(__func__, "no engine or no handle");
    }
    return Guarded(__func__, [&] { return engine->front.PerfSetScenario(pid, scenario, *handle); });
}

int corebeacon_set_mode(corebeacon_engine* engine, int pid, unsigned int mode,
                        unsigned long* handle) noexcept {
    if (engine == nullptr || handle == nullptr) {
        return BadArgument(__func__, "no engine or no handle");
    }
    return Guarded(__func__, [&] { return engine->front.PerfSetMode(pid, mode, *handle); });
}

int corebeacon_set_suspend(corebeacon_engine* engine, int suspended, const uint32_t* qos,
                           size_t count) noexcept {
    if (engine == nullptr || !IsArray(qos, count)) {
        return BadArgument(__func__, "no engine or no QoS");
    }
    return Guarded(__func__, [&] {
        std::vector<unsigned int> params = {suspended != 0 ? 1U : 0U};
        params.insert(params.end(), qos, qos + count);
        return engine->front.PerfSetSuspend(params);
    });
}

int corebeacon_event(corebeacon_engine* engine, uint32_t event, const unsigned int* params,
                     size_t count, const char* message) noexcept {
    if (engine == nullptr || message == nullptr || !IsArray(params, count)) {
        return BadArgument(__func__, "no engine, no message or no parameters");
    }
    return Guarded(__func__, [&] {
        return engine->front.PerfEvent(event, std::vector<unsigned int>(params, params + count),
                                       message);
    });
}

int corebeacon_start_event(corebeacon_engine* engine, uint32_t event,
                           unsigned int duration_ms) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] { return engine->front.StartEvent(event, duration_ms); });
}

int corebeacon_stop_event(corebeacon_engine* engine, uint32_t event) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] {
        engine->front.StopEvent(event);
        return 0;
    });
}

int corebeacon_start_probe(corebeacon_engine* engine, int tid) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] { return engine->front.StartProbe(tid); });
}

int corebeacon_stop_probe(corebeacon_engine* engine, int tid) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Guarded(__func__, [&] {
        engine->front.StopProbe(tid);
        return 0;
    });
}

int corebeacon_inspect(corebeacon_engine* engine, uint32_t qos, uint32_t group,
                       corebeacon_group_state* state) noexcept {
    if (engine == nullptr || state == nullptr || state->size < kFirstGroupStateSize) {
        return BadArgument(__func__, "no engine or no state of a known size");
    }
    return Guarded(__func__, [&] {
        std::vector<GroupState> groups;
        if (engine->front.Inspect(static_cast<PerfQosId>(qos), groups) != 0) {
            return -1;
        }
        const auto found = std::ranges::find(groups, group, &GroupState::groupId);
        if (found == groups.end()) {
            return BadArgument("corebeacon_inspect", "a group that the QoS has not");
        }
        const corebeacon_group_state plain = ToPlain(*found, state->size);
        std::memcpy(state, &plain, std::min(state->size, sizeof(plain)));
        return 0;
    });
}

int corebeacon_dump(corebeacon_engine* engine, const char* type, char* buffer,
                    size_t size) noexcept {
    if (engine == nullptr || type == nullptr) {
        return BadArgument(__func__, "no engine or no type");
    }
    return Tell(__func__, buffer, size,
                [&](std::ostringstream& out) { return engine->front.Dump(out, {type}) == 0; });
}

int corebeacon_task_dump(corebeacon_engine* engine, int full, char* buffer, size_t size) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Tell(__func__, buffer, size, [&](std::ostringstream& out) {
        return engine->front.TaskDump(full != 0, out) == 0;
    });
}

int corebeacon_dump_limit_history(corebeacon_engine* engine, char* buffer, size_t size) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Tell(__func__, buffer, size, [&](std::ostringstream& out) {
        engine->front.DumpFreqLimitHistory(out);
        return true;
    });
}

int corebeacon_dump_core_version(corebeacon_engine* engine, char* buffer, size_t size) noexcept {
    if (engine == nullptr) {
        return NoEngine(__func__);
    }
    return Tell(__func__, buffer, size, [&](std::ostringstream& out) {
        engine->front.DumpCoreVersion(out);
        return true;
    });
}

int corebeacon_debug_set(corebeacon_engine* engine, const char* option, char* buffer,
                         size_t size) noexcept {
    if (engine == nullptr || option == nullptr) {
        return BadArgument(__func__, "no engine or no option");
    }
    return Tell(__func__, buffer, size,
                [&](std::ostringstream& out) { return engine->front.DebugSet(out, option); });
}

int corebeacon_game_start_flag(const corebeacon_engine* engine) noexcept {
    return engine == nullptr ? NoEngine(__func__) : (engine->front.GetGameStartFlag() ? 1 : 0);
}
