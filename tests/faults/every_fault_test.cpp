// Every failure that a kernel returns, at every operation of every kind of node: once and for ever,
// at the first, second, third ... open, write, ioctl and close of a script, until the script runs
// through without meeting it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "faults/bench.h"
#include "faults/node_kind.h"
#include "sim/simulated_device.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::OperationKind;

constexpr int kErrors[] = {ENODEV, EBUSY,  EINVAL, EIO,   EACCES, ENOENT,
                           EINTR,  EAGAIN, ENOSPC, EPERM, ERANGE, EROFS};
/// How much a short write takes.
constexpr std::size_t kShortCounts[] = {0, 1, 2};
/// No script has as many operations of a kind.
constexpr std::size_t kTooMany = 100;

struct Mishap {
    OperationKind operation = OperationKind::OPEN;
    int error = 0;
    std::size_t shortCount = 0;  ///< without an error
    bool forEver = false;
    std::size_t nth = 1;

    Fault ToFault() const {
        const Fault fault = error != 0 ? Fault::Errno(error) : Fault::Short(shortCount);
        return (forEver ? fault.Forever() : fault).StartingAt(nth);
    }
    std::string Text() const {
        return std::string(sim::OperationName(operation)) + " " + std::to_string(nth) +
               (forEver ? " and all later ones: " : ": ") +
               (error != 0 ? std::strerror(error)
                           : "short by all but " + std::to_string(shortCount));
    }
};

std::vector<Mishap> MishapsOf(OperationKind operation) {
    std::vector<Mishap> mishaps;
    for (const bool forEver : {false, true}) {
        for (const int error : kErrors) {
            mishaps.push_back({.operation = operation, .error = error, .forEver = forEver});
        }
        if (operation == OperationKind::WRITE) {
            for (const std::size_t count : kShortCounts) {
                mishaps.push_back(
                    {.operation = operation, .shortCount = count, .forEver = forEver});
            }
        }
    }
    return mishaps;
}

class EveryFault : public testing::TestWithParam<NodeKind> {
protected:
    void Sweep(OperationKind operation) {
        int runs = 0;
        for (Mishap mishap : MishapsOf(operation)) {
            for (bool happened = true; happened; ++mishap.nth) {
                SCOPED_TRACE(mishap.Text());
                ASSERT_LT(mishap.nth, kTooMany);
                happened = Happens(mishap);
                ASSERT_FALSE(HasFailure());
                ++runs;
            }
        }
        RecordProperty("runs", runs);
    }

private:
    /// Runs the script with the mishap and the recovery without it. False when it never happened.
    bool Happens(const Mishap& mishap) {
        Bench bench(GetParam());
        const auto fault = bench.Device().InjectEverywhere(mishap.operation, mishap.ToFault());
        bench.Do(GetParam().script);
        const bool happened = bench.Device().FaultHits(fault) != 0;
        bench.Device().ClearFaults();
        bench.Do(GetParam().recovery);
        bench.ExpectInOrder();
        bench.ExpectCleanRecordAndLog();
        return happened;
    }
};

TEST_P(EveryFault, AtAnOpenIsToldOnceAndMadeGood) {
    Sweep(OperationKind::OPEN);
}

TEST_P(EveryFault, AtAWriteIsToldOnceAndMadeGood) {
    Sweep(OperationKind::WRITE);
}

TEST_P(EveryFault, AtAnIoctlIsToldOnceAndMadeGood) {
    Sweep(OperationKind::IOCTL);
}

TEST_P(EveryFault, AtACloseLeavesNothingOpen) {
    Sweep(OperationKind::CLOSE);
}

INSTANTIATE_TEST_SUITE_P(Nodes, EveryFault, testing::ValuesIn(AllNodeKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

// The sweeps are worth something only if the scripts do what they are for.
TEST_P(EveryFault, IsSweptOverAScriptThatWritesEachNodeAgainAndAgain) {
    Bench bench(GetParam());
    bench.Do(GetParam().script);
    bool isInOrder = true;
    for (const auto& [node, value] : GetParam().inOrder) {
        std::size_t drives = 0;
        for (const sim::Operation& operation : bench.Device().Operations()) {
            const bool isDrive =
                operation.kind == OperationKind::WRITE || operation.kind == OperationKind::IOCTL;
            drives += isDrive && operation.path == node ? 1U : 0U;
        }
        EXPECT_GE(drives, 3U) << node;
        isInOrder = isInOrder && bench.Device().Value(node) == value;
    }
    EXPECT_FALSE(isInOrder) << "before the recovery";
}

}  // namespace
}  // namespace corebeacon::test
