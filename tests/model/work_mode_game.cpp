#include "model/work_mode_game.h"

#include <algorithm>
#include <random>
#include <sstream>

#include "command/handle.h"
#include "command/work_mode_manager.h"

namespace corebeacon::model {

int NaiveWorkModes::Init(std::uint32_t mode) {
    if (mode > 2) {
        return -1;
    }
    mCurrent = mode;
    return 0;
}

int NaiveWorkModes::Decide(std::uint32_t& result) {
    std::uint32_t decided = 0;
    for (const Request& request : mRequests) {
        decided = mLastWins ? request.mode : std::max(decided, request.mode);
    }
    const bool changed = decided != mCurrent;
    mCurrent = decided;
    result = decided;
    return changed ? 1 : 0;
}

int NaiveWorkModes::Set(unsigned long handle, std::uint32_t mode, std::uint32_t& result) {
    for (const Request& request : mRequests) {
        if (request.handle == handle) {
            return -1;
        }
    }
    if (mode > 2) {
        return -1;
    }
    mRequests.push_back({handle, mode});
    return Decide(result);
}

int NaiveWorkModes::Release(unsigned long handle, std::uint32_t& result) {
    const auto sameHandle = [handle](const Request& request) { return request.handle == handle; };
    if (std::erase_if(mRequests, sameHandle) == 0) {
        return -1;
    }
    return Decide(result);
}

std::string NaiveWorkModes::Dump() const {
    std::string text = "\ncurrent mode = " + std::to_string(mCurrent) + ", modeNum(" +
                       std::to_string(mRequests.size() + 1) + ") <value, handle>:\n";
    const auto append = [this, &text](std::uint32_t mode) {
        for (const Request& request : mRequests) {
            if (request.mode == mode) {
                text += "<" + std::to_string(request.handle) + ", " + std::to_string(mode) + "> ";
            }
        }
    };
    append(2);
    append(1);
    // The base entry was there first.
    text += "<0,*>";
    append(0);
    return text;
}

ModeScript ModeGame::Make(std::uint64_t seed) const {
    std::mt19937_64 random(seed);
    const auto below = [&random](std::uint64_t end) { return random() % end; };
    ModeScript script;
    const std::uint64_t handles = 1 + below(8);
    const std::uint64_t length = 5 + below(60);
    for (std::uint64_t i = 0; i < length; ++i) {
        ModeStep step;
        step.kind =
            below(20) == 0 ? ModeStep::INIT : (below(2) == 0 ? ModeStep::SET : ModeStep::RELEASE);
        step.handle = below(50) == 0 ? kMaxValidHandle : below(handles);
        step.mode = static_cast<std::uint32_t>(below(12) == 0 ? 3 + below(2) : below(3));
        script.steps.push_back(step);
    }
    return script;
}

std::string ModeGame::Play(const ModeScript& script) const {
    WorkModeManager manager;
    NaiveWorkModes model(mLastWins);
    std::size_t at = 0;
    for (const ModeStep& step : script.steps) {
        constexpr std::uint32_t kPreset = 7;
        auto result = static_cast<PerfWorkMode>(kPreset);
        std::uint32_t modelResult = kPreset;
        int answer = 0;
        int modelAnswer = 0;
        if (step.kind == ModeStep::INIT) {
            answer = manager.InitWorkMode(static_cast<PerfWorkMode>(step.mode));
            modelAnswer = model.Init(step.mode);
        } else if (step.kind == ModeStep::SET) {
            answer = manager.SetWorkMode(step.handle, step.mode, result);
            modelAnswer = model.Set(step.handle, step.mode, modelResult);
        } else {
            answer = manager.ReleaseWorkMode(step.handle, result);
            modelAnswer = model.Release(step.handle, modelResult);
        }
        std::ostringstream dump;
        manager.Dump(dump);
        const auto text = [](int code, std::uint32_t mode, std::uint32_t current) {
            return std::to_string(code) + ", mode " + std::to_string(mode) + ", in force " +
                   std::to_string(current);
        };
        const std::string seen = text(answer, result, manager.GetCurrWorkMode()) + dump.str();
        const std::string expected = text(modelAnswer, modelResult, model.Current()) + model.Dump();
        const bool valid = manager.IsValidWorkModeId(step.mode);
        if (seen != expected || valid != (step.mode < 3)) {
            return "step " + std::to_string(at) + "\nengine: " + seen + "\nmodel:  " + expected +
                   "\n";
        }
        ++at;
    }
    return "";
}

std::string ModeGame::Print(const ModeScript& script) {
    static constexpr const char* kNames[] = {"init", "set", "release"};
    std::ostringstream text;
    for (const ModeStep& step : script.steps) {
        text << "  " << kNames[step.kind] << " handle " << step.handle << " mode " << step.mode
             << "\n";
    }
    return text.str();
}

std::vector<ModeStep> ModeAlphabet() {
    return {{ModeStep::INIT, 0, 2},   {ModeStep::INIT, 0, 3},    {ModeStep::SET, 1, 0},
            {ModeStep::SET, 1, 2},    {ModeStep::SET, 2, 1},     {ModeStep::SET, 3, 1},
            {ModeStep::SET, 2, 3},    {ModeStep::RELEASE, 1, 0}, {ModeStep::RELEASE, 2, 0},
            {ModeStep::RELEASE, 3, 0}};
}

}  // namespace corebeacon::model
