/// QoS tables as JSON, for all commands that print them. Free functions without state, used on the
/// program's main thread.
#pragma once

#include <string>
#include <vector>

#include "corebeacon/default_config.h"
#include "engine/resource_manager.h"
#include "json_document.h"

namespace corebeacon::tool {

/// What a person calls the way in which the engine serves a row: "frequency", "levels".
std::string KindOf(const PerfQosConfig& config, const PerfGroupConfig& row);

/// An array of QoS, each with its rows.
Json TableJson(const PerfQosConfigMap& table);

Json UnsupportedJson(const std::vector<UnsupportedQos>& unsupported);

}  // namespace corebeacon::tool
