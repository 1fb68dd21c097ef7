#include "model/naive_handle_table.h"

#include <algorithm>
#include <set>

namespace corebeacon::model {

namespace {

constexpr unsigned long kNone = ~0UL - 10;  // what the allocator answers when it has none
constexpr std::uint32_t kShortStart = 0;
constexpr std::uint32_t kLongStart = 2;
constexpr std::uint32_t kModeStart = 4;
constexpr std::uint32_t kBaseSet = 9;

}  // namespace

std::uint32_t StopTypeOf(std::uint32_t type) {
    return type == kShortStart || type == kLongStart ? type + 1 : type;
}

long NaiveHandleTable::CountOwners() const {
    std::set<int> owners;
    for (const NaiveCommand& command : mCommands) {
        owners.insert(command.owner);
    }
    return static_cast<long>(owners.size());
}

void NaiveHandleTable::ClearExpired(TimePoint now) {
    for (std::size_t i = 0; i < mCommands.size();) {
        const NaiveCommand& command = mCommands[i];
        if (command.type != kShortStart || command.end > now) {
            ++i;
            continue;
        }
        if (mForgetsProbes && command.role == NaiveCommand::PROBE) {
            mStaleProbes.push_back(command.owner);
        }
        mCommands.erase(mCommands.begin() + static_cast<long>(i));
        --mLive;
    }
}

unsigned long NaiveHandleTable::Alloc(int owner) {
    const auto held =
        std::count_if(mCommands.begin(), mCommands.end(),
                      [owner](const NaiveCommand& command) { return command.owner == owner; });
    const bool full = held > 0 ? held >= static_cast<long>(mSetUp.maxHandlesPerOwner)
                               : CountOwners() >= static_cast<long>(mSetUp.maxOwners);
    if (mLive >= mSetUp.maxHandles || owner < 0 || full || mNext == kNone) {
        return kNone;
    }
    ++mLive;
    return mNext++;
}

/// Keeps what an allocated handle stands for; a refused type costs the handle all the same.
int NaiveHandleTable::Store(NaiveCommand command, const CommandWrapper& cmd) {
    command.type = cmd.GetType();
    if (command.type != kShortStart && command.type != kLongStart && command.type != kModeStart) {
        return -1;
    }
    command.start = cmd.GetStartTime();
    command.end = cmd.GetEndTime();
    command.duration = cmd.GetDuration();
    command.items.assign(cmd.GetItems().begin(), cmd.GetItems().end());
    if (command.role != NaiveCommand::REQUEST) {
        for (const auto& item : command.items) {
            command.end = std::max(command.end, item->endTime);
        }
    }
    mCommands.push_back(command);
    return 0;
}

int NaiveHandleTable::Request(int pid, TimePoint now, const CommandWrapper& cmd,
                              unsigned long& handle) {
    if (pid <= mSetUp.reservedPid) {
        return -1;
    }
    if (cmd.GetType() == kBaseSet) {
        handle = ~0UL;
        return 0;
    }
    ClearExpired(now);
    handle = Alloc(pid);
    if (handle == kNone) {
        return -1;
    }
    NaiveCommand command;
    command.owner = pid;
    command.handle = handle;
    return Store(command, cmd);
}

int NaiveHandleTable::RequestEvent(std::uint32_t id, TimePoint now, const CommandWrapper& cmd,
                                   unsigned long& handle) {
    ClearExpired(now);
    handle = Alloc(mSetUp.reservedPid);
    if (handle == kNone) {
        return -1;
    }
    NaiveCommand command;
    command.role = NaiveCommand::EVENT;
    command.eventId = id;
    command.owner = mSetUp.reservedPid;
    command.handle = handle;
    return Store(command, cmd);
}

int NaiveHandleTable::RequestProbe(int tid, TimePoint now, const CommandWrapper& cmd,
                                   unsigned long& handle) {
    ClearExpired(now);
    if (IsProbed(tid)) {
        return 0;
    }
    // The reserved pid owns the events; a thread of that number would be mistaken for one.
    handle = tid <= mSetUp.reservedPid ? kNone : Alloc(tid);
    if (handle == kNone) {
        return 2;
    }
    NaiveCommand command;
    command.role = NaiveCommand::PROBE;
    command.owner = tid;
    command.handle = handle;
    return Store(command, cmd);
}

bool NaiveHandleTable::IsRegistered(int owner, unsigned long handle) const {
    return std::any_of(mCommands.begin(), mCommands.end(), [=](const NaiveCommand& command) {
        return command.owner == owner && command.handle == handle;
    });
}

bool NaiveHandleTable::IsProbed(int tid) const {
    return std::count(mStaleProbes.begin(), mStaleProbes.end(), tid) > 0 ||
           std::any_of(mCommands.begin(), mCommands.end(), [tid](const NaiveCommand& command) {
               return command.role == NaiveCommand::PROBE && command.owner == tid;
           });
}

/// Moves what is wanted into `out`; -1 when that is nothing.
template <typename Wanted>
int NaiveHandleTable::Take(Wanted wanted, std::vector<NaiveCommand>& out) {
    std::vector<NaiveCommand> left;
    for (NaiveCommand& command : mCommands) {
        if (wanted(command)) {
            command.type = StopTypeOf(command.type);
            out.push_back(command);
            --mLive;
        } else {
            left.push_back(command);
        }
    }
    mCommands = left;
    return out.empty() ? -1 : 0;
}

int NaiveHandleTable::Release(int pid, unsigned long handle, TimePoint now,
                              std::vector<NaiveCommand>& out) {
    if (pid <= mSetUp.reservedPid) {
        return -1;
    }
    ClearExpired(now);
    return Take(
        [=](const NaiveCommand& command) {
            return command.owner == pid && command.handle == handle;
        },
        out);
}

int NaiveHandleTable::ReleaseAll(int pid, TimePoint now, std::vector<NaiveCommand>& out) {
    if (pid <= mSetUp.reservedPid) {
        return -1;
    }
    ClearExpired(now);
    return Take([=](const NaiveCommand& command) { return command.owner == pid; }, out);
}

int NaiveHandleTable::ReleaseAll(TimePoint now, std::vector<NaiveCommand>& out) {
    ClearExpired(now);
    Take([](const NaiveCommand&) { return true; }, out);
    return 0;
}

int NaiveHandleTable::ReleaseEvent(std::uint32_t id, TimePoint now,
                                   std::vector<NaiveCommand>& out) {
    ClearExpired(now);
    return Take(
        [=](const NaiveCommand& command) {
            return command.role == NaiveCommand::EVENT && command.eventId == id;
        },
        out);
}

int NaiveHandleTable::ReleaseProbe(int tid, TimePoint now, std::vector<NaiveCommand>& out) {
    ClearExpired(now);
    return Take(
        [=](const NaiveCommand& command) {
            return command.role == NaiveCommand::PROBE && command.owner == tid;
        },
        out);
}

std::string NaiveHandleTable::CountsText() const {
    const auto count = [this](auto wanted) {
        return std::to_string(std::count_if(mCommands.begin(), mCommands.end(), wanted));
    };
    const auto role = [](NaiveCommand::Role wanted) {
        return [wanted](const NaiveCommand& command) { return command.role == wanted; };
    };
    const auto timed = [](const NaiveCommand& command) { return command.type == kShortStart; };
    return "live " + std::to_string(mLive) + ", commands " + std::to_string(mCommands.size()) +
           ", owners " + std::to_string(CountOwners()) + ", timed " + count(timed) + ", events " +
           count(role(NaiveCommand::EVENT)) + ", probes " + count(role(NaiveCommand::PROBE));
}

}  // namespace corebeacon::model
