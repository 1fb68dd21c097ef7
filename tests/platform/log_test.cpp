#include "corebeacon/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
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
#include "support/thread_state.h"

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

/// Standard error is what `fd` is, for a scope.
class StandardErrorTo {
public:
    explicit StandardErrorTo(int fd) : mFormer(::dup(STDERR_FILENO)) { ::dup2(fd, STDERR_FILENO); }
    ~StandardErrorTo() {
        ::dup2(mFormer, STDERR_FILENO);
        ::close(mFormer);
    }
    StandardErrorTo(const StandardErrorTo&) = delete;
    StandardErrorTo& operator=(const StandardErrorTo&) = delete;

private:
    int mFormer;
};

/// Standard error as a file for a scope.
class StandardErrorCapture {
public:
    StandardErrorCapture() : mFile(std::tmpfile()), mRedirection(::fileno(mFile)) {}
    ~StandardErrorCapture() { std::fclose(mFile); }
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
    StandardErrorTo mRedirection;
};

/// A pipe with no room left, so that who writes to it waits until somebody reads.
class FullPipe {
public:
    FullPipe() {
        EXPECT_EQ(::pipe(mEnds.data()), 0);
        ::fcntl(WriteEnd(), F_SETFL, O_NONBLOCK);
        const std::array<char, 4096> filling{};
        for (ssize_t put = 0; put >= 0;) {
            put = ::write(WriteEnd(), filling.data(), filling.size());
            mFilled += put > 0 ? static_cast<std::size_t>(put) : 0U;
        }
        ::fcntl(WriteEnd(), F_SETFL, 0);
    }
    ~FullPipe() {
        ::close(mEnds[0]);
        ::close(mEnds[1]);
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    int WriteEnd() const { return mEnds[1]; }

    /// What was written behind the filling, up to the end of a line.
    std::string ReadLine() const {
        std::string text;
        while (text.size() <= mFilled || text.back() != '\n') {
            pollfd readable{.fd = mEnds[0], .events = POLLIN, .revents = 0};
            if (::poll(&readable, 1, kNoLineMs) != 1) {
                break;
            }
            std::array<char, 4096> buffer;
            const ssize_t got = ::read(mEnds[0], buffer.data(), buffer.size());
            if (got <= 0) {
                break;
            }
            text.append(buffer.data(), static_cast<std::size_t>(got));
        }
        return text.size() > mFilled ? text.substr(mFilled) : "";
    }

private:
    static constexpr int kNoLineMs = 10000;

    std::array<int, 2> mEnds{-1, -1};
    std::size_t mFilled = 0;
};

std::atomic<int> gSignals{0};

/// Signals that interrupt what their thread does, counted for a scope.
class InterruptingSignal {
public:
    InterruptingSignal() {
        gSignals = 0;
        struct sigaction action = {};  // without SA_RESTART
        action.sa_handler = [](int) { ++gSignals; };
        ::sigaction(SIGUSR1, &action, &mFormer);
    }
    ~InterruptingSignal() { ::sigaction(SIGUSR1, &mFormer, nullptr); }
    InterruptingSignal(const InterruptingSignal&) = delete;
    InterruptingSignal& operator=(const InterruptingSignal&) = delete;

    static void SendTo(std::thread& thread) { ::pthread_kill(thread.native_handle(), SIGUSR1); }
    static int Count() { return gSignals; }

private:
    struct sigaction mFormer = {};
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
    VLogPrint(LOG_LEVEL_ERROR, "PF_TEST", "[f:1] %s", text.c_str());
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

TEST(Log, ALineThatStandardErrorRefusesIsDroppedAndTheNextOneArrives) {
    test::ManualClock clock(TimePoint(std::chrono::seconds(1741165623)));
    {
        const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        ASSERT_GE(full, 0);
        StandardErrorTo refusing(full);
        ::close(full);
        errno = 0;
        VLogPrint(LOG_LEVEL_ERROR, "PF_A", "lost");
        EXPECT_EQ(errno, 0);
    }
    StandardErrorCapture standardError;
    VLogPrint(LOG_LEVEL_ERROR, "PF_A", "kept");
    EXPECT_EQ(standardError.Text(), LocalPrefix(1741165623) + ".000 E PF_A kept\n");
}

TEST(Log, ALineThatASignalInterruptsIsWrittenAllTheSame) {
    test::ManualClock clock(TimePoint(std::chrono::seconds(1741165623)));
    InterruptingSignal signal;
    FullPipe pipe;
    StandardErrorTo redirection(pipe.WriteEnd());
    std::atomic<pid_t> tid{0};
    std::thread writer([&tid] {
        tid = ::gettid();
        VLogPrint(LOG_LEVEL_ERROR, "PF_A", "late");
    });
    EXPECT_TRUE(Eventually([&] { return test::IsAsleep(tid); }));
    InterruptingSignal::SendTo(writer);
    EXPECT_TRUE(Eventually([] { return InterruptingSignal::Count() == 1; }));
    EXPECT_TRUE(Eventually([&] { return test::IsAsleep(tid); }));
    EXPECT_EQ(pipe.ReadLine(), LocalPrefix(1741165623) + ".000 E PF_A late\n");
    writer.join();
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

TEST(Log, ALineThatComesWhileAReplacementWaitsGoesToTheNewSink) {
    HoldingSink former;
    CountingSink next;
    SetLogSink(&former);
    std::thread writer([] { LOGE("[%s:%d] held"); });
    former.entered.get_future().wait();
    std::atomic<pid_t> replacing{0};
    std::thread replacer([&] {
        replacing = ::gettid();
        SetLogSink(&next);
    });
    EXPECT_TRUE(Eventually([&] { return test::IsAsleep(replacing); }));
    std::atomic<pid_t> logging{0};
    std::thread late([&] {
        logging = ::gettid();
        LOGE("[%s:%d] late");
    });
    EXPECT_TRUE(Eventually([&] { return test::IsAsleep(logging); }));
    former.release.set_value();
    writer.join();
    replacer.join();
    late.join();
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
