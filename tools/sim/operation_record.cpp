#include "sim/operation_record.h"

namespace corebeacon::sim {

const char* OperationName(OperationKind kind) {
    switch (kind) {
        case OperationKind::OPEN:
            return "open";
        case OperationKind::READ:
            return "read";
        case OperationKind::WRITE:
            return "write";
        case OperationKind::CLOSE:
            return "close";
        case OperationKind::IOCTL:
            return "ioctl";
    }
    return "unknown";
}

void OperationRecord::Append(const Operation& operation) {
    ++mCount;
    const std::lock_guard lock(mMutex);
    if (mLimit == 0) {
        return;
    }
    if (mOperations.size() >= mLimit) {
        mOperations.pop_front();
    }
    mOperations.push_back(operation);
}

void OperationRecord::SetLimit(std::size_t limit) {
    const std::lock_guard lock(mMutex);
    mLimit = limit;
    while (mOperations.size() > limit) {
        mOperations.pop_front();
    }
}

void OperationRecord::Clear() {
    const std::lock_guard lock(mMutex);
    mOperations.clear();
}

std::vector<Operation> OperationRecord::Select(
    const std::function<bool(const Operation&)>& wanted) const {
    std::vector<Operation> selected;
    const std::lock_guard lock(mMutex);
    for (const Operation& operation : mOperations) {
        if (wanted(operation)) {
            selected.push_back(operation);
        }
    }
    return selected;
}

}  // namespace corebeacon::sim
