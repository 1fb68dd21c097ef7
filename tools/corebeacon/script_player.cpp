#include "script_player.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <thread>
#include <utility>

#include "corebeacon/log.h"
#include "interruption.h"
#include "platform/clock.h"
#include "printable.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

/// A worker that has not let go of an ended request by then never will.
constexpr std::chrono::seconds kMaxEndDelay{5};

/// Kernels show a new frequency limit only some time after it was written.
constexpr milliseconds kReadBackDelay{100};

}  // namespace

ScriptPlayer::ScriptPlayer(EngineSession& session, RunObservers& observers,
                           std::ostream& diagnostics, std::string scriptName)
    : mSession(session),
      mObservers(observers),
      mDiagnostics(diagnostics),
      mScriptName(std::move(scriptName)) {}

bool ScriptPlayer::Play(const std::vector<Statement>& statements) {
    Begin();
    for (const Statement& statement : statements) {
        if (Interruption() != 0) {
            break;
        }
        Carry(statement);
    }
    return Finish();
}

void ScriptPlayer::Begin() {
    mBegin = SteadyNow();
    mObservers.Begin(mSession, mBegin);
}

void ScriptPlayer::Carry(const Statement& statement) {
    const TimePoint now = SteadyNow();
    TellSoFar();
    if (statement.verb == Verb::NOTE) {
        mObservers.Tell(&RunObserver::Note, statement);
        return;
    }
    mObservers.Tell(&RunObserver::Asked, now, statement);
    CarryOut(statement, now);
    mSession.Settle();
    TellSoFar();
    mHeldByNodes.reset();
    mObservers.Tell(&RunObserver::Done, statement);
}

bool ScriptPlayer::Finish() {
    AwaitEnds();
    mObservers.Tell(&RunObserver::End, FinalValues(), mInForce);
    TellWhatStands();
    return mIsAllAccepted;
}

void ScriptPlayer::CarryOut(const Statement& statement, TimePoint now) {
    switch (statement.verb) {
        case Verb::NOTE:
            break;
        case Verb::REQUEST:
        case Verb::BASE_SET:
            Request(statement);
            break;
        case Verb::SCENARIO:
            Scenario(statement);
            break;
        case Verb::MODE:
            Mode(statement);
            break;
        case Verb::SUSPEND:
        case Verb::RESUME:
            Suspend(statement);
            break;
        case Verb::EVENT:
            Event(statement);
            break;
        case Verb::PROBE:
            Probe(statement);
            break;
        case Verb::EXPLAIN:
            Explain(statement);
            break;
        case Verb::DUMP:
            Dump(statement);
            break;
        case Verb::DEBUG:
            Debug(statement);
            break;
        case Verb::VERSION:
            Version();
            break;
        case Verb::RELEASE:
            Release(statement);
            break;
        case Verb::RELEASE_ALL:
            ReleaseAll(statement);
            break;
        case Verb::WAIT:
            PassTime(now + statement.time);
            break;
        case Verb::LOG:
            PfLogonNamespace::PfLogonSet(statement.number);
            break;
    }
}

void ScriptPlayer::PassTime(TimePoint until) {
    for (TellSoFar(); SteadyNow() < until && Interruption() == 0; TellSoFar()) {
        TimePoint next = std::min(until, NextEnd().value_or(until));
        if (IsInterruptible()) {
            next = std::min(next, SteadyNow() + kInterruptionDelay);
        }
        mSession.Record().WaitForWrite(next);
    }
}

std::optional<TimePoint> ScriptPlayer::NextEnd() const {
    std::optional<TimePoint> next;
    for (const Held& held : mInForce) {
        if (held.IsTimed()) {
            next = std::min(next.value_or(held.endsUntil), held.endsUntil);
        }
    }
    return next;
}

bool ScriptPlayer::HasNews() const {
    return mSession.Record().HasWrites() || NextEnd().value_or(TimePoint::max()) <= SteadyNow();
}

std::vector<std::string> ScriptPlayer::NamesInForce() const {
    std::vector<std::string> names;
    for (const auto& [name, named] : mNamed) {
        if (std::ranges::find(mInForce, named.handle, &Held::handle) != mInForce.end()) {
            names.push_back(name);
        }
    }
    return names;
}

void ScriptPlayer::AwaitEnds() {
    TimePoint last;
    for (const Held& held : mInForce) {
        last = std::max(last, held.endsUntil);
    }
    PassTime(last);
}

void ScriptPlayer::TellSoFar() {
    TellWrites();
    TellEnds(&Held::endsUntil, SteadyNow());
    if (!mEnded.empty()) {
        AwaitEffects();
        TellWrites();
    }
    mObservers.Tell(&RunObserver::ToldSoFar);
}

void ScriptPlayer::TellWrites() {
    for (const NodeWrite& write : mSession.Record().Take()) {
        TellEnds(&Held::endsFrom, write.time);
        const bool isRepetition = IsRepetition(write);
        mObservers.Tell(&RunObserver::Written, write, isRepetition);
        if (write.failure.empty() && !isRepetition) {
            mWritten[write.path] = write.value;
        }
    }
}

/// A new work mode has every group of the device write its values again.
void ScriptPlayer::ExpectRepetitions() {
    mHeldByNodes = mWritten;  // of binary nodes and the like, which answer in another form
    for (const std::string& path : mSession.Names().Paths()) {
        mHeldByNodes->emplace(path, mSession.ReadValue(path).value_or(""));
    }
}

bool ScriptPlayer::IsRepetition(const NodeWrite& write) {
    if (!mHeldByNodes || !write.failure.empty()) {
        return false;
    }
    return std::exchange((*mHeldByNodes)[write.path], write.value) == write.value;
}

/// Tells of the requests that end no later than `until`, in order of time.
void ScriptPlayer::TellEnds(TimePoint Held::*bound, TimePoint until) {
    for (;;) {
        auto first = mInForce.end();
        for (auto held = mInForce.begin(); held != mInForce.end(); ++held) {
            if (held->IsTimed() && (*held).*bound <= until &&
                (first == mInForce.end() || held->endsFrom < first->endsFrom)) {
                first = held;
            }
        }
        if (first == mInForce.end()) {
            return;
        }
        mObservers.Tell(&RunObserver::Ended, first->endsFrom, *first, HowEnded::TIME_OVER);
        mEnded.push_back(first->handle);
        mProbeWrites += first->probedTid != 0 ? 1 : 0;
        mInForce.erase(first);
    }
}

/// A worker may wake up late. It is done with an ended request when no group is ruled by it.
void ScriptPlayer::AwaitEffects() {
    const std::vector<unsigned long> ended = std::exchange(mEnded, {});
    if (TurnClock* const turns = mSession.Turns()) {
        turns->Run(Round::DUE);
        return;
    }
    const TimePoint deadline = SteadyNow() + kMaxEndDelay;
    for (const unsigned long handle : ended) {
        while (mSession.RulesAGroup(handle) && SteadyNow() < deadline) {
            std::this_thread::yield();
        }
    }
    AwaitProbeWrites();
}

/// The binder has a worker of its own, which answers no dump; but each bind and unbind is a write.
void ScriptPlayer::AwaitProbeWrites() {
    const TimePoint deadline = SteadyNow() + kMaxEndDelay;
    while (mSession.Record().CountOf(mSession.Probe().nodePath) < mProbeWrites &&
           SteadyNow() < deadline) {
        if (TurnClock* const turns = mSession.Turns()) {
            turns->Run(Round::ALL);
            return;
        }
        std::this_thread::yield();
    }
}

std::map<std::string, std::string> ScriptPlayer::FinalValues() {
    if (mSession.Device() == DeviceKind::KERNEL && !mWritten.empty()) {
        PassTime(SteadyNow() + kReadBackDelay);
    }
    std::map<std::string, std::string> values;
    for (const auto& [path, written] : mWritten) {
        values[path] = mSession.ReadValue(path).value_or(written + "  (as written)");
    }
    return values;
}

std::vector<std::string> ScriptPlayer::WrittenNodes() const {
    std::vector<std::string> paths;
    for (const auto& [path, value] : mWritten) {
        paths.push_back(path);
    }
    return paths;
}

void ScriptPlayer::TellWhatStands() {
    for (const Held& held : mInForce) {
        mDiagnostics << mScriptName << ": " << held.label << " (pid " << held.pid
                     << ") was never released, so the nodes keep its values\n";
    }
}

void ScriptPlayer::Refuse(const Statement& statement, const std::string& text) {
    mIsAllAccepted = false;
    Tell(statement, text, true);
}

void ScriptPlayer::Complain(const Statement& statement, const std::string& text) {
    Tell(statement, text, false);
}

void ScriptPlayer::Tell(const Statement& statement, const std::string& text, bool isFailure) {
    mDiagnostics << mScriptName << ":" << statement.position.line << ":"
                 << statement.position.column << ": " << Printable(text) << std::endl;
    mObservers.Tell(&RunObserver::Complained, statement, text, isFailure);
}

}  // namespace corebeacon::tool
