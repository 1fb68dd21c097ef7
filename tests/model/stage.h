/// Where a test directs an engine's workers. A command without an item is a gate: its worker logs
/// that, from inside the call stops, and goes on only when it is permitted to. So one worker at a
/// time moves, from gate to gate, under a clock that stands still. Owned by a test, made before the
/// engine and destroyed after it; the director is one thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "corebeacon/log.h"
#include "support/deadline.h"
#include "support/manual_clock.h"

namespace corebeacon::model {

class Stage : public test::ManualClock, public LogSink {
public:
    Stage() { SetLogSink(this); }
    ~Stage() override { SetLogSink(nullptr); }

    /// Whether the worker of the resource `name` has come to a gate.
    bool AwaitParked(const std::string& name) {
        std::unique_lock<std::mutex> lock(mMutex);
        const Actor& actor = mActors[name];
        return mDirector.wait_for(lock, test::kDeadline, [&actor] { return actor.parked; });
    }

    /// Whether that worker, which has passed its last gate, has nothing left to do.
    bool AwaitIdle(const std::string& name) {
        std::unique_lock<std::mutex> lock(mMutex);
        const Actor& actor = mActors[name];
        return mDirector.wait_for(lock, test::kDeadline, [this, &actor] {
            return !actor.parked && mIdle.contains(actor.thread);
        });
    }

    /// Lets a parked worker go on.
    void Permit(const std::string& name) {
        const std::lock_guard<std::mutex> lock(mMutex);
        Actor& actor = mActors[name];
        actor.parked = false;
        actor.resume.notify_one();
    }

    /// Lets all go on, now and later.
    void OpenAll() {
        const std::lock_guard<std::mutex> lock(mMutex);
        mOpen = true;
        for (auto& [name, actor] : mActors) {
            actor.resume.notify_one();
        }
    }

    void Write(int /*level*/, const char* /*tag*/, const char* message) noexcept override {
        const std::string text(message);
        static const std::string kGate = "] empty command";
        if (!text.ends_with(kGate)) {
            return;
        }
        const std::size_t begin = text.find("] [") + 3;
        const std::string name = text.substr(begin, text.size() - kGate.size() - begin);
        std::unique_lock<std::mutex> lock(mMutex);
        Actor& actor = mActors[name];
        actor.thread = std::this_thread::get_id();
        actor.parked = true;
        mDirector.notify_one();
        actor.resume.wait(lock, [this, &actor] { return mOpen || !actor.parked; });
    }

    void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) override REQUIRES(mutex) {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mIdle.insert(std::this_thread::get_id());
            mDirector.notify_one();
        }
        ManualClock::WaitUntil(cond, mutex, deadline);
        const std::lock_guard<std::mutex> lock(mMutex);
        mIdle.erase(std::this_thread::get_id());
    }

private:
    struct Actor {
        std::thread::id thread;
        bool parked = false;
        std::condition_variable resume;
    };
    std::mutex mMutex;
    std::condition_variable mDirector;
    // guarded by mMutex
    std::map<std::string, Actor> mActors;  // by name of the resource
    std::set<std::thread::id> mIdle;
    bool mOpen = false;
};

}  // namespace corebeacon::model
