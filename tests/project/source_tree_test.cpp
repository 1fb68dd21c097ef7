// The rules that keep the source tree in shape, checked over every file in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = COREBEACON_SOURCE_DIR;

struct SourceFile {
    std::string path;  // below the root, with forward slashes
    std::vector<std::string> lines;
};

std::vector<SourceFile> SourcesIn(const std::vector<std::string>& folders) {
    std::vector<SourceFile> sources;
    for (const std::string& folder : folders) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kRoot / folder)) {
            const fs::path extension = entry.path().extension();
            if (extension != ".h" && extension != ".cpp") {
                continue;
            }
            SourceFile file{entry.path().lexically_relative(kRoot).generic_string(), {}};
            std::ifstream stream(entry.path());
            for (std::string line; std::getline(stream, line);) {
                file.lines.push_back(line);
            }
            sources.push_back(std::move(file));
        }
    }
    return sources;
}

// What a line says to the compiler. Comments may name what code may not.
std::string WithoutComment(const std::string& line) {
    return line.substr(0, line.find("//"));
}

// Log texts speak of writing, too.
std::string WithoutTexts(const std::string& line) {
    static const std::regex kText("\"([^\"\\\\]|\\\\.)*\"");
    return std::regex_replace(line, kText, "\"\"");
}

// The folder that an include of the library's own headers leads to, "" for any other line.
std::string IncludedFolder(const std::string& line) {
    static const std::regex kInclude("^\\s*#\\s*include\\s+\"([a-z_]+)/.*");
    std::smatch match;
    return std::regex_match(line, match, kInclude) ? match[1].str() : std::string();
}

const std::vector<std::string> kLayers = {"platform", "config",    "command",
                                          "engine",   "resources", "front"};

// Position of a folder in the order of building; what is not a layer of the library has none.
int Layer(const std::string& folder) {
    const auto place = std::find(kLayers.begin(), kLayers.end(), folder);
    return place == kLayers.end() ? -1 : static_cast<int>(place - kLayers.begin());
}

std::string FolderBelow(const std::string& parent, const std::string& path) {
    const std::string rest = path.substr(parent.size() + 1);
    return rest.substr(0, rest.find('/'));
}

// The resource manager is the one place of the engine that knows the resource kinds, which it
// builds by QoS.
bool MayIncludeResources(const std::string& path) {
    return path == "src/engine/resource_manager.h" || path == "src/engine/resource_manager.cpp";
}

TEST(SourceTree, ALayerIncludesOnlyItselfAndTheLayersBelow) {
    int seen = 0;
    for (const SourceFile& file : SourcesIn({"src"})) {
        const int own = Layer(FolderBelow("src", file.path));
        ASSERT_GE(own, 0) << file.path << " is in no layer";
        for (const std::string& line : file.lines) {
            const std::string folder = IncludedFolder(line);
            if (folder.empty() || folder == "corebeacon") {
                continue;
            }
            ++seen;
            EXPECT_GE(Layer(folder), 0) << file.path << ": " << line;
            if (folder != "resources" || !MayIncludeResources(file.path)) {
                EXPECT_LE(Layer(folder), own) << file.path << ": " << line;
            }
        }
    }
    EXPECT_GT(seen, 0) << "the check no longer recognises an include";
}

TEST(SourceTree, APublicHeaderIncludesPublicHeadersAlone) {
    int seen = 0;
    for (const SourceFile& file : SourcesIn({"include"})) {
        for (const std::string& line : file.lines) {
            const std::string folder = IncludedFolder(line);
            if (!folder.empty()) {
                ++seen;
                EXPECT_EQ(folder, "corebeacon") << file.path << ": " << line;
            }
        }
    }
    EXPECT_GT(seen, 0);
}

TEST(SourceTree, AHeaderIsGuardedByPragmaOnce) {
    for (const SourceFile& file : SourcesIn({"include", "src", "tools", "tests"})) {
        if (file.path.ends_with(".h")) {
            EXPECT_EQ(std::count(file.lines.begin(), file.lines.end(), "#pragma once"), 1)
                << file.path;
        }
    }
}

TEST(SourceTree, NoFileOutgrowsSixHundredLines) {
    for (const SourceFile& file : SourcesIn({"include", "src", "tools"})) {
        EXPECT_LE(file.lines.size(), 600U) << file.path;
    }
}

// The seam to the kernel and the default log sink; all others go through the first.
TEST(SourceTree, OnlyTheNodeSeamAndTheLogTouchFiles) {
    const std::set<std::string> allowed = {"src/platform/posix_node_io.cpp",
                                           "src/platform/log.cpp"};
    const std::regex access(
        "(^|[^A-Za-z0-9_])(::)?(open|openat|creat|read|write|pread|pwrite|ioctl|fopen|fdopen|mmap)"
        "\\s*\\(|std::(i|o)?fstream|std::filesystem|std::FILE");
    std::set<std::string> touching;
    for (const SourceFile& file : SourcesIn({"include", "src"})) {
        for (const std::string& line : file.lines) {
            if (std::regex_search(WithoutComment(WithoutTexts(line)), access)) {
                touching.insert(file.path);
                EXPECT_TRUE(allowed.contains(file.path)) << file.path << ": " << line;
            }
        }
    }
    EXPECT_TRUE(touching.contains("src/platform/posix_node_io.cpp"))
        << "the check no longer recognises an access";
}

// What reads the time past the clock in force cannot be tested with a clock that a test moves, and
// what waits on the wall clock goes wrong when somebody sets it.
TEST(SourceTree, OnlyTheClockReadsTheTimeAndOnlyTextsAskForTheWallClock) {
    const std::set<std::string> mayRead = {"src/platform/clock.h", "src/platform/clock.cpp"};
    const std::set<std::string> mayTell = {"src/platform/clock.h", "src/platform/clock.cpp",
                                           "src/platform/log.cpp",
                                           "src/resources/frequency_group.cpp"};
    const std::regex reading(
        "(system|steady|high_resolution)_clock::now|(^|[^A-Za-z0-9_])(::|std::)?"
        "(time|gettimeofday|clock_gettime|timespec_get|ftime)\\s*\\(");
    std::set<std::string> readers;
    std::set<std::string> tellers;
    for (const SourceFile& file : SourcesIn({"include", "src"})) {
        for (const std::string& line : file.lines) {
            const std::string code = WithoutComment(WithoutTexts(line));
            if (std::regex_search(code, reading)) {
                readers.insert(file.path);
                EXPECT_TRUE(mayRead.contains(file.path)) << file.path << ": " << line;
            }
            if (code.find("WallNow") != std::string::npos) {
                tellers.insert(file.path);
                EXPECT_TRUE(mayTell.contains(file.path)) << file.path << ": " << line;
            }
        }
    }
    EXPECT_TRUE(readers.contains("src/platform/clock.cpp"))
        << "the check no longer recognises a reading";
    EXPECT_EQ(tellers, mayTell);
}

TEST(SourceTree, TheLibraryKnowsNoTestBuild) {
    const std::regex conditional("^\\s*#\\s*(if|ifdef|ifndef|elif).*TEST");
    for (const SourceFile& file : SourcesIn({"include", "src", "tools"})) {
        for (const std::string& line : file.lines) {
            EXPECT_FALSE(std::regex_search(line, conditional)) << file.path << ": " << line;
        }
    }
}

TEST(SourceTree, NothingIsMadePublicThatIsNotInTheIncludeFolder) {
    for (const SourceFile& file : SourcesIn({"src"})) {
        for (const std::string& line : file.lines) {
            EXPECT_EQ(WithoutComment(line).find("COREBEACON_API"), std::string::npos)
                << file.path << ": " << line;
        }
    }
}

}  // namespace
