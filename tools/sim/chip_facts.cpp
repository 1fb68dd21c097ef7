#include "sim/chip_facts.h"

#include <array>

namespace corebeacon::sim {

namespace {

constexpr std::int64_t kMhz = 1000000;

const std::vector<std::int64_t> kCommonGpuHz{279 * kMhz, 387 * kMhz, 495 * kMhz,
                                             603 * kMhz, 675 * kMhz, 750 * kMhz};

const std::vector<std::int64_t> kCommonDdrHz{418 * kMhz,  547 * kMhz,  800 * kMhz, 1066 * kMhz,
                                             1600 * kMhz, 1866 * kMhz, 2133 * kMhz};

const std::array<ChipFacts, kChipCount> kChips{
    ChipFacts{
        .clusterKhz = {{418000, 576000, 734000, 893000, 1052000, 1211000, 1370000, 1530000},
                       {418000, 665000, 912000, 1160000, 1407000, 1655000, 1902000, 2150000},
                       {1239000, 1417000, 1595000, 1774000, 1952000, 2130000, 2309000, 2487000}},
        .gpuHz = kCommonGpuHz,
        .ddrHz = kCommonDdrHz,
        .l3cHz = {335 * kMhz, 576 * kMhz, 806 * kMhz, 1019 * kMhz, 1152 * kMhz, 1280 * kMhz,
                  1380 * kMhz},
    },
    ChipFacts{
        .clusterKhz = {{447000, 633000, 845000, 1057000, 1270000, 1482000, 1748000, 2016000},
                       {941000, 1120000, 1325000, 1530000, 1740000, 1930000, 2130000, 2324000},
                       {1632000, 1778000, 1924000, 2070000, 2216000, 2362000, 2515000, 2669000}},
        .gpuHz = {164 * kMhz, 254 * kMhz, 344 * kMhz, 434 * kMhz, 524 * kMhz, 615 * kMhz},
        .ddrHz = kCommonDdrHz,
        .l3cHz = {300800000, 505600000, 710400000, 915200000, 1152 * kMhz, 1324800000, 1536 * kMhz,
                  1728 * kMhz},
    },
    ChipFacts{
        .clusterKhz = {{335000, 509000, 683000, 857000, 1030000, 1204000, 1377000, 1550000},
                       {335000, 598000, 862000, 1125000, 1389000, 1652000, 1916000, 2180000},
                       {1120000, 1288000, 1457000, 1626000, 1794000, 1963000, 2131000, 2300000}},
        .gpuHz = kCommonGpuHz,
        .ddrHz = kCommonDdrHz,
        .l3cHz = {335 * kMhz, 576 * kMhz, 806 * kMhz, 1019 * kMhz, 1149 * kMhz, 1300 * kMhz,
                  1450 * kMhz},
    },
};

}  // namespace

const ChipFacts& FactsOfChip(unsigned chip) {
    return kChips.at(chip);
}

}  // namespace corebeacon::sim
