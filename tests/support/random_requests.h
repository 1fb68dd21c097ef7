/// Makes requests that every resource of a running engine accepts, at random but repeatably.
/// Owned by one thread of a test.
#pragma once

#include <cstdint>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

#include "corebeacon/config_manager.h"
#include "corebeacon/default_config.h"
#include "engine/resource_manager.h"

namespace corebeacon::test {

class RandomRequests {
public:
    /// `table` is what `front` was started with, narrowed by its Init; both are only read.
    RandomRequests(const ConfigManager& front, const PerfQosConfigMap& table, std::uint64_t seed)
        : mRandom(seed) {
        for (const auto& [qosId, config] : table) {
            if (front.Resources().GetResourcePtr(qosId) != nullptr) {
                // A ratio and its monitor must not change in one step, so only first groups.
                mTargets.push_back({qosId, &config.get().groups.front()});
            }
        }
    }

    /// Requests that, one after the other, bring each QoS to each of its levels, or to both ends
    /// of its range.
    std::vector<PerfRequestInfo> EveryLevel() const {
        std::vector<PerfRequestInfo> requests;
        const auto add = [&requests](const Target& target, int value) {
            // What lies below the base is reached by a ceiling only.
            for (const auto operation : {PERF_OPERATION_BOOST, PERF_OPERATION_LIMIT}) {
                requests.push_back({target.qosId, {{0, {{operation, value}}}}});
            }
        };
        for (const Target& target : mTargets) {
            if (target.group->level2ValueMap.empty()) {
                add(target, target.group->availableMin);
                add(target, target.group->availableMax);
            }
            for (const auto& [level, texts] : target.group->level2ValueMap) {
                add(target, level);
            }
        }
        return requests;
    }

    /// A number of [low, high].
    int Number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mRandom); }

    /// One to three different groups, each with a floor, a ceiling or both.
    std::vector<PerfRequestInfo> Next() {
        std::vector<PerfRequestInfo> request;
        const int count = Number(1, 3);
        const int last = static_cast<int>(mTargets.size()) - 1;
        // In rising steps, so that no two of them merge into a floor above a ceiling.
        for (int i = 0, at = Number(0, last); i < count && at <= last; ++i) {
            const Target& target = mTargets[static_cast<std::size_t>(at)];
            request.push_back({target.qosId, {Values(*target.group)}});
            at += Number(1, 1 + last / 2);
        }
        return request;
    }

private:
    struct Target {
        PerfQosId qosId;
        const PerfGroupConfig* group;
    };

    GroupInfo Values(const PerfGroupConfig& group) {
        int boost = Value(group);
        int limit = Value(group);
        if (boost > limit) {
            std::swap(boost, limit);
        }
        GroupInfo info{group.groupId, {}};
        const int kind = Number(0, 2);
        if (kind != 1) {
            info.values.push_back({PERF_OPERATION_BOOST, boost});
        }
        if (kind != 0) {
            info.values.push_back({PERF_OPERATION_LIMIT, limit});
        }
        return info;
    }

    int Value(const PerfGroupConfig& group) {
        const Level2ValueMap& levels = group.level2ValueMap;
        if (levels.empty()) {
            return Number(group.availableMin, group.availableMax);
        }
        return std::next(levels.begin(), Number(0, static_cast<int>(levels.size()) - 1))->first;
    }

    std::mt19937_64 mRandom;
    std::vector<Target> mTargets;
};

}  // namespace corebeacon::test
