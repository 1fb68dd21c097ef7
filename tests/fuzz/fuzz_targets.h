/// The doors through which bytes from outside come in, each as a function that takes any bytes
/// whatever and aborts where a promise is broken. libFuzzer calls one of them
/// (libfuzzer_entry.cpp), the replay of the kept corpus all of them (replay_test.cpp). Each leaves
/// nothing behind, so that the same bytes always do the same. One thread at a time.
#pragma once

#include <cstdint>
#include <span>

namespace corebeacon::fuzz {

using Bytes = std::span<const std::uint8_t>;

/// The public operations of a whole engine on a simulated device, with faults.
void FuzzFront(Bytes bytes);
/// The script parser of the program.
void FuzzScript(Bytes bytes);
/// The readers of frequency lists and of the board's name, with short and failing reads.
void FuzzNodeText(Bytes bytes);
/// The texts that levels stand for, and the numbers that an ioctl takes from them.
void FuzzLevelText(Bytes bytes);
/// The reader of board descriptions, and the checks of what it has read.
void FuzzBoard(Bytes bytes);

}  // namespace corebeacon::fuzz
