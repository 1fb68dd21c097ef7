/// Plays scripts inside the test's own process and catches what they print.
#pragma once

#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "run_command.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::tool::test {

/// A clock that moves only while its owner's thread waits for a time, and then at once to that
/// time: a script's waits cost none, and no load can make a request end too early.
class DrivenClock : public corebeacon::test::ManualClock {
public:
    void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) override REQUIRES(mutex) {
        if (std::this_thread::get_id() == mDriver) {
            Advance(deadline - SteadyNow());
        } else {
            ManualClock::WaitUntil(cond, mutex, deadline);
        }
    }

private:
    const std::thread::id mDriver = std::this_thread::get_id();
};

struct Outcome {
    int exitCode = 0;
    std::string out;
    std::string diagnostics;
};

inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The lines with each time stamp replaced by "T", and without the blank ones.
inline std::vector<std::string> Events(const std::string& text) {
    static const std::regex kTime("^ *[0-9]+\\.[0-9]{3}  ");
    std::vector<std::string> events;
    for (const std::string& line : Lines(text)) {
        if (!line.empty()) {
            events.push_back(std::regex_replace(line, kTime, "T "));
        }
    }
    return events;
}

/// The time stamps in milliseconds, in order.
inline std::vector<int> Times(const std::string& text) {
    static const std::regex kTime("^ *([0-9]+)\\.([0-9]{3})  .*");
    std::vector<int> times;
    for (const std::string& line : Lines(text)) {
        std::smatch match;
        if (std::regex_match(line, match, kTime)) {
            times.push_back(std::stoi(match[1]) * 1000 + std::stoi(match[2]));
        }
    }
    return times;
}

/// The engine's own log lines are kept away from the test's output.
inline Outcome PlayText(const std::string& script, const SessionOptions& options = {}) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    std::ostringstream out;
    std::ostringstream diagnostics;
    const int exitCode = PlayScript(script, "story.qos", {.session = options}, out, diagnostics);
    return {exitCode, out.str(), diagnostics.str()};
}

}  // namespace corebeacon::tool::test
