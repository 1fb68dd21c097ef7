/// One group of the engine and its model, given the same commands. After every step the return
/// code, what the kind was told to write, the next wake-up and the dump must be equal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/naive_group.h"

namespace corebeacon::model {

struct GroupStep {
    enum Kind {
        TELL_TIME,
        SHORT_START,
        SHORT_STOP,
        TIME_OUT,
        LONG_START,
        LONG_STOP,
        BASE_SET,
        WORK_MODE,
        SUSPEND,
        VALIDATE,
        WRITE_SHORT_TERM,
        WRITE_ALL,
        KIND_COUNT
    };
    Kind kind = TELL_TIME;
    PerfGroupCommand command;  ///< of starts, stops, base-sets and validations
    TimePoint time;            ///< of TELL_TIME and TIME_OUT
    std::uint32_t number = 0;  ///< a work mode, a switch or a command type
};

struct GroupScript {
    PerfGroupConfig config{"knob", false, 0, 0, 0, 0, {}, CHIP_TYPE_COMMON};
    std::uint32_t workMode = 0;
    bool writesFail = false;  ///< which changes nothing but what the nodes hold
    std::vector<GroupStep> steps;
};

class GroupGame {
public:
    explicit GroupGame(Mistake mistake = Mistake::NONE) : mMistake(mistake) {}
    GroupScript Make(std::uint64_t seed) const;
    std::string Play(const GroupScript& script) const;
    static std::string Print(const GroupScript& script);

private:
    const Mistake mMistake;
};

/// What the exhaustive test combines, on a knob of 0 to 100 with the base 10 to 90.
GroupScript SmallGroup(std::uint32_t workMode);
std::vector<GroupStep> GroupAlphabet();

}  // namespace corebeacon::model
