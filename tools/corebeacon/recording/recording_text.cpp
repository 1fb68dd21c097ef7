// Recordings as lines of JSON, and read back.
#include <algorithm>
#include <cerrno>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "board/board_reader.h"
#include "board/board_writer.h"
#include "corebeacon/version.h"
#include "json_document.h"
#include "json_reader.h"
#include "recording/recording.h"
#include "text_file.h"

namespace corebeacon::tool {

namespace {

using std::chrono::nanoseconds;

constexpr const char* kDocument = "corebeacon recording";
constexpr int kSchemaVersion = 1;

constexpr std::size_t kMaxLineBytes = 4UL * 1024UL * 1024UL;
constexpr std::size_t kMaxBytes = 1024UL * 1024UL;
constexpr std::size_t kMaxElements = 100000;
constexpr std::int64_t kMaxNanos = 1000LL * 3600 * 24 * 365 * 1000 * 1000;
constexpr int kMaxErrno = 4095;

constexpr std::pair<CallKind, const char*> kCalls[] = {{CallKind::REQUEST, "request"},
                                                       {CallKind::RELEASE, "release"},
                                                       {CallKind::RELEASE_ALL, "release-all"},
                                                       {CallKind::RESET, "reset"},
                                                       {CallKind::SCENARIO, "scenario"},
                                                       {CallKind::MODE, "mode"},
                                                       {CallKind::SUSPEND, "suspend"},
                                                       {CallKind::EVENT, "event"},
                                                       {CallKind::DUMP, "dump"},
                                                       {CallKind::DEBUG, "debug"}};

constexpr std::pair<NodeCallKind, const char*> kNodeCalls[] = {{NodeCallKind::READ, "read"},
                                                               {NodeCallKind::OPEN, "open"},
                                                               {NodeCallKind::WRITE, "write"},
                                                               {NodeCallKind::IOCTL, "ioctl"}};

template <typename Kind, std::size_t count>
const char* NameOf(const std::pair<Kind, const char*> (&names)[count], Kind kind) {
    return std::ranges::find(names, kind, &std::pair<Kind, const char*>::first)->second;
}

// ---- Writing ----

Json RequestJson(const std::vector<PerfRequestInfo>& request) {
    Json items = Json::array();
    for (const PerfRequestInfo& info : request) {
        Json groups = Json::array();
        for (const GroupInfo& group : info.groups) {
            Json values = Json::array();
            for (const auto& [operation, value] : group.values) {
                values.push_back({operation, value});
            }
            groups.push_back({{"group", group.groupId}, {"values", std::move(values)}});
        }
        items.push_back({{"qos", info.qosId}, {"groups", std::move(groups)}});
    }
    return items;
}

Json ProbeJson(const ProbeEvent& probe) {
    return {{"node", probe.nodePath},     {"bind", probe.bindText},
            {"unbind", probe.unbindText}, {"delay_ms", probe.startDelayMs},
            {"span_ms", probe.spanMs},    {"cpu_m", probe.cpuM},
            {"cpu_b", probe.cpuB},        {"gpu", probe.gpu}};
}

// ---- Reading ----

unsigned Small(const JsonPlace& place) {
    return static_cast<unsigned>(place.Number(0, std::numeric_limits<unsigned>::max()));
}

int Signed(const JsonPlace& place) {
    return static_cast<int>(
        place.Number(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

nanoseconds TimeOf(const JsonPlace& line) {
    return nanoseconds(line.Get("at").Number(0, kMaxNanos));
}

std::vector<PerfRequestInfo> RequestOf(const JsonPlace& place) {
    std::vector<PerfRequestInfo> request;
    for (const JsonPlace& item : place.Elements(kMaxElements)) {
        item.MustKnow({"qos", "groups"});
        PerfRequestInfo& info = request.emplace_back();
        info.qosId = static_cast<PerfQosId>(Small(item.Get("qos")));
        for (const JsonPlace& part : item.Get("groups").Elements(kMaxElements)) {
            part.MustKnow({"group", "values"});
            GroupInfo& group = info.groups.emplace_back();
            group.groupId = Small(part.Get("group"));
            for (const JsonPlace& value : part.Get("values").Elements(kMaxElements)) {
                const std::vector<JsonPlace> pair = value.Elements(2);
                if (pair.size() != 2) {
                    value.Fail("must be an operation and a value");
                }
                group.values.emplace_back(static_cast<PerfOperationType>(Small(pair[0])),
                                          Signed(pair[1]));
            }
        }
    }
    return request;
}

ProbeEvent ProbeOf(const JsonPlace& place) {
    place.MustKnow({"node", "bind", "unbind", "delay_ms", "span_ms", "cpu_m", "cpu_b", "gpu"});
    return {.nodePath = place.Get("node").Text(kMaxBytes),
            .bindText = place.Get("bind").Text(kMaxBytes),
            .unbindText = place.Get("unbind").Text(kMaxBytes),
            .startDelayMs = Small(place.Get("delay_ms")),
            .spanMs = Small(place.Get("span_ms")),
            .cpuM = Signed(place.Get("cpu_m")),
            .cpuB = Signed(place.Get("cpu_b")),
            .gpu = Signed(place.Get("gpu"))};
}

board::Board BoardOf(const JsonPlace& place) {
    board::ReadBoard read = board::ParseBoard(place.Text(kMaxLineBytes));
    if (!read.errors.empty()) {
        const board::BoardError& error = read.errors.front();
        place.Fail("line " + std::to_string(error.place.line) + ", column " +
                   std::to_string(error.place.column) + ": " + error.message);
    }
    return std::move(read.board);
}

RecordingHead HeadOf(const JsonPlace& line) {
    line.MustKnow({"document", "schema_version", "corebeacon", "recorded_at", "machine", "chip",
                   "board", "task_groups", "probe"});
    const JsonPlace document = line.Get("document");
    if (document.Text(kMaxBytes) != kDocument) {
        document.Fail("must be \"" + std::string(kDocument) + "\"");
    }
    line.Get("schema_version").Number(kSchemaVersion, kSchemaVersion);
    RecordingHead head;
    head.program = line.Get("corebeacon").Text(kMaxBytes);
    head.recordedAt = line.Get("recorded_at").Text(kMaxBytes);
    head.machine = line.Get("machine").Text(kMaxBytes);
    if (const auto chip = line.Find("chip")) {
        head.chip = Small(*chip);
    }
    if (const auto board = line.Find("board")) {
        head.board = BoardOf(*board);
        return head;
    }
    head.host = {line.Get("task_groups").Flag(), ProbeOf(line.Get("probe"))};
    return head;
}

RecordedCall CallOf(const JsonPlace& line, CallKind kind) {
    line.MustKnow({"at", "call", "pid", "number", "request", "params", "text", "handle", "result"});
    RecordedCall recorded{.at = TimeOf(line), .call = {.kind = kind}};
    EngineCall& call = recorded.call;
    call.result = Signed(line.Get("result"));
    const auto pid = line.Find("pid");
    const auto number = line.Find("number");
    const auto request = line.Find("request");
    const auto params = line.Find("params");
    const auto handle = line.Find("handle");
    call.pid = pid ? Signed(*pid) : 0;
    call.number = number ? Small(*number) : 0;
    call.handle = handle ? handle->Unsigned() : 0;
    call.text = GetBytes(line, kMaxBytes).value_or("");
    if (request) {
        call.request = RequestOf(*request);
    }
    for (const JsonPlace& param :
         params ? params->Elements(kMaxElements) : std::vector<JsonPlace>()) {
        call.params.push_back(Small(param));
    }
    return recorded;
}

NodeCall NodeCallOf(const JsonPlace& line, NodeCallKind kind) {
    line.MustKnow({NameOf(kNodeCalls, kind), "text", "hex", "request", "errno", "open_errno",
                   "taken", "value", "answer"});
    NodeCall call;
    call.kind = kind;
    call.path = line.Get(NameOf(kNodeCalls, kind)).Text(kMaxBytes);
    call.bytes = GetBytes(line, kMaxBytes).value_or("");
    const auto openError = line.Find("open_errno");
    const auto error = openError ? openError : line.Find("errno");
    const auto request = line.Find("request");
    const auto taken = line.Find("taken");
    const auto value = line.Find("value");
    const auto answer = line.Find("answer");
    call.isOpenFailed = openError.has_value();
    call.error = error ? static_cast<int>(error->Number(1, kMaxErrno)) : 0;
    call.request = request ? request->Unsigned() : 0;
    call.value = value ? Signed(*value) : 0;
    if (taken) {
        call.taken = static_cast<std::size_t>(
            taken->Number(0, static_cast<std::int64_t>(call.bytes.size())));
    }
    if (answer) {
        call.answer = HexBytes(*answer, kMaxBytes);
    }
    if (kind == NodeCallKind::OPEN && call.error == 0) {
        line.Fail("has no \"errno\": only opens that failed are recorded");
    }
    return call;
}

RecordedEnd EndOf(const JsonPlace& line) {
    line.MustKnow({"end", "writes"});
    RecordedEnd end;
    end.isStarted = line.Get("end").Text(kMaxBytes) != "not started";
    end.writes = static_cast<std::size_t>(line.Get("writes").Number(0, INT64_MAX));
    return end;
}

decltype(RecordedEntry::what) EntryOf(const JsonPlace& line) {
    for (const auto& [kind, name] : kNodeCalls) {
        if (line.Find(name)) {
            return NodeCallOf(line, kind);
        }
    }
    if (const auto round = line.Find("round")) {
        const std::string text = round->Text(kMaxBytes);
        if (text != "all" && text != "due") {
            round->Fail("must be all or due");
        }
        return RecordedRound{TimeOf(line), text == "all" ? Round::ALL : Round::DUE};
    }
    if (const auto call = line.Find("call")) {
        const std::string text = call->Text(kMaxBytes);
        for (const auto& [kind, name] : kCalls) {
            if (text == name) {
                return CallOf(line, kind);
            }
        }
        call->Fail("names no operation of the engine");
    }
    if (line.Find("end")) {
        return EndOf(line);
    }
    line.Fail("is neither a call nor a round, nor what a node answered, nor the end");
}

/// The lines of a file, one by one, as entries of the recording.
class Lines {
public:
    explicit Lines(std::istream& in) : mIn(in) {}

    Recording ReadAll() {
        while (const std::optional<std::string_view> text = Next()) {
            const nlohmann::json value = ParseJson(*text, mNumber);
            try {
                Add(JsonPlace(value, ""));
            } catch (const JsonError& error) {
                Fail(error.what());
            }
        }
        if (mIn.bad()) {
            return {};  // the caller tells why
        }
        ++mNumber;
        if (!mIsEnded) {
            Fail(mNumber == 1 ? "is empty" : "is missing: the recording was cut off here");
        }
        return std::move(mRecording);
    }

private:
    [[noreturn]] void Fail(const std::string& message) const {
        throw JsonError(std::to_string(mNumber) + ": " + message);
    }

    /// The next line, in the buffer; absent behind the last one, or after a failed read. Of what is
    /// no recording it may be without end, so no more is read than a line may have.
    std::optional<std::string_view> Next() {
        mIn.getline(mBuffer.data(), static_cast<std::streamsize>(mBuffer.size()));
        const auto size = static_cast<std::size_t>(mIn.gcount());
        if (mIn.bad() || (mIn.eof() && size == 0)) {
            return std::nullopt;
        }
        ++mNumber;
        mBytes += size;
        // A cut may well leave a line that looks whole, but none with a newline behind.
        if (mIn.eof()) {
            Fail("ends in the middle of a line");
        }
        if (mIn.fail()) {
            Fail("is longer than " + std::to_string(kMaxLineBytes) + " bytes");
        }
        if (mBytes > kMaxRecordingBytes) {
            Fail("is beyond " + std::to_string(kMaxRecordingBytes) + " bytes");
        }
        return std::string_view(mBuffer.data(), size - 1);  // the newline counts
    }

    void Add(const JsonPlace& line) {
        if (mNumber == 1) {
            mRecording.head = HeadOf(line);
            return;
        }
        if (mIsEnded) {
            line.Fail("comes after the end");
        }
        RecordedEntry& entry = mRecording.entries.emplace_back();
        entry.line = mNumber;
        entry.what = EntryOf(line);
        mIsEnded = std::holds_alternative<RecordedEnd>(entry.what);
        if (const auto at = line.Find("at")) {
            if (TimeOf(line) < std::exchange(mLast, TimeOf(line))) {
                at->Fail("is before that of an earlier line");
            }
        }
    }

    std::istream& mIn;
    std::vector<char> mBuffer = std::vector<char>(kMaxLineBytes + 1);  // with a zero behind
    std::size_t mBytes = 0;
    std::size_t mNumber = 0;
    Recording mRecording;
    nanoseconds mLast{0};
    bool mIsEnded = false;
};

}  // namespace

std::string LineOf(const RecordingHead& head) {
    Json line = {{"document", kDocument},
                 {"schema_version", kSchemaVersion},
                 {"corebeacon", head.program},
                 {"recorded_at", head.recordedAt},
                 {"machine", head.machine}};
    if (head.chip) {
        line["chip"] = *head.chip;
    }
    if (head.board) {
        line["board"] = board::BoardText(*head.board);
    } else {
        line["task_groups"] = head.host.hasTaskGroups;
        line["probe"] = ProbeJson(head.host.probe);
    }
    return line.dump();
}

std::string LineOf(const RecordedCall& recorded) {
    const EngineCall& call = recorded.call;
    Json line = {{"at", recorded.at.count()}, {"call", NameOf(kCalls, call.kind)}};
    if (call.pid != 0) {
        line["pid"] = call.pid;
    }
    if (call.number != 0) {
        line["number"] = call.number;
    }
    if (!call.request.empty()) {
        line["request"] = RequestJson(call.request);
    }
    if (!call.params.empty()) {
        line["params"] = call.params;
    }
    if (!call.text.empty()) {
        PutBytes(line, call.text);
    }
    if (call.handle != 0) {
        line["handle"] = call.handle;
    }
    line["result"] = call.result;
    return line.dump();
}

std::string LineOf(const RecordedRound& round) {
    return Json{{"at", round.at.count()}, {"round", round.round == Round::ALL ? "all" : "due"}}
        .dump();
}

std::string LineOf(const NodeCall& call) {
    Json line = {{NameOf(kNodeCalls, call.kind), call.path}};
    if (call.kind == NodeCallKind::IOCTL) {
        line["request"] = call.request;
    }
    if (call.kind != NodeCallKind::OPEN && !call.isOpenFailed) {
        PutBytes(line, call.bytes);
    }
    if (call.error != 0) {
        line[call.isOpenFailed ? "open_errno" : "errno"] = call.error;
    }
    if (call.taken) {
        line["taken"] = *call.taken;
    }
    if (call.value != 0) {
        line["value"] = call.value;
    }
    if (call.answer) {
        line["answer"] = HexText(*call.answer);
    }
    return line.dump();
}

std::string LineOf(const RecordedEnd& end) {
    return Json{{"end", end.isStarted ? "stopped" : "not started"}, {"writes", end.writes}}.dump();
}

std::optional<Recording> LoadRecording(const std::string& path, std::ostream& diagnostics) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    try {
        Recording recording = file.is_open() ? Lines(file).ReadAll() : Recording();
        if (file.is_open() && !file.bad()) {
            return recording;
        }
        TellUnreadable(path, errno, diagnostics);
        return std::nullopt;
    } catch (const JsonError& error) {
        diagnostics << path << ":" << error.what() << "\n";
        return std::nullopt;
    }
}

}  // namespace corebeacon::tool
