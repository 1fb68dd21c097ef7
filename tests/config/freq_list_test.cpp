#include "config/freq_list.h"

#include <gtest/gtest.h>

#include "support/grouped_digits.h"
#include "support/scoped_node_io.h"
#include "support/text_nodes.h"

namespace corebeacon {
namespace {

using test::ScopedNodeIo;
using test::TextNodes;

constexpr const char* kPath = "/sys/list";

class FreqListTest : public testing::Test {
protected:
    FreqListStatus Read(const std::string& text) {
        mNodes.texts[kPath] = text;
        return ReadFreqList(kPath, mFreqs);
    }

    TextNodes mNodes;
    ScopedNodeIo mScope{mNodes};
    std::vector<std::int64_t> mFreqs{7};
};

TEST_F(FreqListTest, TheListIsAscendingAndWithoutDuplicates) {
    EXPECT_EQ(Read("1530000 418000 418000 \n"), FreqListStatus::READ);
    EXPECT_EQ(mFreqs, (std::vector<std::int64_t>{418000, 1530000}));
    EXPECT_EQ(mNodes.OpenDescriptors(), 0U);
}

TEST_F(FreqListTest, AnyWhitespaceSeparates) {
    EXPECT_EQ(Read("\t3\n\n2\r\n1"), FreqListStatus::READ);
    EXPECT_EQ(mFreqs, (std::vector<std::int64_t>{1, 2, 3}));
}

TEST_F(FreqListTest, ReadingEndsAtTheFirstThingThatIsNoNumber) {
    EXPECT_EQ(Read("300 200 MHz 100"), FreqListStatus::READ);
    EXPECT_EQ(mFreqs, (std::vector<std::int64_t>{200, 300}));
}

TEST_F(FreqListTest, NumbersHave64Bits) {
    EXPECT_EQ(Read("9223372036854775807 4294967296 9223372036854775808 1"), FreqListStatus::READ);
    EXPECT_EQ(mFreqs, (std::vector<std::int64_t>{4294967296, 9223372036854775807}));
}

TEST_F(FreqListTest, ALongListIsReadWhole) {
    std::string text;
    for (int freq = 10000; freq > 0; --freq) {
        text += std::to_string(freq) + " ";
    }
    EXPECT_EQ(Read(text), FreqListStatus::READ);
    ASSERT_EQ(mFreqs.size(), 10000U);
    EXPECT_EQ(mFreqs.front(), 1);
    EXPECT_EQ(mFreqs.back(), 10000);
}

TEST_F(FreqListTest, ANodeWithoutNumbersIsEmpty) {
    for (const char* text : {"", "\n", "<unsupported>\n"}) {
        EXPECT_EQ(Read(text), FreqListStatus::EMPTY);
        EXPECT_EQ(mFreqs, std::vector<std::int64_t>{7});
    }
}

TEST_F(FreqListTest, AMissingNodeIsToldApart) {
    EXPECT_EQ(ReadFreqList(kPath, mFreqs), FreqListStatus::NODE_MISSING);
    EXPECT_EQ(mFreqs, std::vector<std::int64_t>{7});
}

TEST_F(FreqListTest, ANodeThatOpensButCannotBeReadIsEmpty) {
    mNodes.busy.insert(kPath);
    EXPECT_EQ(Read("300 200"), FreqListStatus::EMPTY);
    EXPECT_EQ(mFreqs, std::vector<std::int64_t>{7});
    EXPECT_EQ(mNodes.OpenDescriptors(), 0U);
}

TEST_F(FreqListTest, AnOverlongNodeIsEmpty) {
    EXPECT_EQ(Read(std::string(1024UL * 1024UL, ' ') + "300"), FreqListStatus::EMPTY);
    EXPECT_EQ(mNodes.OpenDescriptors(), 0U);
}

TEST_F(FreqListTest, TheHostsLocaleDoesNotMatter) {
    const test::GlobalGroupedDigits grouped;
    EXPECT_EQ(Read("1.530 418"), FreqListStatus::READ);
    EXPECT_EQ(mFreqs, std::vector<std::int64_t>{1});
}

}  // namespace
}  // namespace corebeacon
