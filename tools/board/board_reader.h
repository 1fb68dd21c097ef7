/// Reads the description of a board, in the form of docs/board.md. Free functions; any thread may
/// call them, but the node seam is not touched.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "board/board.h"
#include "board/xml_element.h"

namespace corebeacon::board {

/// Descriptions are written by people; whatever is longer than this is something else.
inline constexpr std::size_t kMaxBoardBytes = 4U << 20U;

struct RowPlaces {
    Place row;
    std::vector<Place> nodes;
    std::map<int, Place> levels;
};

struct QosPlaces {
    Place qos;
    std::vector<RowPlaces> rows;  ///< in the order of PerfQosConfig::groups
};

/// One value that a scenario or an event asks for.
struct PlacedValue {
    Place place;
    PerfQosId qosId = PERF_QOS_INVALID;
    unsigned groupId = 0;
    PerfOperationType operation = PERF_OPERATION_BOOST;
    int value = 0;
};

/// Where things stand in the file, for what is found wrong later.
struct BoardPlaces {
    std::map<PerfQosId, QosPlaces> qos;
    std::vector<PlacedValue> values;
};

struct ReadBoard {
    Board board;
    BoardPlaces places;
    std::vector<BoardError> errors;  ///< in the order of the file; empty when `board` is whole
};

ReadBoard ParseBoard(std::string_view text);

}  // namespace corebeacon::board
