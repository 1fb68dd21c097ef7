/// Reads nodes without waiting for one that hangs: a thread of its own reads, and is left behind
/// with a node that does not answer in time. Owned by who verifies or watches; used on that thread.
/// Reads go straight to the device, past whatever records what the engine does; the device must
/// outlive the answers that are still awaited, however late they come.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corebeacon/node_io.h"

namespace corebeacon::tool {

struct NodeReading {
    enum Status { READ, NOT_OPENED, NOT_READ, NO_ANSWER };
    Status status = NO_ANSWER;
    int error = 0;     ///< errno of a failure
    std::string text;  ///< as NodeText gives it
};

class TimedReader {
public:
    /// Longer than any node takes that works.
    static constexpr std::chrono::milliseconds kUsualLimit{500};

    /// `limit` is real time, whatever clock the engine has.
    explicit TimedReader(NodeIo& nodes, std::chrono::milliseconds limit = kUsualLimit);
    /// Gives those that hang the same time once more.
    ~TimedReader();
    TimedReader(const TimedReader&) = delete;
    TimedReader& operator=(const TimedReader&) = delete;

    /// NO_ANSWER at once for a node that has not answered an earlier read yet.
    NodeReading Read(const std::string& path);

private:
    class Worker;

    NodeIo& mNodes;
    const std::chrono::milliseconds mLimit;
    std::shared_ptr<Worker> mWorker;
    std::map<std::string, std::shared_ptr<Worker>> mHanging;  // by node
};

/// For a person: "No such file or directory", "no answer in time".
std::string WhyNotRead(const NodeReading& reading);

}  // namespace corebeacon::tool
