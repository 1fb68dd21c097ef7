#include "refusal.h"

#include <algorithm>

#include "corebeacon/builtin_config.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kMinTime{20};
constexpr milliseconds kMaxTime{60000};

std::string NameOf(PerfQosId qosId) {
    const char* name = PerfQosName(qosId);
    return name != nullptr ? name : "QoS " + std::to_string(qosId);
}

/// What is asked of the base of a QoS goes to that QoS.
PerfQosId TargetOf(PerfQosId qosId) {
    return qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : qosId;
}

std::string WhyUnsupported(EngineSession& session, PerfQosId qosId) {
    for (const UnsupportedQos& qos : session.Unsupported()) {
        if (qos.id == qosId) {
            return qos.reason;
        }
    }
    return "the table does not describe it";
}

std::string LevelsOf(const PerfGroupConfig& row) {
    std::string levels;
    for (const auto& [level, texts] : row.level2ValueMap) {
        levels += (levels.empty() ? "" : ", ") + std::to_string(level);
    }
    return levels;
}

/// "" when the row takes the value.
std::string WhyNot(const PerfGroupConfig& row, int value) {
    if (!row.level2ValueMap.empty()) {
        return row.level2ValueMap.contains(value) ? "" : "takes the levels " + LevelsOf(row);
    }
    if (!row.rangeFlag && (value < row.availableMin || value > row.availableMax)) {
        return "takes " + std::to_string(row.availableMin) + " to " +
               std::to_string(row.availableMax);
    }
    return "";
}

std::string WhyNot(const PerfQosConfig& config, const GroupInfo& group) {
    const auto row = std::ranges::find(config.groups, group.groupId, &PerfGroupConfig::groupId);
    if (row == config.groups.end()) {
        return "has no group " + std::to_string(group.groupId);
    }
    for (const auto& [operation, value] : group.values) {
        if (const std::string why = WhyNot(*row, value); !why.empty()) {
            return why + ", not " + std::to_string(value);
        }
    }
    return "";
}

std::string WhyValuesRefused(EngineSession& session, const Statement& request) {
    for (const PerfRequestInfo& element : request.request) {
        const PerfQosId target = TargetOf(element.qosId);
        const auto config = session.Table().find(target);
        if (config == session.Table().end() ||
            session.Engine().Resources().GetResourcePtr(target) == nullptr) {
            continue;
        }
        for (const GroupInfo& group : element.groups) {
            if (const std::string why = WhyNot(config->second, group); !why.empty()) {
                return NameOf(element.qosId) + " " + why;
            }
        }
    }
    return "";
}

}  // namespace

std::vector<std::string> LeftOut(EngineSession& session, const Statement& request) {
    std::vector<std::string> clauses;
    for (const PerfRequestInfo& element : request.request) {
        const PerfQosId target = TargetOf(element.qosId);
        if (session.Engine().Resources().GetResourcePtr(target) == nullptr) {
            clauses.push_back(NameOf(element.qosId) +
                              " is not in service: " + WhyUnsupported(session, target));
        }
    }
    return clauses;
}

std::vector<std::string> NotSuspendable(EngineSession& session, const Statement& statement) {
    std::vector<std::string> clauses;
    for (const PerfQosId qosId : statement.qosIds) {
        if (session.Engine().Resources().GetResourcePtr(qosId) == nullptr) {
            clauses.push_back(NameOf(qosId) +
                              " is not in service: " + WhyUnsupported(session, qosId));
        } else if (qosId >= PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L &&
                   qosId <= PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B) {
            clauses.push_back(NameOf(qosId) + " writes nodes that have to agree");
        }
    }
    return clauses;
}

std::string WhyRefused(EngineSession& session, const Statement& request) {
    if (request.time != milliseconds(0) && (request.time < kMinTime || request.time > kMaxTime)) {
        return "a timed request lasts from 20ms to 60s";
    }
    if (LeftOut(session, request).size() == request.request.size()) {
        return "nothing is left of it";
    }
    const std::string why = WhyValuesRefused(session, request);
    return why.empty() ? "the engine's log above tells why" : why;
}

}  // namespace corebeacon::tool
