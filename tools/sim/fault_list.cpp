#include "sim/fault_list.h"

#include <algorithm>
#include <thread>

namespace corebeacon::sim {

void Mishap::SitOut() const {
    for (const std::shared_ptr<Gate>& gate : gates) {
        gate->Pass();
    }
    if (delay > std::chrono::nanoseconds(0)) {
        std::this_thread::sleep_for(delay);
    }
}

std::size_t Mishap::Limit(std::size_t size) const {
    return shortCount ? std::min(size, *shortCount) : size;
}

std::uint64_t FaultList::Add(const std::string& path, OperationKind kind, const Fault& fault) {
    const std::lock_guard lock(mMutex);
    mEntries.push_back({++mLastId, path, kind, fault});
    mEmpty = false;
    return mLastId;
}

void FaultList::Remove(std::uint64_t id) {
    const std::lock_guard lock(mMutex);
    std::erase_if(mEntries, [id](const Entry& entry) { return entry.id == id; });
    mEmpty = mEntries.empty();
}

void FaultList::Clear() {
    const std::lock_guard lock(mMutex);
    mEntries.clear();
    mEmpty = true;
}

std::size_t FaultList::Hits(std::uint64_t id) const {
    const std::lock_guard lock(mMutex);
    const auto found = std::find_if(mEntries.begin(), mEntries.end(),
                                    [id](const Entry& entry) { return entry.id == id; });
    return found == mEntries.end() ? 0 : found->hits;
}

Mishap FaultList::Strike(const std::string& path, OperationKind kind) {
    Mishap mishap;
    if (mEmpty) {
        return mishap;
    }
    const std::lock_guard lock(mMutex);
    for (Entry& entry : mEntries) {
        if (entry.kind != kind || (!entry.path.empty() && entry.path != path)) {
            continue;
        }
        const bool early = entry.seen++ < entry.fault.mSkip;
        if (early || entry.hits >= entry.fault.mTimes) {
            continue;
        }
        ++entry.hits;
        mishap.delay += entry.fault.mDelay;
        if (entry.fault.mGate) {
            mishap.gates.push_back(entry.fault.mGate);
        }
        if (mishap.error == 0 && !mishap.shortCount) {
            mishap.error = entry.fault.mError;
            mishap.shortCount = entry.fault.mShort;
        }
    }
    return mishap;
}

}  // namespace corebeacon::sim
