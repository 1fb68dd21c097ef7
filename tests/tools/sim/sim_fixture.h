/// A simulated device and the few steps that most tests take with it. Owned by its test.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "sim/simulated_device.h"

namespace corebeacon::sim {

inline const std::string kPolicy = "/cpufreq/policy0";
inline const std::string kList = kPolicy + "/scaling_available_frequencies";
inline const std::string kMin = kPolicy + "/scaling_min_freq";
inline const std::string kMax = kPolicy + "/scaling_max_freq";

class SimTest : public testing::Test {
protected:
    int OpenOrFail(const std::string& path, int flags = O_WRONLY) {
        const int fd = mDevice.Open(path.c_str(), flags | O_CLOEXEC);
        EXPECT_GE(fd, 0) << path << ": " << std::strerror(errno);
        return fd;
    }

    /// 0 when all was taken, -1 when some was, else the errno.
    int WriteFd(int fd, const std::string& text) {
        const ssize_t written = mDevice.Write(fd, text.data(), text.size());
        if (written < 0) {
            return errno;
        }
        return written == static_cast<ssize_t>(text.size()) ? 0 : -1;
    }

    /// Opens, writes and closes.
    int WriteTo(const std::string& path, const std::string& text) {
        const int fd = mDevice.Open(path.c_str(), O_WRONLY);
        if (fd < 0) {
            return errno;
        }
        const int outcome = WriteFd(fd, text);
        mDevice.Close(fd);
        return outcome;
    }

    std::string ReadFd(int fd) {
        char buffer[8];
        std::string text;
        ssize_t count = 0;
        while ((count = mDevice.Read(fd, buffer, sizeof(buffer))) > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
        }
        return count < 0 ? std::strerror(errno) : text;
    }

    std::string ReadFrom(const std::string& path) {
        const int fd = OpenOrFail(path, O_RDONLY);
        const std::string text = ReadFd(fd);
        mDevice.Close(fd);
        return text;
    }

    /// errno of an open, 0 for success.
    int OpenError(const std::string& path, int flags) {
        const int fd = mDevice.Open(path.c_str(), flags);
        if (fd < 0) {
            return errno;
        }
        mDevice.Close(fd);
        return 0;
    }

    SimulatedDevice mDevice;
};

}  // namespace corebeacon::sim
