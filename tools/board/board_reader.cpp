#include "board/board_reader.h"

#include <algorithm>
#include <utility>

#include "board/reading.h"
#include "corebeacon/builtin_config.h"
#include "near_match.h"
#include "printable.h"

namespace corebeacon::board {

namespace {

constexpr std::int64_t kFormVersion = 1;

// A text of blanks alone is a text, too.
constexpr unsigned kParseFlags = pugi::parse_default | pugi::parse_ws_pcdata_single;

void ReadRoot(Element root, ReadBoard& read) {
    root.Number("version", true, kFormVersion, kFormVersion);
    read.board.name = root.Text("name").value_or("");
    const std::vector<Element> parts =
        root.Finish({"machine", "qos", "scenario", "event", "probe"});
    // A scenario may stand before the QoS that it names.
    for (const Element& part : parts) {
        if (part.Name() == "qos") {
            ReadQos(part, read);
        }
    }
    bool hasMachine = false;
    bool hasProbe = false;
    for (Element part : parts) {
        if ((part.Name() == "machine" && std::exchange(hasMachine, true)) ||
            (part.Name() == "probe" && std::exchange(hasProbe, true))) {
            part.Complain("there is a second " + part.Tag());
        } else if (part.Name() == "machine") {
            ReadMachine(part, read.board.machine);
        } else if (part.Name() == "scenario") {
            ReadScenario(part, read);
        } else if (part.Name() == "event") {
            ReadEvent(part, read);
        } else if (part.Name() == "probe") {
            ReadProbe(part, read.board.probe);
        }
    }
}

}  // namespace

void ReadMachine(Element element, Machine& machine) {
    if (const auto chip = element.Number("chip", false, 0)) {
        machine.chip = static_cast<unsigned>(*chip);
    }
    machine.cpuBoost = element.Flag("cpu-boost");
    machine.boardIpa = element.Flag("board-ipa");
    for (Element absent : element.Finish({"absent"})) {
        machine.absent.push_back(absent.FinishAsText());
    }
}

std::optional<PerfQosId> QosByName(const Board& board, std::string_view name) {
    for (const auto& [qosId, config] : board.qos) {
        if (config.name == name) {
            return qosId;
        }
    }
    for (unsigned id = 0; id < PERF_QOS_INVALID; ++id) {
        const char* const known = PerfQosName(static_cast<PerfQosId>(id));
        if (known != nullptr && known == name) {
            return static_cast<PerfQosId>(id);
        }
    }
    return std::nullopt;
}

std::optional<PerfQosId> QosByReference(const Board& board, std::string_view text) {
    const std::optional<std::int64_t> number = WholeNumber(text);
    if (number && *number >= 0 && *number < PERF_QOS_INVALID) {
        return static_cast<PerfQosId>(*number);
    }
    return QosByName(board, text);
}

std::vector<std::string_view> QosNames(const Board& board) {
    std::vector<std::string_view> names;
    for (const auto& [qosId, config] : board.qos) {
        // Nobody means one that cannot be printed, and its letters would spoil the message.
        if (tool::Printable(config.name) == config.name) {
            names.emplace_back(config.name);
        }
    }
    for (unsigned id = 0; id < PERF_QOS_INVALID; ++id) {
        if (const char* const known = PerfQosName(static_cast<PerfQosId>(id))) {
            names.emplace_back(known);
        }
    }
    return names;
}

ReadBoard ParseBoard(std::string_view text) {
    ReadBoard read;
    Source source(text);
    pugi::xml_document document;
    if (text.size() > kMaxBoardBytes) {
        source.AddError({}, "the file is longer than " + std::to_string(kMaxBoardBytes) + " bytes");
    } else if (const pugi::xml_parse_result result =
                   document.load_buffer(text.data(), text.size(), kParseFlags, pugi::encoding_utf8);
               !result) {
        source.AddError(source.PlaceOf(static_cast<std::size_t>(result.offset)),
                        std::string("this is no XML: ") + result.description());
    } else {
        Element root(source, document.document_element());
        if (root.Name() == "board") {
            ReadRoot(root, read);
        } else {
            root.Complain("the root element is <board>, not " + root.Tag() +
                          tool::DidYouMean(root.Name(), {"board"}));
        }
    }
    read.errors = source.TakeErrors();
    std::ranges::stable_sort(read.errors, {}, [](const BoardError& error) {
        return std::pair(error.place.line, error.place.column);
    });
    return read;
}

}  // namespace corebeacon::board
