/// A device in memory that stands in for the kernel: a NodeIo whose nodes clamp, round, refuse,
/// vanish and come back as those of a real kernel do, that fails on demand, and that remembers
/// every call. Owned by the program or test that installs it with SetNodeIo; it must outlive every
/// engine that runs on it. Every operation may be called from any thread. A call that is held up
/// by a fault holds no lock, so it delays nobody else.
///
/// Reads show a write at once, where a real kernel may lag behind by some tens of milliseconds.
/// Descriptors are numbers that no other file of the process has and that are never given out
/// twice, so that a use after close is seen as EBADF.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "corebeacon/node_io.h"
#include "sim/fault.h"
#include "sim/node_traits.h"
#include "sim/operation.h"

namespace corebeacon::sim {

class CpufreqPolicy;
class FaultList;
class Node;
class NodeSlot;
class OperationRecord;

struct ThermalZoneSetUp {
    std::string type;
    int sustainablePowerMw = 0;
    std::vector<int> tripTempsMilliC;
};

class SimulatedDevice : public NodeIo {
public:
    using Observer = std::function<void(const Operation&)>;
    using FaultId = std::uint64_t;
    static constexpr std::size_t kUnbounded = static_cast<std::size_t>(-1);

    /// An empty device; add nodes to taste.
    SimulatedDevice();
    ~SimulatedDevice() override;
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    /// A device with every node that the built-in table names for this chip variant (0, 1 or 2;
    /// null for any other), holding what it holds after boot. While it is being built it is the
    /// NodeIo in force, because the table reads nodes: no engine may be running.
    static std::unique_ptr<SimulatedDevice> ForChip(unsigned chip);

    // ---- The calls of NodeIo ----
    int Open(const char* path, int flags) override;
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;

    // ---- Set-up. A path that exists already gets the new node; descriptors of the old one are
    // dead. Texts are given without the newline that reads append. ----

    /// Takes and returns any text.
    void AddText(const std::string& path, const std::string& value,
                 Access access = Access::READ_WRITE);
    /// Read-only; reads return exactly these bytes, nothing appended.
    void AddContent(const std::string& path, const std::string& bytes);
    /// Takes one of `choices`, else EINVAL.
    void AddChoice(const std::string& path, std::vector<std::string> choices,
                   const std::string& value);
    /// Takes decimal numbers of [min, max], else EINVAL (ERANGE beyond 64 bits).
    void AddNumber(const std::string& path, std::int64_t value, std::int64_t min, std::int64_t max);
    /// A node of the binary kind: a write of 4 bytes is a request of its descriptor, closing drops
    /// it, a read gives the 4 bytes of the aggregate. With `hexText` other lengths are hexadecimal
    /// text, without it EINVAL.
    void AddBinary(const std::string& path, Aggregate aggregate, std::int32_t idleValue,
                   bool hexText);
    /// A write-only device that carries out these ioctl requests and no others (ENOTTY).
    void AddIoctl(const std::string& path, std::vector<unsigned long> requests);
    /// scaling_available_frequencies, scaling_min_freq, scaling_max_freq and the governor of one
    /// policy, in `directory`; the governor's own nodes are added with AddGovernorNode.
    void AddCpufreqPolicy(const std::string& directory, std::vector<std::int64_t> frequenciesKhz);
    /// A text node of schedutil/ in a policy's directory; it comes and goes with the governor.
    void AddGovernorNode(const std::string& policyDirectory, const std::string& name,
                         const std::string& value);
    /// available_frequencies, min_freq and max_freq in `directory`.
    void AddDevfreq(const std::string& directory, std::vector<std::int64_t> frequenciesHz);
    /// type, mode, policy, sustainable_power and the trip points, in `directory`.
    void AddThermalZone(const std::string& directory, const ThermalZoneSetUp& setUp);

    /// Whether opening for writing gives EACCES, whoever asks. Open descriptors keep their rights.
    /// Unknown paths are ignored, as in every function below.
    void SetReadOnly(const std::string& path, bool readOnly);
    void SetKernelStyle(KernelStyle style);

    // ---- What happens to devices ----

    /// The CPUs of a policy go: the pair stays but is busy, the governor's nodes vanish. Back
    /// online the limits are as they were and the governor's nodes hold their defaults.
    void SetPolicyOnline(const std::string& policyDirectory, bool online);
    /// Same as writing scaling_governor: the nodes of schedutil/ exist only under "schedutil".
    void SetGovernor(const std::string& policyDirectory, const std::string& governor);
    /// A thermal ceiling on a policy: writes succeed, but reads show at most this. 0 lifts it.
    void Throttle(const std::string& policyDirectory, std::int64_t ceilingKhz);
    /// The node vanishes: open gives ENOENT, and held descriptors give ENODEV for ever.
    void Remove(const std::string& path);
    /// It comes back, holding its default; only new descriptors reach it.
    void Restore(const std::string& path);
    /// The same for everything below a directory.
    void RemoveTree(const std::string& directory);
    void RestoreTree(const std::string& directory);

    // ---- Faults ----

    /// `path` need not exist, so that an open can fail in another way than ENOENT.
    FaultId Inject(const std::string& path, OperationKind kind, const Fault& fault);
    /// A fault of every node, counted over all of them.
    FaultId InjectEverywhere(OperationKind kind, const Fault& fault);
    void RemoveFault(FaultId id);
    void ClearFaults();
    /// How often it struck; 0 once it was removed.
    std::size_t FaultHits(FaultId id) const;

    // ---- The record ----

    /// Keeps only the newest `count` operations; 0 switches recording off. Initially kUnbounded.
    void SetRecordLimit(std::size_t count);
    void ClearRecord();
    std::vector<Operation> Operations() const;
    /// The operations of one kind, successful or not.
    std::vector<Operation> Operations(OperationKind kind) const;
    /// The successful writes (complete or short) of all nodes, in order.
    std::vector<Operation> Writes() const;
    /// The bytes of the successful writes to one node, in order.
    std::vector<std::string> WritesTo(const std::string& path) const;
    /// What an ioctl device carried out, in order.
    std::vector<IoctlRequest> IoctlsTo(const std::string& path) const;
    /// All operations since construction, recorded or not.
    std::uint64_t OperationCount() const;

    /// Called after each operation, recorded or not, by the thread that made the call; null for
    /// none. It may use the queries of the device. When this returns, no thread is inside the
    /// former observer; so an observer must not call it.
    void SetObserver(Observer observer);

    // ---- Queries; they are no operations and leave no trace ----

    bool Exists(const std::string& path) const;
    /// What a read would give, without the final newline or NUL; a binary node's number in
    /// decimal; what was last written to a write-only node; for an ioctl device its priorities in
    /// force, "id:prio", separated by blanks. "" when nothing can be read.
    std::string Value(const std::string& path) const;
    /// Exactly the bytes that a read would give.
    std::string Bytes(const std::string& path) const;
    std::size_t OpenDescriptors() const;
    /// Open descriptors of one node.
    std::size_t OpenDescriptors(const std::string& path) const;
    /// All nodes present, sorted.
    std::vector<std::string> Nodes() const;
    /// The nodes that a write or ioctl succeeded on since the last ClearRecord, sorted.
    std::vector<std::string> TouchedNodes() const;
    /// Value of every node present, for comparing before and after.
    std::map<std::string, std::string> Snapshot() const;

private:
    struct OpenFile;

    std::shared_ptr<NodeSlot> Add(const std::string& path, std::shared_ptr<Node> node);
    std::shared_ptr<NodeSlot> Slot(const std::string& path) const;
    std::vector<std::shared_ptr<NodeSlot>> AllSlots() const;
    std::vector<std::shared_ptr<NodeSlot>> SlotsBelow(const std::string& directory) const;
    std::vector<std::shared_ptr<CpufreqPolicy>> Policies() const;
    std::shared_ptr<CpufreqPolicy> Policy(const std::string& directory) const;
    void HideIdleGovernors();
    std::shared_ptr<OpenFile> File(int fd) const;
    ssize_t OpenSlot(Operation& operation, const std::shared_ptr<NodeSlot>& slot, int flags);
    template <typename Perform>
    ssize_t Serve(Operation& operation, Perform perform);
    void Note(Operation& operation, ssize_t outcome);
    ssize_t Announce(const Operation& operation, int formerErrno) const;

    std::atomic<int> mNextFd;
    const std::unique_ptr<FaultList> mFaults;
    const std::unique_ptr<OperationRecord> mRecord;

    mutable std::shared_mutex mTreeMutex;  // never held while a slot's lock is taken
    // guarded by mTreeMutex
    std::map<std::string, std::shared_ptr<NodeSlot>> mSlots;
    std::map<std::string, std::shared_ptr<CpufreqPolicy>> mPolicies;
    std::unordered_map<int, std::shared_ptr<OpenFile>> mFiles;
    KernelStyle mStyle = KernelStyle::CURRENT;

    mutable std::shared_mutex mObserverMutex;
    Observer mObserver;  // guarded by mObserverMutex
};

}  // namespace corebeacon::sim
