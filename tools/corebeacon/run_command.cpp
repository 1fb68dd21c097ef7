#include "run_command.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <set>
#include <vector>

#include "demo_story.h"
#include "event_printer.h"
#include "platform/clock.h"
#include "script_parser.h"
#include "script_player.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

/// One byte more than the parser takes, so that it can say that the script is too long.
constexpr std::size_t kMaxReadBytes = kMaxScriptBytes + 1;

std::optional<std::string> ReadAll(std::istream& in) {
    std::string text(kMaxReadBytes, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad()) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(in.gcount()));
    return text;
}

std::optional<std::string> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file.is_open() ? ReadAll(file) : std::nullopt;
}

/// The QoS that the statements may write, as far as they tell.
std::set<PerfQosId> QosOf(const EngineSession& session, const std::vector<Statement>& statements) {
    std::set<PerfQosId> ids;
    const auto addAll = [&ids](const auto& elements) {
        for (const auto& element : elements) {
            ids.insert(element.qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : element.qosId);
        }
    };
    for (const Statement& statement : statements) {
        addAll(statement.request);
        if (statement.verb == Verb::SCENARIO) {
            const ConfigurableScenario* scenario = session.FindScenario(statement.number);
            addAll(scenario != nullptr ? scenario->requests : std::vector<PerfRequestInfo>());
        } else if (statement.verb == Verb::EVENT) {
            const ConfigurableEvent* event = session.FindEvent(statement.number);
            addAll(event != nullptr ? event->qosCommands : std::vector<QosCommand>());
        } else if (statement.verb == Verb::MODE) {
            for (const auto& [qosId, row] : session.Table()) {
                ids.insert(qosId);
            }
        } else if (statement.verb == Verb::PROBE) {
            ids.insert({PERF_QOS_CPU_M, PERF_QOS_CPU_B, PERF_QOS_GPU});
        }
    }
    return ids;
}

void PrintDevice(EngineSession& session, std::ostream& out) {
    const std::vector<UnsupportedQos> unsupported = session.Unsupported();
    const std::size_t served = session.Table().size() - unsupported.size();
    const bool isKernel = session.Device() == DeviceKind::KERNEL;
    out << (isKernel ? "The kernel's own nodes" : "Simulated device") << ", chip " << session.Chip()
        << ": " << served << " of " << session.Table().size() << " QoS in service\n";
    if ((isKernel || session.HasBoard()) && !unsupported.empty()) {
        TextTable table;
        for (const UnsupportedQos& qos : unsupported) {
            table.AddRow({std::to_string(qos.id), qos.name, qos.reason});
        }
        out << "\nUnsupported here\n" << table.Text("  ");
    }
    out << "\n" << std::flush;
}

}  // namespace

int RunScript(const std::string& path, const SessionOptions& options, std::istream& in,
              std::ostream& out, std::ostream& diagnostics) {
    const bool isStandardInput = path == "-";
    errno = 0;
    const std::optional<std::string> script = isStandardInput ? ReadAll(in) : ReadFile(path);
    const std::string name = isStandardInput ? "<stdin>" : path;
    if (!script) {
        diagnostics << "corebeacon: cannot read " << name << ": " << std::strerror(errno) << "\n";
        return kExitBadInput;
    }
    return PlayScript(*script, name, options, out, diagnostics);
}

int RunStatements(const std::vector<std::string>& statements, const SessionOptions& options,
                  std::ostream& out, std::ostream& diagnostics) {
    std::string script;
    for (const std::string& statement : statements) {
        script += statement + "\n";
    }
    return PlayScript(script, "<command line>", options, out, diagnostics);
}

int PlayScript(std::string_view script, const std::string& name, const SessionOptions& options,
               std::ostream& out, std::ostream& diagnostics) {
    const ParsedScript parsed = ParseScript(script);
    for (const ScriptError& error : parsed.errors) {
        diagnostics << name << ":" << error.position.line << ":" << error.position.column << ": "
                    << error.message << "\n";
    }
    if (!parsed.errors.empty()) {
        return kExitBadInput;
    }
    const std::unique_ptr<EngineSession> session = EngineSession::Start(options);
    if (session == nullptr) {
        diagnostics << "corebeacon: the engine does not start; its log above tells why\n";
        return kExitFailed;
    }
    PrintDevice(*session, out);
    EventPrinter printer(out, session->Names(),
                         session->Names().Widths(QosOf(*session, parsed.statements)), SteadyNow());
    ScriptPlayer player(*session, printer, diagnostics, name);
    return player.Play(parsed.statements) ? kExitDone : kExitFailed;
}

int PlayDemo(std::ostream& out, std::ostream& diagnostics) {
    return PlayScript(kDemoStory, "demo", SessionOptions(), out, diagnostics);
}

}  // namespace corebeacon::tool
