#include "plan_command.h"

#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

#include "json_document.h"
#include "planner.h"
#include "run_command.h"
#include "script_source.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;

std::string Seconds(std::chrono::nanoseconds time) {
    const auto millis = duration_cast<milliseconds>(time).count();
    char text[32];
    std::snprintf(text, sizeof(text), "%4lld.%03lld", static_cast<long long>(millis / 1000),
                  static_cast<long long>(millis % 1000));
    return text;
}

void PrintText(const std::vector<PlannedWrite>& writes, std::ostream& out) {
    if (writes.empty()) {
        out << "No node would be written.\n";
        return;
    }
    TextTable table;
    table.AddRow({"TIME", "QOS.GROUP", "NODE", "VALUE", "LINE", "CAUSE"});
    for (const PlannedWrite& write : writes) {
        const std::string failed = write.failure.empty() ? "" : "FAILED: " + write.failure;
        table.AddRow({Seconds(write.time), write.qos.empty() ? "-" : write.qos, write.node,
                      write.value.empty() || failed.empty() ? write.value + failed
                                                            : write.value + " " + failed,
                      write.line == 0 ? "-" : std::to_string(write.line), write.cause});
    }
    out << table.Text("");
}

void PrintAsJson(const std::vector<PlannedWrite>& writes, const std::string& script,
                 std::ostream& out) {
    Json document = JsonDocument("plan");
    document["script"] = script;
    Json& list = document["writes"] = Json::array();
    for (const PlannedWrite& write : writes) {
        Json one = {{"time_us", duration_cast<microseconds>(write.time).count()}};
        one["qos"] = write.qos.empty() ? Json() : Json(write.qos);
        one["node"] = write.node;
        one["value"] = write.value;
        if (!write.failure.empty()) {
            one["failure"] = write.failure;
        }
        one["line"] = write.line == 0 ? Json() : Json(write.line);
        one["cause"] = write.cause;
        list.push_back(std::move(one));
    }
    PrintJson(document, out);
}

}  // namespace

int PlanScript(const std::string& path, const SessionOptions& options, bool isJson,
               std::istream& in, std::ostream& out, std::ostream& diagnostics) {
    const std::optional<ScriptText> script = ReadScript(path, in, diagnostics);
    const auto statements = script ? ParseOrTell(script->text, script->name, diagnostics)
                                   : std::optional<std::vector<Statement>>();
    if (!statements) {
        return kExitBadInput;
    }
    SessionOptions planned = options;
    planned.pace = Pace::VIRTUAL;
    Planner planner;
    RunObservers observers;
    observers.Add(planner);
    const int result = PlayStatements(*statements, script->name, planned, observers, diagnostics);
    if (!planner.HasBegun()) {
        return result;
    }
    if (isJson) {
        PrintAsJson(planner.Writes(), script->name, out);
    } else {
        PrintText(planner.Writes(), out);
    }
    return result;
}

}  // namespace corebeacon::tool
