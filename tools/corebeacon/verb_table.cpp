#include "verb_table.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace corebeacon::tool {

namespace {

constexpr bool kRequired = true;
constexpr bool kOptional = false;

constexpr unsigned kAnyNumber = std::numeric_limits<unsigned>::max();
constexpr unsigned kMaxTid = std::numeric_limits<int>::max();

constexpr std::string_view kStartOrStop[] = {"start", "stop"};
constexpr std::string_view kDumps[] = {"task",     "base_info", "workMode",
                                       "scenario", "event",     "limit_history"};

constexpr VerbRow kVerbs[] = {
    {
        .verb = Verb::REQUEST,
        .name = "request",
        .usage = "pid=PID [for=TIME] QOS.boost=VALUE QOS.limit=VALUE ... [as NAME]",
        .summary = "asks for floors and ceilings, for a time or until they are released",
        .parameters = {{Parameter::PID, kRequired},
                       {Parameter::FOR, kOptional},
                       {Parameter::QOS_VALUES, kRequired},
                       {Parameter::AS_NAME, kOptional}},
    },
    {
        .verb = Verb::BASE_SET,
        .name = "base-set",
        .usage = "pid=PID EAS.GROUP.boost=VALUE ...",
        .summary = "sets the levels that task groups have while nobody asks for others",
        .parameters = {{Parameter::PID, kRequired}, {Parameter::QOS_VALUES, kRequired}},
    },
    {
        .verb = Verb::SCENARIO,
        .name = "scenario",
        .usage = "pid=PID ID [as NAME]",
        .summary = "puts a scenario in force until it is released",
        .parameters = {{Parameter::PID, kRequired},
                       {Parameter::NUMBER, kRequired},
                       {Parameter::AS_NAME, kOptional}},
        .maxNumber = kAnyNumber,
    },
    {
        .verb = Verb::MODE,
        .name = "mode",
        .usage = "pid=PID MODE [as NAME]",
        .summary = "asks for work mode 0, 1 or 2; the highest that anybody asks for is in force",
        .parameters = {{Parameter::PID, kRequired},
                       {Parameter::NUMBER, kRequired},
                       {Parameter::AS_NAME, kOptional}},
        .maxNumber = kWorkModeCount - 1,
    },
    {
        .verb = Verb::RELEASE,
        .name = "release",
        .usage = "NAME",
        .summary = "withdraws the request, scenario or work mode of that name",
        .parameters = {{Parameter::REQUEST_NAME, kRequired}},
    },
    {
        .verb = Verb::RELEASE_ALL,
        .name = "release-all",
        .usage = "pid=PID",
        .summary = "withdraws all that a process holds",
        .parameters = {{Parameter::PID, kRequired}},
    },
    {
        .verb = Verb::SUSPEND,
        .name = "suspend",
        .usage = "QOS ...",
        .summary = "keeps these QoS from writing; they still keep account of requests",
        .parameters = {{Parameter::QOS_NAMES, kRequired}},
    },
    {
        .verb = Verb::RESUME,
        .name = "resume",
        .usage = "QOS ...",
        .summary = "lets them write again",
        .parameters = {{Parameter::QOS_NAMES, kRequired}},
    },
    {
        .verb = Verb::EVENT,
        .name = "event",
        .usage = "start|stop ID [for=TIME]",
        .summary = "starts an event, for its own time unless another is given, or stops it",
        .parameters = {{Parameter::CHOICE, kRequired},
                       {Parameter::NUMBER, kRequired},
                       {Parameter::FOR, kOptional}},
        .maxNumber = kAnyNumber,
        .choices = kStartOrStop,
    },
    {
        .verb = Verb::PROBE,
        .name = "probe",
        .usage = "start|stop TID",
        .summary = "binds a thread for a while, with frequency floors, or lets it go",
        .parameters = {{Parameter::CHOICE, kRequired}, {Parameter::NUMBER, kRequired}},
        .minNumber = 1,
        .maxNumber = kMaxTid,
        .choices = kStartOrStop,
    },
    {
        .verb = Verb::WAIT,
        .name = "wait",
        .usage = "TIME",
        .summary = "lets time pass",
        .parameters = {{Parameter::TIME, kRequired}},
    },
    {
        .verb = Verb::EXPLAIN,
        .name = "explain",
        .usage = "QOS|QOS.GROUP|NODE ...",
        .summary =
            "tells who holds a value and why the others do not; a node by the end of its path",
        .parameters = {{Parameter::TARGETS, kRequired}},
    },
    {
        .verb = Verb::DUMP,
        .name = "dump",
        .usage = "task|base_info|workMode|scenario|event|limit_history",
        .summary = "prints what the engine tells of itself",
        .parameters = {{Parameter::CHOICE, kRequired}},
        .choices = kDumps,
    },
    {
        .verb = Verb::DEBUG,
        .name = "debug",
        .usage = "OPTION",
        .summary = "switches a scenario by a debug option, game_mode_enable for instance",
        .parameters = {{Parameter::WORD, kRequired}},
    },
    {
        .verb = Verb::LOG,
        .name = "log",
        .usage = "N",
        .summary = "sets the log switch: 1 information, 2 debug, 3 both, 0 neither",
        .parameters = {{Parameter::NUMBER, kRequired}},
        .maxNumber = 3,
    },
    {
        .verb = Verb::VERSION,
        .name = "version",
        .usage = "",
        .summary = "prints the version of the engine",
        .parameters = {},
    },
};

}  // namespace

bool IsPositional(Parameter kind) {
    switch (kind) {
        case Parameter::REQUEST_NAME:
        case Parameter::TIME:
        case Parameter::NUMBER:
        case Parameter::CHOICE:
        case Parameter::QOS_NAMES:
        case Parameter::TARGETS:
        case Parameter::WORD:
            return true;
        default:
            return false;
    }
}

bool VerbRow::Takes(Parameter kind) const {
    return std::ranges::find(parameters, kind, &ParameterRow::kind) != std::end(parameters);
}

std::span<const VerbRow> VerbTable() {
    return kVerbs;
}

std::string_view NameOf(Verb verb) {
    const auto* const row = std::ranges::find(kVerbs, verb, &VerbRow::verb);
    return row != std::end(kVerbs) ? row->name : std::string_view();
}

const VerbRow* FindVerb(std::string_view name) {
    const auto* const row = std::ranges::find(kVerbs, name, &VerbRow::name);
    return row != std::end(kVerbs) ? row : nullptr;
}

}  // namespace corebeacon::tool
