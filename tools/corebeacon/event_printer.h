/// The program's account of a run, for a person: what was asked, what was written, what stands in
/// the end. Times are seconds since the run began, columns are aligned. Owned by the player and
/// used on its thread; each line goes out at once.
#pragma once

#include <map>
#include <ostream>
#include <string>

#include "corebeacon/perf_types.h"
#include "node_names.h"
#include "recording_node_io.h"

namespace corebeacon::tool {

class EventPrinter {
public:
    /// `names` must outlive the printer; `widths` are those of the nodes to expect.
    EventPrinter(std::ostream& out, const NodeNames& names, const NodeNameWidths& widths,
                 TimePoint begin);

    /// A line that tells the story, set apart from the events before.
    void Note(const std::string& text);
    void Statement(TimePoint time, const std::string& text);
    /// What happened without a statement, the end of a timed request for instance.
    void Happening(TimePoint time, const std::string& text);
    void Write(const NodeWrite& write);
    /// What the engine tells of itself, line by line below the statement that asked.
    void Answer(const std::string& text);
    /// Paths to values.
    void FinalValues(const std::map<std::string, std::string>& values);

private:
    void Time(TimePoint time);

    std::ostream& mOut;
    const NodeNames& mNames;
    const NodeNameWidths mWidths;
    const TimePoint mBegin;
    TimePoint mLast;             // of the line printed last: time never goes back
    bool mIsInParagraph = true;  // nothing to set a note apart from
};

}  // namespace corebeacon::tool
