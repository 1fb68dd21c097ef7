#include "snapshot/device_snapshot.h"

#include <algorithm>
#include <utility>

#include "corebeacon/version.h"
#include "json_reader.h"
#include "printable.h"
#include "text_file.h"

namespace corebeacon::tool {

namespace {

constexpr const char* kDocument = "corebeacon snapshot";
constexpr int kSchemaVersion = 1;

constexpr std::size_t kMaxNodes = 20000;
constexpr std::size_t kMaxPathBytes = 4096;
constexpr std::size_t kMaxContentBytes = 64UL * 1024UL;
constexpr std::size_t kMaxRemarkBytes = 1024;
constexpr int kMaxErrno = 4095;

constexpr std::pair<const char*, NodeMode> kModes[] = {{"read-write", NodeMode::READ_WRITE},
                                                       {"read-only", NodeMode::READ_ONLY},
                                                       {"write-only", NodeMode::WRITE_ONLY},
                                                       {"absent", NodeMode::ABSENT}};

constexpr std::pair<const char*, NodeForm> kForms[] = {
    {"text", NodeForm::TEXT}, {"binary", NodeForm::BINARY}, {"ioctl", NodeForm::IOCTL}};

template <typename Value, std::size_t count>
const char* NameOf(const std::pair<const char*, Value> (&names)[count], Value value) {
    return std::ranges::find(names, value, &std::pair<const char*, Value>::second)->first;
}

template <typename Value, std::size_t count>
Value ValueOf(const std::pair<const char*, Value> (&names)[count], const JsonPlace& place) {
    const std::string name = place.Text(kMaxRemarkBytes);
    std::string all;
    for (const auto& [known, value] : names) {
        if (name == known) {
            return value;
        }
        all += (all.empty() ? "" : ", ") + std::string(known);
    }
    place.Fail("must be one of " + all);
}

nlohmann::ordered_json NodeObject(const std::string& path, const CapturedNode& node) {
    nlohmann::ordered_json object = {{"path", path}, {"mode", NameOf(kModes, node.mode)}};
    if (node.form != NodeForm::TEXT) {
        object["form"] = NameOf(kForms, node.form);
    }
    const bool mayBeRead = node.mode == NodeMode::READ_WRITE || node.mode == NodeMode::READ_ONLY;
    if (mayBeRead && node.form != NodeForm::IOCTL && !node.isOpenFailed) {
        PutBytes(object, node.bytes);
    }
    if (node.readError != 0) {
        object[node.isOpenFailed ? "open_errno" : "read_errno"] = node.readError;
    }
    return object;
}

CapturedNode NodeOf(const JsonPlace& place) {
    place.MustKnow({"path", "mode", "form", "text", "hex", "open_errno", "read_errno"});
    CapturedNode node;
    node.mode = ValueOf(kModes, place.Get("mode"));
    if (const auto form = place.Find("form")) {
        node.form = ValueOf(kForms, *form);
    }
    node.bytes = GetBytes(place, kMaxContentBytes).value_or("");
    const auto openError = place.Find("open_errno");
    const auto readError = openError ? openError : place.Find("read_errno");
    node.isOpenFailed = openError.has_value();
    node.readError = readError ? static_cast<int>(readError->Number(1, kMaxErrno)) : 0;
    if (node.form == NodeForm::BINARY && node.readError == 0 && node.mode != NodeMode::WRITE_ONLY &&
        node.bytes.size() != 4) {
        place.Fail("must hold 4 bytes to be binary");
    }
    return node;
}

DeviceSnapshot SnapshotOf(const JsonPlace& document) {
    document.MustKnow({"schema_version", "document", "corebeacon", "taken_at", "machine", "nodes"});
    if (document.Get("document").Text(kMaxRemarkBytes) != kDocument) {
        document.Get("document").Fail("must be \"" + std::string(kDocument) + "\"");
    }
    document.Get("schema_version").Number(kSchemaVersion, kSchemaVersion);
    DeviceSnapshot snapshot;
    snapshot.takenAt = document.Get("taken_at").Text(kMaxRemarkBytes);
    snapshot.machine = document.Get("machine").Text(kMaxRemarkBytes);
    for (const JsonPlace& element : document.Get("nodes").Elements(kMaxNodes)) {
        const JsonPlace pathPlace = element.Get("path");
        const std::string path = pathPlace.Text(kMaxPathBytes);
        if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
            pathPlace.Fail("must be an absolute path");
        }
        if (!snapshot.nodes.emplace(path, NodeOf(element)).second) {
            pathPlace.Fail("is there twice: " + Printable(path));
        }
    }
    return snapshot;
}

}  // namespace

std::string SnapshotText(const DeviceSnapshot& snapshot) {
    // One node a line, so that two snapshots can be compared by their lines.
    const auto quoted = [](const std::string& text) { return nlohmann::json(text).dump(); };
    std::string text = "{\"schema_version\": " + std::to_string(kSchemaVersion) +
                       ", \"document\": " + quoted(kDocument) +
                       ", \"corebeacon\": " + quoted(COREBEACON_VERSION) +
                       ",\n \"taken_at\": " + quoted(snapshot.takenAt) +
                       ", \"machine\": " + quoted(snapshot.machine) + ",\n \"nodes\": [";
    const char* separator = "\n";
    for (const auto& [path, node] : snapshot.nodes) {
        text += std::exchange(separator, ",\n") + ("  " + NodeObject(path, node).dump());
    }
    return text + "\n]}\n";
}

ReadSnapshot ParseSnapshot(std::string_view text) {
    try {
        if (text.size() > kMaxSnapshotBytes) {
            throw JsonError("is longer than " + std::to_string(kMaxSnapshotBytes) + " bytes",
                            false);
        }
        const nlohmann::json document = ParseJson(text);
        return {SnapshotOf(JsonPlace(document, "")), ""};
    } catch (const JsonError& error) {
        return {{}, (error.HasPlace() ? "" : "1:1: ") + std::string(error.what())};
    }
}

std::optional<DeviceSnapshot> LoadSnapshot(const std::string& path, std::ostream& diagnostics) {
    const auto text = ReadTextFile(path, kMaxSnapshotBytes, diagnostics);
    if (!text) {
        return std::nullopt;
    }
    ReadSnapshot read = ParseSnapshot(*text);
    if (!read.error.empty()) {
        diagnostics << path << ":" << read.error << "\n";
        return std::nullopt;
    }
    return std::move(read.snapshot);
}

}  // namespace corebeacon::tool
