#include "verify/write_verifier.h"

#include <chrono>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "printable.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

/// Kernels show a new frequency limit only some time after it was written.
constexpr milliseconds kKernelDelay{100};
constexpr milliseconds kPollInterval{10};

bool IsGood(Verdict verdict) {
    return verdict == Verdict::EXACT || verdict == Verdict::ROUNDED || verdict == Verdict::LIMITED;
}

}  // namespace

void WriteVerifier::Begin(EngineSession& session, TimePoint /*begin*/) {
    mSession = &session;
    mFacts = FactsOf(session.Table(), session.Reader());
}

void WriteVerifier::Written(const NodeWrite& write, bool /*isRepetition*/) {
    ++mTold[write.path];
    mSuperseded += mPending.contains(write.path) ? 1 : 0;
    mPending[write.path] = write;
}

void WriteVerifier::ToldSoFar() {
    for (const auto& [path, write] : std::exchange(mPending, {})) {
        Look(write);
    }
}

void WriteVerifier::Done(const Statement& /*statement*/) {
    ToldSoFar();
    LookAgain();
}

void WriteVerifier::End(const std::map<std::string, std::string>& /*values*/,
                        const std::vector<HeldRequest>& /*standing*/) {
    ToldSoFar();
    LookAgain();
    PrintSummary();
}

bool WriteVerifier::HasMismatch() const {
    for (const auto& [verdict, count] : mCounts) {
        if (count > 0 && IsMismatch(verdict)) {
            return true;
        }
    }
    return false;
}

void WriteVerifier::Look(const NodeWrite& write) {
    Check check = Find(write);
    if (IsMismatch(check.verdict) && IsOutdated(write.path)) {
        // The engine has written the node anew, which will be told in its turn.
        ++mSuperseded;
        return;
    }
    ++mCounts[check.verdict];
    if (IsMismatch(check.verdict)) {
        Tell(check);
    }
    mChecks[write.path] = std::move(check);
}

WriteVerifier::Check WriteVerifier::Find(const NodeWrite& write) {
    if (!write.failure.empty()) {
        return {write, JudgeFailure(write), {}};
    }
    if (write.isIoctl) {
        return {write, Verdict::WRITE_ONLY, {}};
    }
    const NodeFacts& facts = mFacts[write.path];
    Check check{write, Verdict::EXACT, Await(write, facts)};
    check.verdict = JudgeReading(write, check.held, facts);
    return check;
}

bool WriteVerifier::IsOutdated(const std::string& path) {
    return mSession->Record().CountOf(path) != mTold[path];
}

/// What the node holds, on the kernel once it holds what was written or has had its time.
NodeReading WriteVerifier::Await(const NodeWrite& write, const NodeFacts& facts) {
    NodeReading held = mSession->Reader().Read(write.path);
    if (mSession->Device() != DeviceKind::KERNEL) {
        return held;
    }
    const auto deadline = std::chrono::steady_clock::now() + kKernelDelay;
    while (held.status == NodeReading::READ && JudgeReading(write, held, facts) != Verdict::EXACT &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollInterval);
        held = mSession->Reader().Read(write.path);
    }
    return held;
}

Verdict WriteVerifier::JudgeReading(const NodeWrite& write, const NodeReading& held,
                                    const NodeFacts& facts) {
    std::optional<std::string> ceiling;
    if (!facts.ceilingNode.empty() && held.text != write.value) {
        const NodeReading reading = mSession->Reader().Read(facts.ceilingNode);
        if (reading.status == NodeReading::READ) {
            ceiling = reading.text;
        }
    }
    return Judge(write.value, held, facts, ceiling);
}

/// Whether what was found is still there.
void WriteVerifier::LookAgain() {
    for (auto& [path, check] : mChecks) {
        if (!IsGood(check.verdict)) {
            continue;
        }
        NodeReading held = mSession->Reader().Read(path);
        if (held.status != NodeReading::READ || held.text == check.held.text || IsOutdated(path)) {
            continue;
        }
        const bool isAsWritten = JudgeReading(check.write, held, mFacts[path]) == Verdict::EXACT;
        --mCounts[check.verdict];
        check.held = std::move(held);
        check.verdict = isAsWritten ? Verdict::EXACT : Verdict::OVERWRITTEN;
        ++mCounts[check.verdict];
        if (!isAsWritten) {
            Tell(check);
        }
    }
}

std::string WriteVerifier::Outcome(const Check& check) const {
    std::string wrote = "wrote " + check.write.value;
    switch (check.verdict) {
        case Verdict::REJECTED:
        case Verdict::ABSENT:
            return (check.write.value.empty() ? "" : wrote + ": ") +
                   (check.write.failure.empty() ? WhyNotRead(check.held) : check.write.failure);
        case Verdict::UNREADABLE:
            return wrote + ": " + WhyNotRead(check.held);
        case Verdict::WRITE_ONLY:
            return wrote;
        default:
            return wrote + ", holds " + check.held.text;
    }
}

void WriteVerifier::Tell(const Check& check) {
    const NodeName name = mSession->Names().Of(check.write.path);
    mOut << "    " << NameOf(check.verdict) << ": "
         << Printable(name.qos + (name.qos.empty() ? "" : "  ") + name.brief) << "  "
         << Outcome(check) << "\n"
         << std::flush;
}

void WriteVerifier::PrintSummary() {
    TextTable table;
    for (const auto& [verdict, count] : mCounts) {
        if (count == 0) {
            continue;
        }
        std::vector<std::string> cells = {NameOf(verdict), std::to_string(count)};
        for (const auto& [path, check] : mChecks) {
            if (check.verdict == verdict && verdict != Verdict::EXACT) {
                cells.push_back(path);
                cells.push_back(Outcome(check));
                table.AddRow(std::exchange(cells, {"", ""}));
            }
        }
        if (!cells.front().empty()) {
            table.AddRow(std::move(cells));
        }
    }
    const std::string text = table.Text("  ");
    mOut << "\nVerified writes\n" << (text.empty() ? "  none\n" : text) << std::flush;
}

Json WriteVerifier::ToJson() const {
    Json json;
    json["superseded"] = mSuperseded;
    json["mismatch"] = HasMismatch();
    json["classes"] = Json::object();
    for (const auto& [verdict, count] : mCounts) {
        json["classes"][NameOf(verdict)] = count;
    }
    json["nodes"] = Json::array();
    for (const auto& [path, check] : mChecks) {
        Json node = {
            {"path", path}, {"written", check.write.value}, {"class", NameOf(check.verdict)}};
        if (check.held.status == NodeReading::READ) {
            node["held"] = check.held.text;
        }
        if (!check.write.failure.empty()) {
            node["error"] = check.write.failure;
            node["errno"] = check.write.error;
        }
        json["nodes"].push_back(std::move(node));
    }
    return json;
}

}  // namespace corebeacon::tool
