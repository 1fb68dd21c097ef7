#include "script_player.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <thread>
#include <utility>

#include "command/handle.h"
#include "corebeacon/log.h"
#include "platform/clock.h"
#include "refusal.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

/// A worker that has not let go of an ended request by then never will.
constexpr std::chrono::seconds kMaxEndDelay{5};

/// Kernels show a new frequency limit only some time after it was written.
constexpr milliseconds kReadBackDelay{100};

}  // namespace

ScriptPlayer::ScriptPlayer(EngineSession& session, EventPrinter& printer, std::ostream& diagnostics,
                           std::string scriptName)
    : mSession(session),
      mPrinter(printer),
      mDiagnostics(diagnostics),
      mScriptName(std::move(scriptName)) {}

bool ScriptPlayer::Play(const std::vector<Statement>& statements) {
    for (const Statement& statement : statements) {
        const TimePoint now = SteadyNow();
        PrintSoFar();
        if (statement.verb == Verb::NOTE) {
            mPrinter.Note(statement.text);
            continue;
        }
        mPrinter.Statement(now, statement.text);
        Carry(statement, now);
        mSession.Settle();
        PrintSoFar();
    }
    AwaitEnds();
    PrintFinalValues();
    TellWhatStands();
    return mIsAllAccepted;
}

void ScriptPlayer::Carry(const Statement& statement, TimePoint now) {
    switch (statement.verb) {
        case Verb::NOTE:
            break;
        case Verb::REQUEST:
            Request(statement);
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

void ScriptPlayer::Request(const Statement& statement) {
    for (const std::string& clause : LeftOut(mSession, statement)) {
        Complain(statement, "left out: " + clause);
    }
    Held held;
    held.label = statement.name.empty()
                     ? "the request of line " + std::to_string(statement.position.line)
                     : statement.name;
    held.pid = statement.pid;
    const TimePoint before = SteadyNow();
    const int result =
        mSession.Engine().PerfRequest(statement.pid, static_cast<unsigned>(statement.time.count()),
                                      statement.request, held.handle);
    if (result != 0) {
        mIsAllAccepted = false;
        Complain(statement, "request refused: " + WhyRefused(mSession, statement));
        return;
    }
    if (statement.time != milliseconds(0)) {
        held.endsFrom = before + statement.time;
        held.endsUntil = SteadyNow() + statement.time;
    }
    if (!statement.name.empty()) {
        mNamed[statement.name] = held;
    }
    if (held.handle != kNoHandle) {
        mInForce.push_back(std::move(held));
    }
}

void ScriptPlayer::Release(const Statement& statement) {
    const auto named = mNamed.find(statement.name);
    if (named == mNamed.end()) {
        Complain(statement, "nothing to release: " + statement.name + " was refused");
        return;
    }
    const Held& held = named->second;
    if (mSession.Engine().PerfRelease(held.pid, held.handle) != 0) {
        mIsAllAccepted = false;
        Complain(statement, "release failed; the engine's log above tells why");
        return;
    }
    std::erase_if(mInForce, [&held](const Held& other) { return other.handle == held.handle; });
}

void ScriptPlayer::ReleaseAll(const Statement& statement) {
    if (mSession.Engine().PerfReleaseAll(statement.pid) != 0) {
        mIsAllAccepted = false;
        Complain(statement, "release-all failed; the engine's log above tells why");
        return;
    }
    std::erase_if(mInForce, [&statement](const Held& held) { return held.pid == statement.pid; });
}

void ScriptPlayer::PassTime(TimePoint until) {
    for (PrintSoFar(); SteadyNow() < until; PrintSoFar()) {
        TimePoint next = until;
        for (const Held& held : mInForce) {
            next = held.IsTimed() ? std::min(next, held.endsUntil) : next;
        }
        mSession.Record().WaitForWrite(next);
    }
}

void ScriptPlayer::AwaitEnds() {
    TimePoint last;
    for (const Held& held : mInForce) {
        last = std::max(last, held.endsUntil);
    }
    PassTime(last);
}

void ScriptPlayer::PrintSoFar() {
    PrintWrites();
    PrintEnds(&Held::endsUntil, SteadyNow());
    if (!mEnded.empty()) {
        AwaitEffects();
        PrintWrites();
    }
}

void ScriptPlayer::PrintWrites() {
    for (const NodeWrite& write : mSession.Record().Take()) {
        PrintEnds(&Held::endsFrom, write.time);
        mPrinter.Write(write);
        if (write.failure.empty()) {
            mWritten[write.path] = write.value;
        }
    }
}

/// Prints the requests that end no later than `until`, in order of time.
void ScriptPlayer::PrintEnds(TimePoint Held::*bound, TimePoint until) {
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
        mPrinter.Happening(first->endsFrom, first->label + " ends");
        mEnded.push_back(first->handle);
        mInForce.erase(first);
    }
}

/// A worker may wake up late. It is done with an ended request when no group is ruled by it.
void ScriptPlayer::AwaitEffects() {
    const TimePoint deadline = SteadyNow() + kMaxEndDelay;
    for (const unsigned long handle : std::exchange(mEnded, {})) {
        while (mSession.RulesAGroup(handle) && SteadyNow() < deadline) {
            std::this_thread::yield();
        }
    }
}

void ScriptPlayer::PrintFinalValues() {
    if (mSession.Device() == DeviceKind::KERNEL && !mWritten.empty()) {
        PassTime(SteadyNow() + kReadBackDelay);
    }
    std::map<std::string, std::string> values;
    for (const auto& [path, written] : mWritten) {
        values[path] = mSession.ReadValue(path).value_or(written + "  (as written)");
    }
    mPrinter.FinalValues(values);
}

void ScriptPlayer::TellWhatStands() {
    for (const Held& held : mInForce) {
        mDiagnostics << mScriptName << ": " << held.label << " (pid " << held.pid
                     << ") was never released, so the nodes keep its values\n";
    }
}

void ScriptPlayer::Complain(const Statement& statement, const std::string& text) {
    mDiagnostics << mScriptName << ":" << statement.position.line << ":"
                 << statement.position.column << ": " << text << std::endl;
}

}  // namespace corebeacon::tool
