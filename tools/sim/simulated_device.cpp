#include "sim/simulated_device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "sim/fault_list.h"
#include "sim/node.h"
#include "sim/node_slot.h"
#include "sim/operation_record.h"

namespace corebeacon::sim {

namespace {

constexpr int kFirstFd = 1000000;  // above what the process's own files ever reach

bool OpensForReading(int flags) {
    return (flags & O_ACCMODE) != O_WRONLY;
}

bool OpensForWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

Operation Begin(OperationKind kind, int fd) {
    Operation operation;
    operation.kind = kind;
    operation.fd = fd;
    operation.thread = gettid();
    return operation;
}

}  // namespace

struct SimulatedDevice::OpenFile {
    const std::shared_ptr<NodeSlot> slot;
    const int flags;
    const std::uint64_t generation;
    // guarded by slot->mutex
    std::optional<std::string> contents;  // fixed by the first read
    std::size_t position = 0;
};

SimulatedDevice::SimulatedDevice()
    : mNextFd(kFirstFd),
      mFaults(std::make_unique<FaultList>()),
      mRecord(std::make_unique<OperationRecord>()) {}

SimulatedDevice::~SimulatedDevice() = default;

int SimulatedDevice::Open(const char* path, int flags) {
    const int formerErrno = errno;
    Operation operation = Begin(OperationKind::OPEN, -1);
    operation.path = path != nullptr ? path : "";
    operation.flags = flags;
    const Mishap mishap = mFaults->Strike(operation.path, operation.kind);
    mishap.SitOut();
    const std::shared_ptr<NodeSlot> slot = Slot(operation.path);
    if (mishap.error != 0 || !slot) {
        Note(operation, mishap.error != 0 ? -mishap.error : -ENOENT);
    } else {
        Note(operation, OpenSlot(operation, slot, flags));
    }
    return static_cast<int>(Announce(operation, formerErrno));
}

ssize_t SimulatedDevice::OpenSlot(Operation& operation, const std::shared_ptr<NodeSlot>& slot,
                                  int flags) {
    std::shared_ptr<OpenFile> file;
    {
        const std::lock_guard lock(slot->mutex);
        if (!slot->present) {
            return -ENOENT;
        }
        if ((OpensForWriting(flags) && !slot->node->MayWrite()) ||
            (OpensForReading(flags) && !slot->node->MayRead())) {
            return -EACCES;
        }
        operation.fd = mNextFd++;
        slot->node->Opened(operation.fd);
        file = std::make_shared<OpenFile>(OpenFile{slot, flags, slot->generation, {}, 0});
    }
    const std::lock_guard lock(mTreeMutex);
    mFiles[operation.fd] = std::move(file);
    return operation.fd;
}

ssize_t SimulatedDevice::Read(int fd, void* buffer, std::size_t size) {
    Operation operation = Begin(OperationKind::READ, fd);
    return Serve(operation, [&](OpenFile& file, Node& node, const Mishap& mishap) -> ssize_t {
        if (!OpensForReading(file.flags)) {
            return -EBADF;
        }
        if (!file.contents) {
            std::string contents;
            if (const int error = node.Fetch(contents); error != 0) {
                return -error;
            }
            file.contents = std::move(contents);
        }
        const std::size_t left = file.contents->size() - file.position;
        const std::size_t count = std::min(left, mishap.Limit(size));
        operation.bytes = file.contents->substr(file.position, count);
        operation.bytes.copy(static_cast<char*>(buffer), count);
        file.position += count;
        return static_cast<ssize_t>(count);
    });
}

ssize_t SimulatedDevice::Write(int fd, const void* data, std::size_t size) {
    Operation operation = Begin(OperationKind::WRITE, fd);
    operation.bytes.assign(static_cast<const char*>(data), size);
    return Serve(operation, [&](OpenFile& file, Node& node, const Mishap& mishap) -> ssize_t {
        if (!OpensForWriting(file.flags)) {
            return -EBADF;
        }
        const std::size_t count = mishap.Limit(size);
        if (count == 0 && size != 0) {
            return 0;
        }
        return node.Store(fd, std::string_view(operation.bytes).substr(0, count));
    });
}

int SimulatedDevice::Ioctl(int fd, unsigned long request, void* argument) {
    Operation operation = Begin(OperationKind::IOCTL, fd);
    operation.request = request;
    if (argument != nullptr) {
        const auto* bytes = static_cast<const std::uint8_t*>(argument);
        operation.argument.assign(bytes, bytes + _IOC_SIZE(request));
    }
    return static_cast<int>(Serve(operation, [&](OpenFile&, Node& node, const Mishap&) -> ssize_t {
        if (operation.argument.size() != _IOC_SIZE(request)) {
            return -EFAULT;
        }
        return node.Control(request, operation.argument);
    }));
}

/// What read, write and ioctl have in common.
template <typename Perform>
ssize_t SimulatedDevice::Serve(Operation& operation, Perform perform) {
    const int formerErrno = errno;
    const std::shared_ptr<OpenFile> file = File(operation.fd);
    if (!file) {
        Note(operation, -EBADF);
        return Announce(operation, formerErrno);
    }
    NodeSlot& slot = *file->slot;
    operation.path = slot.path;
    const Mishap mishap = mFaults->Strike(operation.path, operation.kind);
    mishap.SitOut();
    {
        // Noting it under the slot's lock gives the record the order of the effects.
        const std::lock_guard lock(slot.mutex);
        ssize_t outcome = -mishap.error;
        if (mishap.error == 0) {
            const bool alive = slot.present && slot.generation == file->generation;
            outcome = alive ? perform(*file, *slot.node, mishap) : -ENODEV;
        }
        const bool wrote = operation.kind == OperationKind::WRITE && outcome > 0;
        const bool drove = operation.kind == OperationKind::IOCTL && outcome >= 0;
        slot.touched = slot.touched || wrote || drove;
        Note(operation, outcome);
    }
    return Announce(operation, formerErrno);
}

int SimulatedDevice::Close(int fd) {
    const int formerErrno = errno;
    Operation operation = Begin(OperationKind::CLOSE, fd);
    std::shared_ptr<OpenFile> file;
    {
        const std::lock_guard lock(mTreeMutex);
        if (auto node = mFiles.extract(fd)) {
            file = std::move(node.mapped());
        }
    }
    if (!file) {
        Note(operation, -EBADF);
        return static_cast<int>(Announce(operation, formerErrno));
    }
    NodeSlot& slot = *file->slot;
    operation.path = slot.path;
    const Mishap mishap = mFaults->Strike(operation.path, operation.kind);
    mishap.SitOut();
    {
        const std::lock_guard lock(slot.mutex);
        slot.node->Closed(fd);
        Note(operation, -mishap.error);
    }
    return static_cast<int>(Announce(operation, formerErrno));
}

/// `outcome` is a result or a negative errno.
void SimulatedDevice::Note(Operation& operation, ssize_t outcome) {
    operation.time = std::chrono::steady_clock::now();
    operation.result = outcome < 0 ? -1 : outcome;
    operation.error = outcome < 0 ? static_cast<int>(-outcome) : 0;
    mRecord->Append(operation);
}

/// Tells the observer and sets errno last, so that nothing the observer does can spoil it.
ssize_t SimulatedDevice::Announce(const Operation& operation, int formerErrno) const {
    {
        const std::shared_lock lock(mObserverMutex);
        if (mObserver) {
            mObserver(operation);
        }
    }
    errno = operation.Succeeded() ? formerErrno : operation.error;
    return operation.result;
}

std::shared_ptr<SimulatedDevice::OpenFile> SimulatedDevice::File(int fd) const {
    const std::shared_lock lock(mTreeMutex);
    const auto found = mFiles.find(fd);
    return found == mFiles.end() ? nullptr : found->second;
}

std::shared_ptr<NodeSlot> SimulatedDevice::Slot(const std::string& path) const {
    const std::shared_lock lock(mTreeMutex);
    const auto found = mSlots.find(path);
    return found == mSlots.end() ? nullptr : found->second;
}

std::size_t SimulatedDevice::OpenDescriptors(const std::string& path) const {
    const std::shared_lock lock(mTreeMutex);
    return static_cast<std::size_t>(
        std::count_if(mFiles.begin(), mFiles.end(),
                      [&path](const auto& entry) { return entry.second->slot->path == path; }));
}

SimulatedDevice::FaultId SimulatedDevice::Inject(const std::string& path, OperationKind kind,
                                                 const Fault& fault) {
    return mFaults->Add(path, kind, fault);
}

SimulatedDevice::FaultId SimulatedDevice::InjectEverywhere(OperationKind kind, const Fault& fault) {
    return mFaults->Add("", kind, fault);
}

void SimulatedDevice::RemoveFault(FaultId id) {
    mFaults->Remove(id);
}

void SimulatedDevice::ClearFaults() {
    mFaults->Clear();
}

std::size_t SimulatedDevice::FaultHits(FaultId id) const {
    return mFaults->Hits(id);
}

void SimulatedDevice::SetObserver(Observer observer) {
    const std::lock_guard lock(mObserverMutex);
    mObserver = std::move(observer);
}

}  // namespace corebeacon::sim
