/// The account of a run for a person: what was asked, what was written, what stands in the end.
/// Times are seconds since the run began, columns are aligned. Owned by the command that runs and
/// used on the player's thread; each line goes out at once.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"
#include "node_names.h"
#include "palette.h"
#include "run_observer.h"

namespace corebeacon::tool {

class EventPrinter : public RunObserver {
public:
    /// `expected` tell which nodes to expect, for the width of the columns.
    EventPrinter(std::ostream& out, std::vector<Statement> expected, const Palette& palette = {});

    /// `names` must outlive the printer.
    void SetColumns(const NodeNames& names, const NodeNameWidths& widths, TimePoint begin);

    void Begin(EngineSession& session, TimePoint begin) override;
    void Note(const Statement& note) override;
    void Asked(TimePoint time, const Statement& statement) override;
    void Ended(TimePoint time, const HeldRequest& held, HowEnded how) override;
    /// Among the many writes of a new work mode the few that change something would be lost, so
    /// repetitions are only counted.
    void Written(const NodeWrite& write, bool isRepetition) override;
    void Answered(const std::string& text) override;
    void Done(const Statement& statement) override;
    void End(const std::map<std::string, std::string>& values,
             const std::vector<HeldRequest>& standing) override;

private:
    void Device(EngineSession& session);
    void MakeRoomFor(const std::vector<Statement>& statements);
    void Time(TimePoint time);

    std::ostream& mOut;
    const std::vector<Statement> mExpected;
    const Palette mPalette;
    const EngineSession* mSession = nullptr;  // the run's
    const NodeNames* mNames = nullptr;        // the session's
    NodeNameWidths mWidths;
    TimePoint mBegin;
    TimePoint mLast;               // of the line printed last: time never goes back
    bool mIsInParagraph = true;    // nothing to set a note apart from
    std::size_t mRepetitions = 0;  // since the statement
};

}  // namespace corebeacon::tool
