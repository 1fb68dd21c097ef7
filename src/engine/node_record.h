/// What a node was given last, kept for whoever inspects its group. Member of the group, beside the
/// node's descriptor; worker thread only. Keeping it takes no memory, which a write may lack.
#pragma once

#include <cerrno>
#include <string>

#include "corebeacon/group_state.h"

namespace corebeacon {

class NodeRecord {
public:
    /// `result` is that of the write just done, negative for failure with errno. Returns it.
    int Note(int result, int number) {
        mText = nullptr;
        mNumber = number;
        return NoteResult(result);
    }
    /// `text` must live as long as the record.
    int Note(int result, const char* text) {
        mText = text;
        return NoteResult(result);
    }

    void Describe(const std::string& path, GroupState& state) const {
        NodeState& node = state.nodes.emplace_back();
        node.path = path;
        node.status = mStatus;
        node.error = mError;
        if (mStatus != NodeWriteStatus::NOTHING_WRITTEN) {
            node.text = mText != nullptr ? mText : std::to_string(mNumber);
        }
    }

private:
    int NoteResult(int result) {
        mStatus = result < 0 ? NodeWriteStatus::FAILED : NodeWriteStatus::WRITTEN;
        mError = result < 0 ? errno : 0;
        return result;
    }

    NodeWriteStatus mStatus = NodeWriteStatus::NOTHING_WRITTEN;
    int mError = 0;
    int mNumber = 0;  // while there is no text
    const char* mText = nullptr;
};

}  // namespace corebeacon
