#include "verify/verdict.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <sstream>

#include "corebeacon/qos_config.h"

namespace corebeacon::tool {

namespace {

struct Row {
    const char* name;
    bool isMismatch;
};

/// In the order of Verdict.
constexpr Row kRows[] = {
    {"exact", false},   {"rounded", false}, {"limited", true},     {"overwritten", true},
    {"rejected", true}, {"absent", true},   {"write-only", false}, {"unreadable", true},
};

const Row& RowOf(Verdict verdict) {
    return kRows[static_cast<std::size_t>(verdict)];
}

/// In decimal or with 0x before it: some nodes take a text in hexadecimal and show a number.
std::optional<std::int64_t> Number(const std::string& text) {
    const bool isHex = text.starts_with("0x");
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string Folder(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

/// The first list that can be read: the one that the table names, or the node's neighbour.
std::vector<std::int64_t> StepsOf(const std::string& listPath, const std::string& node,
                                  TimedReader& reader) {
    for (const std::string& path : {listPath, Folder(node) + "scaling_available_frequencies",
                                    Folder(node) + "available_frequencies"}) {
        if (path.empty()) {
            continue;
        }
        std::istringstream text(reader.Read(path).text);
        std::vector<std::int64_t> steps;
        for (std::int64_t step = 0; text >> step;) {
            steps.push_back(step);
        }
        if (!steps.empty()) {
            std::ranges::sort(steps);
            return steps;
        }
    }
    return {};
}

/// Whether a table turns `written` into `held`.
bool IsRounding(std::int64_t written, std::int64_t held, const std::vector<std::int64_t>& steps) {
    if (steps.empty()) {
        return false;
    }
    const auto above = std::ranges::lower_bound(steps, written);
    if (above != steps.end() && *above == written) {
        return false;
    }
    return (above != steps.end() && *above == held) ||
           (above != steps.begin() && *std::prev(above) == held);
}

bool IsStricter(std::int64_t written, std::int64_t held, const NodeFacts& facts,
                const std::optional<std::string>& ceiling) {
    switch (facts.side) {
        case NodeFacts::CEILING:
            return held < written;
        case NodeFacts::FLOOR:
            // A floor gives way to a ceiling below it.
            return held > written || (ceiling && Number(*ceiling) == held);
        default:
            return false;
    }
}

/// A node with choices shows all, the one in force in brackets.
bool IsChosen(const std::string& written, const std::string& held) {
    return held.find("[" + written + "]") != std::string::npos;
}

bool IsMissing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ENODEV || error == ENXIO;
}

}  // namespace

const char* NameOf(Verdict verdict) {
    return RowOf(verdict).name;
}

bool IsMismatch(Verdict verdict) {
    return RowOf(verdict).isMismatch;
}

std::map<std::string, NodeFacts> FactsOf(const PerfQosConfigMap& table, TimedReader& reader) {
    std::map<std::string, NodeFacts> facts;
    for (const auto& [qosId, config] : table) {
        const auto* const freq = dynamic_cast<const FreqParameters*>(&config.get());
        for (const PerfGroupConfig& row : config.get().groups) {
            if (row.sysNodePaths.size() != 2 || !row.level2ValueMap.empty()) {
                continue;
            }
            const std::string& floor = row.sysNodePaths[0];
            const std::string& ceiling = row.sysNodePaths[1];
            const std::vector<std::int64_t> steps =
                StepsOf(freq != nullptr ? freq->availableFreqsPath : std::string(), floor, reader);
            facts[floor] = {NodeFacts::FLOOR, ceiling, steps};
            facts[ceiling] = {NodeFacts::CEILING, "", steps};
        }
    }
    return facts;
}

Verdict JudgeFailure(const NodeWrite& write) {
    return write.isOpening && IsMissing(write.error) ? Verdict::ABSENT : Verdict::REJECTED;
}

Verdict Judge(const std::string& written, const NodeReading& held, const NodeFacts& facts,
              const std::optional<std::string>& ceiling) {
    if (held.status != NodeReading::READ) {
        const bool isForbidden = held.error == EACCES || held.error == EPERM;
        if (held.status == NodeReading::NOT_OPENED && isForbidden) {
            return Verdict::WRITE_ONLY;
        }
        return held.status != NodeReading::NO_ANSWER && IsMissing(held.error) ? Verdict::ABSENT
                                                                              : Verdict::UNREADABLE;
    }
    const std::optional<std::int64_t> wrote = Number(written);
    const std::optional<std::int64_t> holds = Number(held.text);
    if (held.text == written || (wrote && wrote == holds) || IsChosen(written, held.text)) {
        return Verdict::EXACT;
    }
    if (wrote && holds) {
        if (IsRounding(*wrote, *holds, facts.steps)) {
            return Verdict::ROUNDED;
        }
        if (IsStricter(*wrote, *holds, facts, ceiling)) {
            return Verdict::LIMITED;
        }
    }
    return Verdict::OVERWRITTEN;
}

}  // namespace corebeacon::tool
