#include <algorithm>
#include <new>

#include "engine/perf_resource.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_RES";

/// A text as one word: in double quotes where it would not read back as one without them.
std::string Word(const std::string& text) {
    if (!text.empty() && text.find_first_of(" \t\n,~\"\\") == std::string::npos) {
        return text;
    }
    // Without a stream, which would swallow a lack of memory and cut the word.
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') {
            quoted += '\\';
        }
        quoted += letter;
    }
    return quoted += '"';
}

void Append(std::string& list, char separator, const std::string& word) {
    if (!list.empty()) {
        list += separator;
    }
    list += word;
}

/// One group's line, column by column.
struct BaseInfoRow {
    std::string name;
    std::string base;
    std::string mapped;
    std::string nodes;
};

BaseInfoRow MakeRow(const GroupDumpInfo& group) {
    BaseInfoRow row;
    row.name = "group=" + Word(group.name);
    row.base = "base=" + std::to_string(group.boostBase) + "~" + std::to_string(group.limitBase);
    std::string values;
    std::string nodes;
    for (const SpecifiedGroupDumpInfo& written : group.specified) {
        std::string value = Word(written.boostValue);
        if (!written.limitValue.empty()) {
            value += "~" + Word(written.limitValue);
        }
        Append(values, ',', value);
        Append(nodes, ',', Word(written.boostNode));
        if (!written.limitNode.empty()) {
            Append(nodes, ',', Word(written.limitNode));
        }
    }
    row.mapped = "mapped=" + values;
    row.nodes = "nodes=" + nodes;
    return row;
}

}  // namespace

void PerfResource::Dump(std::ostringstream& out) {
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr) {
            group->Dump(out);
        }
    }
    DumpLimitHistoryLog(out);
}

void PerfResource::DumpLimitHistoryLog(std::ostringstream& out) {
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr) {
            group->DumpLimitHistoryLog(out);
        }
    }
}

void PerfResource::DumpBase(ResourceDumpInfo& info) {
    info.name = mName;
    info.qosId = mQosId;
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr) {
            group->DumpBase(info.groups.emplace_back());
        }
    }
}

// Both answer even when there is no memory for an answer: somebody waits for it.

void PerfResource::GetLog() {
    std::string text;
    try {
        std::ostringstream out;
        Dump(out);
        text = out.bad() ? throw std::bad_alloc() : out.str();
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] [%s] out of memory, the dump is left out", mName.c_str());
    }
    MutexLock lock(mLogMutex);
    mLogText = std::move(text);
    ++mDumpProgress[LOG_DUMP].collected;
    mLogCond.NotifyAll();
}

void PerfResource::GetBaseInfo() {
    ResourceDumpInfo info;
    try {
        DumpBase(info);
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] [%s] out of memory, the dump is left out", mName.c_str());
        info.groups.clear();
    }
    MutexLock lock(mLogMutex);
    mBaseInfo = std::move(info);
    ++mDumpProgress[BASE_INFO_DUMP].collected;
    mLogCond.NotifyAll();
}

bool PerfResource::WaitLogFinish(bool isBaseInfo, std::ostringstream& out) {
    const std::uint64_t wanted = mDumpsAsked[isBaseInfo ? BASE_INFO_DUMP : LOG_DUMP].load();
    MutexLock lock(mLogMutex);
    while (!HandlePrintInfoLocked(isBaseInfo, wanted, out)) {
        if (mHandOverClosed) {
            LOGE("[%s:%d] fail to get log for res %s", mName.c_str());
            return false;
        }
        GetClock().Wait(mLogCond, mLogMutex);
    }
    return true;
}

/// Delivers the collected dump if it is at least as new as the `wanted`-th question.
bool PerfResource::HandlePrintInfoLocked(bool isBaseInfo, std::uint64_t wanted,
                                         std::ostringstream& out) {
    DumpProgress& progress = mDumpProgress[isBaseInfo ? BASE_INFO_DUMP : LOG_DUMP];
    if (!progress.Deliver(wanted)) {
        return false;
    }
    const PlainFormat format(out);
    const bool isLast = progress.IsLast();
    if (isBaseInfo) {
        if (!mBaseInfo.groups.empty()) {
            PrintBaseInfo(out);
        }
        if (isLast) {
            mBaseInfo = {};
        }
    } else {
        out << mLogText;
        if (isLast) {
            mLogText.clear();
        }
    }
    return true;
}

/// The resource's name and id, then a line for each group, its columns aligned within the resource:
/// name, base values, the same as they are written, nodes. Values of a pair are joined by "~",
/// several of a column by ",".
void PerfResource::PrintBaseInfo(std::ostringstream& out) const {
    std::vector<BaseInfoRow> rows;
    std::size_t nameWidth = 0;
    std::size_t baseWidth = 0;
    std::size_t mappedWidth = 0;
    for (const GroupDumpInfo& group : mBaseInfo.groups) {
        const BaseInfoRow& row = rows.emplace_back(MakeRow(group));
        nameWidth = std::max(nameWidth, row.name.size());
        baseWidth = std::max(baseWidth, row.base.size());
        mappedWidth = std::max(mappedWidth, row.mapped.size());
    }
    const auto column = [&out](const std::string& text, std::size_t width) {
        out << "  " << text << std::string(width - text.size(), ' ');
    };
    out << Word(mBaseInfo.name) << " id=" << mBaseInfo.qosId << "\n";
    for (const BaseInfoRow& row : rows) {
        column(row.name, nameWidth);
        column(row.base, baseWidth);
        column(row.mapped, mappedWidth);
        out << "  " << row.nodes << "\n";
    }
}

}  // namespace corebeacon
