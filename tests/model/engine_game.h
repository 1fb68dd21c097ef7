/// A whole engine and its model, given the same operations, its workers moved one at a time as the
/// script says. Results, handles and the order of all writes must be equal, and in the end what the
/// nodes hold and what the dump tells.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/config_manager.h"

namespace corebeacon::model {

struct EngineStep {
    enum Kind {
        PASS_TIME,
        RUN,
        DRAIN,
        REQUEST,
        RELEASE,
        RELEASE_ALL,
        RESET,
        SCENARIO,
        MODE,
        SUSPEND,
        START_EVENT,
        STOP_EVENT,
        START_PROBE,
        STOP_PROBE
    };
    Kind kind = PASS_TIME;
    int pid = 0;              ///< or tid
    unsigned int number = 0;  ///< ms, knob, scenario, mode or event
    unsigned int duration = 0;
    unsigned long handle = 0;
    std::vector<PerfRequestInfo> request;
    std::vector<unsigned int> params;
};

struct EngineScript {
    HandleLimits limits;
    std::uint32_t workMode = 0;
    std::vector<EngineStep> steps;
};

class EngineGame {
public:
    /// `modelIsLate` plants a mistake: the model lets its first knob skip a turn.
    explicit EngineGame(bool modelIsLate = false) : mModelIsLate(modelIsLate) {}
    EngineScript Make(std::uint64_t seed) const;
    std::string Play(const EngineScript& script) const;
    /// Play; `record` receives all writes of the engine, in order.
    std::string PlayAndRecord(const EngineScript& script, std::string& record) const;
    static std::string Print(const EngineScript& script);

private:
    const bool mModelIsLate;
};

}  // namespace corebeacon::model
