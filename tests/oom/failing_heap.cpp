#include "oom/failing_heap.h"

#include <atomic>
#include <cstdlib>
#include <utility>

#include "support/heap_operators.h"

namespace {

using corebeacon::test::HeapUser;
using corebeacon::test::Shortage;

enum class Watched { NOBODY, TESTS_THREAD, OTHER_THREADS };

std::atomic<Watched> gWatched{Watched::NOBODY};
std::atomic<Shortage> gShortage{Shortage::ONCE};
std::atomic<long> gLeft{0};
std::atomic<bool> gHasFailed{false};
std::function<void()> gAhead;  // changed only while nobody is watched
thread_local bool gIsTestsThread = false;
thread_local int gExemptions = 0;

bool IsToFail() {
    const Watched watched = gWatched.load();
    if (watched == Watched::NOBODY || gExemptions > 0 ||
        (watched == Watched::TESTS_THREAD) != gIsTestsThread) {
        return false;
    }
    const long left = --gLeft;
    if (left > 0 || (left < 0 && gShortage.load() == Shortage::ONCE)) {
        return false;
    }
    if (!gHasFailed.exchange(true) && gAhead) {
        const corebeacon::test::HeapExemption exemption;
        gAhead();
    }
    return true;
}

}  // namespace

namespace corebeacon::test {

void* TakeFromHeap(std::size_t size) {
    return IsToFail() ? nullptr : std::malloc(size);
}

void GiveToHeap(void* block) noexcept {
    std::free(block);
}

FailingHeap::FailingHeap(HeapUser user, Shortage shortage, long nth, std::function<void()> ahead) {
    gIsTestsThread = true;
    gAhead = std::move(ahead);
    gHasFailed = false;
    gShortage = shortage;
    gLeft = nth;
    gWatched = user == HeapUser::THIS_THREAD ? Watched::TESTS_THREAD : Watched::OTHER_THREADS;
}

FailingHeap::~FailingHeap() {
    gWatched = Watched::NOBODY;
}

bool FailingHeap::HasFailed() {
    return gHasFailed;
}

HeapExemption::HeapExemption() {
    ++gExemptions;
}

HeapExemption::~HeapExemption() {
    --gExemptions;
}

}  // namespace corebeacon::test
