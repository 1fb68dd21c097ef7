#include "platform/sys_wrapper.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "corebeacon/node_io.h"
#include "platform/logging.h"

namespace corebeacon::SysWrapper {

namespace {

constexpr const char* LOG_TAG = "PF_SYS_WRAPPER";

// errno is cleared first because a short write leaves it alone: what an earlier call left there
// must not pass for this write's failure.
bool WriteWhole(int fd, const void* data, std::size_t size) {
    errno = 0;
    const ssize_t written = GetNodeIo().Write(fd, data, size);
    return written >= 0 && static_cast<std::size_t>(written) == size;
}

bool OpenIfClosed(const std::string& name, const std::string& path, int& fd) {
    if (fd >= 0) {
        return true;
    }
    fd = SysOpenWithWrOnly(path);
    if (fd >= 0) {
        return true;
    }
    const int error = errno;
    LOGE("[%s:%d] [%s] open file %s failed, errno=%d (%s) \n", name.c_str(), path.c_str(), error,
         ErrnoText(error).Text());
    errno = error;
    return false;
}

// The device went away. Its node may be back already, but never behind the old descriptor.
int ReopenAndWriteStr(const std::string& name, const std::string& path, const std::string& text,
                      int& fd) {
    SysClose(fd);
    fd = SysOpenWithWrOnly(path);
    if (fd < 0) {
        const int error = errno;
        LOGE("[%s:%d] [%s] %s second open file [%s] failed, errno=%d (%s) \n", name.c_str(),
             text.c_str(), path.c_str(), error, ErrnoText(error).Text());
        errno = error;
        return -1;
    }
    if (WriteWhole(fd, text.data(), text.size())) {
        return 0;
    }
    const int error = errno;
    LOGE("[%s:%d] [%s] %s second write to %s failed, errno=%d (%s) \n", name.c_str(), text.c_str(),
         path.c_str(), error, ErrnoText(error).Text());
    SysClose(fd);
    errno = error;
    return -1;
}

}  // namespace

ErrnoText::ErrnoText(int error) noexcept : mBuffer{}, mText(nullptr) {
    mText = StrerrorText(strerror_r(error, mBuffer, sizeof(mBuffer)), mBuffer);
}

int SysOpenWithWrOnly(const std::string& path) {
    return GetNodeIo().Open(path.c_str(), O_WRONLY | O_CLOEXEC);
}

int SysClose(int& fd) {
    if (fd < 0) {
        return 0;
    }
    const int result = GetNodeIo().Close(fd);
    fd = -1;
    return result;
}

int SysOpenAndWriteUint(const std::string& name, const std::string& path, int value, int& fd) {
    if (!OpenIfClosed(name, path, fd)) {
        return -1;
    }
    if (WriteWhole(fd, &value, sizeof(value))) {
        return 0;
    }
    const int error = errno;
    LOGE("[%s:%d] [%s] %d write to %s failed, errno=%d (%s) \n", name.c_str(), value, path.c_str(),
         error, ErrnoText(error).Text());
    SysClose(fd);
    errno = error;
    return -1;
}

int SysOpenAndWriteStr(const std::string& name, const std::string& path, const std::string& text,
                       int& fd) {
    if (!OpenIfClosed(name, path, fd)) {
        return -1;
    }
    if (WriteWhole(fd, text.data(), text.size())) {
        return 0;
    }
    const int error = errno;
    if (error == ENODEV) {
        LOGD("[%s:%d] [%s] %s write to %s failed, errno=%d (%s) \n", name.c_str(), text.c_str(),
             path.c_str(), error, ErrnoText(error).Text());
        return ReopenAndWriteStr(name, path, text, fd);
    }
    LOGW("[%s:%d] [%s] %s write to %s failed, errno=%d (%s) \n", name.c_str(), text.c_str(),
         path.c_str(), error, ErrnoText(error).Text());
    SysClose(fd);
    errno = error;
    return -1;
}

int SysIoctl(int fd, unsigned long request, void* argument) {
    return GetNodeIo().Ioctl(fd, request, argument);
}

std::string PutTime(const std::tm& time) {
    return std::to_string(time.tm_mon) + "-" + std::to_string(time.tm_mday) + " " +
           std::to_string(time.tm_hour) + ":" + std::to_string(time.tm_min) + ":" +
           std::to_string(time.tm_sec);
}

}  // namespace corebeacon::SysWrapper
