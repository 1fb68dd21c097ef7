// What the player does for each verb.
#include <algorithm>
#include <chrono>
#include <sstream>
#include <utility>

#include "command/handle.h"
#include "platform/clock.h"
#include "refusal.h"
#include "script_player.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

constexpr PerfEventId kProbeEventId = 4097;
constexpr int kEventOwner = 0;

constexpr unsigned kStop = 0;
constexpr unsigned kStart = 1;

constexpr const char* kSeeLog = "the engine's log above tells why";

/// Of an event that runs for its own time: the longest of its sequences.
milliseconds LengthOf(const ConfigurableEvent& event) {
    milliseconds longest{0};
    for (const QosCommand& command : event.qosCommands) {
        milliseconds length{0};
        for (const SequenceCommand& step : command.sequence) {
            length += milliseconds(step.duration);
        }
        longest = std::max(longest, length);
    }
    return longest;
}

std::vector<PerfRequestInfo> FirstSteps(const ConfigurableEvent& event) {
    std::vector<PerfRequestInfo> request;
    for (const QosCommand& command : event.qosCommands) {
        if (!command.sequence.empty()) {
            request.push_back({command.qosId, command.sequence.front().groups});
        }
    }
    return request;
}

unsigned Millis(milliseconds time) {
    return static_cast<unsigned>(time.count());
}

}  // namespace

ScriptPlayer::Held ScriptPlayer::LabelOf(const Statement& statement) const {
    constexpr std::pair<Verb, const char*> kNouns[] = {
        {Verb::SCENARIO, "scenario"}, {Verb::MODE, "work mode"}, {Verb::EVENT, "event"}};
    const auto* const noun =
        std::ranges::find(kNouns, statement.verb, &std::pair<Verb, const char*>::first);
    Held held;
    held.verb = statement.verb;
    held.begin = SteadyNow();
    held.pid = statement.pid;
    held.number = statement.number;
    if (!statement.name.empty()) {
        held.label = statement.name;
    } else if (statement.verb == Verb::PROBE) {
        held.label = "the probe of thread " + std::to_string(statement.number);
    } else if (noun != std::end(kNouns)) {
        held.label = std::string(noun->second) + " " + std::to_string(statement.number);
    } else {
        held.label = "the request of line " + std::to_string(statement.position.line);
    }
    return held;
}

void ScriptPlayer::Hold(Held held, const std::string& name) {
    if (!name.empty()) {
        mNamed[name] = held;
    }
    if (held.handle != kNoHandle) {
        mObservers.Tell(&RunObserver::Accepted, held);
        mLastHandle = std::max(mLastHandle, held.handle);
        mInForce.push_back(std::move(held));
    }
}

template <typename IsOver>
void ScriptPlayer::Drop(IsOver isOver) {
    const TimePoint now = SteadyNow();
    for (const Held& held : mInForce) {
        if (isOver(held)) {
            mProbeWrites += held.probedTid != 0 ? 1 : 0;
            mObservers.Tell(&RunObserver::Ended, now, held, HowEnded::RELEASED);
        }
    }
    std::erase_if(mInForce, isOver);
    AwaitProbeWrites();
}

void ScriptPlayer::Request(const Statement& statement) {
    for (const std::string& clause : LeftOut(mSession, statement)) {
        Complain(statement, "left out: " + clause);
    }
    Held held = LabelOf(statement);
    held.request = statement.request;
    const int result = mSession.Engine().PerfRequest(statement.pid, Millis(statement.time),
                                                     statement.request, held.handle);
    if (result != 0) {
        Refuse(statement, "request refused: " + WhyRefused(mSession, statement));
        return;
    }
    if (statement.time != milliseconds(0)) {
        held.endsFrom = held.begin + statement.time;
        held.endsUntil = SteadyNow() + statement.time;
    }
    Hold(std::move(held), statement.name);
}

void ScriptPlayer::Scenario(const Statement& statement) {
    Held held = LabelOf(statement);
    const ConfigurableScenario* const scenario = mSession.FindScenario(statement.number);
    if (mSession.Engine().PerfSetScenario(statement.pid, statement.number, held.handle) != 0) {
        Refuse(statement,
               std::string("scenario refused: ") +
                   (scenario != nullptr ? kSeeLog : "this chip has none of that number"));
        return;
    }
    if (scenario != nullptr) {
        held.request = scenario->requests;
    }
    Hold(std::move(held), statement.name);
}

void ScriptPlayer::Mode(const Statement& statement) {
    ExpectRepetitions();
    Held held = LabelOf(statement);
    if (mSession.Engine().PerfSetMode(statement.pid, statement.number, held.handle) != 0) {
        Refuse(statement, std::string("mode refused: ") + kSeeLog);
        return;
    }
    Hold(std::move(held), statement.name);
}

void ScriptPlayer::Suspend(const Statement& statement) {
    const bool isSuspend = statement.verb == Verb::SUSPEND;
    for (const std::string& clause : NotSuspendable(mSession, statement)) {
        Complain(statement, "left out: " + clause);
    }
    std::vector<unsigned int> params = {isSuspend ? kStart : kStop};
    params.insert(params.end(), statement.qosIds.begin(), statement.qosIds.end());
    if (mSession.Engine().PerfSetSuspend(params) != 0) {
        Refuse(statement,
               std::string(isSuspend ? "suspend" : "resume") + " refused: nothing is left of it");
    }
}

void ScriptPlayer::Event(const Statement& statement) {
    if (statement.word == "start") {
        StartEvent(statement);
        return;
    }
    if (mSession.Engine().PerfEvent(statement.number, {kStop}, statement.text) != 0) {
        Refuse(statement, std::string("event refused: ") + kSeeLog);
        return;
    }
    Drop([&statement](const Held& held) { return held.event == statement.number; });
}

void ScriptPlayer::StartEvent(const Statement& statement) {
    const ConfigurableEvent* const event = mSession.FindEvent(statement.number);
    if (event == nullptr) {
        Refuse(statement, "event refused: this chip has none of that number");
        return;
    }
    const bool isTimed = statement.time != milliseconds(0);
    const milliseconds length = isTimed ? statement.time : LengthOf(*event);
    const std::vector<unsigned int> params =
        isTimed ? std::vector<unsigned int>{kStart, Millis(length)} : std::vector{kStart};
    Held held = LabelOf(statement);
    held.event = statement.number;
    held.request = FirstSteps(*event);
    held.endsFrom = held.begin + length;
    if (mSession.Engine().PerfEvent(statement.number, params, statement.text) != 0) {
        Refuse(statement, std::string("event refused: ") + kSeeLog);
        return;
    }
    held.endsUntil = SteadyNow() + length;
    held.handle = mSession.FindHandle(kEventOwner, mLastHandle);
    Hold(std::move(held), "");
}

void ScriptPlayer::Probe(const Statement& statement) {
    if (mSession.Probe().nodePath.empty()) {
        Refuse(statement, "probe refused: nothing here binds threads");
        return;
    }
    const bool isStart = statement.word == "start";
    const std::vector<unsigned int> params = {isStart ? kStart : kStop, 0, statement.number};
    if (isStart) {
        StartProbe(statement, params);
        return;
    }
    mSession.Engine().PerfEvent(kProbeEventId, params, statement.text);
    const int tid = static_cast<int>(statement.number);
    Drop([tid](const Held& held) { return held.probedTid == tid; });
}

void ScriptPlayer::StartProbe(const Statement& statement, const std::vector<unsigned int>& params) {
    const ProbeEvent& probe = mSession.Probe();
    const milliseconds length(probe.startDelayMs + probe.spanMs);
    Held held = LabelOf(statement);
    held.probedTid = static_cast<int>(statement.number);
    held.pid = held.probedTid;
    held.endsFrom = held.begin + length;
    if (mSession.Engine().PerfEvent(kProbeEventId, params, statement.text) != 0) {
        Refuse(statement, std::string("probe refused: ") + kSeeLog);
        return;
    }
    held.endsUntil = SteadyNow() + length;
    held.handle = mSession.FindHandle(held.probedTid, mLastHandle);
    // A thread that is being probed keeps its probe.
    mProbeWrites += held.handle != kNoHandle ? 1 : 0;
    Hold(std::move(held), "");
    AwaitProbeWrites();
}

std::optional<Explanation> ScriptPlayer::Explain(const std::vector<std::string>& targets,
                                                 std::string& problem) {
    std::optional<std::vector<GroupState>> groups = FindGroups(mSession, targets, problem);
    if (!groups) {
        return std::nullopt;
    }
    Explanation explanation{.begin = mBegin, .groups = std::move(*groups), .held = {}};
    for (const auto& [name, held] : mNamed) {
        explanation.held.emplace(held.handle, held);
    }
    for (const Held& held : mInForce) {
        explanation.held.emplace(held.handle, held);
    }
    return explanation;
}

void ScriptPlayer::Explain(const Statement& statement) {
    std::string problem;
    const std::optional<Explanation> explanation = Explain(statement.targets, problem);
    if (!explanation) {
        Refuse(statement, "explain: " + problem);
        return;
    }
    mObservers.Tell(&RunObserver::Answered, ExplanationText(*explanation));
}

void ScriptPlayer::Dump(const Statement& statement) {
    std::ostringstream answer;
    if (mSession.Engine().Dump(answer, {"--" + statement.word}) != 0) {
        Refuse(statement, std::string("dump failed; ") + kSeeLog);
    }
    mObservers.Tell(&RunObserver::Answered, answer.str());
}

void ScriptPlayer::Debug(const Statement& statement) {
    const std::string dashes = statement.word.starts_with("--") ? "" : "--";
    std::ostringstream answer;
    if (!mSession.Engine().DebugSet(answer, dashes + statement.word)) {
        Refuse(statement, "there is no debug option " + dashes + statement.word);
        return;
    }
    std::string text = answer.str();
    text.erase(text.find_last_not_of('\n') + 1);
    if (!text.empty()) {
        Refuse(statement, text);
    }
}

void ScriptPlayer::Version() {
    std::ostringstream answer;
    mSession.Engine().DumpCoreVersion(answer);
    mObservers.Tell(&RunObserver::Answered, answer.str());
}

void ScriptPlayer::Release(const Statement& statement) {
    const auto named = mNamed.find(statement.name);
    if (named == mNamed.end()) {
        Complain(statement, "nothing to release: " + statement.name + " was refused");
        return;
    }
    const Held& held = named->second;
    if (held.IsMode()) {
        ExpectRepetitions();
    }
    if (mSession.Engine().PerfRelease(held.pid, held.handle) != 0) {
        Refuse(statement, std::string("release failed; ") + kSeeLog);
        return;
    }
    Drop([&held](const Held& other) { return other.handle == held.handle; });
}

void ScriptPlayer::ReleaseAll(const Statement& statement) {
    if (std::ranges::any_of(mInForce, [&statement](const Held& held) {
            return held.IsMode() && held.pid == statement.pid;
        })) {
        ExpectRepetitions();
    }
    if (mSession.Engine().PerfReleaseAll(statement.pid) != 0) {
        Refuse(statement, std::string("release-all failed; ") + kSeeLog);
        return;
    }
    Drop([&statement](const Held& held) { return held.pid == statement.pid; });
}

}  // namespace corebeacon::tool
