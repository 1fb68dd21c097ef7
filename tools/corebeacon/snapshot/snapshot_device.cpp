#include "snapshot/snapshot_device.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "sim/device_nodes.h"

namespace corebeacon::tool {

namespace {

constexpr const char* kFloor[] = {"/scaling_min_freq", "/min_freq"};
constexpr const char* kCeiling[] = {"/scaling_max_freq", "/max_freq"};
constexpr const char* kList[] = {"/scaling_available_frequencies", "/available_frequencies"};
constexpr std::size_t kCpufreq = 0;
constexpr std::size_t kDevfreq = 1;

constexpr const char* kGovernor = "/scaling_governor";
constexpr const char* kGovernorList = "/scaling_available_governors";
constexpr const char* kGovernorDirectory = "/schedutil/";

std::string WithoutNewline(const std::string& bytes) {
    return bytes.ends_with('\n') ? bytes.substr(0, bytes.size() - 1) : bytes;
}

std::vector<std::int64_t> Numbers(const std::string& text) {
    std::istringstream words(text);
    std::vector<std::int64_t> numbers;
    for (std::int64_t number = 0; words >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

class Simulation {
public:
    explicit Simulation(const DeviceSnapshot& snapshot)
        : mNodes(snapshot.nodes), mDevice(std::make_unique<sim::SimulatedDevice>()) {}

    std::unique_ptr<sim::SimulatedDevice> Make() {
        for (const auto& [path, node] : mNodes) {
            if (path.ends_with(kFloor[kCpufreq])) {
                AddPolicy(path.substr(0, path.size() - std::strlen(kFloor[kCpufreq])));
            } else if (path.ends_with(kFloor[kDevfreq])) {
                AddDevfreq(path.substr(0, path.size() - std::strlen(kFloor[kDevfreq])));
            }
        }
        for (const auto& [path, node] : mNodes) {
            if (node.mode != NodeMode::ABSENT) {
                if (!mDevice->Exists(path)) {
                    Add(path, node);
                }
                Restrict(path, node);
            }
        }
        mDevice->ClearRecord();
        return std::move(mDevice);
    }

private:
    bool Has(const std::string& path) const {
        const auto found = mNodes.find(path);
        return found != mNodes.end() && found->second.mode != NodeMode::ABSENT;
    }

    /// What it held, "" where it was not read.
    std::string Text(const std::string& path) const {
        const auto found = mNodes.find(path);
        return found != mNodes.end() ? WithoutNewline(found->second.bytes) : "";
    }

    bool HasBounds(const std::string& directory, std::size_t kind) const {
        return Has(directory + kFloor[kind]) && Has(directory + kCeiling[kind]);
    }

    void AddPolicy(const std::string& directory) {
        if (!HasBounds(directory, kCpufreq)) {
            return;
        }
        // A driver without a table has no list either: then the bounds only limit each other.
        mDevice->AddCpufreqPolicy(directory, Numbers(Text(directory + kList[kCpufreq])));
        for (const char* const file : {kList[kCpufreq], kGovernor, kGovernorList}) {
            if (!Has(directory + file)) {
                mDevice->Remove(directory + file);
            }
        }
        if (Has(directory + kGovernorList)) {
            mDevice->AddText(directory + kGovernorList, Text(directory + kGovernorList),
                             sim::Access::READ_ONLY);
        }
        SetBounds(directory, kCpufreq);
        AddGovernorNodes(directory);
        if (Has(directory + kGovernor)) {
            mDevice->SetGovernor(directory, Text(directory + kGovernor));
        }
        const bool isOffline = mNodes.at(directory + kFloor[kCpufreq]).readError == EBUSY;
        mDevice->SetPolicyOnline(directory, !isOffline);
    }

    void AddGovernorNodes(const std::string& directory) {
        const std::string prefix = directory + kGovernorDirectory;
        for (auto node = mNodes.lower_bound(prefix);
             node != mNodes.end() && node->first.starts_with(prefix); ++node) {
            if (node->second.mode == NodeMode::READ_WRITE) {
                mDevice->AddGovernorNode(directory, node->first.substr(prefix.size()),
                                         Text(node->first));
            }
        }
    }

    void AddDevfreq(const std::string& directory) {
        const std::vector<std::int64_t> list = Numbers(Text(directory + kList[kDevfreq]));
        if (!HasBounds(directory, kDevfreq) || list.empty()) {
            return;
        }
        mDevice->AddDevfreq(directory, list);
        SetBounds(directory, kDevfreq);
    }

    /// The ceiling first, so that no floor is above it.
    void SetBounds(const std::string& directory, std::size_t kind) {
        for (const std::string& path : {directory + kCeiling[kind], directory + kFloor[kind]}) {
            const std::string text = Text(path);
            const int fd = mDevice->Open(path.c_str(), O_WRONLY);
            mDevice->Write(fd, text.data(), text.size());
            mDevice->Close(fd);
        }
    }

    void Add(const std::string& path, const CapturedNode& node) {
        if (node.form == NodeForm::IOCTL) {
            mDevice->AddIoctl(path, {sim::IoctlNode::kSetPriority, sim::IoctlNode::kResetPriority});
        } else if (node.form == NodeForm::BINARY) {
            AddBinary(path, node);
        } else if (node.mode == NodeMode::READ_ONLY && !node.bytes.ends_with('\n')) {
            mDevice->AddContent(path, node.bytes);
        } else {
            mDevice->AddText(path, WithoutNewline(node.bytes), AccessOf(node));
        }
    }

    void AddBinary(const std::string& path, const CapturedNode& node) {
        std::int32_t idle = 0;
        if (node.bytes.size() == sizeof(idle)) {
            std::memcpy(&idle, node.bytes.data(), sizeof(idle));
        }
        // Of latencies the smallest counts; bandwidths add up.
        const bool isBandwidth = path.find("bandwidth") != std::string::npos;
        mDevice->AddBinary(path, isBandwidth ? sim::Aggregate::SUM : sim::Aggregate::SMALLEST, idle,
                           !isBandwidth);
    }

    static sim::Access AccessOf(const CapturedNode& node) {
        switch (node.mode) {
            case NodeMode::READ_ONLY:
                return sim::Access::READ_ONLY;
            case NodeMode::WRITE_ONLY:
                return sim::Access::WRITE_ONLY;
            default:
                return sim::Access::READ_WRITE;
        }
    }

    void Restrict(const std::string& path, const CapturedNode& node) {
        mDevice->SetReadOnly(path, node.mode == NodeMode::READ_ONLY);
        if (node.readError == 0) {
            return;
        }
        // What whoever took the snapshot was not allowed to open, the engine may be.
        const bool isForbidden = node.readError == EACCES || node.readError == EPERM;
        if (!node.isOpenFailed || !isForbidden) {
            const auto kind =
                node.isOpenFailed ? sim::OperationKind::OPEN : sim::OperationKind::READ;
            mDevice->Inject(path, kind, sim::Fault::Errno(node.readError).Forever());
        }
    }

    const std::map<std::string, CapturedNode>& mNodes;
    std::unique_ptr<sim::SimulatedDevice> mDevice;
};

}  // namespace

std::unique_ptr<sim::SimulatedDevice> SimulateSnapshot(const DeviceSnapshot& snapshot) {
    return Simulation(snapshot).Make();
}

}  // namespace corebeacon::tool
