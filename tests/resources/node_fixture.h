/// What the tests of kinds that write one node or a few share: a device, the log, the writes in
/// order, and a resource driven through its worker. Owned by a test.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "engine/perf_resource.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"

namespace corebeacon::test {

using Texts = std::vector<std::string>;
using Writes = std::vector<std::pair<std::string, std::string>>;

/// What DoConfig is given as the limit where it must play no part.
inline constexpr int kNoLimit = 0;

/// The 4 bytes by which a binary node is written.
inline std::string Binary(int value) {
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

/// Starts the worker of a resource, which is built from `config` and not yet started.
inline void Start(PerfResource& resource, PerfQosConfig& config, bool isLoaded = false) {
    ASSERT_EQ(resource.InitResource(config, isLoaded), 0);
    ASSERT_EQ(resource.InitThread(), 0);
}

/// Has the worker carry out a command, and waits for it: a dump is answered in its turn.
inline void Send(PerfResource& resource, PerfCommandType type, const GroupValueMap& groups = {},
                 PerfWorkMode workMode = PERF_WORK_MODE_0) {
    auto item = std::make_shared<PerfCommandItem>();
    item->qosId = resource.GetQosId();
    item->handle = 5;
    item->workMode = workMode;
    item->groups = groups;
    resource.SendCommandToFifoQ({type, item});
    resource.SendCommandToFifoQ({PERF_COMMAND_GET_LOG, item});
    std::ostringstream ignored;
    EXPECT_TRUE(resource.WaitLogFinish(false, ignored));
}

class NodeFixture : public testing::Test {
protected:
    /// The writes since the last call, with the nodes they reached.
    Writes TakeWrites() {
        Writes writes;
        for (const sim::Operation& write : mDevice.Writes()) {
            writes.emplace_back(write.path, write.bytes);
        }
        mDevice.ClearRecord();
        return writes;
    }

    /// "value @ node" of each record of a group's base values; none of them has a limit.
    static Texts BaseRecords(const PerfGroup& group) {
        std::vector<SpecifiedGroupDumpInfo> info;
        group.DumpBaseValueAfterMapping(info);
        Texts texts;
        for (const SpecifiedGroupDumpInfo& record : info) {
            EXPECT_EQ(record.limitValue, "");
            EXPECT_EQ(record.limitNode, "");
            texts.push_back(record.boostValue + " @ " + record.boostNode);
        }
        return texts;
    }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
};

}  // namespace corebeacon::test
