#include "platform/node_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

class NodeReaderTest : public testing::Test {
protected:
    test::ScriptedNodeIo mKernel;
    test::ScopedNodeIo mScope{mKernel};
    std::string mText = "unchanged";
};

TEST_F(NodeReaderTest, ReadsTheWholeNodeThroughTheNodeIoInForce) {
    mKernel.SetContent("/freqs", "300000 600000 \n");
    EXPECT_EQ(ReadNode("/freqs", mText), NodeStatus::READ);
    EXPECT_EQ(mText, "300000 600000 \n");
    EXPECT_EQ(mKernel.LastOpenFlags(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(mKernel.Trace(), (std::vector<std::string>{"open /freqs = 100", "read 100 = 15",
                                                         "read 100 = 0", "close 100"}));
}

TEST_F(NodeReaderTest, PutsANodeTogetherThatComesInPieces) {
    mKernel.SetContent("/freqs", "300000 600000", 4);
    EXPECT_EQ(ReadNode("/freqs", mText), NodeStatus::READ);
    EXPECT_EQ(mText, "300000 600000");
}

TEST_F(NodeReaderTest, KeepsEveryByteOfANodeLargerThanAPage) {
    const std::string large(10000, 'x');
    mKernel.SetContent("/large", large + std::string("\0tail", 5));
    EXPECT_EQ(ReadNode("/large", mText), NodeStatus::READ);
    EXPECT_EQ(mText, large + std::string("\0tail", 5));
}

TEST_F(NodeReaderTest, AnEmptyNodeIsAnEmptyText) {
    EXPECT_EQ(ReadNode("/empty", mText), NodeStatus::READ);
    EXPECT_EQ(mText, "");
}

TEST_F(NodeReaderTest, AMissingNodeFailsWithItsErrnoAndLeavesTheTextAlone) {
    mKernel.FailNextOpen(ENOENT);
    EXPECT_EQ(ReadNode("/none", mText), NodeStatus::NOT_OPENED);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(mText, "unchanged");
}

TEST_F(NodeReaderTest, AFailedReadKeepsItsErrnoThroughAFailedCloseAndLeavesTheTextAlone) {
    mKernel.SetContent("/freqs", "300000");
    mKernel.PassNextRead();
    mKernel.FailNextRead(ENODEV);
    mKernel.FailNextClose(EIO);
    EXPECT_EQ(ReadNode("/freqs", mText), NodeStatus::NOT_READ);
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(mText, "unchanged");
    EXPECT_EQ(mKernel.OpenCount(), 0U);
}

TEST_F(NodeReaderTest, AnInterruptedCallIsRepeated) {
    mKernel.SetContent("/freqs", "300000");
    mKernel.FailNextOpen(EINTR);
    mKernel.FailNextRead(EINTR);
    EXPECT_EQ(ReadNode("/freqs", mText), NodeStatus::READ);
    EXPECT_EQ(mText, "300000");
}

TEST_F(NodeReaderTest, ANodeOfTheGreatestSizeIsReadAndALargerOneRefused) {
    mKernel.SetContent("/endless", std::string(kMaxNodeBytes, 'x'));
    EXPECT_EQ(ReadNode("/endless", mText), NodeStatus::READ);
    EXPECT_EQ(mText.size(), kMaxNodeBytes);

    mKernel.SetContent("/endless", std::string(kMaxNodeBytes + 1, 'x'));
    mText = "unchanged";
    EXPECT_EQ(ReadNode("/endless", mText), NodeStatus::NOT_READ);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(mText, "unchanged");
    EXPECT_EQ(mKernel.OpenCount(), 0U);
}

}  // namespace
}  // namespace corebeacon
