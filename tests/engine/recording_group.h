/// A group without nodes, which remembers what it was told to write. Owned by a test.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "engine/perf_group.h"

namespace corebeacon::test {

using Pair = std::pair<int, int>;

class RecordingGroup : public PerfGroup {
public:
    using PerfGroup::PerfGroup;
    // The steps that cannot be reached with commands that passed the checks before them.
    using PerfGroup::AddToWaitingQue;
    using PerfGroup::CheckCurrValueChangeAfterTimeOut;

    int DoConfig(int boost, int limit) override {
        writes.emplace_back(boost, limit);
        return configResult;
    }
    void CloseAllFds() override { ++closes; }
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override {
        info.push_back({std::to_string(GetBoostBaseValue()), std::to_string(GetLimitBaseValue()),
                        "/min", "/max"});
    }

    std::string DumpText() const {
        std::ostringstream out;
        Dump(out);
        return out.str();
    }
    /// The second line of the dump, without its newline.
    std::string QueueText() const {
        std::ostringstream out;
        DumpPart2(out);
        const std::string text = out.str();
        return text.substr(0, text.size() - 1);
    }
    std::string HeadText() const {
        std::ostringstream out;
        DumpPart1(out);
        const std::string text = out.str();
        return text.substr(0, text.size() - 1);
    }

    std::vector<Pair> writes;
    int closes = 0;
    int configResult = 0;
};

/// A group "G" with the range 100 to 3000 and the base 300 to 2000.
inline PerfGroupConfig MakeGroupConfig(bool clamp = false) {
    return PerfGroupConfig("G", clamp, 100, 3000, 300, 2000, {"/min", "/max"}, CHIP_TYPE_COMMON);
}

/// A time point so many seconds after an arbitrary beginning.
inline TimePoint At(int seconds) {
    return TimePoint(std::chrono::hours(1)) + std::chrono::seconds(seconds);
}

/// A command whose times nobody looks at.
inline PerfGroupCommand Standing(unsigned long handle, OperationValueMap values) {
    return {handle, At(0), TimePoint{}, std::move(values)};
}

inline PerfGroupCommand Timed(unsigned long handle, int start, int end, OperationValueMap values) {
    return {handle, At(start), At(end), std::move(values)};
}

inline OperationValueMap Boost(int value) {
    return {{PERF_OPERATION_BOOST, value}};
}

inline OperationValueMap Limit(int value) {
    return {{PERF_OPERATION_LIMIT, value}};
}

inline OperationValueMap Both(int boost, int limit) {
    return {{PERF_OPERATION_BOOST, boost}, {PERF_OPERATION_LIMIT, limit}};
}

}  // namespace corebeacon::test
