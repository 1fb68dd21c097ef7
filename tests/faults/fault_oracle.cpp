#include "faults/fault_oracle.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace corebeacon::test {

namespace {

using sim::Operation;
using sim::OperationKind;

/// What the log shows of the bytes of a write.
std::string Shown(const Operation& write, bool isBinary) {
    std::int32_t value = 0;
    if (!isBinary || write.bytes.size() != sizeof(value)) {
        return write.bytes;
    }
    std::memcpy(&value, write.bytes.data(), sizeof(value));
    return std::to_string(value);
}

/// The request as the configuration words it, "id:prio"; a reset is told by its id alone.
std::string Shown(const Operation& ioctl) {
    std::uint32_t numbers[4] = {};
    std::memcpy(numbers, ioctl.argument.data(), sizeof(numbers));
    return std::to_string(numbers[0]) + ":" + std::to_string(numbers[2] != 0 ? numbers[2] : 1);
}

}  // namespace

FailureLines FailuresIn(const LogCapture& log) {
    FailureLines lines;
    for (const LogLine& line : log.Lines()) {
        if (line.level >= LOG_LEVEL_WARNING || line.text.find("failed") != std::string::npos) {
            lines.push_back(std::to_string(line.level) + " " + line.text);
        }
    }
    return lines;
}

bool HasFailed(const Operation& operation) {
    return !operation.Succeeded() ||
           (operation.kind == OperationKind::WRITE &&
            static_cast<std::size_t>(operation.result) != operation.bytes.size());
}

bool FaultOracle::Follow(const std::vector<Operation>& record) {
    for (const Operation& operation : record) {
        NodeState& node = mNodes[operation.path];
        const bool isFine = operation.kind == OperationKind::OPEN ? FollowOpen(operation, node)
                                                                  : FollowUse(operation, node);
        if (!isFine) {
            return false;
        }
    }
    return true;
}

bool FaultOracle::Complain(const Operation& operation, const char* what) {
    mComplaint =
        std::string(sim::OperationName(operation.kind)) + " of " + operation.path + ": " + what;
    return false;
}

bool FaultOracle::FollowOpen(const Operation& operation, NodeState& node) {
    if (node.fd >= 0) {
        return Complain(operation, "the node is open already");
    }
    if (HasFailed(operation)) {
        ExpectOpenFailure(operation, node);
    } else {
        node.fd = operation.fd;
    }
    return true;
}

bool FaultOracle::FollowUse(const Operation& operation, NodeState& node) {
    if (node.fd < 0 || operation.fd != node.fd) {
        return Complain(operation, "the descriptor is not open");
    }
    if (operation.kind == OperationKind::CLOSE) {
        // Its own failure is nobody's loss, and no line in the log: the descriptor is gone, and
        // what was to be written has been, or has been told of.
        node.fd = -1;
        node.mustClose = false;
        return true;
    }
    if (node.mustClose) {
        return Complain(operation, "a write of this descriptor has failed");
    }
    if (!HasFailed(operation)) {
        node.isSecondTry = false;
    } else if (operation.kind == OperationKind::WRITE) {
        node.mustClose = true;
        ExpectWriteFailure(operation, node);
    } else {
        ExpectIoctlFailure(operation);
    }
    return true;
}

void FaultOracle::ExpectOpenFailure(const Operation& operation, NodeState& node) {
    if (std::exchange(node.isSecondTry, false)) {
        Expect(LOG_LEVEL_ERROR, operation,
               node.text + " second open file [" + operation.path + "] failed");
        ExpectGpuTopLine(operation);
    } else if (mKind.isOptional) {
        mExpected.push_back("3 [" + NameOf(operation) + "] open file [" + operation.path +
                            "] failed");
    } else {
        Expect(LOG_LEVEL_ERROR, operation, "open file " + operation.path + " failed");
        ExpectGpuTopLine(operation);
    }
}

void FaultOracle::ExpectWriteFailure(const Operation& operation, NodeState& node) {
    const std::string text = Shown(operation, mKind.isBinary);
    const std::string toNode = "write to " + operation.path + " failed";
    if (mKind.isBinary) {
        Expect(LOG_LEVEL_ERROR, operation, text + " " + toNode);
    } else if (std::exchange(node.isSecondTry, false)) {
        Expect(LOG_LEVEL_ERROR, operation, text + " second " + toNode);
        ExpectGpuTopLine(operation);
    } else if (operation.error == ENODEV) {
        Expect(LOG_LEVEL_DEBUG, operation, text + " " + toNode);
        node.isSecondTry = true;
        node.text = text;
    } else {
        Expect(LOG_LEVEL_WARNING, operation, text + " " + toNode);
        ExpectGpuTopLine(operation);
    }
}

void FaultOracle::ExpectIoctlFailure(const Operation& operation) {
    Expect(LOG_LEVEL_ERROR, operation,
           Shown(operation) + " ioctl to " + operation.path + " failed");
}

/// A short write leaves no errno: 0, "Success".
void FaultOracle::Expect(int level, const Operation& operation, const std::string& what) {
    mExpected.push_back(std::to_string(level) + " [" + NameOf(operation) + "] " + what +
                        ", errno=" + std::to_string(operation.error) + " (" +
                        std::strerror(operation.error) + ") \n");
}

void FaultOracle::ExpectGpuTopLine(const Operation& operation) {
    if (operation.path == mKind.gpuTopNode) {
        mExpected.push_back("5 [" + NameOf(operation) + "] write to gpu top frequency failed! \n");
    }
}

std::string FaultOracle::NameOf(const Operation& operation) const {
    const auto other = mKind.otherNames.find(operation.path);
    return other != mKind.otherNames.end() ? other->second : "NODES";
}

}  // namespace corebeacon::test
