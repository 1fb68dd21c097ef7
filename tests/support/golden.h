/// Texts that a person has reviewed and that must not change unseen. A golden file lies beside the
/// tests; run with COREBEACON_UPDATE_GOLDEN set to write it anew after a deliberate change.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace corebeacon::test {

/// Expects that the file at `path` holds exactly `actual`.
inline void ExpectGolden(const std::string& path, const std::string& actual) {
    if (std::getenv("COREBEACON_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path) << actual;
    }
    std::ifstream file(path);
    ASSERT_TRUE(file.is_open()) << path;
    std::ostringstream golden;
    golden << file.rdbuf();
    EXPECT_EQ(actual, golden.str());
}

}  // namespace corebeacon::test
