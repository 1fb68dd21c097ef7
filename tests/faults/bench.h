/// One kind of node with its writer, on a device and a clock of its own. Owned by a test.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "faults/fault_oracle.h"
#include "faults/node_kind.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"

namespace corebeacon::test {

class Bench {
public:
    explicit Bench(const NodeKind& kind) : mKind(kind) {
        kind.addNodes(mDevice);
        mWriter = kind.makeWriter(mClock, mLog);
    }

    sim::SimulatedDevice& Device() { return mDevice; }

    void Do(const Action& action) { mWriter->Do(action); }
    void Do(const std::vector<Action>& actions) {
        for (const Action& action : actions) {
            mWriter->Do(action);
        }
    }

    /// That the nodes hold what the kind's recovery puts into them.
    void ExpectInOrder() const {
        for (const auto& [node, value] : mKind.inOrder) {
            EXPECT_EQ(mDevice.Value(node), value) << node;
        }
    }

    /// Ends the writer, on a device whose every close fails, and goes through all that was done.
    void ExpectCleanRecordAndLog() {
        mDevice.InjectEverywhere(sim::OperationKind::CLOSE, sim::Fault::Errno(EIO).Forever());
        mWriter.reset();
        EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
        FaultOracle oracle(mKind);
        EXPECT_TRUE(oracle.Follow(mDevice.Operations())) << oracle.Complaint();
        EXPECT_EQ(FailuresIn(mLog), oracle.Expected());
    }

private:
    const NodeKind& mKind;
    sim::SimulatedDevice mDevice;
    const ScopedNodeIo mNodeIo{mDevice};
    const LogCapture mLog;
    ManualClock mClock;
    std::unique_ptr<Writer> mWriter;
};

}  // namespace corebeacon::test
