// Any bytes as what a node holds, handed out in pieces and with failures in between. The list of
// frequencies is compared with one that is read character by character.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "config/freq_list.h"
#include "config/qos_amendments.h"
#include "corebeacon/qos_config.h"
#include "fuzz/byte_source.h"
#include "fuzz/demand.h"
#include "platform/node_reader.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

const std::string kListPath = "/node/available_frequencies";
const std::string kBoardPath = "/proc/device-tree/vexa,boardname";

/// How the node behaves, besides what it holds.
struct Behaviour {
    std::size_t pieceSize = 1;
    bool opens = true;
    int interruptions = 0;
    int failingRead = 0;  ///< counted from 1; 0: none
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

void SetUp(test::ScriptedNodeIo& nodes, const Behaviour& behaviour) {
    if (!behaviour.opens) {
        nodes.FailNextOpen(ENOENT);
        return;
    }
    for (int i = 0; i < behaviour.interruptions; ++i) {
        nodes.FailNextOpen(EINTR);
        nodes.FailNextRead(EINTR);
    }
    for (int i = 1; i < behaviour.failingRead; ++i) {
        nodes.PassNextRead();
    }
    if (behaviour.failingRead > 0) {
        nodes.FailNextRead(EBUSY);
    }
}

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
    test::ScriptedNodeIo nodes;
    const test::ScopedNodeIo inForce(nodes);
    nodes.SetContent(kListPath, text, behaviour.pieceSize);
    SetUp(nodes, behaviour);
    std::string out = "untouched";
    const NodeStatus status = ReadNode(kListPath, out);
    Demand(nodes.OpenCount() == 0, "the node is closed again");
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
    test::ScriptedNodeIo nodes;
    const test::ScopedNodeIo inForce(nodes);
    nodes.SetContent(kListPath, text, behaviour.pieceSize);
    SetUp(nodes, behaviour);
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
    test::ScriptedNodeIo nodes;
    const test::ScopedNodeIo inForce(nodes);
    nodes.SetContent(kListPath, text);
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
    test::ScriptedNodeIo nodes;
    const test::ScopedNodeIo inForce(nodes);
    QosAmendments amendments;
    amendments.bigClusterFreqsPath = kListPath;
    amendments.maxFreqToVariant = {{maxKhz, 1}, {1, 2}};
    amendments.qosVariantLevelMaps = {{PERF_QOS_CPU_L, {{1, {{7, {"seven"}}}}}}};
    amendments.boardBaseValues = {{PERF_QOS_CPU_L, 4711}, {PERF_QOS_CPU_M, 1}};
    PerfQosConfig qos("Q", {PerfGroupConfig("Q", true, 0, 9, 0, 9, {"/n"}, CHIP_TYPE_COMMON)});
    PerfQosConfigMap table;
    table.emplace(PERF_QOS_CPU_L, qos);
    nodes.SetContent(kListPath, text);
    nodes.SetContent(kBoardPath, text, behaviour.pieceSize);
    AmendQosTable(amendments, table);
    Demand(nodes.OpenCount() == 0, "both nodes are closed again");
    const std::size_t blank = text.find_last_not_of(" \t\n\v\f\r");
    const std::string head = text.substr(0, blank == std::string::npos ? 0 : blank + 1);
    const std::string lastWord = head.substr(head.find_last_of(" \t\n\v\f\r") + 1);
    const bool isDevelopment = lastWord.find("udp") != std::string::npos;
    Demand(qos.groups.front().baseMin == (isDevelopment ? 0 : 4711),
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
