#include "command/command_wrapper.h"

#include <map>
#include <utility>

#include "platform/block_bank.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CMD_WRAPPER";

constexpr unsigned int kProbeGroup = 0;

/// An item is made by a caller and mostly dropped by a worker. Beside those there is always but
/// little room: enough for the start and the stop of a scenario.
template <typename T>
struct ItemAllocator {
    using value_type = T;

    ItemAllocator() = default;
    template <typename Other>  // implicit: the standard library turns it into its own
    // NOLINTNEXTLINE(google-explicit-constructor)
    ItemAllocator(const ItemAllocator<Other>&) noexcept {}

    T* allocate(std::size_t) { return static_cast<T*>(bank.Take()); }
    void deallocate(T* memory, std::size_t) noexcept { bank.Give(memory); }
    template <typename Other>
    bool operator==(const ItemAllocator<Other>&) const noexcept {
        return true;
    }

    static constexpr std::size_t kBlocks = 48;
    static constinit BlockBank<sizeof(T), kBlocks> bank;
};

template <typename T>
constinit BlockBank<sizeof(T), ItemAllocator<T>::kBlocks> ItemAllocator<T>::bank;

template <typename... Source>
std::shared_ptr<PerfCommandItem> MakeItem(const Source&... source) {
    return std::allocate_shared<PerfCommandItem>(ItemAllocator<PerfCommandItem>(), source...);
}

void DumpItem(const PerfCommandItem& item, std::ostringstream& out) {
    out << "{" << item.qosId << ": ";
    for (const auto& [group, values] : item.groups) {
        out << "[" << group << " ";
        for (const auto& [operation, value] : values) {
            out << "(" << operation << ":" << value << ")";
        }
        out << "]";
    }
    out << "}\n";
}

}  // namespace

CommandWrapper::CommandWrapper(PerfCommandType type, const TimePoint& start, const TimePoint& end,
                               unsigned int duration)
    : mType(type), mStartTime(start), mEndTime(end), mDuration(duration) {}

void CommandWrapper::FillInHandle(unsigned long handle) {
    mHandle = handle;
    for (const auto& item : mItems) {
        if (item == nullptr) {
            LOGE("[%s:%d] command ptr is NULL!");
            return;
        }
        item->handle = handle;
    }
}

void CommandWrapper::FillInWorkMode(PerfWorkMode mode) {
    for (auto& item : mItems) {
        if (item == nullptr) {
            LOGE("[%s:%d] command ptr is NULL!");
            return;
        }
        if (item.use_count() > 1) {
            item = MakeItem(*item);
        }
        item->workMode = mode;
    }
}

void CommandWrapper::InsertRequestCommand(PerfQosId qos, GroupValueMap groups) {
    AppendItem(qos, mStartTime, mEndTime, std::move(groups));
}

void CommandWrapper::InsertEventCommand(PerfQosId qos, const TimePoint& start, const TimePoint& end,
                                        GroupValueMap groups) {
    AppendItem(qos, start, end, std::move(groups));
}

void CommandWrapper::AppendItem(PerfQosId qos, const TimePoint& start, const TimePoint& end,
                                GroupValueMap&& groups) {
    auto item = MakeItem();
    item->qosId = qos;
    item->startTime = start;
    item->endTime = end;
    item->groups = std::move(groups);
    InsertItem(std::move(item));
}

void CommandWrapper::InsertWorkModeCommand() {
    InsertRequestCommand(PERF_QOS_CPU_L, {});
}

void CommandWrapper::InsertDebugCommand(PerfQosId qos) {
    InsertRequestCommand(qos, {});
}

void CommandWrapper::InsertSuspendCommand(PerfQosId qos) {
    InsertRequestCommand(qos, {});
}

void CommandWrapper::InsertProbeCommand(const TimePoint& start, const TimePoint& end, int cpuM,
                                        int cpuB, int gpu) {
    LOGD("[%s:%d] build probe cmd: gpu=%u, cpuM=%u, cpuB=%u", static_cast<unsigned int>(gpu),
         static_cast<unsigned int>(cpuM), static_cast<unsigned int>(cpuB));
    mIsProbe = true;
    const std::pair<PerfQosId, int> boosts[] = {
        {PERF_QOS_CPU_M, cpuM}, {PERF_QOS_CPU_B, cpuB}, {PERF_QOS_GPU, gpu}};
    for (const auto& [qos, value] : boosts) {
        // 0 is how a host leaves a tunable alone; a boost to 0 would occupy its queue for nothing.
        if (value != 0) {
            InsertEventCommand(qos, start, end, {{kProbeGroup, {{PERF_OPERATION_BOOST, value}}}});
        }
    }
}

void CommandWrapper::InsertItem(std::shared_ptr<PerfCommandItem> item) {
    mItems.push_back(std::move(item));
}

std::string CommandWrapper::GetCmdTypeString() const {
    static const std::map<PerfCommandType, std::string> names = {
        {PERF_COMMAND_SHORT_START, "ShortStart"}, {PERF_COMMAND_SHORT_STOP, "ShortStop"},
        {PERF_COMMAND_LONG_START, "LongStart"},   {PERF_COMMAND_LONG_STOP, "LongStop"},
        {PERF_COMMAND_MODE_START, "ModeStart"},
    };
    const auto name = names.find(mType);
    return name != names.end() ? name->second : "invalid command type";
}

void CommandWrapper::Dump(std::ostringstream& out) const {
    const PlainFormat format(out);
    out << GetCmdTypeString() << " duration " << mDuration << "\n";
    for (const auto& item : mItems) {
        if (item != nullptr) {
            DumpItem(*item, out);
        }
    }
}

}  // namespace corebeacon
