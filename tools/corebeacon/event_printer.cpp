#include "event_printer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <vector>

#include "text_table.h"

namespace corebeacon::tool {

EventPrinter::EventPrinter(std::ostream& out, const NodeNames& names, const NodeNameWidths& widths,
                           TimePoint begin)
    : mOut(out), mNames(names), mWidths(widths), mBegin(begin), mLast(begin) {}

void EventPrinter::Note(const std::string& text) {
    mOut << (mIsInParagraph ? "" : "\n") << "# " << text << "\n" << std::flush;
    mIsInParagraph = true;
}

void EventPrinter::Statement(TimePoint time, const std::string& text) {
    Time(time);
    mOut << text << "\n" << std::flush;
}

void EventPrinter::Happening(TimePoint time, const std::string& text) {
    Time(time);
    mOut << "(" << text << ")\n" << std::flush;
}

void EventPrinter::Write(const NodeWrite& write) {
    const NodeName name = mNames.Of(write.path);
    Time(write.time);
    mOut << "    " << Padded(name.qos, mWidths.qos) << "  " << Padded(name.brief, mWidths.brief)
         << "  " << write.value;
    if (!write.failure.empty()) {
        mOut << (write.value.empty() ? "" : "  ") << "FAILED: " << write.failure;
    }
    mOut << "\n" << std::flush;
}

void EventPrinter::Answer(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        mOut << (line.empty() ? "" : "    ") << line << "\n";
    }
    mOut << std::flush;
    mIsInParagraph = false;
}

void EventPrinter::FinalValues(const std::map<std::string, std::string>& values) {
    mOut << (mIsInParagraph ? "" : "\n");
    if (values.empty()) {
        mOut << "No node was written.\n" << std::flush;
        return;
    }
    TextTable table;
    for (const auto& [path, value] : values) {
        table.AddRow({mNames.Of(path).qos, path, value});
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
