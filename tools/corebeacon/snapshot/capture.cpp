#include "snapshot/capture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <set>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "corebeacon/log.h"
#include "engine_session.h"
#include "platform/posix_node_io.h"
#include "recording/recording.h"

namespace corebeacon::tool {

namespace {

/// A sysfs attribute is one page; of longer files, which are none, the beginning is enough.
constexpr std::size_t kMaxNodeBytes = 4096;
constexpr std::size_t kBinaryBytes = 4;

/// The machine, or what stands for it below `root`: can be read, and remembers what was.
class ReadOnlyMachine : public PosixNodeIo {
public:
    explicit ReadOnlyMachine(std::string root) : mRoot(std::move(root)), mFormer(GetNodeIo()) {
        SetNodeIo(this);
    }
    ~ReadOnlyMachine() override { SetNodeIo(&mFormer); }
    ReadOnlyMachine(const ReadOnlyMachine&) = delete;
    ReadOnlyMachine& operator=(const ReadOnlyMachine&) = delete;

    int Open(const char* path, int flags) override {
        if ((flags & O_ACCMODE) != O_RDONLY) {
            errno = EROFS;
            return -1;
        }
        {
            const std::lock_guard lock(mMutex);
            mOpened.insert(path);
        }
        return PosixNodeIo::Open((mRoot + path).c_str(), flags | O_NONBLOCK | O_NOCTTY);
    }

    std::set<std::string> Opened() const {
        const std::lock_guard lock(mMutex);
        return mOpened;
    }

private:
    const std::string mRoot;
    NodeIo& mFormer;
    mutable std::mutex mMutex;
    std::set<std::string> mOpened;  // guarded by mMutex
};

/// An engine that lacks most of its nodes, as on the machine of a developer, says so at length.
class Silence : public LogSink {
public:
    Silence() { SetLogSink(this); }
    ~Silence() override { SetLogSink(nullptr); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    void Write(int /*level*/, const char* /*tag*/, const char* /*message*/) noexcept override {}
};

struct Paths {
    std::set<std::string> all;
    std::set<std::string> ioctl;
};

void AddRow(PerfQosId qosId, const PerfGroupConfig& row, Paths& paths) {
    for (const std::string& path : row.sysNodePaths) {
        paths.all.insert(path);
        if (qosId == PERF_QOS_NPU_SC_PRIO) {
            paths.ioctl.insert(path);
        }
        // What tells of the frequencies beside the bounds.
        const std::string directory = path.substr(0, path.rfind('/') + 1);
        if (path.ends_with("/scaling_min_freq")) {
            for (const char* const file :
                 {"scaling_available_frequencies", "scaling_governor",
                  "scaling_available_governors", "cpuinfo_min_freq", "cpuinfo_max_freq"}) {
                paths.all.insert(directory + file);
            }
        } else if (path.ends_with("/min_freq")) {
            paths.all.insert(directory + "available_frequencies");
        }
    }
}

void AddQos(PerfQosId qosId, const PerfQosConfig& config, Paths& paths) {
    for (const PerfGroupConfig& row : config.groups) {
        AddRow(qosId, row, paths);
    }
    if (const auto* const freq = dynamic_cast<const FreqParameters*>(&config)) {
        paths.all.insert(freq->availableFreqsPath);
        paths.all.insert(freq->gpuTopFreqPath.loaded);
        paths.all.insert(freq->gpuTopFreqPath.compiledIn);
    }
    if (const auto* const eas = dynamic_cast<const EasParameters*>(&config)) {
        paths.all.insert(eas->globalBoost.loaded.nodePath);
        paths.all.insert(eas->globalBoost.compiledIn.nodePath);
    }
}

/// Before an engine narrows the tables to one chip.
Paths NamedPaths(const std::optional<board::Board>& board) {
    Paths paths;
    if (board) {
        for (const auto& [qosId, config] : board->qos) {
            AddQos(qosId, config, paths);
        }
        paths.all.insert(board->probe.nodePath);
    } else {
        for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
            AddQos(qosId, config, paths);
        }
    }
    paths.all.erase("");
    return paths;
}

/// Whatever the start of an engine reads, whether it succeeds or not.
void StartEngine(const std::optional<board::Board>& board) {
    SessionOptions options;
    options.device = DeviceKind::KERNEL;
    options.board = board;
    EngineSession::Start(options);
}

NodeMode ModeOf(const struct stat& status) {
    const bool isRead = (status.st_mode & (S_IRUSR | S_IRGRP | S_IROTH)) != 0;
    const bool isWritten = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    if (isRead) {
        return isWritten ? NodeMode::READ_WRITE : NodeMode::READ_ONLY;
    }
    return NodeMode::WRITE_ONLY;
}

void ReadInto(CapturedNode& node, const std::string& path) {
    const int fd = GetNodeIo().Open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        node.readError = errno;
        node.isOpenFailed = true;
        return;
    }
    std::array<char, kMaxNodeBytes> buffer{};
    ssize_t got = 0;
    while (node.bytes.size() < kMaxNodeBytes &&
           (got = GetNodeIo().Read(fd, buffer.data(), kMaxNodeBytes - node.bytes.size())) > 0) {
        node.bytes.append(buffer.data(), static_cast<std::size_t>(got));
        if (node.form == NodeForm::BINARY) {
            break;  // such a device has no end: the next read gives the number again
        }
    }
    node.readError = got < 0 ? errno : 0;
    GetNodeIo().Close(fd);
}

CapturedNode CaptureNode(const std::string& path, const std::string& root, bool isIoctl) {
    CapturedNode node;
    struct stat status {};
    if (::stat((root + path).c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
        return node;
    }
    node.mode = ModeOf(status);
    if (isIoctl) {
        node.form = NodeForm::IOCTL;
        return node;
    }
    if (node.mode == NodeMode::WRITE_ONLY) {
        return node;
    }
    node.form = S_ISCHR(status.st_mode) ? NodeForm::BINARY : NodeForm::TEXT;
    ReadInto(node, path);
    if (node.bytes.size() != kBinaryBytes) {
        node.form = NodeForm::TEXT;
    }
    return node;
}

}  // namespace

DeviceSnapshot CaptureDevice(const std::optional<board::Board>& board, const std::string& root) {
    ReadOnlyMachine machine(root);
    Paths paths;
    {
        const Silence silence;
        paths = NamedPaths(board);
        StartEngine(board);
    }
    paths.all.merge(machine.Opened());
    DeviceSnapshot snapshot{.takenAt = UtcNow(), .machine = MachineText(), .nodes = {}};
    for (const std::string& path : paths.all) {
        snapshot.nodes.emplace(path, CaptureNode(path, root, paths.ioctl.contains(path)));
    }
    return snapshot;
}

}  // namespace corebeacon::tool
