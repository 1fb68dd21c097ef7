#include "script_values.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <iterator>
#include <limits>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "near_match.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kMaxTimeMs = 3'600'000;
constexpr std::int64_t kMinInt = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMaxInt = std::numeric_limits<std::int32_t>::max();

struct Unit {
    std::string_view suffix;
    std::int64_t factorMs;
};
// The longer suffix first: it ends in the shorter one.
constexpr Unit kUnits[] = {{"ms", 1}, {"s", 1000}};

struct Operation {
    std::string_view name;
    PerfOperationType type;
};
constexpr Operation kOperations[] = {{"boost", PERF_OPERATION_BOOST},
                                     {"limit", PERF_OPERATION_LIMIT}};

std::optional<std::int64_t> Number(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

bool IsPrintable(char letter) {
    return letter >= ' ' && letter <= '~';
}

/// The key is the subject of an error about its value, unless it would make a mess of the message.
std::string_view SubjectOf(const Token& key) {
    constexpr std::size_t kLongest = 64;
    const bool isPlain = key.text.size() <= kLongest && std::ranges::all_of(key.text, IsPrintable);
    return isPlain ? key.text : "the value";
}

/// In words, for errors; nobody wants to read the limits of an int.
std::string RangeText(std::int64_t min, std::int64_t max) {
    if (min == kMinInt && max == kMaxInt) {
        return "a whole number of 32 bits";
    }
    return "a number from " + std::to_string(min) + " to " + std::to_string(max);
}

/// Of all QoS that have one, by id. Made once, since every other word of a script is a QoS.
struct QosNameTable {
    QosNameTable() {
        for (std::uint32_t id = 0; id < PERF_QOS_INVALID; ++id) {
            if (const char* name = PerfQosName(static_cast<PerfQosId>(id)); name != nullptr) {
                names.emplace_back(name);
                ids.push_back(static_cast<PerfQosId>(id));
            }
        }
    }

    std::vector<std::string_view> names;
    std::vector<PerfQosId> ids;
};

const QosNameTable& QosNames() {
    static const QosNameTable table;
    return table;
}

std::optional<PerfQosId> FindQos(std::string_view name) {
    const QosNameTable& table = QosNames();
    const auto found = std::ranges::find(table.names, name);
    return found == table.names.end()
               ? std::nullopt
               : std::optional(table.ids[static_cast<std::size_t>(found - table.names.begin())]);
}

std::optional<PerfOperationType> ParseOperation(const Token& token, ErrorList& errors) {
    const auto* const found = std::ranges::find(kOperations, token.text, &Operation::name);
    if (found != std::end(kOperations)) {
        return found->type;
    }
    const std::string meant = DidYouMean(token.text, {"boost", "limit"});
    errors.Add(token.position, "a QoS has boost and limit, but no " + Quoted(token.text) + meant);
    return std::nullopt;
}

}  // namespace

Token Token::Part(std::size_t offset, std::size_t length) const {
    return {text.substr(offset, length),
            {position.line, position.column + static_cast<unsigned>(offset)}};
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t kShown = 48;
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    std::string quoted = "'";
    for (const char letter : text.substr(0, kShown)) {
        if (IsPrintable(letter)) {
            quoted += letter;
        } else {
            const auto byte = static_cast<unsigned char>(letter);
            quoted += "\\x";
            quoted += kHexDigits[byte >> 4U];
            quoted += kHexDigits[byte & 15U];
        }
    }
    return quoted + (text.size() > kShown ? "...'" : "'");
}

void ErrorList::Add(const Position& position, std::string message) {
    if (IsFull()) {
        return;
    }
    if (mErrors.size() + 1 == kMaxErrors) {
        message = "too many errors; what follows was not looked at";
    }
    mErrors.push_back({position, std::move(message)});
}

std::optional<std::int64_t> ParseNumber(const Token& token, std::string_view what, std::int64_t min,
                                        std::int64_t max, ErrorList& errors) {
    const std::optional<std::int64_t> number = Number(token.text);
    if (number && *number >= min && *number <= max) {
        return number;
    }
    errors.Add(token.position,
               std::string(what) + " takes " + RangeText(min, max) + ", not " + Quoted(token.text));
    return std::nullopt;
}

std::optional<milliseconds> ParseTime(const Token& token, std::string_view what,
                                      ErrorList& errors) {
    for (const Unit& unit : kUnits) {
        if (!token.text.ends_with(unit.suffix)) {
            continue;
        }
        const auto number = Number(token.text.substr(0, token.text.size() - unit.suffix.size()));
        if (number && *number >= 1 && *number <= kMaxTimeMs / unit.factorMs) {
            return milliseconds(*number * unit.factorMs);
        }
        break;
    }
    errors.Add(token.position, std::string(what) + " takes a time such as 500ms or 2s, at most " +
                                   std::to_string(kMaxTimeMs / 1000) + "s, not " +
                                   Quoted(token.text));
    return std::nullopt;
}

std::optional<PerfQosId> ParseQos(const Token& token, ErrorList& errors) {
    if (const std::optional<PerfQosId> found = FindQos(token.text)) {
        return found;
    }
    if (!token.text.empty() && token.text.find_first_not_of("0123456789") == std::string::npos) {
        const auto id = ParseNumber(token, "a QoS id", 0, PERF_QOS_INVALID - 1, errors);
        return id ? std::optional(static_cast<PerfQosId>(*id)) : std::nullopt;
    }
    errors.Add(token.position, "there is no QoS named " + Quoted(token.text) +
                                   DidYouMean(token.text, QosNames().names));
    return std::nullopt;
}

std::optional<QosValue> ParseQosValue(const Token& key, const Token& value, ErrorList& errors) {
    const std::size_t first = key.text.find('.');
    if (first == std::string_view::npos) {
        errors.Add(key.position, Quoted(key.text) +
                                     " is no parameter of a request; a QoS is asked for by "
                                     "QOS.boost=VALUE or QOS.limit=VALUE" +
                                     DidYouMean(key.text, {"pid", "for"}));
        return std::nullopt;
    }
    const std::size_t last = key.text.rfind('.');
    const auto qosId = ParseQos(key.Part(0, first), errors);
    std::optional<std::int64_t> groupId = 0;
    if (last != first) {
        groupId = ParseNumber(key.Part(first + 1, last - first - 1), "a group", 0, kMaxInt, errors);
    }
    const auto operation = ParseOperation(key.Part(last + 1), errors);
    const auto number = ParseNumber(value, SubjectOf(key), std::numeric_limits<std::int32_t>::min(),
                                    kMaxInt, errors);
    if (!qosId || !groupId || !operation || !number) {
        return std::nullopt;
    }
    return QosValue{*qosId, static_cast<unsigned>(*groupId), *operation, static_cast<int>(*number)};
}

}  // namespace corebeacon::tool
