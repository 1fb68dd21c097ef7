#include "board/board_writer.h"

#include <array>
#include <charconv>
#include <sstream>

#include <pugixml.hpp>

#include "board/reading.h"
#include "corebeacon/builtin_config.h"

namespace corebeacon::board {

namespace {

using pugi::xml_node;

void Set(xml_node node, const char* attribute, const std::string& text) {
    node.append_attribute(attribute).set_value(text.c_str());
}

void Set(xml_node node, const char* attribute, long long number) {
    node.append_attribute(attribute).set_value(number);
}

void SetFlag(xml_node node, const char* attribute, bool flag) {
    node.append_attribute(attribute).set_value(flag);
}

void SetUnlessEmpty(xml_node node, const char* attribute, const std::string& text) {
    if (!text.empty()) {
        Set(node, attribute, text);
    }
}

void SetUnless(long long usual, xml_node node, const char* attribute, long long number) {
    if (number != usual) {
        Set(node, attribute, number);
    }
}

/// The shortest text that reads back as the same number.
std::string RealText(float number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

void AppendText(xml_node parent, const char* name, const std::string& text) {
    parent.append_child(name).text().set(text.c_str());
}

void AppendLevels(xml_node parent, const char* name, const Level2ValueMap& levels) {
    for (const auto& [value, texts] : levels) {
        xml_node level = parent.append_child(name);
        Set(level, "value", value);
        for (const std::string& text : texts) {
            AppendText(level, "text", text);
        }
    }
}

void AppendRange(xml_node node, const PerfGroupConfig& row, const PerfQosXmlLoadConfig& config) {
    if (!row.level2ValueMap.empty() || config.type == kTypeEas) {
        Set(node, "base-min", row.baseMin);
        return;
    }
    Set(node, "min", row.availableMin);
    if (row.availableMax != 0 || !config.overwriteMaxFreq) {
        Set(node, "max", row.availableMax);
    }
    SetUnless(row.availableMin, node, "base-min", row.baseMin);
    SetUnless(row.availableMax, node, "base-max", row.baseMax);
}

void AppendRow(xml_node parent, const PerfGroupConfig& row, const PerfQosXmlLoadConfig& config) {
    xml_node node = parent.append_child("row");
    if (row.name != config.name) {
        Set(node, "name", row.name);
    }
    SetUnless(0, node, "group", row.groupId);
    SetUnless(CHIP_TYPE_COMMON, node, "chip", row.chipType);
    if (row.rangeFlag) {
        SetFlag(node, "clamp", true);
    }
    AppendRange(node, row, config);
    for (const std::string& path : row.sysNodePaths) {
        AppendText(node, "node", path);
    }
    // An engine that was set up from the board has given these rows the levels of <eas>.
    if (config.type != kTypeEas) {
        AppendLevels(node, "level", row.level2ValueMap);
    }
}

void AppendEas(xml_node parent, const EasParameters& eas) {
    xml_node node = parent.append_child("eas");
    Set(node, "min-boost", eas.minBoost);
    Set(node, "max-boost", eas.maxBoost);
    for (const auto& [value, what] : eas.levelToValueMap) {
        xml_node level = node.append_child("level");
        Set(level, "value", value);
        Set(level, "boost", what.boost);
        Set(level, "global-boost", what.globalBoost);
    }
    const EasGlobalBoost& globalBoost = eas.globalBoost.loaded;
    if (globalBoost.nodePath.empty() && globalBoost.levelToGlobalBoost.empty()) {
        return;
    }
    xml_node toggle = node.append_child("switch");
    Set(toggle, "node", globalBoost.nodePath);
    for (const auto& [value, state] : globalBoost.levelToGlobalBoost) {
        xml_node level = toggle.append_child("level");
        Set(level, "value", value);
        Set(level, "state", state);
    }
}

void AppendQos(xml_node parent, PerfQosId qosId, const PerfQosXmlLoadConfig& config) {
    xml_node node = parent.append_child("qos");
    Set(node, "id", qosId);
    Set(node, "name", config.name);
    if (config.type != kTypePlain) {
        Set(node, "type", config.type);
    }
    SetUnlessEmpty(node, "frequencies", config.availableFreqsPath);
    if (config.overwriteMaxFreq) {
        SetFlag(node, "overwrite-max", true);
    }
    SetUnlessEmpty(node, "property", config.property);
    SetUnlessEmpty(node, "top-frequency-node", config.gpuTopFreqPath.loaded);
    const float coefficient = config.bandwidthCoefficient.loaded;
    if (qosId == PERF_QOS_DDR || coefficient != DdrParameters().bandwidthCoefficient.loaded) {
        Set(node, "bandwidth-coefficient", RealText(coefficient));
    }
    const IpaThresholds usual;
    SetUnless(usual.socSwitch, node, "soc-switch", config.thresholds.loaded.socSwitch);
    SetUnless(usual.boardSwitch, node, "board-switch", config.thresholds.loaded.boardSwitch);
    for (const PerfGroupConfig& row : config.groups) {
        AppendRow(node, row, config);
    }
    if (config.type == kTypeEas) {
        AppendEas(node, config);
    }
    AppendLevels(node, "memory-level", config.levelTable);
}

/// Its name, as long as it stands for no other QoS, and is not read as an id.
std::string QosText(const Board& board, PerfQosId qosId) {
    const auto found = board.qos.find(qosId);
    const char* const known = PerfQosName(qosId);
    std::string name;
    if (found != board.qos.end()) {
        name = found->second.name;
    } else if (known != nullptr) {
        name = known;
    }
    return QosByReference(board, name) == qosId ? name : std::to_string(qosId);
}

/// `qos` is empty where the element around tells it.
void AppendSets(xml_node parent, const std::string& qos, const std::vector<GroupInfo>& groups) {
    for (const GroupInfo& group : groups) {
        xml_node node = parent.append_child("set");
        SetUnlessEmpty(node, "qos", qos);
        SetUnless(0, node, "group", group.groupId);
        for (const auto& [operation, value] : group.values) {
            Set(node, operation == PERF_OPERATION_BOOST ? "boost" : "limit", value);
        }
    }
}

void AppendEvent(xml_node parent, const ConfigurableEvent& event, const Board& board) {
    xml_node node = parent.append_child("event");
    Set(node, "id", event.eventId);
    for (const QosCommand& command : event.qosCommands) {
        xml_node sequence = node.append_child("sequence");
        Set(sequence, "qos", QosText(board, command.qosId));
        for (const SequenceCommand& part : command.sequence) {
            xml_node step = sequence.append_child("step");
            Set(step, "ms", part.duration);
            AppendSets(step, "", part.groups);
        }
    }
}

void AppendMachine(xml_node parent, const Machine& machine) {
    if (!machine.chip && !machine.cpuBoost && !machine.boardIpa && machine.absent.empty()) {
        return;
    }
    xml_node node = parent.append_child("machine");
    if (machine.chip) {
        Set(node, "chip", *machine.chip);
    }
    if (machine.cpuBoost) {
        SetFlag(node, "cpu-boost", *machine.cpuBoost);
    }
    if (machine.boardIpa) {
        SetFlag(node, "board-ipa", *machine.boardIpa);
    }
    for (const std::string& text : machine.absent) {
        AppendText(node, "absent", text);
    }
}

void AppendProbe(xml_node parent, const ProbeEvent& probe) {
    if (probe.nodePath.empty()) {
        return;
    }
    xml_node node = parent.append_child("probe");
    Set(node, "node", probe.nodePath);
    Set(node, "bind", probe.bindText);
    Set(node, "unbind", probe.unbindText);
    SetUnless(0, node, "delay-ms", probe.startDelayMs);
    SetUnless(0, node, "span-ms", probe.spanMs);
    SetUnless(0, node, "cpu-m", probe.cpuM);
    SetUnless(0, node, "cpu-b", probe.cpuB);
    SetUnless(0, node, "gpu", probe.gpu);
}

/// Between tags, the library writes a carriage return as it is, where every reader takes it for the
/// end of a line.
std::string WithEscapedReturns(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\r') {
            escaped += "&#13;";
        } else {
            escaped += letter;
        }
    }
    return escaped;
}

}  // namespace

std::string BoardText(const Board& board) {
    pugi::xml_document document;
    xml_node declaration = document.append_child(pugi::node_declaration);
    Set(declaration, "version", "1.0");
    Set(declaration, "encoding", "UTF-8");
    xml_node root = document.append_child("board");
    Set(root, "version", 1);
    SetUnlessEmpty(root, "name", board.name);
    AppendMachine(root, board.machine);
    for (const auto& [qosId, config] : board.qos) {
        AppendQos(root, qosId, config);
    }
    for (const ConfigurableScenario& scenario : board.scenarios) {
        xml_node node = root.append_child("scenario");
        Set(node, "id", scenario.scenarioId);
        for (const PerfRequestInfo& request : scenario.requests) {
            AppendSets(node, QosText(board, request.qosId), request.groups);
        }
    }
    for (const ConfigurableEvent& event : board.events) {
        AppendEvent(root, event, board);
    }
    AppendProbe(root, board.probe);
    std::ostringstream text;
    document.save(text, "  ");
    return WithEscapedReturns(text.str());
}

}  // namespace corebeacon::board
