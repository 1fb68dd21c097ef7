// What a recording holds, in a person's words.
#include <sys/utsname.h>

#include <ctime>

#include "platform/sys_wrapper.h"
#include "recording/recording.h"
#include "recording_node_io.h"

namespace corebeacon::tool {

namespace {

std::string Failure(const NodeCall& call) {
    if (call.error != 0) {
        return std::string(", which failed: ") + SysWrapper::ErrnoText(call.error).Text();
    }
    return call.taken ? ", of which " + std::to_string(*call.taken) + " bytes were taken" : "";
}

std::string Named(const char* verb, const EngineCall& call) {
    return std::string(verb) + " pid=" + std::to_string(call.pid);
}

}  // namespace

std::string Told(const NodeCall& call) {
    switch (call.kind) {
        case NodeCallKind::READ:
            return "a read of " + call.path;
        case NodeCallKind::OPEN:
            return "an open of " + call.path + " for writing" + Failure(call);
        case NodeCallKind::WRITE:
            return "a write of " + NodeText(call.bytes) + " to " + call.path + Failure(call);
        case NodeCallKind::IOCTL:
            return "an ioctl " + std::to_string(call.request) + " on " + call.path + Failure(call);
    }
    return "";
}

std::string Told(const EngineCall& call) {
    switch (call.kind) {
        case CallKind::REQUEST:
            return Named("request", call);
        case CallKind::RELEASE:
            return Named("release", call) + " handle " + std::to_string(call.handle);
        case CallKind::RELEASE_ALL:
            return Named("release-all", call);
        case CallKind::RESET:
            return "reset";
        case CallKind::SCENARIO:
            return Named("scenario", call) + " " + std::to_string(call.number);
        case CallKind::MODE:
            return Named("mode", call) + " " + std::to_string(call.number);
        case CallKind::SUSPEND:
            return call.params.empty() || call.params.front() != 0 ? "suspend" : "resume";
        case CallKind::EVENT:
            return "event " + std::to_string(call.number);
        case CallKind::DUMP:
            return "dump " + call.text;
        case CallKind::DEBUG:
            return "debug " + call.text;
    }
    return "";
}

std::string UtcNow() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

std::string MachineText() {
    struct utsname names {};
    ::uname(&names);
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

}  // namespace corebeacon::tool
