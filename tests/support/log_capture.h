/// Catches every log line of a scope, and makes the test fail at a line whose tag nobody knows.
/// Owned by a test; the engine's threads may log while it lives.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "corebeacon/log.h"
#include "support/log_tags.h"

namespace corebeacon::test {

struct LogLine {
    int level = 0;
    std::string tag;
    std::string function;  ///< from the "[function:line] " prefix
    std::string text;      ///< all that follows that prefix
};

class LogCapture : public LogSink {
public:
    /// `logSwitch` is what PfLogonSet gets while the capture lives; 3 shows every level.
    explicit LogCapture(unsigned int logSwitch = 3)
        : mFormerSwitch(PfLogonNamespace::PfLogonGet()->load()) {
        PfLogonNamespace::PfLogonSet(logSwitch);
        SetLogSink(this);
    }
    ~LogCapture() override {
        SetLogSink(nullptr);
        PfLogonNamespace::PfLogonSet(mFormerSwitch);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    void Write(int level, const char* tag, const char* message) noexcept override {
        EXPECT_TRUE(IsLogTag(tag)) << tag << " " << message;
        LogLine line{level, tag, "", message};
        const char* colon = std::strchr(message, ':');
        const char* close = std::strstr(message, "] ");
        if (message[0] == '[' && colon != nullptr && close != nullptr && colon < close) {
            line.function.assign(message + 1, colon);
            line.text = close + 2;
        }
        std::lock_guard<std::mutex> lock(*mMutex);
        mLines.push_back(line);
    }

    std::vector<LogLine> Lines() const {
        std::lock_guard<std::mutex> lock(*mMutex);
        return mLines;
    }

    /// The texts of one level, or of all levels for 0, in order.
    std::vector<std::string> Texts(int level = 0) const {
        std::vector<std::string> texts;
        for (const LogLine& line : Lines()) {
            if (level == 0 || line.level == level) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    /// How often exactly this text was logged at this level.
    std::size_t Count(int level, const std::string& text) const {
        std::size_t count = 0;
        for (const LogLine& line : Lines()) {
            count += (line.level == level && line.text == text) ? 1U : 0U;
        }
        return count;
    }

    void Clear() {
        std::lock_guard<std::mutex> lock(*mMutex);
        mLines.clear();
    }

private:
    const unsigned int mFormerSwitch;
    // On the heap: thread sanitizers see a freed mutex go, but not one that leaves the stack, and
    // would take the next mutex at its address for the same one.
    const std::unique_ptr<std::mutex> mMutex = std::make_unique<std::mutex>();
    std::vector<LogLine> mLines;  // guarded by mMutex
};

}  // namespace corebeacon::test
