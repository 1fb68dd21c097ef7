#include "verb_table.h"

#include <algorithm>
#include <iterator>

namespace corebeacon::tool {

namespace {

constexpr bool kRequired = true;
constexpr bool kOptional = false;

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
        .verb = Verb::RELEASE,
        .name = "release",
        .usage = "NAME",
        .summary = "withdraws the request of that name",
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
        .verb = Verb::WAIT,
        .name = "wait",
        .usage = "TIME",
        .summary = "lets time pass",
        .parameters = {{Parameter::TIME, kRequired}},
    },
    {
        .verb = Verb::LOG,
        .name = "log",
        .usage = "N",
        .summary = "sets the log switch: 1 information, 2 debug, 3 both, 0 neither",
        .parameters = {{Parameter::NUMBER, kRequired}},
        .maxNumber = 3,
    },
};

}  // namespace

bool VerbRow::Takes(Parameter kind) const {
    return std::ranges::find(parameters, kind, &ParameterRow::kind) != std::end(parameters);
}

std::span<const VerbRow> VerbTable() {
    return kVerbs;
}

const VerbRow* FindVerb(std::string_view name) {
    const auto* const row = std::ranges::find(kVerbs, name, &VerbRow::name);
    return row != std::end(kVerbs) ? row : nullptr;
}

}  // namespace corebeacon::tool
