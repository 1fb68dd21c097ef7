#include "engine_front.h"

#include <utility>

namespace corebeacon::tool {

int EngineFront::PerfRequest(int pid, unsigned int duration,
                             const std::vector<PerfRequestInfo>& request, unsigned long& handle) {
    return Carried({.kind = CallKind::REQUEST, .pid = pid, .number = duration, .request = request},
                   handle);
}

int EngineFront::PerfRelease(int pid, unsigned long handle) {
    return Carried({.kind = CallKind::RELEASE, .pid = pid}, handle);
}

int EngineFront::PerfReleaseAll(int pid) {
    std::ostringstream none;
    return Carried({.kind = CallKind::RELEASE_ALL, .pid = pid}, none);
}

int EngineFront::Reset() {
    std::ostringstream none;
    return Carried({.kind = CallKind::RESET}, none);
}

int EngineFront::PerfSetScenario(int pid, unsigned int scenarioId, unsigned long& handle) {
    return Carried({.kind = CallKind::SCENARIO, .pid = pid, .number = scenarioId}, handle);
}

int EngineFront::PerfSetMode(int pid, unsigned int mode, unsigned long& handle) {
    return Carried({.kind = CallKind::MODE, .pid = pid, .number = mode}, handle);
}

int EngineFront::PerfSetSuspend(const std::vector<unsigned int>& params) {
    std::ostringstream none;
    return Carried({.kind = CallKind::SUSPEND, .params = params}, none);
}

int EngineFront::PerfEvent(PerfEventId eventId, const std::vector<unsigned int>& params,
                           const std::string& message) {
    std::ostringstream none;
    return Carried({.kind = CallKind::EVENT, .number = eventId, .params = params, .text = message},
                   none);
}

int EngineFront::Dump(std::ostringstream& out, const std::vector<std::string>& args) {
    return Carried({.kind = CallKind::DUMP, .text = args.empty() ? "" : args.front()}, out);
}

bool EngineFront::DebugSet(std::ostringstream& out, const std::string& option) {
    return Carried({.kind = CallKind::DEBUG, .text = option}, out) != 0;
}

int EngineFront::Carried(EngineCall call, std::ostringstream& out) {
    Carry(call, out);
    return call.result;
}

int EngineFront::Carried(EngineCall call, unsigned long& handle) {
    call.handle = handle;
    std::ostringstream none;
    Carry(call, none);
    handle = call.handle;
    return call.result;
}

void EngineFront::Carry(EngineCall& call, std::ostringstream& out) {
    if (mClock != nullptr) {
        mClock->Ask();
    }
    call.result = ResultOf(call, out);
    if (mListener) {
        mListener(call);
    }
}

int EngineFront::ResultOf(EngineCall& call, std::ostringstream& out) {
    switch (call.kind) {
        case CallKind::REQUEST:
            return mEngine.PerfRequest(call.pid, call.number, call.request, call.handle);
        case CallKind::RELEASE:
            return mEngine.PerfRelease(call.pid, call.handle);
        case CallKind::RELEASE_ALL:
            return mEngine.PerfReleaseAll(call.pid);
        case CallKind::RESET:
            return mEngine.Reset();
        case CallKind::SCENARIO:
            return mEngine.PerfSetScenario(call.pid, call.number, call.handle);
        case CallKind::MODE:
            return mEngine.PerfSetMode(call.pid, call.number, call.handle);
        case CallKind::SUSPEND:
            return mEngine.PerfSetSuspend(call.params);
        case CallKind::EVENT:
            return mEngine.PerfEvent(call.number, call.params, call.text);
        case CallKind::DUMP:
            return mEngine.Dump(out, {call.text});
        case CallKind::DEBUG:
            return mEngine.DebugSet(out, call.text) ? 1 : 0;
    }
    return -1;
}

}  // namespace corebeacon::tool
