#include "corebeacon/node_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/clock.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

/// An engine that a host keeps in a static object: built before the first node is touched, so it is
/// destroyed after whatever was built then, and closes its nodes only now. What it misses ends this
/// program with a signal, after the last test.
class LastUser {
public:
    ~LastUser() {
        GetNodeIo().Close(-1);
        GetClock().SteadyNow();
    }
} gLastUser;

/// A file of the test's own, gone at its end.
class TempFile {
public:
    TempFile() {
        const int fd = ::mkstemp(mPath.data());
        EXPECT_GE(fd, 0);
        ::close(fd);
    }
    ~TempFile() { ::unlink(mPath.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const char* Path() const { return mPath.c_str(); }

private:
    std::string mPath = testing::TempDir() + "corebeacon_node_XXXXXX";
};

TEST(NodeIo, TheDefaultReadsAndWritesFiles) {
    TempFile file;
    NodeIo& kernel = GetNodeIo();
    int fd = kernel.Open(file.Path(), O_WRONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(kernel.Write(fd, "12345", 5), 5);
    EXPECT_EQ(kernel.Close(fd), 0);

    fd = kernel.Open(file.Path(), O_RDONLY);
    ASSERT_GE(fd, 0);
    char buffer[16] = {};
    EXPECT_EQ(kernel.Read(fd, buffer, sizeof(buffer)), 5);
    EXPECT_STREQ(buffer, "12345");
    EXPECT_EQ(kernel.Close(fd), 0);
}

TEST(NodeIo, TheDefaultNeverHandsDescriptorsToChildProcesses) {
    TempFile file;
    const int fd = GetNodeIo().Open(file.Path(), O_WRONLY);
    ASSERT_GE(fd, 0);
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(GetNodeIo().Close(fd), 0);
}

TEST(NodeIo, TheDefaultPassesAnIoctlOn) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    int waiting = 0;
    EXPECT_EQ(GetNodeIo().Ioctl(ends[0], FIONREAD, &waiting), 0);
    EXPECT_EQ(waiting, 3);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(NodeIo, TheDefaultFailsAsTheSystemCallsDo) {
    NodeIo& kernel = GetNodeIo();
    EXPECT_EQ(kernel.Open("/nonexistent/node", O_WRONLY), -1);
    EXPECT_EQ(errno, ENOENT);
    char byte = 0;
    EXPECT_EQ(kernel.Read(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(kernel.Write(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(kernel.Close(-1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(kernel.Ioctl(-1, FIONREAD, &byte), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST(NodeIo, AReplacementIsInForceUntilNullRestoresTheDefault) {
    NodeIo& kernel = GetNodeIo();
    test::ScriptedNodeIo replacement;
    SetNodeIo(&replacement);
    EXPECT_EQ(&GetNodeIo(), &replacement);
    SetNodeIo(nullptr);
    EXPECT_EQ(&GetNodeIo(), &kernel);
}

}  // namespace
}  // namespace corebeacon
