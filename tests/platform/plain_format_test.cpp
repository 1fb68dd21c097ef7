#include "platform/plain_format.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "support/grouped_digits.h"

namespace corebeacon {
namespace {

using test::GlobalGroupedDigits;
using test::GroupedDigits;

std::string Plain(std::ostringstream& out) {
    const PlainFormat format(out);
    out << 1211000 << " " << -5 << " " << std::setw(3) << 7;
    return out.str();
}

TEST(PlainFormat, TheStreamsOwnLocaleDoesNotMatter) {
    std::ostringstream out;
    out.imbue(GroupedDigits());
    EXPECT_EQ(Plain(out), "1211000 -5   7");
    out.str("");
    out << 1211000;
    EXPECT_EQ(out.str(), "1.211.000");
}

TEST(PlainFormat, TheLocaleOfTheProcessDoesNotMatter) {
    const GlobalGroupedDigits grouped;
    std::ostringstream out;
    EXPECT_EQ(Plain(out), "1211000 -5   7");
}

TEST(PlainFormat, TheFlagsOfTheStreamDoNotMatter) {
    std::ostringstream out;
    out << std::hex << std::showbase << std::showpos << std::left << std::uppercase;
    EXPECT_EQ(Plain(out), "1211000 -5   7");
    out.str("");
    out << 26 << std::dec << 26;
    EXPECT_EQ(out.str(), "0X1A+26");
}

TEST(PlainFormat, APendingWidthAndItsFillWaitForTheCallersNextItem) {
    std::ostringstream out;
    out << std::setfill('*') << std::setw(4);
    EXPECT_EQ(Plain(out), "1211000 -5   7");
    out.str("");
    out << 26;
    EXPECT_EQ(out.str(), "**26");
}

}  // namespace
}  // namespace corebeacon
