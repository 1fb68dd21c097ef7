// The nodes of a machine, captured in one place and simulated in another.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "board/board_reader.h"
#include "check_command.h"
#include "platform/node_reader.h"
#include "sim/simulated_device.h"
#include "snapshot/capture.h"
#include "snapshot/device_snapshot.h"
#include "snapshot/snapshot_device.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

namespace fs = std::filesystem;

const std::string kPolicy = "/sys/devices/system/cpu/cpufreq/policy2";
const std::string kGpu = "/sys/class/devfreq/gpufreq";

CapturedNode Text(const std::string& bytes, NodeMode mode = NodeMode::READ_WRITE) {
    return {.mode = mode, .bytes = bytes};
}

/// A policy, a devfreq device and one node of each other sort.
DeviceSnapshot Example() {
    DeviceSnapshot snapshot{.takenAt = "2026-01-31T12:00:00Z", .machine = "Linux", .nodes = {}};
    auto& nodes = snapshot.nodes;
    nodes[kPolicy + "/scaling_available_frequencies"] =
        Text("1000000 1500000 2000000 \n", NodeMode::READ_ONLY);
    nodes[kPolicy + "/scaling_min_freq"] = Text("1000000\n");
    nodes[kPolicy + "/scaling_max_freq"] = Text("1500000\n");
    nodes[kPolicy + "/scaling_governor"] = Text("schedutil\n");
    nodes[kPolicy + "/schedutil/hispeed_freq"] = Text("1594000\n");
    nodes[kGpu + "/available_frequencies"] = Text("300000000 600000000\n", NodeMode::READ_ONLY);
    nodes[kGpu + "/min_freq"] = Text("300000000\n");
    nodes[kGpu + "/max_freq"] = Text("600000000\n");
    nodes["/proc/board"] = Text(std::string("board-x\0", 8), NodeMode::READ_ONLY);
    nodes["/sys/level"] = Text("7\n");
    nodes["/sys/list"] = Text("1 2\n3\n", NodeMode::READ_ONLY);
    nodes["/dev/secret"] = Text("", NodeMode::WRITE_ONLY);
    nodes["/dev/gone"] = {};
    nodes["/dev/latency"] = {.mode = NodeMode::READ_WRITE,
                             .form = NodeForm::BINARY,
                             .bytes = std::string("\x64\0\0\0", 4)};
    nodes["/dev/ctrl"] = {.mode = NodeMode::READ_WRITE, .form = NodeForm::IOCTL};
    nodes["/sys/busy"] = {.mode = NodeMode::READ_WRITE, .readError = EBUSY};
    nodes["/sys/odd"] = {.mode = NodeMode::READ_WRITE, .readError = ENXIO, .isOpenFailed = true};
    return snapshot;
}

/// 0, or the errno that kept the text from the node.
int WriteTo(NodeIo& device, const std::string& path, const std::string& text) {
    const int fd = device.Open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno;
    }
    const int error = device.Write(fd, text.data(), text.size()) < 0 ? errno : 0;
    device.Close(fd);
    return error;
}

/// What a read gives, or the name of what kept it from that.
std::string ReadFrom(NodeIo& device, const std::string& path) {
    const corebeacon::test::ScopedNodeIo nodeIo(device);
    std::string bytes;
    return ReadNode(path, bytes) == NodeStatus::READ ? bytes : std::strerror(errno);
}

TEST(Snapshot, ReadsBackAsItWasWritten) {
    const DeviceSnapshot example = Example();
    const std::string text = SnapshotText(example);
    const ReadSnapshot read = ParseSnapshot(text);
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.snapshot.takenAt, example.takenAt);
    EXPECT_EQ(read.snapshot.machine, "Linux");
    EXPECT_EQ(read.snapshot.nodes.size(), example.nodes.size());
    EXPECT_EQ(SnapshotText(read.snapshot), text);
    // A line for each node.
    EXPECT_EQ(Lines(text).size(), example.nodes.size() + 4);
}

TEST(Snapshot, SimulatesEachNodeAsItWas) {
    const auto device = SimulateSnapshot(Example());
    for (const auto& [path, node] : Example().nodes) {
        EXPECT_EQ(device->Exists(path), node.mode != NodeMode::ABSENT) << path;
        const bool isRead = node.mode == NodeMode::READ_WRITE || node.mode == NodeMode::READ_ONLY;
        if (isRead && node.form != NodeForm::IOCTL && node.readError == 0) {
            EXPECT_EQ(ReadFrom(*device, path), node.bytes) << path;
        }
    }
    EXPECT_EQ(device->Nodes().size(), Example().nodes.size() - 1) << "nothing else exists";
    EXPECT_EQ(WriteTo(*device, "/sys/list", "1"), EACCES);
    EXPECT_EQ(WriteTo(*device, "/proc/board", "1"), EACCES);
    EXPECT_EQ(WriteTo(*device, "/dev/gone", "1"), ENOENT);
    EXPECT_EQ(WriteTo(*device, "/dev/secret", "1"), 0);
    EXPECT_EQ(ReadFrom(*device, "/dev/secret"), "Permission denied");
    EXPECT_EQ(ReadFrom(*device, "/sys/busy"), "Device or resource busy");
    EXPECT_EQ(WriteTo(*device, "/sys/busy", "1"), 0);
    EXPECT_EQ(WriteTo(*device, "/sys/odd", "1"), ENXIO);
}

TEST(Snapshot, BoundsBehaveAsInTheKernel) {
    const auto device = SimulateSnapshot(Example());
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_min_freq", "1200000"), 0);
    EXPECT_EQ(ReadFrom(*device, kPolicy + "/scaling_min_freq"), "1500000\n") << "up to the table";
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_max_freq", "1999999"), 0);
    EXPECT_EQ(ReadFrom(*device, kPolicy + "/scaling_max_freq"), "1500000\n") << "down to it";
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_max_freq", "1500000"), 0);
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_min_freq", "2000000"), 0);
    EXPECT_EQ(ReadFrom(*device, kPolicy + "/scaling_min_freq"), "1500000\n") << "the ceiling rules";
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_min_freq", "fast"), EINVAL);
    EXPECT_EQ(WriteTo(*device, kGpu + "/max_freq", "400000000"), 0);
    EXPECT_EQ(WriteTo(*device, kGpu + "/min_freq", "500000000"), 0);
    EXPECT_EQ(ReadFrom(*device, kGpu + "/min_freq"), "400000000\n");
    EXPECT_EQ(WriteTo(*device, "/sys/level", "anything"), 0);
    EXPECT_EQ(ReadFrom(*device, "/sys/level"), "anything\n") << "others hold what is written";
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_governor", "powersave"), 0);
    EXPECT_FALSE(device->Exists(kPolicy + "/schedutil/hispeed_freq"));
}

TEST(Snapshot, AnOfflinePolicyAndOneWithoutATable) {
    DeviceSnapshot snapshot = Example();
    for (const char* const file : {"/scaling_min_freq", "/scaling_max_freq"}) {
        snapshot.nodes[kPolicy + file] = {.mode = NodeMode::READ_WRITE, .readError = EBUSY};
    }
    auto device = SimulateSnapshot(snapshot);
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_min_freq", "1500000"), EBUSY);
    EXPECT_EQ(ReadFrom(*device, kPolicy + "/scaling_max_freq"), "Device or resource busy");

    snapshot = Example();
    snapshot.nodes.erase(kPolicy + "/scaling_available_frequencies");
    snapshot.nodes.erase(kGpu + "/available_frequencies");
    device = SimulateSnapshot(snapshot);
    EXPECT_FALSE(device->Exists(kPolicy + "/scaling_available_frequencies"));
    EXPECT_FALSE(device->Exists(kPolicy + "/scaling_available_governors"));
    EXPECT_EQ(WriteTo(*device, kPolicy + "/scaling_min_freq", "1234567"), 0);
    EXPECT_EQ(ReadFrom(*device, kPolicy + "/scaling_min_freq"), "1234567\n");
    EXPECT_EQ(WriteTo(*device, kGpu + "/min_freq", "5"), 0);
    EXPECT_EQ(ReadFrom(*device, kGpu + "/min_freq"), "5\n");
}

/// What a snapshot of that device would hold.
DeviceSnapshot SnapshotOf(sim::SimulatedDevice& device) {
    DeviceSnapshot snapshot;
    for (const std::string& path : device.Nodes()) {
        CapturedNode& node = snapshot.nodes[path];
        if (path == "/dev/vexa_perf_ctrl") {
            node = {.mode = NodeMode::WRITE_ONLY, .form = NodeForm::IOCTL};
            continue;
        }
        const auto opens = [&device, &path](int flags) {
            const int fd = device.Open(path.c_str(), flags);
            device.Close(fd);
            return fd >= 0;
        };
        const bool isRead = opens(O_RDONLY);
        node.mode = !isRead           ? NodeMode::WRITE_ONLY
                    : opens(O_WRONLY) ? NodeMode::READ_WRITE
                                      : NodeMode::READ_ONLY;
        node.bytes = isRead ? ReadFrom(device, path) : "";
        node.form = path == "/dev/cpu_dma_latency" || path == "/dev/memory_bandwidth"
                        ? NodeForm::BINARY
                        : NodeForm::TEXT;
    }
    return snapshot;
}

TEST(Snapshot, AScriptWritesTheSameAsOnTheDeviceItself) {
    const std::string script =
        "request pid=1 for=50ms CPU_B.boost=2000000 GPU.limit=500000000 NPU_SC_PRIO.boost=110\n"
        "scenario pid=2 0 as game\nwait 100ms\nrelease game\nevent start 1\n";
    for (const unsigned chip : {0U, 1U, 2U}) {
        const auto device = sim::SimulatedDevice::ForChip(chip);
        const DeviceSnapshot snapshot = SnapshotOf(*device);
        // Through the file, as it goes to another machine.
        const ReadSnapshot read = ParseSnapshot(SnapshotText(snapshot));
        ASSERT_EQ(read.error, "");
        SessionOptions options;
        options.pace = Pace::VIRTUAL;
        options.device = DeviceKind::SNAPSHOT;
        options.snapshot = std::make_shared<const DeviceSnapshot>(read.snapshot);
        const Outcome simulated = PlayText(script, options);
        options.device = DeviceKind::KERNEL;
        const corebeacon::test::ScopedNodeIo nodeIo(*device);
        const Outcome itself = PlayText(script, options);
        EXPECT_EQ(simulated.exitCode, kExitDone);
        EXPECT_EQ(simulated.out.find("A device simulated from a snapshot, chip " +
                                     std::to_string(chip) + ": "),
                  0U);
        EXPECT_EQ(simulated.out.substr(simulated.out.find(", chip")),
                  itself.out.substr(itself.out.find(", chip")));
    }
}

TEST(Snapshot, CheckLooksForTheNodesOfABoardInIt) {
    const std::string path = ::testing::TempDir() + "corebeacon-snapshot-board.xml";
    std::ofstream(path) << "<board version='1'><qos name='CPU_L' type='plain'><row min='0' "
                           "max='9'><node>/sys/level</node></row></qos></board>";
    std::ostringstream out;
    std::ostringstream diagnostics;
    DeviceSnapshot snapshot = Example();
    EXPECT_EQ(CheckBoardFile(path, DeviceKind::SNAPSHOT, false, out, diagnostics, &snapshot),
              kExitDone)
        << out.str() << diagnostics.str();
    snapshot.nodes.erase("/sys/level");
    EXPECT_EQ(CheckBoardFile(path, DeviceKind::SNAPSHOT, false, out, diagnostics, &snapshot),
              kExitFailed);
    EXPECT_NE(out.str().find("/sys/level"), std::string::npos);
    std::remove(path.c_str());
}

TEST(Snapshot, EveryCutIsToldWithItsPlace) {
    const std::string text = SnapshotText(Example());
    for (std::size_t size = 0; size + 2 < text.size(); ++size) {
        const ReadSnapshot read = ParseSnapshot(text.substr(0, size));
        EXPECT_TRUE(read.error.ends_with("ends in the middle")) << read.error;
        EXPECT_TRUE(read.snapshot.nodes.empty());
    }
    EXPECT_EQ(ParseSnapshot(text.substr(0, text.find("\n  {") + 1)).error,
              "4:1: ends in the middle");
}

TEST(Snapshot, WhatIsWrongIsToldWithItsPlace) {
    const auto errorOf = [](const std::string& from, const std::string& to) {
        std::string text = SnapshotText(Example());
        text.replace(text.find(from), from.size(), to);
        return ParseSnapshot(text).error;
    };
    EXPECT_EQ(ParseSnapshot("<board/>").error, "1:1: is no JSON from here on");
    EXPECT_EQ(ParseSnapshot("{}").error, "1:1: has no \"document\"");
    EXPECT_EQ(ParseSnapshot("7").error, "1:1: must be an object");
    EXPECT_EQ(ParseSnapshot(std::string(100000, '[')).error, "1:1: is nested too deeply");
    EXPECT_EQ(ParseSnapshot(std::string(kMaxSnapshotBytes + 1, ' ')).error,
              "1:1: is longer than 8388608 bytes");
    EXPECT_EQ(errorOf("corebeacon snapshot", "corebeacon recording"),
              "document: must be \"corebeacon snapshot\"");
    EXPECT_EQ(errorOf("\"schema_version\": 1", "\"schema_version\": 2"),
              "schema_version: must be a number from 1 to 1");
    EXPECT_EQ(errorOf("write-only", "write"),
              "nodes[3].mode: must be one of read-write, read-only, write-only, absent");
    EXPECT_EQ(errorOf("binary", "decimal"), "nodes[2].form: must be one of text, binary, ioctl");
    EXPECT_EQ(errorOf("64000000", "640000"), "nodes[2]: must hold 4 bytes to be binary");
    EXPECT_EQ(errorOf("64000000", "6400000x"),
              "nodes[2].hex: must be bytes of two hexadecimal digits each");
    EXPECT_EQ(errorOf("/dev/gone", "dev/gone"), "nodes[1].path: must be an absolute path");
    EXPECT_EQ(errorOf("/dev/gone", "/dev/ctrl"), "nodes[1].path: is there twice: /dev/ctrl");
    EXPECT_EQ(errorOf("\"mode\":\"absent\"", "\"mood\":\"absent\""),
              "nodes[1]: does not know \"mood\"");
    EXPECT_EQ(errorOf("\"read_errno\":16", "\"read_errno\":\"EBUSY\""),
              "nodes[5].read_errno: must be a number from 1 to 4095");
    EXPECT_EQ(errorOf("\"text\":\"7\\n\"", "\"text\":7"), "nodes[14].text: must be a text");
    EXPECT_EQ(errorOf("\"7\\n\"", "\"" + std::string(70000, 'x') + "\""),
              "nodes[14].text: is longer than 65536 bytes");
}

/// A machine of files.
class FakeMachine : public ::testing::Test {
protected:
    FakeMachine() {
        std::string pattern = ::testing::TempDir() + "corebeacon-XXXXXX";
        mRoot = ::mkdtemp(pattern.data());
    }
    ~FakeMachine() override { fs::remove_all(mRoot); }

    void Add(const std::string& path, const std::string& text, mode_t mode = 0644) const {
        fs::create_directories(fs::path(mRoot + path).parent_path());
        std::ofstream(mRoot + path, std::ios::binary) << text;
        ::chmod((mRoot + path).c_str(), mode);
    }

    std::string mRoot;
};

TEST_F(FakeMachine, IsCapturedByTheBuiltInTables) {
    Add(kPolicy + "/scaling_available_frequencies", "1239000 2487000 \n", 0444);
    Add(kPolicy + "/scaling_min_freq", "1239000\n");
    Add(kPolicy + "/scaling_max_freq", "2487000\n");
    Add(kPolicy + "/scaling_governor", "schedutil\n");
    Add("/proc/device-tree/vexa,boardname", std::string("board\0", 6), 0444);
    Add("/sys/class/thermal/thermal_zone1/type", "board-thermal\n", 0444);
    Add("/dev/acpuddr_link_governor_level", "", 0200);
    Add("/dev/vexa_perf_ctrl", "never read", 0600);
    const DeviceSnapshot snapshot = CaptureDevice(std::nullopt, mRoot);
    const auto& nodes = snapshot.nodes;
    EXPECT_EQ(nodes.at(kPolicy + "/scaling_min_freq").bytes, "1239000\n");
    EXPECT_EQ(nodes.at(kPolicy + "/scaling_min_freq").mode, NodeMode::READ_WRITE);
    EXPECT_EQ(nodes.at(kPolicy + "/scaling_available_frequencies").mode, NodeMode::READ_ONLY);
    EXPECT_EQ(nodes.at(kPolicy + "/scaling_governor").bytes, "schedutil\n");
    EXPECT_EQ(nodes.at("/proc/device-tree/vexa,boardname").bytes, std::string("board\0", 6));
    EXPECT_EQ(nodes.at("/sys/class/thermal/thermal_zone1/type").bytes, "board-thermal\n");
    EXPECT_EQ(nodes.at("/sys/devices/system/cpu/cpufreq/boost").mode, NodeMode::ABSENT);
    EXPECT_EQ(nodes.at("/proc/device-tree/vexa,chiptype").mode, NodeMode::ABSENT);
    EXPECT_EQ(nodes.at("/dev/acpuddr_link_governor_level").mode, NodeMode::WRITE_ONLY);
    EXPECT_EQ(nodes.at("/dev/vexa_perf_ctrl").form, NodeForm::IOCTL);
    EXPECT_EQ(nodes.at("/dev/vexa_perf_ctrl").bytes, "");
    EXPECT_EQ(nodes.at(kGpu + "/available_frequencies").mode, NodeMode::ABSENT);
    EXPECT_GT(nodes.size(), 80U) << "all that the tables name, also what is absent";
    EXPECT_EQ(ParseSnapshot(SnapshotText(snapshot)).error, "");
    EXPECT_EQ(snapshot.takenAt.size(), std::strlen("2026-01-31T12:00:00Z"));
}

TEST_F(FakeMachine, IsCapturedByABoard) {
    Add("/sys/level", "7\n");
    Add("/sys/bind", "", 0200);
    board::ReadBoard read = board::ParseBoard(
        "<board version='1'><qos name='CPU_L' type='plain'><row min='0' max='9'>"
        "<node>/sys/level</node></row></qos></board>");
    ASSERT_TRUE(read.errors.empty());
    read.board.probe.nodePath = "/sys/bind";
    const DeviceSnapshot snapshot = CaptureDevice(read.board, mRoot);
    EXPECT_EQ(snapshot.nodes.at("/sys/level").bytes, "7\n");
    EXPECT_EQ(snapshot.nodes.at("/sys/bind").mode, NodeMode::WRITE_ONLY);
    EXPECT_FALSE(snapshot.nodes.contains(kGpu + "/min_freq"));
}

TEST_F(FakeMachine, IsLeftAsItIs) {
    Add(kPolicy + "/scaling_min_freq", "1239000\n", 0666);
    Add(kPolicy + "/scaling_max_freq", "2487000\n", 0666);
    Add(kPolicy + "/scaling_available_frequencies", "1239000 2487000 \n");
    const auto before = fs::last_write_time(mRoot + kPolicy + "/scaling_min_freq");
    NodeIo& former = GetNodeIo();
    CaptureDevice(std::nullopt, mRoot);
    EXPECT_EQ(fs::last_write_time(mRoot + kPolicy + "/scaling_min_freq"), before);
    EXPECT_EQ(&GetNodeIo(), &former);
}

TEST_F(FakeMachine, ASnapshotThatCannotBeLoadedIsTold) {
    std::ostringstream diagnostics;
    EXPECT_FALSE(LoadSnapshot(mRoot + "/none", diagnostics));
    EXPECT_EQ(diagnostics.str(),
              "corebeacon: cannot read " + mRoot + "/none: No such file or directory\n");
    Add("/snap", "{\n \"schema_version\": 1,\n x");
    diagnostics.str("");
    EXPECT_FALSE(LoadSnapshot(mRoot + "/snap", diagnostics));
    EXPECT_EQ(diagnostics.str(), mRoot + "/snap:3:2: is no JSON from here on\n");
    Add("/snap", SnapshotText(Example()));
    EXPECT_TRUE(LoadSnapshot(mRoot + "/snap", diagnostics));
}

}  // namespace
}  // namespace corebeacon::tool::test
