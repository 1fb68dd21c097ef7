// Any bytes as what a node holds, handed out in pieces and with failures in between. The list of
// frequencies is compared with one that is read character by character.
#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "config/freq_list.h"
#include "config/qos_amendments.h"
#include "corebeacon/node_io.h"
#include "corebeacon/qos_config.h"
#include "fuzz/byte_source.h"
#include "fuzz/demand.h"
#include "platform/node_reader.h"
#include "support/scoped_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

const std::string kListPath = "/node/available_frequencies";
const std::string kBoardPath = "/proc/device-tree/vexa,boardname";

/// How a node behaves, besides what it holds.
struct Behaviour {
    std::size_t pieceSize = 4096;
    bool opens = true;
    int interruptions = 0;  ///< of the first open and of the first read
    int failingRead = 0;    ///< counted from 1; 0: none
};

Behaviour MakeBehaviour(ByteSource& source) {
    Behaviour behaviour;
    behaviour.pieceSize = 1 + source.Below(64);
    const std::uint8_t faults = source.Byte();
    behaviour.opens = faults != 255;
    behaviour.interruptions = faults % 4;
    behaviour.failingRead = faults / 4 % 8;
    return behaviour;
}

/// The nodes that the readers look for and no others. It allocates nothing, since a run reads some
/// hundred pieces. Put in force and owned by one check.
class Nodes : public NodeIo {
public:
    explicit Nodes(std::string_view list, const Behaviour& behaviour = {})
        : mNodes{{{kListPath, list, behaviour}, {}}} {}
    Nodes(std::string_view list, std::string_view board, const Behaviour& ofBoard)
        : mNodes{{{kListPath, list, {}}, {kBoardPath, board, ofBoard}}} {}

    bool AreClosed() const { return !mNodes[0].isOpen && !mNodes[1].isOpen; }

    int Open(const char* path, int) override {
        for (Node& node : mNodes) {
            if (node.path != path || node.isOpen || !node.behaviour.opens) {
                continue;
            }
            if (node.opens++ < node.behaviour.interruptions) {
                return Fail(EINTR);
            }
            node.isOpen = true;
            node.unread = node.text;
            return kFirstFd + static_cast<int>(&node - mNodes.data());
        }
        return Fail(ENOENT);
    }

    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        Node& node = At(fd);
        const int read = ++node.reads - node.behaviour.interruptions;
        if (read <= 0) {
            return Fail(EINTR);
        }
        if (read == node.behaviour.failingRead) {
            return Fail(EBUSY);
        }
        const std::size_t got =
            node.unread.copy(static_cast<char*>(buffer), std::min(size, node.behaviour.pieceSize));
        node.unread.remove_prefix(got);
        return static_cast<ssize_t>(got);
    }

    int Close(int fd) override {
        At(fd).isOpen = false;
        return 0;
    }

    ssize_t Write(int, const void*, std::size_t) override { Denounce("readers only read"); }
    int Ioctl(int, unsigned long, void*) override { Denounce("readers only read"); }

private:
    static constexpr int kFirstFd = 100;

    struct Node {
        std::string_view path;
        std::string_view text;
        Behaviour behaviour;
        std::string_view unread{};
        bool isOpen = false;
        int opens = 0;
        int reads = 0;
    };

    static int Fail(int error) {
        errno = error;
        return -1;
    }

    Node& At(int fd) {
        const auto at = static_cast<std::size_t>(fd - kFirstFd);
        Demand(at < mNodes.size() && mNodes[at].isOpen, "only an open node is used");
        return mNodes[at];
    }

    std::array<Node, 2> mNodes;
};

/// Whether the failing read comes after the node's end, and so never.
bool IsReadToEnd(const Behaviour& behaviour, std::size_t size) {
    const std::size_t reads = (size + behaviour.pieceSize - 1) / behaviour.pieceSize + 1;
    return behaviour.failingRead == 0 || static_cast<std::size_t>(behaviour.failingRead) > reads;
}

std::vector<std::int64_t> NumbersOf(std::string_view text) {
    std::set<std::int64_t> numbers;
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
        const bool hasPlus = text.starts_with('+');
        const std::string_view digits = text.substr(hasPlus ? 1 : 0);
        std::int64_t number = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        if (error != std::errc() || (hasPlus && digits.starts_with('-'))) {
            return {numbers.begin(), numbers.end()};
        }
        numbers.insert(number);
        text = digits.substr(static_cast<std::size_t>(stop - digits.data()));
    }
}

void CheckReader(const Behaviour& behaviour, const std::string& text) {
    Nodes nodes(text, behaviour);
    const test::ScopedNodeIo inForce(nodes);
    std::string out = "untouched";
    const NodeStatus status = ReadNode(kListPath, out);
    Demand(nodes.AreClosed(), "the node is closed again");
    if (!behaviour.opens) {
        Demand(status == NodeStatus::NOT_OPENED && errno == ENOENT, "a missing node is told");
    } else if (IsReadToEnd(behaviour, text.size())) {
        Demand(status == NodeStatus::READ && out == text, "the text comes whole, however cut");
        return;
    } else {
        Demand(status == NodeStatus::NOT_READ && errno == EBUSY, "a failed read is told");
    }
    Demand(out == "untouched", "a failure gives no text");
}

void CheckFreqList(const Behaviour& behaviour, const std::string& text) {
    Nodes nodes(text, behaviour);
    const test::ScopedNodeIo inForce(nodes);
    std::vector<std::int64_t> freqs = {-1};
    const FreqListStatus status = ReadFreqList(kListPath, freqs);
    const bool isRead = behaviour.opens && IsReadToEnd(behaviour, text.size());
    const std::vector<std::int64_t> expected =
        isRead ? NumbersOf(text) : std::vector<std::int64_t>();
    if (expected.empty()) {
        Demand(status == (behaviour.opens ? FreqListStatus::EMPTY : FreqListStatus::NODE_MISSING),
               "a list without numbers is told");
        Demand(freqs == std::vector<std::int64_t>{-1}, "a failure leaves the list alone");
        return;
    }
    Demand(status == FreqListStatus::READ, "a list with numbers is read");
    Demand(freqs == expected, "the numbers, ascending and each once");
}

PerfQosFreqConfig MakeQos(ByteSource& source) {
    const int min = static_cast<int>(source.Word());
    const int max = static_cast<int>(source.Word());
    PerfQosFreqConfig qos(
        "Q", {PerfGroupConfig("Q", true, min, max, min, max, {"/min", "/max"}, CHIP_TYPE_COMMON)},
        {});
    qos.availableFreqsPath = kListPath;
    qos.overwriteMaxFreq = source.Flag();
    return qos;
}

/// The row ends up inside what it was and what the node lists.
void CheckNarrowing(PerfQosFreqConfig qos, const std::string& text) {
    Nodes nodes(text);
    const test::ScopedNodeIo inForce(nodes);
    const PerfGroupConfig before = qos.groups.front();
    const int result = qos.ReviseGroupConfigValue(CHIP_TYPE_COMMON);
    const PerfGroupConfig& after = qos.groups.front();
    Demand(result == (NumbersOf(text).empty() ? -1 : 0), "a list that is read is used");
    Demand(after.availableMin >= before.availableMin && after.baseMin >= before.baseMin,
           "a floor is only raised");
    Demand(qos.overwriteMaxFreq ||
               (after.availableMax <= before.availableMax && after.baseMax <= before.baseMax),
           "a ceiling is only lowered");
}

void CheckBoardName(const Behaviour& behaviour, const std::string& text, int maxKhz) {
    Nodes nodes(text, text, behaviour);
    const test::ScopedNodeIo inForce(nodes);
    QosAmendments amendments;
    amendments.bigClusterFreqsPath = kListPath;
    amendments.maxFreqToVariant = {{maxKhz, 1}, {1, 2}};
    amendments.qosVariantLevelMaps = {{PERF_QOS_CPU_L, {{1, {{7, {"seven"}}}}}}};
    amendments.boardBaseValues = {{PERF_QOS_CPU_L, 4711}, {PERF_QOS_CPU_M, 1}};
    PerfQosConfig qos("Q", {PerfGroupConfig("Q", true, 0, 9, 0, 9, {"/n"}, CHIP_TYPE_COMMON)});
    PerfQosConfigMap table;
    table.emplace(PERF_QOS_CPU_L, qos);
    AmendQosTable(amendments, table);
    Demand(nodes.AreClosed(), "both nodes are closed again");
    const std::size_t blank = text.find_last_not_of(" \t\n\v\f\r");
    const std::string head = text.substr(0, blank == std::string::npos ? 0 : blank + 1);
    const std::string lastWord = head.substr(head.find_last_of(" \t\n\v\f\r") + 1);
    const bool isRead = IsReadToEnd(behaviour, text.size());
    const bool isDevelopment = isRead && lastWord.find("udp") != std::string::npos;
    Demand(qos.groups.front().baseMin == (!behaviour.opens || isDevelopment ? 0 : 4711),
           "the last word decides whether it is a development board");
    const std::vector<std::int64_t> freqs = NumbersOf(text);
    const bool isVariant = !freqs.empty() && freqs.back() == maxKhz;
    Demand(qos.groups.front().level2ValueMap.empty() == !isVariant,
           "the highest frequency decides on the levels");
}

}  // namespace

void FuzzNodeText(Bytes bytes) {
    const test::SilentLog silence;
    ByteSource source(bytes);
    const Behaviour behaviour = MakeBehaviour(source);
    const int maxKhz = static_cast<int>(source.Word());
    const PerfQosFreqConfig qos = MakeQos(source);
    const std::string text = source.Rest();
    CheckReader(behaviour, text);
    CheckFreqList(behaviour, text);
    CheckNarrowing(qos, text);
    CheckBoardName(behaviour, text, maxKhz);
}

}  // namespace corebeacon::fuzz
