#include "command/work_mode_manager.h"

#include <utility>

#include "command/handle.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_WM_MGR";

}  // namespace

WorkModeManager::WorkModeManager() {
    // Never released, so that there always is a first entry. It stays at mode 0 whatever
    // InitWorkMode says: a system that has served a mode request comes to rest in mode 0.
    mModeSet.insert({kNoHandle, PERF_WORK_MODE_0});
}

int WorkModeManager::InitWorkMode(PerfWorkMode mode) {
    if (!IsValidWorkModeId(mode)) {
        LOGE("[%s:%d] Init invalid workMode %u", static_cast<unsigned int>(mode));
        return -1;
    }
    MutexLock lock(mMutex);
    mCurrMode = mode;
    return 0;
}

void WorkModeManager::MakeRoom() {
    MutexLock lock(mMutex);
    MakeRoomLocked();
}

void WorkModeManager::MakeRoomLocked() {
    if (mSpareMode.empty()) {
        ModeSet modes{WorkModeInfo()};
        mSpareMode = modes.extract(modes.begin());
    }
    if (mSpareEntry.empty()) {
        HandleIndex entries;
        entries.try_emplace(0);
        mSpareEntry = entries.extract(entries.begin());
    }
}

int WorkModeManager::SetWorkMode(unsigned long handle, unsigned int mode, PerfWorkMode& result) {
    MutexLock lock(mMutex);
    if (mByHandle.contains(handle)) {
        LOGE("[%s:%d] invalid handle: %lu", handle);
        return -1;
    }
    if (!IsValidWorkModeId(mode)) {
        LOGE("[%s:%d] invalid mode id: %u", mode);
        return -1;
    }
    MakeRoomLocked();
    mSpareMode.value() = {handle, static_cast<PerfWorkMode>(mode)};
    mSpareEntry.key() = handle;
    mSpareEntry.mapped() = mModeSet.insert(std::move(mSpareMode));
    mByHandle.insert(std::move(mSpareEntry));
    return UpdateCurrWorkMode(result);
}

int WorkModeManager::ReleaseWorkMode(unsigned long handle, PerfWorkMode& result) {
    MutexLock lock(mMutex);
    const auto mode = mByHandle.find(handle);
    if (mode == mByHandle.end()) {
        LOGE("[%s:%d] invalid handle: %lu", handle);
        return -1;
    }
    mModeSet.erase(mode->second);
    mByHandle.erase(mode);
    LOGD("[%s:%d] release mode succ");
    return UpdateCurrWorkMode(result);
}

PerfWorkMode WorkModeManager::GetCurrWorkMode() const {
    MutexLock lock(mMutex);
    return mCurrMode;
}

void WorkModeManager::Dump(std::ostringstream& out) const {
    const PlainFormat format(out);
    MutexLock lock(mMutex);
    out << "\ncurrent mode = " << mCurrMode << ", modeNum(" << mModeSet.size()
        << ") <value, handle>:\n";
    for (const WorkModeInfo& info : mModeSet) {
        if (info.handle == kNoHandle) {
            out << "<" << info.mode << ",*>";
        } else {
            out << "<" << info.handle << ", " << info.mode << "> ";
        }
    }
}

int WorkModeManager::UpdateCurrWorkMode(PerfWorkMode& result) {
    const PerfWorkMode winner = mModeSet.begin()->mode;
    const bool changed = winner != mCurrMode;
    mCurrMode = winner;
    result = winner;
    return changed ? 1 : 0;
}

}  // namespace corebeacon
