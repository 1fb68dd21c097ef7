// Any bytes as a row of levels and texts: what validation lets through is written byte for byte, or
// taken apart into the numbers of an ioctl, which are compared with a plain reading of the text.
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "corebeacon/node_io.h"
#include "corebeacon/qos_config.h"
#include "fuzz/byte_source.h"
#include "fuzz/demand.h"
#include "resources/ioctl_level_map_group.h"
#include "resources/level_map_group.h"
#include "support/scoped_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

constexpr unsigned long kSetPriority = 0x4010781E;
constexpr unsigned long kResetPriority = 0x4010781F;

constexpr std::array<std::string_view, 3> kPaths = {"/a", "/b", "/c"};

using Numbers = std::vector<unsigned int>;

/// The digits between two colons; nothing for what is no number below 4294967295.
std::optional<unsigned int> NumberOf(const std::string& piece) {
    std::uint64_t number = 0;
    for (const char digit : piece) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(digit - '0');
        if (number >= std::numeric_limits<std::uint32_t>::max()) {
            return std::nullopt;
        }
    }
    return piece.empty() ? std::nullopt : std::optional(static_cast<unsigned int>(number));
}

Numbers NumbersOf(const std::string& text) {
    Numbers numbers;
    std::string piece;
    for (const char letter : text + ":") {
        if (letter != ':') {
            piece += letter;
            continue;
        }
        const std::optional<unsigned int> number = NumberOf(piece);
        if (!number) {
            break;
        }
        numbers.push_back(*number);
        piece.clear();
    }
    return numbers;
}

/// Mostly a row that validation accepts; the texts are cut out of what is left of the bytes.
PerfGroupConfig MakeRow(ByteSource& source) {
    const unsigned int pathCount = source.Below(kPaths.size() + 1);
    const unsigned int levelCount = source.Below(5);
    Level2ValueMap levels;
    int level = source.Byte() - 128;
    const int baseLevel = level + 10 * static_cast<int>(source.Below(6)) - 10;
    for (unsigned int i = 0; i < levelCount; ++i, level += 10) {
        const std::size_t textCount = source.Below(16) == 15 ? source.Below(5) : pathCount;
        std::vector<std::string>& texts = levels[level];
        while (texts.size() < textCount) {
            texts.push_back(source.Text(24));
        }
    }
    PerfGroupConfig row(source.Below(16) == 0 ? "REMAINDER" : "G", baseLevel,
                        {kPaths.begin(), kPaths.begin() + pathCount}, levels, CHIP_TYPE_COMMON);
    row.rangeFlag = source.Flag();
    return row;
}

/// A level beside and between those of the row, and the ends of the type.
std::vector<int> LevelsToAskFor(const PerfGroupConfig& row) {
    std::vector<int> levels = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
    for (const auto& [level, texts] : row.level2ValueMap) {
        levels.insert(levels.end(), {level - 1, level, level + 1});
    }
    return levels;
}

std::vector<std::string> TextsOf(const PerfGroupConfig& row, int level) {
    const auto found = row.level2ValueMap.find(level);
    return found == row.level2ValueMap.end() ? std::vector<std::string>() : found->second;
}

/// The nodes of a row, which take everything and keep note of it. Put in force and owned by one
/// check.
class Nodes : public NodeIo {
public:
    struct Request {
        std::size_t node = 0;
        unsigned long number = 0;
        std::array<std::uint32_t, 4> fields{};
    };

    bool AreClosed() const { return mOpen.none(); }

    std::vector<std::string> written;
    std::vector<Request> requests;

    int Open(const char* path, int) override {
        const auto* const node = std::ranges::find(kPaths, std::string_view(path));
        Demand(node != kPaths.end(), "only nodes of the row are opened");
        const auto at = static_cast<std::size_t>(node - kPaths.begin());
        Demand(!mOpen[at], "a node is opened once");
        mOpen.set(at);
        return kFirstFd + static_cast<int>(at);
    }

    ssize_t Write(int fd, const void* data, std::size_t size) override {
        At(fd);
        written.emplace_back(static_cast<const char*>(data), size);
        return static_cast<ssize_t>(size);
    }

    int Ioctl(int fd, unsigned long number, void* argument) override {
        Request& request = requests.emplace_back(Request{At(fd), number, {}});
        Demand(_IOC_SIZE(number) == sizeof(request.fields), "a record of four numbers");
        std::memcpy(request.fields.data(), argument, sizeof(request.fields));
        return 0;
    }

    int Close(int fd) override {
        mOpen.reset(At(fd));
        return 0;
    }

    ssize_t Read(int, void*, std::size_t) override { Denounce("writers only write"); }

private:
    static constexpr int kFirstFd = 100;

    std::size_t At(int fd) const {
        const auto at = static_cast<std::size_t>(fd - kFirstFd);
        Demand(at < mOpen.size() && mOpen[at], "only an open node is used");
        return at;
    }

    std::bitset<kPaths.size()> mOpen;
};

void CheckTextsWritten(const PerfGroupConfig& row) {
    Nodes nodes;
    const test::ScopedNodeIo inForce(nodes);
    {
        LevelMapGroup group(row, PERF_WORK_MODE_0);
        for (int level : LevelsToAskFor(row)) {
            const bool isValid = group.OperationValueValidate(level) == 0;
            const bool isKnown = row.level2ValueMap.contains(level);
            Demand(!isValid || isKnown, "only levels of the row are let through");
            nodes.written.clear();
            Demand(group.DoConfig(level, level) == (isKnown ? 0 : -1), "unknown levels are told");
            Demand(nodes.written == TextsOf(row, level), "the texts of the level, one per node");
        }
        std::vector<SpecifiedGroupDumpInfo> info;
        group.DumpBaseValueAfterMapping(info);
        Demand(info.size() == TextsOf(row, row.baseMin).size(), "each text of the base is told");
    }
    Demand(nodes.AreClosed(), "every node is closed again");
}

void CheckRequest(const Nodes::Request& request, bool isReset, const Numbers& numbers) {
    Demand(request.number == (isReset ? kResetPriority : kSetPriority),
           "only the base level resets");
    Demand(request.fields[0] == numbers[0] && request.fields[2] == (isReset ? 0 : numbers[1]),
           "the numbers of the text");
    Demand(request.fields[1] == 0 && request.fields[3] == 0, "nothing between the numbers");
}

void CheckIoctls(const PerfGroupConfig& row) {
    Nodes nodes;
    const test::ScopedNodeIo inForce(nodes);
    {
        IoctlLevelMapGroup group(row, PERF_WORK_MODE_0);
        for (const auto& [level, texts] : row.level2ValueMap) {
            nodes.requests.clear();
            Demand(group.DoConfig(level, level) == 0, "known levels are carried out");
            std::size_t requests = 0;
            for (std::size_t i = 0; i < texts.size(); ++i) {
                const Numbers expected = NumbersOf(texts[i]);
                Numbers numbers;
                group.StrToIntVec(texts[i], numbers);
                Demand(numbers == expected, "the numbers between the colons");
                if (expected.size() < 2) {
                    continue;
                }
                Demand(requests < nodes.requests.size() && nodes.requests[requests].node == i,
                       "one request for each text of two numbers");
                CheckRequest(nodes.requests[requests++], level == row.baseMin, expected);
            }
            Demand(requests == nodes.requests.size(), "no request for other texts");
        }
    }
    Demand(nodes.AreClosed(), "every device is closed again");
}

/// A cluster that the machine lacks takes its nodes and their texts along.
void CheckColumnsErased(const PerfGroupConfig& row, std::vector<std::string> clusters) {
    PerfQosConfig qos("Q", {row});
    const bool isGone = qos.IsQosConfigValidByInvalidCluster(PERF_QOS_CPU_L, clusters);
    Demand(isGone == qos.groups.empty(), "a QoS without rows is told");
    for (const PerfGroupConfig& left : qos.groups) {
        Demand(!left.sysNodePaths.empty(), "a row without nodes is erased");
        Demand(left.sysNodePaths.size() == row.sysNodePaths.size() ||
                   LevelMapGroup::GroupParametersValidate(left),
               "a row that was valid stays valid");
    }
}

}  // namespace

void FuzzLevelText(Bytes bytes) {
    const test::SilentLog silence;
    ByteSource source(bytes);
    const std::vector<std::string> clusters = {source.AnyOf(std::vector<std::string>{"", "/a"}),
                                               source.AnyOf(std::vector<std::string>{"x", "b"})};
    const PerfGroupConfig row = MakeRow(source);
    if (!LevelMapGroup::GroupParametersValidate(row)) {
        return;
    }
    Demand(row.level2ValueMap.begin()->second.size() == row.sysNodePaths.size(),
           "a text for each node");
    CheckTextsWritten(row);
    CheckIoctls(row);
    CheckColumnsErased(row, clusters);
}

}  // namespace corebeacon::fuzz
