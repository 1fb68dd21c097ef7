// The <qos> elements.
#include <algorithm>
#include <utility>

#include "board/reading.h"
#include "corebeacon/builtin_config.h"
#include "near_match.h"

namespace corebeacon::board {

namespace {

const std::vector<std::string_view> kTypes = {kTypePlain, kTypeFreq, kTypeEas, kTypeMemLat};

int NumberOr(Element& element, const char* attribute, std::int64_t otherwise) {
    return static_cast<int>(element.Number(attribute).value_or(otherwise));
}

/// What a description says, it says for both tables.
template <typename T>
void SetBoth(ByOrigin<T>& parameter, std::optional<T> value) {
    if (value) {
        parameter = {*value, *value};
    }
}

/// A <level> of texts; false when it stands for none.
bool ReadTextLevel(Element level, Level2ValueMap& levels) {
    const auto value = level.Number("value", true);
    std::vector<std::string> texts;
    for (Element text : level.Finish({"text"})) {
        texts.push_back(text.FinishAsText());
    }
    if (!value) {
        return false;
    }
    if (!levels.emplace(static_cast<int>(*value), std::move(texts)).second) {
        level.Complain("value", "level " + std::to_string(*value) + " is there twice");
        return false;
    }
    return true;
}

void ReadEasLevel(Element level, EasParameters& eas) {
    const auto value = level.Number("value", true);
    const auto boost = level.Number("boost", true);
    const auto globalBoost = level.Number("global-boost", false, 0, 1);
    level.Finish({});
    if (value && boost &&
        !eas.levelToValueMap
             .emplace(static_cast<int>(*value),
                      EasValue{static_cast<int>(*boost),
                               static_cast<std::uint32_t>(globalBoost.value_or(0))})
             .second) {
        level.Complain("value", "level " + std::to_string(*value) + " is there twice");
    }
}

void ReadSwitch(Element element, EasParameters& eas) {
    EasGlobalBoost globalBoost;
    globalBoost.nodePath = element.Text("node", true).value_or("");
    for (Element level : element.Finish({"level"})) {
        const auto value = level.Number("value", true);
        const auto state = level.Number("state", true, 0, 1);
        level.Finish({});
        if (value && state &&
            !globalBoost.levelToGlobalBoost
                 .emplace(static_cast<int>(*value), static_cast<std::uint32_t>(*state))
                 .second) {
            level.Complain("value", "level " + std::to_string(*value) + " is there twice");
        }
    }
    eas.globalBoost = {globalBoost, globalBoost};
}

void ReadEas(Element element, EasParameters& eas) {
    eas.minBoost = NumberOr(element, "min-boost", 0);
    eas.maxBoost = NumberOr(element, "max-boost", 0);
    for (const Element& child : element.Finish({"level", "switch"})) {
        if (child.Name() == "level") {
            ReadEasLevel(child, eas);
        } else {
            ReadSwitch(child, eas);
        }
    }
}

/// The nodes and levels of a row, which end its element.
void ReadRowParts(Element& element, PerfGroupConfig& row, RowPlaces& places) {
    for (Element child : element.Finish({"node", "level"})) {
        if (child.Name() == "node") {
            places.nodes.push_back(child.Where());
            row.sysNodePaths.push_back(child.FinishAsText());
            if (row.sysNodePaths.back().empty()) {
                child.Complain("<node> holds the path of a node");
            }
        } else if (ReadTextLevel(child, row.level2ValueMap)) {
            // The one that is new has no place yet.
            for (const auto& [level, texts] : row.level2ValueMap) {
                places.levels.try_emplace(level, child.Where());
            }
        }
    }
    if (row.sysNodePaths.empty()) {
        element.Complain("<row> needs a <node>");
    }
}

/// Levels tell their own range, and an "eas" row gets its levels later.
void CheckRange(Element& element, PerfGroupConfig& row, const PerfQosXmlLoadConfig& config) {
    const bool hasLevels = !row.level2ValueMap.empty() || config.type == kTypeEas;
    for (const char* const attribute : {"min", "max", "base-max"}) {
        if (hasLevels && element.Has(attribute)) {
            element.Complain(attribute, std::string("a row of levels takes its range from them, "
                                                    "not from '") +
                                            attribute + "'");
        }
    }
    const bool needsMax = !config.overwriteMaxFreq;
    for (const char* const attribute : {"min", "max"}) {
        if (!hasLevels && !element.Has(attribute) && (attribute[1] == 'i' || needsMax)) {
            element.Complain(std::string("<row> needs the attribute '") + attribute +
                             "', or levels");
        }
    }
    if (hasLevels && !element.Has("base-min")) {
        element.Complain("<row> needs the attribute 'base-min', the level in force by default");
    }
    row.SetRangeFromLevels();
}

void ReadRow(Element element, PerfQosXmlLoadConfig& config, QosPlaces& places) {
    const auto group = element.Number("group", false, 0);
    const auto chip = element.Number("chip", false, 0);
    const int min = NumberOr(element, "min", 0);
    const int max = NumberOr(element, "max", 0);
    PerfGroupConfig row(element.Text("name").value_or(config.name),
                        element.Flag("clamp").value_or(false), min, max,
                        NumberOr(element, "base-min", min), NumberOr(element, "base-max", max), {},
                        static_cast<ChipTypeAvailableValue>(chip.value_or(0)));
    row.groupId = static_cast<unsigned>(group.value_or(0));
    RowPlaces rowPlaces{element.Where(), {}, {}};
    ReadRowParts(element, row, rowPlaces);
    CheckRange(element, row, config);
    config.groups.push_back(std::move(row));
    places.rows.push_back(std::move(rowPlaces));
}

/// The attributes that only some kinds use.
void ReadParameters(Element& element, PerfQosXmlLoadConfig& config) {
    config.availableFreqsPath = element.Text("frequencies").value_or("");
    config.overwriteMaxFreq = element.Flag("overwrite-max").value_or(false);
    config.property = element.Text("property").value_or("");
    SetBoth(config.gpuTopFreqPath, element.Text("top-frequency-node"));
    SetBoth(config.bandwidthCoefficient, element.Real("bandwidth-coefficient"));
    IpaThresholds thresholds = config.thresholds.loaded;
    thresholds.socSwitch = NumberOr(element, "soc-switch", thresholds.socSwitch);
    thresholds.boardSwitch = NumberOr(element, "board-switch", thresholds.boardSwitch);
    config.thresholds = {thresholds, thresholds};
    if (config.type == kTypeFreq && config.availableFreqsPath.empty()) {
        element.Complain("a <qos> of the type 'freq' needs the attribute 'frequencies'");
    }
}

/// The id, told or found by the name.
std::optional<PerfQosId> ReadId(Element& element, std::string& name, const Board& board) {
    const auto id = element.Number("id", false, 0, PERF_QOS_INVALID - 1);
    const bool hasId = element.Has("id");
    name = element.Text("name").value_or("");
    if (id && name.empty()) {
        const char* const known = PerfQosName(static_cast<PerfQosId>(*id));
        name = known != nullptr ? known : "QOS_" + std::to_string(*id);
    }
    if (id || hasId) {
        return id ? std::optional(static_cast<PerfQosId>(*id)) : std::nullopt;
    }
    const auto known = QosByName(Board(), name);
    if (name.empty()) {
        element.Complain("<qos> needs the attribute 'id', or a 'name' that the engine knows");
    } else if (!known) {
        element.Complain("name", Quoted(name) +
                                     " needs an 'id': no QoS of the engine has that name" +
                                     tool::DidYouMean(name, QosNames(board)));
    }
    return known;
}

}  // namespace

void ReadQos(Element element, ReadBoard& read) {
    std::string name;
    const std::optional<PerfQosId> id = ReadId(element, name, read.board);
    const std::string type = element.Text("type").value_or(kTypePlain);
    if (std::ranges::find(kTypes, type) == kTypes.end()) {
        element.Complain("type", "unknown type " + Quoted(type) + tool::DidYouMean(type, kTypes));
    }
    PerfQosXmlLoadConfig config(name, type, {});
    QosPlaces places{element.Where(), {}};
    ReadParameters(element, config);
    for (const Element& child : element.Finish({"row", "eas", "memory-level"})) {
        if (child.Name() == "row") {
            ReadRow(child, config, places);
        } else if (child.Name() == "eas") {
            ReadEas(child, config);
        } else {
            ReadTextLevel(child, config.levelTable);
        }
    }
    if (config.groups.empty()) {
        element.Complain("<qos> needs a <row>");
    }
    if (id && !read.board.qos.emplace(*id, std::move(config)).second) {
        element.Complain("id", "QoS " + std::to_string(*id) + " is described twice");
    } else if (id) {
        read.places.qos.emplace(*id, std::move(places));
    }
}

}  // namespace corebeacon::board
