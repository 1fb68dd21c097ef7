// Any bytes as the description of a board. What the reader and the checks say of them must be in
// order, inside the file and printable; and a board that reads well, written down and read again,
// is the same board.
#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "board/board_check.h"
#include "board/board_reader.h"
#include "board/board_writer.h"
#include "corebeacon/node_io.h"
#include "fuzz/demand.h"
#include "fuzz/fuzz_targets.h"
#include "support/scoped_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

using board::Board;
using board::BoardError;
using board::Place;
using board::ReadBoard;

/// A machine on which every other path is a node, and every node a list of frequencies.
class Nodes : public NodeIo {
public:
    int Open(const char* path, int) override {
        if (std::string_view(path).size() % 2 == 0) {
            errno = ENOENT;
            return -1;
        }
        mUnread = "100 200 300\n";
        return kFirstFd + mOpened++;
    }

    ssize_t Read(int, void* buffer, std::size_t size) override {
        const std::size_t got = mUnread.copy(static_cast<char*>(buffer), size);
        mUnread.remove_prefix(got);
        return static_cast<ssize_t>(got);
    }

    int Close(int) override {
        ++mClosed;
        return 0;
    }

    ssize_t Write(int, const void*, std::size_t) override { Denounce("a check writes nothing"); }
    int Ioctl(int, unsigned long, void*) override { Denounce("a check drives no device"); }

    bool AreClosed() const { return mOpened == mClosed; }

private:
    static constexpr int kFirstFd = 100;

    int mOpened = 0;
    int mClosed = 0;
    std::string_view mUnread;
};

bool IsAfter(const Place& one, const Place& other) {
    return std::tie(one.line, one.column) > std::tie(other.line, other.column);
}

/// The bytes of each line.
std::vector<std::size_t> LineSizes(std::string_view text) {
    std::vector<std::size_t> sizes = {0};
    for (const char letter : text) {
        if (letter == '\n') {
            sizes.push_back(0);
        } else {
            ++sizes.back();
        }
    }
    return sizes;
}

void CheckErrors(const std::vector<BoardError>& errors, const std::vector<std::size_t>& lines) {
    Place last;
    for (const BoardError& error : errors) {
        const auto [line, column] = error.place;
        Demand(!IsAfter(last, error.place), "errors in the order of the file");
        Demand(line >= 1 && line <= lines.size(), "a line of the file");
        Demand(column >= 1 && column <= lines[line - 1] + 1, "a column of the line");
        Demand(!error.message.empty() &&
                   std::ranges::none_of(error.message,
                                        [](char letter) {
                                            return static_cast<unsigned char>(letter) < ' ' ||
                                                   letter == '\x7f';
                                        }),
               "a message that can be printed");
        last = error.place;
    }
}

bool AreEqual(const std::vector<GroupInfo>& one, const std::vector<GroupInfo>& other) {
    return std::ranges::equal(one, other, [](const GroupInfo& a, const GroupInfo& b) {
        return a.groupId == b.groupId && a.values == b.values;
    });
}

bool AreEqual(const ConfigurableScenario& one, const ConfigurableScenario& other) {
    return one.scenarioId == other.scenarioId &&
           std::ranges::equal(one.requests, other.requests,
                              [](const PerfRequestInfo& a, const PerfRequestInfo& b) {
                                  return a.qosId == b.qosId && AreEqual(a.groups, b.groups);
                              });
}

bool AreEqual(const QosCommand& one, const QosCommand& other) {
    return one.qosId == other.qosId &&
           std::ranges::equal(one.sequence, other.sequence,
                              [](const SequenceCommand& a, const SequenceCommand& b) {
                                  return a.duration == b.duration && AreEqual(a.groups, b.groups);
                              });
}

bool AreEqual(const ConfigurableEvent& one, const ConfigurableEvent& other) {
    return one.eventId == other.eventId &&
           std::ranges::equal(
               one.qosCommands, other.qosCommands,
               [](const QosCommand& a, const QosCommand& b) { return AreEqual(a, b); });
}

/// The text tells all of a QoS, but of a scenario or an event not which QoS a name stands for.
void CheckRewritten(const Board& board) {
    const std::string text = board::BoardText(board);
    const ReadBoard again = board::ParseBoard(text);
    Demand(again.errors.empty(), "a good board, rewritten, is good");
    Demand(board::BoardText(again.board) == text, "a board, rewritten, says the same");
    Demand(std::ranges::equal(board.scenarios, again.board.scenarios,
                              [](const auto& a, const auto& b) { return AreEqual(a, b); }),
           "the same scenarios");
    Demand(std::ranges::equal(board.events, again.board.events,
                              [](const auto& a, const auto& b) { return AreEqual(a, b); }),
           "the same events");
}

void CheckFindings(const ReadBoard& read, const std::vector<std::size_t>& lines) {
    const std::vector<BoardError> withoutNodes = board::CheckBoard(read, false);
    CheckErrors(withoutNodes, lines);
    Nodes nodes;
    const test::ScopedNodeIo inForce(nodes);
    const std::vector<BoardError> withNodes = board::CheckBoard(read, true);
    CheckErrors(withNodes, lines);
    Demand(withNodes.size() >= withoutNodes.size(), "nodes only add to what is found");
    Demand(nodes.AreClosed(), "every node is closed again");
}

}  // namespace

void FuzzBoard(Bytes bytes) {
    const test::SilentLog silence;
    const std::string text(bytes.begin(), bytes.end());
    const std::vector<std::size_t> lines = LineSizes(text);
    const ReadBoard read = board::ParseBoard(text);
    Demand(read.errors.size() <= board::Source::kMaxErrors, "a bounded number of errors");
    CheckErrors(read.errors, lines);
    if (read.errors.empty()) {
        CheckFindings(read, lines);
        CheckRewritten(read.board);
    }
}

}  // namespace corebeacon::fuzz
