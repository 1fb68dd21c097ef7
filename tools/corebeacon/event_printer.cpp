#include "event_printer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <utility>

#include "device_names.h"
#include "printable.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

/// The QoS that the statements may write, as far as they tell.
std::set<PerfQosId> QosOf(const EngineSession& session, const std::vector<Statement>& statements) {
    std::set<PerfQosId> ids;
    const auto addAll = [&ids](const auto& elements) {
        for (const auto& element : elements) {
            ids.insert(element.qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : element.qosId);
        }
    };
    for (const Statement& statement : statements) {
        addAll(statement.request);
        if (statement.verb == Verb::SCENARIO) {
            const ConfigurableScenario* scenario = session.FindScenario(statement.number);
            addAll(scenario != nullptr ? scenario->requests : std::vector<PerfRequestInfo>());
        } else if (statement.verb == Verb::EVENT) {
            const ConfigurableEvent* event = session.FindEvent(statement.number);
            addAll(event != nullptr ? event->qosCommands : std::vector<QosCommand>());
        } else if (statement.verb == Verb::MODE) {
            for (const auto& [qosId, row] : session.Table()) {
                ids.insert(qosId);
            }
        } else if (statement.verb == Verb::PROBE) {
            ids.insert({PERF_QOS_CPU_M, PERF_QOS_CPU_B, PERF_QOS_GPU});
        }
    }
    return ids;
}

}  // namespace

EventPrinter::EventPrinter(std::ostream& out, std::vector<Statement> expected,
                           const Palette& palette)
    : mOut(out), mExpected(std::move(expected)), mPalette(palette) {}

void EventPrinter::SetColumns(const NodeNames& names, const NodeNameWidths& widths,
                              TimePoint begin) {
    mNames = &names;
    mWidths = widths;
    mBegin = begin;
    mLast = begin;
}

void EventPrinter::Begin(EngineSession& session, TimePoint begin) {
    mSession = &session;
    SetColumns(session.Names(), {}, begin);
    MakeRoomFor(mExpected);
    Device(session);
}

/// A statement that was not told of at the beginning makes the columns wider from there on.
void EventPrinter::MakeRoomFor(const std::vector<Statement>& statements) {
    const NodeNameWidths widths = mNames->Widths(QosOf(*mSession, statements));
    mWidths.qos = std::max(mWidths.qos, widths.qos);
    mWidths.brief = std::max(mWidths.brief, widths.brief);
}

void EventPrinter::Device(EngineSession& session) {
    const std::vector<UnsupportedQos> unsupported = session.Unsupported();
    const std::size_t served = session.Table().size() - unsupported.size();
    const bool isSim = session.Device() == DeviceKind::SIM;
    mOut << DeviceText(session.Device()) << ", chip " << session.Chip() << ": " << served << " of "
         << session.Table().size() << " QoS in service\n";
    if ((!isSim || session.HasBoard()) && !unsupported.empty()) {
        TextTable table;
        for (const UnsupportedQos& qos : unsupported) {
            table.AddRow({std::to_string(qos.id), qos.name, qos.reason});
        }
        mOut << "\nUnsupported here\n" << table.Text("  ");
    }
    mOut << "\n" << std::flush;
}

void EventPrinter::Note(const Statement& note) {
    mOut << (mIsInParagraph ? "" : "\n") << mPalette.note << "# " << Printable(note.text)
         << mPalette.reset << "\n"
         << std::flush;
    mIsInParagraph = true;
}

void EventPrinter::Asked(TimePoint time, const Statement& statement) {
    if (mSession != nullptr) {
        MakeRoomFor({statement});
    }
    Time(time);
    mOut << Printable(statement.text) << "\n" << std::flush;
}

void EventPrinter::Ended(TimePoint time, const HeldRequest& held, HowEnded how) {
    if (how == HowEnded::TIME_OVER) {
        Time(time);
        mOut << "(" << held.label << " ends)\n" << std::flush;
    }
}

void EventPrinter::Written(const NodeWrite& write, bool isRepetition) {
    if (isRepetition) {
        ++mRepetitions;
        return;
    }
    const NodeName name = mNames->Of(write.path);
    Time(write.time);
    mOut << "    " << Padded(Printable(name.qos), mWidths.qos) << "  "
         << Padded(Printable(name.brief), mWidths.brief) << "  " << mPalette.value << write.value
         << mPalette.reset;
    if (!write.failure.empty()) {
        mOut << (write.value.empty() ? "" : "  ") << mPalette.failure << "FAILED: " << write.failure
             << mPalette.reset;
    }
    mOut << "\n" << std::flush;
}

void EventPrinter::Answered(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        mOut << (line.empty() ? "" : "    ") << Printable(line) << "\n";
    }
    mOut << std::flush;
    mIsInParagraph = false;
}

void EventPrinter::Done(const Statement& /*statement*/) {
    if (const std::size_t count = std::exchange(mRepetitions, 0); count > 0) {
        Answered("(and " + std::to_string(count) + " writes of what the nodes held already)");
    }
}

void EventPrinter::End(const std::map<std::string, std::string>& values,
                       const std::vector<HeldRequest>& /*standing*/) {
    mOut << (mIsInParagraph ? "" : "\n");
    if (values.empty()) {
        mOut << "No node was written.\n" << std::flush;
        return;
    }
    TextTable table;
    for (const auto& [path, value] : values) {
        table.AddRow({mNames->Of(path).qos, path, value});
    }
    mOut << "Final values\n" << table.Text("  ") << std::flush;
}

void EventPrinter::Time(TimePoint time) {
    mLast = std::max(mLast, time);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(mLast - mBegin);
    char text[32];
    std::snprintf(text, sizeof(text), "%4lld.%03lld  ",
                  static_cast<long long>(millis.count() / 1000),
                  static_cast<long long>(millis.count() % 1000));
    mOut << text;
    mIsInParagraph = false;
}

}  // namespace corebeacon::tool
