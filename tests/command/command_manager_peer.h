/// Reaches into a handle table to put it into states that no operation leads to, for the tests of
/// the checks that guard against them. Stateless; only while no other thread uses the table.
#pragma once

#include "command/command_manager.h"

namespace corebeacon {

class CommandManagerPeer {
public:
    static void SetNextHandle(CommandManager& manager, unsigned long handle) {
        MutexLock lock(manager.mMutex);
        manager.mNextHandle = handle;
    }

    static void SetStoredType(CommandManager& manager, int owner, unsigned long handle,
                              PerfCommandType type) {
        MutexLock lock(manager.mMutex);
        manager.mCommands.at(owner).at(handle).SetType(type);
    }

    static bool EraseEndTimeRecord(CommandManager& manager, const TimePoint& end,
                                   unsigned long handle) {
        MutexLock lock(manager.mMutex);
        return manager.mEndTimes.Erase(end, handle);
    }

    static bool EraseCommand(CommandManager& manager, int owner, unsigned long handle) {
        MutexLock lock(manager.mMutex);
        CommandWrapper cmd;
        const auto probe = manager.mProbes.find(owner);
        const bool probed = probe != manager.mProbes.end() && probe->second == handle;
        const bool taken = manager.TakeCommand(owner, handle, cmd);
        if (probed) {
            manager.mProbes.emplace(owner, handle);
        }
        return taken;
    }
};

}  // namespace corebeacon
