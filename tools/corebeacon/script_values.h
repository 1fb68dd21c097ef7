/// Reads the single words of a script: numbers, times, QoS values. Each function either gives the
/// value or adds an error that says what is wrong and where. Free functions without state besides
/// the list of errors, which one parser owns; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "corebeacon/perf_types.h"
#include "statement.h"

namespace corebeacon::tool {

/// A piece of the script and where it begins.
struct Token {
    std::string_view text;
    Position position;

    Token Part(std::size_t offset, std::size_t length = std::string_view::npos) const;
};

/// The text in single quotes, short and printable whatever the script holds.
std::string Quoted(std::string_view text);

/// All errors up to a number beyond which nobody reads on.
class ErrorList {
public:
    static constexpr std::size_t kMaxErrors = 50;

    void Add(const Position& position, std::string message);
    /// One more error would only say that there are too many.
    bool IsFull() const { return mErrors.size() >= kMaxErrors; }
    std::vector<ScriptError> Take() { return std::move(mErrors); }

private:
    std::vector<ScriptError> mErrors;
};

/// A decimal number of [min, max]; `what` is the subject of the error.
std::optional<std::int64_t> ParseNumber(const Token& token, std::string_view what, std::int64_t min,
                                        std::int64_t max, ErrorList& errors);

/// "500ms" or "2s", from 1 ms to an hour.
std::optional<std::chrono::milliseconds> ParseTime(const Token& token, std::string_view what,
                                                   ErrorList& errors);

/// A QoS by name or id.
std::optional<PerfQosId> ParseQos(const Token& token, ErrorList& errors);

/// What one word of a request asks for.
struct QosValue {
    PerfQosId qosId = PERF_QOS_INVALID;
    unsigned groupId = 0;
    PerfOperationType operation = PERF_OPERATION_BOOST;
    int value = 0;
};

/// QOS.boost=VALUE or QOS.GROUP.limit=VALUE; the QoS by name or id. `key` is what stands before the
/// equals sign.
std::optional<QosValue> ParseQosValue(const Token& key, const Token& value, ErrorList& errors);

}  // namespace corebeacon::tool
