// Plays the kept corpus: every input that once led somewhere new, or was a finding. An input that
// breaks a promise ends the program; its name is then the last line before.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "fuzz/fuzz_targets.h"

namespace corebeacon::fuzz {
namespace {

namespace fs = std::filesystem;

void Replay(const std::string& target, void (*run)(Bytes)) {
    std::set<fs::path> inputs;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(COREBEACON_CORPUS_DIR) / target)) {
        inputs.insert(entry.path());
    }
    ASSERT_GT(inputs.size(), 10U) << "the corpus of " << target << " is not where it was";
    for (const fs::path& input : inputs) {
        std::ifstream stream(input, std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
        const std::vector<std::uint8_t> bytes(content.begin(), content.end());
        std::cout << target << "/" << input.filename().string() << std::endl;
        run(bytes);
    }
}

TEST(Corpus, NoOperationsAndFaultsBreakAPromiseOfTheEngine) {
    Replay("front", &FuzzFront);
}

TEST(Corpus, NoScriptBreaksTheParser) {
    Replay("script", &FuzzScript);
}

TEST(Corpus, NoNodesTextBreaksItsReader) {
    Replay("node_text", &FuzzNodeText);
}

TEST(Corpus, NoTextOfALevelBreaksTheGroupThatWritesIt) {
    Replay("level_text", &FuzzLevelText);
}

TEST(Corpus, NoDescriptionOfABoardBreaksItsReader) {
    Replay("board", &FuzzBoard);
}

TEST(Corpus, NothingAtAllIsAnInputToo) {
    for (void (*const run)(Bytes) :
         {&FuzzFront, &FuzzScript, &FuzzNodeText, &FuzzLevelText, &FuzzBoard}) {
        run({});
    }
}

}  // namespace
}  // namespace corebeacon::fuzz
