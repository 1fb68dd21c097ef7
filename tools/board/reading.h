/// The parts of the reader: each turns one element into a part of the board. For board_reader.cpp
/// and its siblings alone.
#pragma once

#include <optional>
#include <string_view>

#include "board/board_reader.h"

namespace corebeacon::board {

void ReadMachine(Element element, Machine& machine);
void ReadQos(Element element, ReadBoard& read);
/// These look QoS names up in the board, whose QoS must have been read.
void ReadScenario(Element element, ReadBoard& read);
void ReadEvent(Element element, ReadBoard& read);
void ReadProbe(Element element, ProbeEvent& probe);

/// Of a QoS of the board or of the engine's own names.
std::optional<PerfQosId> QosByName(const Board& board, std::string_view name);
/// What an attribute `qos` stands for: an id, or else a name.
std::optional<PerfQosId> QosByReference(const Board& board, std::string_view text);
/// Names that a misspelt one may have meant; they live as long as the board.
std::vector<std::string_view> QosNames(const Board& board);

}  // namespace corebeacon::board
