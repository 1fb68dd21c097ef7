#include "verify/watch_command.h"

#include <optional>

#include <nlohmann/json.hpp>

#include "explain/explanation.h"
#include "interruption.h"
#include "json_document.h"
#include "platform/clock.h"
#include "printable.h"
#include "run_command.h"

namespace corebeacon::tool {

namespace {

/// Nothing, and said so, for a word that names no node.
std::optional<std::vector<std::string>> PathsOf(const std::vector<std::string>& targets,
                                                EngineSession& session, std::ostream& diagnostics) {
    if (targets.empty()) {
        return session.Names().Paths();
    }
    std::vector<std::string> paths;
    for (const std::string& target : targets) {
        if (target.starts_with('/')) {
            paths.push_back(target);
            continue;
        }
        std::string problem;
        const auto groups = FindGroups(session, {target}, problem);
        if (!groups) {
            diagnostics << "corebeacon: " << Printable(problem) << "\n";
            return std::nullopt;
        }
        for (const GroupState& group : *groups) {
            for (const NodeState& node : group.nodes) {
                paths.push_back(node.path);
            }
        }
    }
    return paths;
}

}  // namespace

int WatchNodes(const WatchCommandOptions& options, std::ostream& out, std::ostream& diagnostics) {
    const auto session = EngineSession::StartOrTell(options.session, diagnostics);
    if (session == nullptr) {
        return kExitFailed;
    }
    const auto paths = PathsOf(options.targets, *session, diagnostics);
    if (!paths) {
        return kExitBadInput;
    }
    const TimePoint begin = SteadyNow();
    NodeWatch watch(*paths, session->Reader());
    if (watch.Size() == 0) {
        diagnostics << "corebeacon: none of these nodes can be read\n";
        return kExitFailed;
    }
    std::vector<NodeChange> changes;
    const InterruptionGuard guard(InterruptionGuard::Catch::ONCE);
    if (!options.isJson) {
        out << "Watching " << watch.Size() << (watch.Size() == 1 ? " node\n" : " nodes\n")
            << std::flush;
    }
    Watch(options.watch, *session, watch, [&](const NodeChange& change) {
        if (options.isJson) {
            changes.push_back(change);
        } else {
            out << ChangeText(change, begin, session->Names()) << "\n" << std::flush;
        }
    });
    if (options.isJson) {
        Json document = JsonDocument("watch");
        document["watched"] = watch.Size();
        document["changes"] = ChangesJson(changes, begin);
        PrintJson(document, out);
    }
    return kExitDone;
}

}  // namespace corebeacon::tool
