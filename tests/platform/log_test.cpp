#include "corebeacon/log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <future>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "platform/logging.h"
#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace {

thread_local bool gMemoryIsShort = false;

}  // namespace

// The log is the only user of this form in this program: what it does without memory can be seen
// by refusing it some.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (gMemoryIsShort) {
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (...) {
        return nullptr;
    }
}

namespace corebeacon {
namespace {

using test::Eventually;
using test::LogCapture;
using test::LogLine;

constexpr const char* LOG_TAG = "PF_TEST";

/// Standard error as a file for a scope.
class StandardErrorCapture {
public:
    StandardErrorCapture() : mFile(std::tmpfile()), mFormer(::dup(STDERR_FILENO)) {
        ::dup2(::fileno(mFile), STDERR_FILENO);
    }
    ~StandardErrorCapture() {
        ::dup2(mFormer, STDERR_FILENO);
        ::close(mFormer);
        std::fclose(mFile);
    }
    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

    std::string Text() const {
        std::string text;
        std::array<char, 4096> buffer;
        ssize_t got = 0;
        while ((got = ::pread(::fileno(mFile), buffer.data(), buffer.size(),
                              static_cast<off_t>(text.size()))) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

private:
    std::FILE* mFile;
    int mFormer;
};

/// Holds the thread that writes a line until it is let go.
class HoldingSink : public LogSink {
public:
    void Write(int, const char*, const char*) noexcept override {
        entered.set_value();
        release.get_future().wait();
        left.store(true);
    }
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> left{false};
};

class CountingSink : public LogSink {
public:
    void Write(int, const char*, const char*) noexcept override { count.fetch_add(1); }
    std::atomic<int> count{0};
};

std::string LocalPrefix(std::time_t seconds) {
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

TEST(Log, TheSwitchStartsAtZeroHoldsAnyWordAndIsSeenThroughItsPointer) {
    const std::atomic<unsigned int>* word = PfLogonNamespace::PfLogonGet();
    EXPECT_EQ(word->load(), 0U);
    EXPECT_EQ(PfLogonNamespace::PfLogonSet(0xFFFFFFFFU), 0);
    EXPECT_EQ(word->load(), 0xFFFFFFFFU);
    EXPECT_EQ(PfLogonNamespace::PfLogonSet(0), 0);
    EXPECT_EQ(word->load(), 0U);
}

void LogAtEveryLevel() {
    LOGD("[%s:%d] debug %d", 1);
    LOGI("[%s:%d] information");
    LOGW("[%s:%d] warning");
    LOGE("[%s:%d] error %s", "text");
}

TEST(Log, TheSwitchDecidesAboutDebugAndInformationAlone) {
    LogCapture log;
    const std::vector<std::vector<std::string>> expected = {
        {"warning", "error text"},
        {"information", "warning", "error text"},
        {"debug 1", "warning", "error text"},
        {"debug 1", "information", "warning", "error text"},
    };
    for (unsigned int value = 0; value < expected.size(); ++value) {
        log.Clear();
        PfLogonNamespace::PfLogonSet(value);
        LogAtEveryLevel();
        EXPECT_EQ(log.Texts(), expected[value]) << "with the switch at " << value;
    }
}

TEST(Log, ALineCarriesLevelTagFunctionAndText) {
    LogCapture log;
    LogAtEveryLevel();
    const std::vector<LogLine> lines = log.Lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0].level, 3);
    EXPECT_EQ(lines[1].level, 4);
    EXPECT_EQ(lines[2].level, 5);
    EXPECT_EQ(lines[3].level, 6);
    EXPECT_EQ(lines[3].tag, "PF_TEST");
    EXPECT_EQ(lines[3].function, "LogAtEveryLevel");
}

TEST(Log, AMessageThatIsOffDoesNotEvaluateItsArguments) {
    LogCapture log(0);
    int evaluated = 0;
    LOGD("[%s:%d] %d", ++evaluated);
    LOGI("[%s:%d] %d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST(Log, AMessageOfAnyLengthArrivesWhole) {
    LogCapture log;
    for (const std::size_t length : {0U, 1015U, 1023U, 1024U, 1025U, 5000U, 200000U}) {
        log.Clear();
        const std::string text(length, 'x');
        VLogPrint(LOG_LEVEL_ERROR, LOG_TAG, "[f:1] %s", text.c_str());
        EXPECT_EQ(log.Texts(), std::vector<std::string>{text});
    }
}

TEST(Log, WhatCannotBeFormattedIsDropped) {
    LogCapture log;
    // A wide character that has no form in the "C" locale is a formatting error.
    VLogPrint(LOG_LEVEL_ERROR, LOG_TAG, "[f:1] %lc", static_cast<std::wint_t>(0x4E2D));
    EXPECT_TRUE(log.Lines().empty());
}

TEST(Log, LoggingLeavesErrnoAlone) {
    LogCapture log;
    errno = ENODEV;
    LOGE("[%s:%d] %lc", static_cast<std::wint_t>(0x4E2D));
    EXPECT_EQ(errno, ENODEV);
}

TEST(Log, TheDefaultSinkWritesTimeLetterTagAndTrimmedMessage) {
    const std::time_t seconds = 1741165623;
    test::ManualClock clock(TimePoint(std::chrono::milliseconds(seconds * 1000LL + 42)));
    StandardErrorCapture standardError;
    VLogPrint(LOG_LEVEL_DEBUG, "PF_A", "[f:1] debug");
    VLogPrint(LOG_LEVEL_INFO, "PF_A", "[f:2] info \t");
    VLogPrint(LOG_LEVEL_WARNING, "PF_B", "[f:3] warning \n");
    VLogPrint(LOG_LEVEL_ERROR, "PF_B", "[f:4] error\r\n\n");
    VLogPrint(LOG_LEVEL_ERROR, "PF_B", "%s", " \n");
    const std::string time = LocalPrefix(seconds) + ".042";
    EXPECT_EQ(standardError.Text(), time + " D PF_A [f:1] debug\n" + time + " I PF_A [f:2] info\n" +
                                        time + " W PF_B [f:3] warning\n" + time +
                                        " E PF_B [f:4] error\n" + time + " E PF_B \n");
}

TEST(Log, TheDefaultSinkWritesALongLineWholeAndNeverAsAFormat) {
    test::ManualClock clock(TimePoint(std::chrono::seconds(1741165623)));
    StandardErrorCapture standardError;
    const std::string text = "%s%n" + std::string(5000, 'x');
    VLogPrint(LOG_LEVEL_ERROR, "PF_A", "%s", text.c_str());
    EXPECT_EQ(standardError.Text(), LocalPrefix(1741165623) + ".000 E PF_A " + text + "\n");
}

TEST(Log, ALongLineIsCutWhenMemoryIsShort) {
    test::LogCapture log;
    const std::string text(5000, 'x');
    gMemoryIsShort = true;
    VLogPrint(LOG_LEVEL_ERROR, "PF_A", "[f:1] %s", text.c_str());
    gMemoryIsShort = false;
    EXPECT_EQ(log.Texts(), (std::vector<std::string>{std::string(1023 - 6, 'x')}));
}

TEST(Log, TheDefaultSinkCutsALineWhenMemoryIsShortAndStillEndsIt) {
    test::ManualClock clock(TimePoint(std::chrono::seconds(1741165623)));
    StandardErrorCapture standardError;
    const std::string text(5000, 'x');
    gMemoryIsShort = true;
    VLogPrint(LOG_LEVEL_ERROR, "PF_A", "%s", text.c_str());
    gMemoryIsShort = false;
    const std::string prefix = LocalPrefix(1741165623) + ".000 E PF_A ";
    EXPECT_EQ(standardError.Text(), prefix + std::string(1022 - prefix.size(), 'x') + "\n");
}

TEST(Log, TheDefaultSinkNeverMixesTheLinesOfSeveralThreads) {
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    test::ManualClock clock(TimePoint(std::chrono::seconds(1741165623)));
    StandardErrorCapture standardError;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            const std::string text(static_cast<std::size_t>(100 + i), static_cast<char>('a' + i));
            for (int line = 0; line < kLines; ++line) {
                VLogPrint(LOG_LEVEL_ERROR, "PF_A", "%s", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string text = standardError.Text();
    const std::string prefix = LocalPrefix(1741165623) + ".000 E PF_A ";
    std::array<int, kThreads> counts{};
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        ASSERT_NE(end, std::string::npos);
        const std::string line = text.substr(begin, end - begin);
        ASSERT_EQ(line.substr(0, prefix.size()), prefix);
        ASSERT_GT(line.size(), prefix.size());
        const int i = line[prefix.size()] - 'a';
        ASSERT_TRUE(i >= 0 && i < kThreads);
        ASSERT_EQ(line.substr(prefix.size()),
                  std::string(static_cast<std::size_t>(100 + i), static_cast<char>('a' + i)));
        ++counts[static_cast<std::size_t>(i)];
        begin = end + 1;
    }
    for (const int count : counts) {
        EXPECT_EQ(count, kLines);
    }
}

TEST(Log, ReplacingTheSinkWaitsForThreadsInsideTheFormerOne) {
    HoldingSink former;
    CountingSink next;
    SetLogSink(&former);
    std::thread writer([] { LOGE("[%s:%d] held"); });
    former.entered.get_future().wait();

    std::atomic<bool> replaced{false};
    std::thread replacer([&] {
        SetLogSink(&next);
        replaced.store(true);
        EXPECT_TRUE(former.left.load());
    });
    EXPECT_FALSE(replaced.load());
    former.release.set_value();
    replacer.join();
    writer.join();
    EXPECT_TRUE(replaced.load());
    LOGE("[%s:%d] free");
    EXPECT_EQ(next.count.load(), 1);
    SetLogSink(nullptr);
}

TEST(Log, ASinkMayBeReplacedAndDestroyedWhileManyThreadsLog) {
    constexpr int kThreads = 3;
    constexpr int kReplacements = 300;
    CountingSink idle;
    SetLogSink(&idle);
    std::atomic<bool> stop{false};
    std::atomic<int> written{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!stop.load()) {
                LOGE("[%s:%d] line");
                written.fetch_add(1);
            }
        });
    }
    ASSERT_TRUE(Eventually([&] { return written.load() > 0; }));
    int seen = 0;
    for (int i = 0; i < kReplacements; ++i) {
        CountingSink sink;
        SetLogSink(&sink);
        SetLogSink(&idle);
        seen += sink.count.load();
    }
    stop.store(true);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen + idle.count.load(), written.load());
    SetLogSink(nullptr);
}

}  // namespace
}  // namespace corebeacon
