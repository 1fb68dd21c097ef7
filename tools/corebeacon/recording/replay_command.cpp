#include "recording/replay_command.h"

#include <optional>

#include <nlohmann/json.hpp>

#include "json_document.h"
#include "recording/replay.h"
#include "run_command.h"

namespace corebeacon::tool {

namespace {

void PrintText(const std::string& path, const ReplayResult& result, std::ostream& out) {
    if (!result.difference) {
        out << result.writes << " writes, all as recorded"
            << (result.isStarted ? "" : "; the engine does not start") << "\n";
        return;
    }
    const Difference& difference = *result.difference;
    out << path << ":" << difference.line << ": the first difference, after " << result.writes
        << " writes as recorded\n"
        << "  recorded: " << difference.recorded << "\n"
        << "  replayed: " << difference.replayed << "\n";
}

void PrintAsJson(const std::string& path, const Recording& recording, const ReplayResult& result,
                 std::ostream& out) {
    Json document = JsonDocument("replay");
    document["recording"] = path;
    document["recorded_at"] = recording.head.recordedAt;
    document["recorded_on"] = recording.head.machine;
    document["recorded_by"] = recording.head.program;
    document["writes"] = result.writes;
    document["started"] = result.isStarted;
    document["same"] = !result.difference.has_value();
    if (result.difference) {
        document["difference"] = {{"line", result.difference->line},
                                  {"recorded", result.difference->recorded},
                                  {"replayed", result.difference->replayed}};
    }
    PrintJson(document, out);
}

}  // namespace

int ReplayFile(const std::string& path, bool isJson, std::ostream& out, std::ostream& diagnostics) {
    const std::optional<Recording> recording = LoadRecording(path, diagnostics);
    if (!recording) {
        return kExitBadInput;
    }
    const ReplayResult result = Replay(*recording);
    if (isJson) {
        PrintAsJson(path, *recording, result, out);
    } else {
        PrintText(path, result, out);
    }
    return result.difference ? kExitFailed : kExitDone;
}

}  // namespace corebeacon::tool
