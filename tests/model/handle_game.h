/// The engine's handle table and its model, asked the same. After every step the return code, the
/// handle, the commands that came back and the sizes of the tables must be equal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/naive_handle_table.h"

namespace corebeacon::model {

struct HandleStep {
    enum Kind {
        PASS_TIME,
        REQUEST,
        EVENT,
        PROBE,
        RELEASE,
        RELEASE_ALL_OF,
        RELEASE_ALL,
        RELEASE_EVENT,
        RELEASE_PROBE,
        TURN,
        KIND_COUNT
    };
    Kind kind = PASS_TIME;
    int owner = 0;              ///< pid, tid or event id
    std::uint32_t type = 0;     ///< of the command
    int ticks = 0;              ///< that pass, or until the command ends
    std::vector<int> itemEnds;  ///< in ticks from now, one for each item of the command
    unsigned long handle = 0;
};

struct HandleScript {
    HandleTableSetUp setUp;
    std::vector<HandleStep> steps;
};

class HandleGame {
public:
    explicit HandleGame(bool forgetsProbes = false) : mForgetsProbes(forgetsProbes) {}
    HandleScript Make(std::uint64_t seed) const;
    std::string Play(const HandleScript& script) const;
    static std::string Print(const HandleScript& script);

private:
    const bool mForgetsProbes;
};

/// What the exhaustive test combines.
std::vector<HandleStep> HandleAlphabet();

}  // namespace corebeacon::model
