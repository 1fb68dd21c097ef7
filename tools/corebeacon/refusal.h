/// Says in a person's words why the engine refused a request or left a part of it out. The engine
/// itself decides, and logs its decision; this looks the reasons up in the table in force. Free
/// functions without state, used on the player's thread.
#pragma once

#include <string>
#include <vector>

#include "engine_session.h"
#include "statement.h"

namespace corebeacon::tool {

/// One clause for each QoS of the request that has no resource on this device.
std::vector<std::string> LeftOut(EngineSession& session, const Statement& request);

/// One clause for each QoS that the statement cannot suspend or resume.
std::vector<std::string> NotSuspendable(EngineSession& session, const Statement& statement);

/// Why a request was refused; when the table does not tell, a hint at the log.
std::string WhyRefused(EngineSession& session, const Statement& request);

}  // namespace corebeacon::tool
