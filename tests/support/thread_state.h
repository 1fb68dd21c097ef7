/// What the kernel says of another thread, for tests in which one has to be waiting for something
/// before the test goes on.
#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>

namespace corebeacon::test {

/// Whether the thread is there and sleeps, to be asked with Eventually. The thread tells its id by
/// an atomic variable (0, before it has, is no thread): a promise may itself put it to sleep.
inline bool IsAsleep(pid_t tid) {
    std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string text;
    std::getline(stat, text);
    // "TID (NAME) STATE ...", and a name may hold anything.
    const std::size_t nameEnd = text.rfind(") ");
    return nameEnd != std::string::npos && text.compare(nameEnd + 2, 2, "S ") == 0;
}

}  // namespace corebeacon::test
