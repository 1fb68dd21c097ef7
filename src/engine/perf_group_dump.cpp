#include "engine/perf_group.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

/// Enough of a handle to tell requests apart in a dump.
constexpr unsigned long kHandleDisplayMask = 1023;

/// A handle as dumps show it; the default item has none.
std::string HandleText(const PerfGroupQueItem& item) {
    return item.handle == kNoHandle ? "*" : std::to_string(item.handle & kHandleDisplayMask);
}

void DumpHead(std::ostringstream& out, const char* label, const PerfGroupQueue& queue) {
    if (queue.HasHead()) {
        out << label << "(" << queue.Head().value << ", " << HandleText(queue.Head()) << ")";
    }
}

void DumpQueued(std::ostringstream& out, const char* label, const PerfGroupQueue& queue) {
    out << label << "(" << queue.Queued().size() << ") ";
    for (const PerfGroupQueItem& item : queue.Queued()) {
        out << item.value << ":" << HandleText(item) << " ";
    }
}

}  // namespace

void PerfGroup::Dump(std::ostringstream& out) const {
    DumpPart1(out);
    DumpPart2(out);
}

void PerfGroup::DumpPart1(std::ostringstream& out) const {
    const PlainFormat format(out);
    out << mName << ": ";
    DumpHead(out, "boostBase", mBoostBaseQue);
    DumpHead(out, "limitBase", mLimitBaseQue);
    out << "effectiveBase: " << mEffectiveBaseBoost << "~" << mEffectiveBaseLimit << " ";
    DumpHead(out, "boost", mBoostQue);
    DumpHead(out, "limit", mLimitQue);
    out << "effective: " << mEffectiveBoost << "~" << mEffectiveLimit << "\n";
}

void PerfGroup::DumpPart2(std::ostringstream& out) const {
    const PlainFormat format(out);
    DumpQueued(out, "boostBaseList", mBoostBaseQue);
    DumpQueued(out, "limitBaseList", mLimitBaseQue);
    DumpQueued(out, "boostList", mBoostQue);
    DumpQueued(out, "limitList", mLimitQue);
    out << "final: " << mFinalBoost << "~" << mFinalLimit << "\n";
}

void PerfGroup::DumpBase(GroupDumpInfo& info) const {
    info.name = mName;
    info.groupId = mGroupId;
    info.boostBase = GetBoostBaseValue();
    info.limitBase = GetLimitBaseValue();
    DumpBaseValueAfterMapping(info.specified);
}

}  // namespace corebeacon
