/// What the handle table must do: one flat list of live commands, searched from the front for
/// everything. Owned by a test, used by one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "command/command_wrapper.h"

namespace corebeacon::model {

/// How large the table may become, who owns events, and where the numbers begin.
struct HandleTableSetUp {
    unsigned int maxOwners = 2;
    unsigned int maxHandlesPerOwner = 3;
    unsigned int maxHandles = 5;
    int reservedPid = 0;
    unsigned long firstHandle = 1;
};

/// A command as the table keeps it.
struct NaiveCommand {
    enum Role { REQUEST, EVENT, PROBE };
    Role role = REQUEST;
    std::uint32_t eventId = 0;  ///< of an EVENT
    int owner = 0;
    unsigned long handle = 0;
    std::uint32_t type = 0;
    TimePoint start;
    TimePoint end;
    unsigned int duration = 0;
    std::vector<std::shared_ptr<PerfCommandItem>> items;
};

class NaiveHandleTable {
public:
    /// `forgetsProbes` plants a mistake: a probe stays known when its command expires.
    explicit NaiveHandleTable(const HandleTableSetUp& setUp, bool forgetsProbes = false)
        : mSetUp(setUp), mForgetsProbes(forgetsProbes), mNext(setUp.firstHandle) {}

    int Request(int pid, TimePoint now, const CommandWrapper& cmd, unsigned long& handle);
    int RequestEvent(std::uint32_t id, TimePoint now, const CommandWrapper& cmd,
                     unsigned long& handle);
    int RequestProbe(int tid, TimePoint now, const CommandWrapper& cmd, unsigned long& handle);

    bool IsRegistered(int owner, unsigned long handle) const;
    bool IsProbed(int tid) const;

    /// The builders answer with the commands in their stop form, in order of their handles.
    int Release(int pid, unsigned long handle, TimePoint now, std::vector<NaiveCommand>& out);
    int ReleaseAll(int pid, TimePoint now, std::vector<NaiveCommand>& out);
    int ReleaseAll(TimePoint now, std::vector<NaiveCommand>& out);
    int ReleaseEvent(std::uint32_t id, TimePoint now, std::vector<NaiveCommand>& out);
    int ReleaseProbe(int tid, TimePoint now, std::vector<NaiveCommand>& out);

    /// "live 1, commands 1, owners 1, timed 1, events 0, probes 0".
    std::string CountsText() const;

private:
    template <typename Wanted>
    int Take(Wanted wanted, std::vector<NaiveCommand>& out);
    void ClearExpired(TimePoint now);
    unsigned long Alloc(int owner);
    int Store(NaiveCommand command, const CommandWrapper& cmd);
    long CountOwners() const;

    const HandleTableSetUp mSetUp;
    const bool mForgetsProbes;
    unsigned long mNext;
    unsigned int mLive = 0;
    std::vector<NaiveCommand> mCommands;
    std::vector<int> mStaleProbes;  ///< only for the planted mistake
};

/// The type of the release of a `type` command; `type` itself where there is none.
std::uint32_t StopTypeOf(std::uint32_t type);

}  // namespace corebeacon::model
