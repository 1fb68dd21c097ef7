#include "timeline_limits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <optional>
#include <sstream>
#include <string_view>

namespace corebeacon::tool {

namespace {

constexpr std::string_view kNameMark = "*****";
constexpr std::string_view kEntryMark = "freq=";
constexpr int kHalfAYear = 6;
constexpr int kMonths = 12;

std::tm LocalTime(WallTime time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

/// The six numbers of "10-21 4:24:25.301".
std::optional<std::array<int, 6>> NumbersOf(const std::string& text) {
    constexpr std::string_view kSeparators = "- ::.";
    std::array<int, 6> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto [next, error] = std::from_chars(at, end, numbers[i]);
        const bool isLast = i == kSeparators.size();
        if (error != std::errc() || (!isLast && (next == end || *next != kSeparators[i]))) {
            return std::nullopt;
        }
        at = isLast ? next : next + 1;
    }
    return numbers;
}

/// Of "10-21 4:24:25.301", whose months begin with 0 and whose year is the one nearest to `begin`.
std::optional<TimelineMicros> MicrosOf(const std::string& text, WallTime begin) {
    const std::optional<std::array<int, 6>> numbers = NumbersOf(text);
    if (!numbers) {
        return std::nullopt;
    }
    const auto& [month, day, hour, minute, second, milli] = *numbers;
    const std::tm atBegin = LocalTime(begin);
    std::tm local{};
    local.tm_year = atBegin.tm_year;
    if (atBegin.tm_mon - month > kHalfAYear) {
        ++local.tm_year;
    } else if (month - atBegin.tm_mon > kMonths - kHalfAYear) {
        --local.tm_year;
    }
    local.tm_mon = month;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    const WallTime time = std::chrono::system_clock::from_time_t(std::mktime(&local)) +
                          std::chrono::milliseconds(milli);
    return std::chrono::duration_cast<std::chrono::microseconds>(time - begin).count();
}

/// Of "freq=495000000 10-21 4:24:25.301  10-21 4:24:26.7", the second time perhaps missing.
std::optional<TimelineCeiling> ParseEntry(const std::string& line, WallTime begin) {
    if (!line.starts_with(kEntryMark)) {
        return std::nullopt;
    }
    TimelineCeiling entry;
    const char* const end = line.data() + line.size();
    const auto [next, error] = std::from_chars(line.data() + kEntryMark.size(), end, entry.value);
    if (error != std::errc() || next == end || *next != ' ') {
        return std::nullopt;
    }
    const std::string times(next + 1, end);
    const std::size_t gap = times.find("  ");
    entry.fromText = times.substr(0, gap);
    entry.untilText = gap == std::string::npos ? "" : times.substr(gap + 2);
    entry.untilText.erase(entry.untilText.find_last_not_of(' ') + 1);
    const std::optional<TimelineMicros> from = MicrosOf(entry.fromText, begin);
    if (!from) {
        return std::nullopt;
    }
    entry.from = std::max<TimelineMicros>(0, *from);
    entry.until = MicrosOf(entry.untilText, begin).value_or(-1);
    return entry;
}

/// An entry without an end lasts until the next one takes its place.
void CloseEntries(std::vector<TimelineCeiling>& entries, TimelineMicros end) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        TimelineCeiling& entry = entries[i];
        if (entry.untilText.empty()) {
            entry.until = i + 1 < entries.size() ? entries[i + 1].from : end;
        }
        entry.until = std::max(entry.from, entry.until);
    }
}

}  // namespace

std::vector<TimelineLimits> ParseLimitHistory(const std::string& dump, WallTime begin,
                                              TimelineMicros end) {
    std::vector<TimelineLimits> histories;
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kNameMark)) {
            const std::size_t first = kNameMark.size();
            histories.push_back({line.substr(first, line.find(':') - first), "", {}});
        } else if (const std::optional<TimelineCeiling> entry = ParseEntry(line, begin);
                   entry && !histories.empty()) {
            histories.back().entries.push_back(*entry);
        }
    }
    for (TimelineLimits& history : histories) {
        CloseEntries(history.entries, end);
    }
    return histories;
}

std::string WallTimeText(WallTime time) {
    const std::tm local = LocalTime(time);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return text.data();
}

}  // namespace corebeacon::tool
