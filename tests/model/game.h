/// Plays scripts on the engine's class and on its model side by side, and says where they first
/// differ. A game is what a class and its model are played with:
///   Script Make(std::uint64_t seed)     a random script; its `steps` is a vector
///   std::string Play(const Script&)     the first difference, empty when there is none
///   std::string Print(const Script&)    the script for a person to read
/// Used by one thread of a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/log.h"
#include "model/shrink.h"
#include "support/sizes.h"

namespace corebeacon::model {

/// Malformed commands are logged as errors; nobody wants to read them a million times over.
class QuietLog : public LogSink {
public:
    QuietLog() { SetLogSink(this); }
    ~QuietLog() override { SetLogSink(nullptr); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
    void Write(int /*level*/, const char* /*tag*/, const char* /*message*/) noexcept override {}
};

/// How many steps each game of the default tests plays.
inline long ModelSteps(long usual) {
    return test::SizeFromEnvironment("COREBEACON_MODEL_STEPS", usual);
}

/// The seed of the first script; the scripts after it have the seeds that follow.
inline std::uint64_t ModelSeed() {
    return static_cast<std::uint64_t>(test::SizeFromEnvironment("COREBEACON_MODEL_SEED", 1));
}

/// What a search for a difference came to.
template <typename Script>
struct Finding {
    std::string difference;  ///< empty when there is none
    std::uint64_t seed = 0;  ///< of the script that differed, or the last one
    long scripts = 0;        ///< played until then
    long steps = 0;          ///< played until then
    Script script;           ///< shrunk
};

/// `script` with no more steps than its difference needs.
template <typename Game, typename Script>
Script ShrinkScript(Game& game, Script script) {
    const Script whole = script;
    script.steps = Shrink(whole.steps, [&game, &whole](const auto& steps) {
        Script part = whole;
        part.steps = steps;
        return !game.Play(part).empty();
    });
    return script;
}

/// Plays the scripts of the seeds from `firstSeed` on while `goesOn` says so of the finding, which
/// counts what was played, and none differed.
template <typename Game, typename GoesOn>
auto FindDifferenceWhile(Game& game, std::uint64_t firstSeed, GoesOn goesOn) {
    Finding<decltype(game.Make(firstSeed))> finding;
    while (finding.difference.empty() && goesOn(finding)) {
        finding.seed = firstSeed + static_cast<std::uint64_t>(finding.scripts++);
        auto script = game.Make(finding.seed);
        finding.steps += static_cast<long>(script.steps.size());
        if (!game.Play(script).empty()) {
            finding.script = ShrinkScript(game, std::move(script));
            finding.difference = game.Play(finding.script);
        }
    }
    return finding;
}

/// Plays scripts until they had `steps` steps in all or one differed.
template <typename Game>
auto FindDifference(Game& game, long steps, std::uint64_t firstSeed) {
    return FindDifferenceWhile(game, firstSeed,
                               [steps](const auto& finding) { return finding.steps < steps; });
}

/// Plays the scripts of `seeds` seeds unless one differs.
template <typename Game>
auto FindDifferenceInSeeds(Game& game, long seeds, std::uint64_t firstSeed) {
    return FindDifferenceWhile(game, firstSeed,
                               [seeds](const auto& finding) { return finding.scripts < seeds; });
}

/// What a failed test prints.
template <typename Game, typename Script>
std::string Report(Game& game, const Finding<Script>& finding) {
    return "seed " + std::to_string(finding.seed) + ", shrunk:\n" + game.Print(finding.script) +
           finding.difference;
}

/// Plays every sequence of `length` steps out of `alphabet`; the first report, or nothing.
template <typename Game, typename Script, typename Step>
std::string PlayAll(Game& game, Script script, const std::vector<Step>& alphabet,
                    std::size_t length) {
    std::vector<std::size_t> digits(length, 0);
    for (;;) {
        script.steps.clear();
        for (const std::size_t digit : digits) {
            script.steps.push_back(alphabet[digit]);
        }
        if (!game.Play(script).empty()) {
            script = ShrinkScript(game, script);
            return "shrunk:\n" + game.Print(script) + game.Play(script);
        }
        std::size_t at = 0;
        while (at < length && ++digits[at] == alphabet.size()) {
            digits[at++] = 0;
        }
        if (at == length) {
            return "";
        }
    }
}

/// The length of the sequences that are played exhaustively.
inline std::size_t ExhaustiveLength() {
    return static_cast<std::size_t>(test::SizeFromEnvironment("COREBEACON_MODEL_LENGTH", 4));
}

}  // namespace corebeacon::model
