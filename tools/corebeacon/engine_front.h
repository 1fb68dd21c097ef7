/// The public operations of the engine as the program calls them, each a value that can be kept,
/// told and carried out again. Owned by the engine session; used on its thread.
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "corebeacon/config_manager.h"
#include "turn_clock.h"

namespace corebeacon::tool {

enum class CallKind {
    REQUEST,
    RELEASE,
    RELEASE_ALL,
    RESET,
    SCENARIO,
    MODE,
    SUSPEND,
    EVENT,
    DUMP,
    DEBUG,
};

/// Which members mean something, the operation's parameters tell.
struct EngineCall {
    CallKind kind = CallKind::RESET;
    int pid = 0;
    unsigned int number = 0;  ///< duration in ms, scenario, mode or event
    std::vector<PerfRequestInfo> request = {};
    std::vector<unsigned int> params = {};  ///< of a suspension or an event
    std::string text = {};                  ///< type of a dump, debug option, message of an event
    unsigned long handle = 0;               ///< to release, or as given out
    int result = 0;
};

class EngineFront {
public:
    /// Told of each call when it is over.
    using Listener = std::function<void(const EngineCall&)>;

    /// `clock` is null where workers move freely. Both must outlive this.
    EngineFront(ConfigManager& engine, TurnClock* clock) : mEngine(engine), mClock(clock) {}

    void SetListener(Listener listener) { mListener = std::move(listener); }

    // As in ConfigManager.
    int PerfRequest(int pid, unsigned int duration, const std::vector<PerfRequestInfo>& request,
                    unsigned long& handle);
    int PerfRelease(int pid, unsigned long handle);
    int PerfReleaseAll(int pid);
    int Reset();
    int PerfSetScenario(int pid, unsigned int scenarioId, unsigned long& handle);
    int PerfSetMode(int pid, unsigned int mode, unsigned long& handle);
    int PerfSetSuspend(const std::vector<unsigned int>& params);
    int PerfEvent(PerfEventId eventId, const std::vector<unsigned int>& params,
                  const std::string& message);
    int Dump(std::ostringstream& out, const std::vector<std::string>& args);
    bool DebugSet(std::ostringstream& out, const std::string& option);
    void DumpCoreVersion(std::ostringstream& out) { mEngine.DumpCoreVersion(out); }

    // These change nothing.
    int Inspect(PerfQosId qosId, std::vector<GroupState>& groups) {
        return mEngine.Inspect(qosId, groups);
    }
    const ResourceManager& Resources() const { return mEngine.Resources(); }
    const CommandManager& Commands() const { return mEngine.Commands(); }

    /// Carries out any of these, and sets its result and the handle that was given out.
    void Carry(EngineCall& call, std::ostringstream& out);

private:
    int Carried(EngineCall call, std::ostringstream& out);
    int Carried(EngineCall call, unsigned long& handle);
    int ResultOf(EngineCall& call, std::ostringstream& out);

    ConfigManager& mEngine;
    TurnClock* const mClock;
    Listener mListener;
};

}  // namespace corebeacon::tool
