#include "json_printer.h"

#include <chrono>

#include <nlohmann/json.hpp>

#include "corebeacon/builtin_config.h"
#include "device_names.h"
#include "interruption.h"
#include "qos_json.h"
#include "verb_table.h"

namespace corebeacon::tool {

namespace {

long long MicrosBetween(TimePoint from, TimePoint until) {
    return std::chrono::duration_cast<std::chrono::microseconds>(until - from).count();
}

void AddPlace(Json& event, const Position& position) {
    event["line"] = position.line;
    event["column"] = position.column;
}

Json DeviceJson(EngineSession& session) {
    const std::vector<UnsupportedQos> unsupported = session.Unsupported();
    Json device;
    device["kind"] = DeviceName(session.Device());
    device["chip"] = session.Chip();
    device["qos_in_table"] = session.Table().size();
    device["qos_in_service"] = session.Table().size() - unsupported.size();
    device["unsupported"] = UnsupportedJson(unsupported);
    return device;
}

}  // namespace

JsonPrinter::JsonPrinter(std::string_view command, const std::string& script)
    : mDocument(std::make_unique<Json>(JsonDocument(command))) {
    (*mDocument)["script"] = script;
}

JsonPrinter::~JsonPrinter() = default;

void JsonPrinter::Begin(EngineSession& session, TimePoint begin) {
    mSession = &session;
    mBegin = begin;
    (*mDocument)["device"] = DeviceJson(session);
    (*mDocument)["events"] = Json::array();
}

void JsonPrinter::Note(const Statement& note) {
    Json& event = AddEvent("note");
    AddPlace(event, note.position);
    event["text"] = note.text;
}

void JsonPrinter::Asked(TimePoint time, const Statement& statement) {
    Json& event = AddEvent("statement");
    event["time_us"] = MicrosAt(time);
    AddPlace(event, statement.position);
    event["text"] = statement.text;
}

void JsonPrinter::Accepted(const HeldRequest& held) {
    AddEvent("accepted").update(Held(held));
}

void JsonPrinter::Complained(const Statement& statement, const std::string& text, bool isFailure) {
    Json& event = AddEvent(isFailure ? "failure" : "warning");
    AddPlace(event, statement.position);
    event["text"] = text;
}

void JsonPrinter::Ended(TimePoint time, const HeldRequest& held, HowEnded how) {
    Json& event = AddEvent("end");
    event["time_us"] = MicrosAt(time);
    event["label"] = held.label;
    event["pid"] = held.pid;
    event["handle"] = held.handle;
    event["released"] = how == HowEnded::RELEASED;
}

void JsonPrinter::Written(const NodeWrite& write, bool isRepetition) {
    Json& event = AddEvent("write");
    event["time_us"] = MicrosAt(write.time);
    event["qos"] = mSession->Names().Of(write.path).qos;
    event["path"] = write.path;
    event["value"] = write.value;
    if (isRepetition) {
        event["repetition"] = true;
    }
    if (!write.failure.empty()) {
        event["failure"] = write.failure;
    }
}

void JsonPrinter::Answered(const std::string& text) {
    AddEvent("answer")["text"] = text;
}

void JsonPrinter::End(const std::map<std::string, std::string>& values,
                      const std::vector<HeldRequest>& standing) {
    Json& document = *mDocument;
    document["final_values"] = Json::array();
    for (const auto& [path, value] : values) {
        document["final_values"].push_back(
            {{"qos", mSession->Names().Of(path).qos}, {"path", path}, {"value", value}});
    }
    document["standing"] = Json::array();
    for (const HeldRequest& held : standing) {
        document["standing"].push_back(Held(held));
    }
}

void JsonPrinter::Print(int exitCode, std::ostream& out) {
    (*mDocument)["interrupted"] = Interruption() != 0;
    (*mDocument)["exit_code"] = exitCode;
    PrintJson(*mDocument, out);
}

Json& JsonPrinter::AddEvent(const char* kind) {
    Json& events = (*mDocument)["events"];
    events.push_back({{"event", kind}});
    return events.back();
}

Json JsonPrinter::Requests(const std::vector<PerfRequestInfo>& requests) const {
    Json list = Json::array();
    for (const PerfRequestInfo& element : requests) {
        for (const GroupInfo& group : element.groups) {
            Json entry;
            entry["id"] = static_cast<unsigned>(element.qosId);
            entry["qos"] = QosName(element.qosId);
            entry["group"] = group.groupId;
            for (const auto& [operation, value] : group.values) {
                entry[operation == PERF_OPERATION_BOOST ? "boost" : "limit"] = value;
            }
            list.push_back(std::move(entry));
        }
    }
    return list;
}

Json JsonPrinter::Held(const HeldRequest& held) const {
    Json entry;
    entry["time_us"] = MicrosAt(held.begin);
    entry["verb"] = NameOf(held.verb);
    entry["label"] = held.label;
    entry["pid"] = held.pid;
    entry["handle"] = held.handle;
    if (held.verb != Verb::REQUEST && held.verb != Verb::BASE_SET) {
        entry["number"] = held.number;
    }
    if (held.IsTimed()) {
        entry["ends_us"] = MicrosAt(held.endsFrom);
    }
    entry["requests"] = Requests(held.request);
    return entry;
}

std::string JsonPrinter::QosName(PerfQosId qosId) const {
    const auto row = mSession->Table().find(qosId);
    if (row != mSession->Table().end()) {
        return row->second.get().name;
    }
    const char* const name = PerfQosName(qosId);
    return name != nullptr ? name : "";
}

long long JsonPrinter::MicrosAt(TimePoint time) const {
    return MicrosBetween(mBegin, time);
}

}  // namespace corebeacon::tool
