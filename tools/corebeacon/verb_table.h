/// The grammar of scripts as a table: which verbs there are and what each takes. A new verb is one
/// row here and one handler in the player. Constant data; any thread may read it.
#pragma once

#include <span>
#include <string_view>

#include "statement.h"

namespace corebeacon::tool {

enum class Parameter {
    NONE,
    PID,           ///< pid=1001
    FOR,           ///< for=500ms
    QOS_VALUES,    ///< CPU_B.boost=2000000 EAS.7.boost=30, any number of them
    AS_NAME,       ///< as h1
    REQUEST_NAME,  ///< h1, the name of an earlier request
    TIME,          ///< 300ms
    NUMBER,        ///< VerbRow::minNumber to VerbRow::maxNumber
    CHOICE,        ///< one of VerbRow::choices
    QOS_NAMES,     ///< CPU_B GPU 9, any number of them
    TARGETS,       ///< CPU_B EAS.7 scaling_max_freq, any number of them
    WORD,          ///< any word
};

/// Known by its place instead of by a key.
bool IsPositional(Parameter kind);

struct ParameterRow {
    Parameter kind = Parameter::NONE;
    bool isRequired = false;
};

struct VerbRow {
    Verb verb;
    std::string_view name;
    std::string_view usage;    ///< the parameters in words
    std::string_view summary;  ///< for the help text
    /// Words without a key are taken in this order.
    ParameterRow parameters[4];
    unsigned minNumber = 0;
    unsigned maxNumber = 0;
    std::span<const std::string_view> choices = {};

    bool Takes(Parameter kind) const;
};

std::span<const VerbRow> VerbTable();

/// As scripts write it; "" for a note.
std::string_view NameOf(Verb verb);

/// Null when no verb has this name.
const VerbRow* FindVerb(std::string_view name);

}  // namespace corebeacon::tool
