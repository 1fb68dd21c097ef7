#include "corebeacon/log.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>

#include "platform/clock.h"
#include "platform/immortal.h"
#include "platform/logging.h"

namespace corebeacon {

std::atomic<unsigned int> gLogSwitch{0};

namespace {

constexpr std::size_t kUsualLineBytes = 1024;

/// Room for one line: on the stack as a rule, on the heap for an unusual one. When the heap has
/// nothing to give, the room stays small and the line is cut: logging never fails its caller.
class LineBuffer {
public:
    void Reserve(std::size_t size) noexcept {
        if (size <= mSize) {
            return;
        }
        mHeap.reset(new (std::nothrow) char[size]);
        if (mHeap != nullptr) {
            mSize = size;
        }
    }
    char* Data() noexcept { return mHeap != nullptr ? mHeap.get() : mStack.data(); }
    std::size_t Size() const noexcept { return mSize; }

private:
    std::array<char, kUsualLineBytes> mStack;
    std::unique_ptr<char[]> mHeap;
    std::size_t mSize = kUsualLineBytes;
};

char LevelLetter(int level) noexcept {
    switch (level) {
        case LOG_LEVEL_DEBUG:
            return 'D';
        case LOG_LEVEL_INFO:
            return 'I';
        case LOG_LEVEL_WARNING:
            return 'W';
        default:
            return 'E';
    }
}

// Some of the engine's texts end in a blank and a newline of their own; the sink adds the only one.
std::size_t TrimmedLength(const char* message) noexcept {
    std::size_t length = std::strlen(message);
    while (length > 0 && std::strchr(" \t\r\n", message[length - 1]) != nullptr) {
        --length;
    }
    return length;
}

/// "2025-03-05 09:07:03.042 E PF_TAG message" to standard error.
class StandardErrorSink : public LogSink {
public:
    void Write(int level, const char* tag, const char* message) noexcept override {
        const WallTimePoint now = GetClock().WallNow();
        const auto sinceEpoch =
            std::chrono::floor<std::chrono::milliseconds>(now.time_since_epoch());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
        const std::time_t wholeSeconds = static_cast<std::time_t>(seconds.count());
        std::tm local{};
        localtime_r(&wholeSeconds, &local);
        std::array<char, 32> time{};
        std::strftime(time.data(), time.size(), "%Y-%m-%d %H:%M:%S", &local);

        const std::size_t length = TrimmedLength(message);
        constexpr std::size_t kFrameBytes = 48;  // time, level letter, blanks, newline, terminator
        LineBuffer line;
        line.Reserve(kFrameBytes + std::strlen(tag) + length);
        const int wanted =
            std::snprintf(line.Data(), line.Size(), "%s.%03d %c %s %.*s\n", time.data(),
                          static_cast<int>((sinceEpoch - seconds).count()), LevelLetter(level), tag,
                          static_cast<int>(length), message);
        if (wanted < 0) {
            return;
        }
        std::size_t size = static_cast<std::size_t>(wanted);
        if (size >= line.Size()) {
            size = line.Size() - 1;
            line.Data()[size - 1] = '\n';
        }
        // One call a line, so that the lines of several threads never mix.
        while (::write(STDERR_FILENO, line.Data(), size) < 0 && errno == EINTR) {
        }
    }
};

/// The sink in force. Writers of lines share the lock, so they do not wait for each other; who
/// replaces the sink has it alone, and by then every thread has left the former one. A stream of
/// lines could keep a replacement waiting without end, so new lines queue behind one under way.
class SinkSlot {
public:
    void Set(LogSink* sink) {
        std::lock_guard<std::mutex> replacing(mReplaceMutex);
        mReplacing.store(true, std::memory_order_relaxed);
        {
            std::unique_lock<std::shared_mutex> alone(mSinkMutex);
            mSink = sink;
        }
        mReplacing.store(false, std::memory_order_relaxed);
    }

    void Write(int level, const char* tag, const char* message) {
        if (mReplacing.load(std::memory_order_relaxed)) {
            std::lock_guard<std::mutex> queued(mReplaceMutex);
        }
        std::shared_lock<std::shared_mutex> shared(mSinkMutex);
        LogSink& sink = mSink != nullptr ? *mSink : mStandardError;
        sink.Write(level, tag, message);
    }

private:
    std::mutex mReplaceMutex;             // one replacement at a time
    std::atomic<bool> mReplacing{false};  // set while one waits for the lock
    std::shared_mutex mSinkMutex;
    LogSink* mSink = nullptr;  // guarded by mSinkMutex; null means standard error
    StandardErrorSink mStandardError;
};

SinkSlot& TheSinkSlot() {
    static Immortal<SinkSlot> slot;
    return slot.Get();
}

}  // namespace

LogSink::~LogSink() = default;

void SetLogSink(LogSink* sink) {
    TheSinkSlot().Set(sink);
}

void VLogPrint(int level, const char* tag, const char* format, ...) noexcept {
    const int callersErrno = errno;  // who logs a failure may still want to look at it afterwards
    LineBuffer line;
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    int wanted = std::vsnprintf(line.Data(), line.Size(), format, arguments);
    if (wanted >= 0 && static_cast<std::size_t>(wanted) >= line.Size()) {
        line.Reserve(static_cast<std::size_t>(wanted) + 1);
        wanted = std::vsnprintf(line.Data(), line.Size(), format, again);
    }
    va_end(again);
    va_end(arguments);
    if (wanted >= 0) {
        TheSinkSlot().Write(level, tag, line.Data());
    }
    errno = callersErrno;
}

namespace PfLogonNamespace {

int PfLogonSet(unsigned int value) {
    gLogSwitch.store(value, std::memory_order_relaxed);
    return 0;
}

const std::atomic<unsigned int>* PfLogonGet() {
    return &gLogSwitch;
}

}  // namespace PfLogonNamespace

}  // namespace corebeacon
