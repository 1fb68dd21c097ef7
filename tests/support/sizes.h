/// How large a test runs: small in every build, large when the environment asks for it.
#pragma once

#include <cstdlib>

namespace corebeacon::test {

/// The number in the environment variable `name`, or `usual` without one.
inline long SizeFromEnvironment(const char* name, long usual) {
    const char* text = std::getenv(name);
    const long size = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return size > 0 ? size : usual;
}

}  // namespace corebeacon::test
