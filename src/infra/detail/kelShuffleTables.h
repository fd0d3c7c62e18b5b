#pragma once

#include <cstddef>
#include <cstdint>

namespace nx::oss::detail {

/// Controls for a byte shuffle of 16 bytes, one row per value of a mask of eight bits. Bytes 80 in
/// a row give zero.
struct ShuffleTable {
    alignas(64) std::uint8_t rows[256][16];
};

namespace shuffle {

/// One row under construction: the bytes to keep, in order.
struct Row {
    std::uint8_t* bytes;
    std::size_t size = 0;

    constexpr void keep(std::size_t index) { bytes[size++] = static_cast<std::uint8_t>(index); }
    constexpr void fill() {
        while (size < 16) {
            keep(0x80);
        }
    }
};

/// Eight 16-bit lanes; bit i of the mask keeps both bytes of lane i, else only its low byte.
constexpr void keepOneOrTwo(Row& row, std::size_t mask) {
    for (std::size_t lane = 0; lane < 8; ++lane) {
        row.keep(2 * lane);
        if ((mask >> lane & 1) != 0) {
            row.keep(2 * lane + 1);
        }
    }
}

/// Four 32-bit lanes of bytes 0 to 3; bits 2i and 2i + 1 of the mask keep of lane i
///     00  byte 2,   01  bytes 1 and 2,   11  bytes 0 to 2.
constexpr void keepOneToThree(Row& row, std::size_t mask) {
    for (std::size_t lane = 0; lane < 4; ++lane) {
        const std::size_t bits = mask >> 2 * lane & 3;
        for (std::size_t byte = bits == 0 ? 2 : bits == 1 ? 1 : 0; byte < 3; ++byte) {
            row.keep(4 * lane + byte);
        }
    }
}

/// Eight 16-bit lanes; bit i of the mask keeps lane i.
constexpr void keepLanes(Row& row, std::size_t mask) {
    for (std::size_t lane = 0; lane < 8; ++lane) {
        if ((mask >> lane & 1) != 0) {
            row.keep(2 * lane);
            row.keep(2 * lane + 1);
        }
    }
}

constexpr ShuffleTable makeTable(void (*fillRow)(Row&, std::size_t)) {
    ShuffleTable table{};
    for (std::size_t mask = 0; mask < 256; ++mask) {
        Row row{table.rows[mask]};
        fillRow(row, mask);
        row.fill();
    }
    return table;
}

}  // namespace shuffle

inline constexpr ShuffleTable KEEP_ONE_OR_TWO = shuffle::makeTable(shuffle::keepOneOrTwo);
inline constexpr ShuffleTable KEEP_ONE_TO_THREE = shuffle::makeTable(shuffle::keepOneToThree);
inline constexpr ShuffleTable KEEP_LANES = shuffle::makeTable(shuffle::keepLanes);

}  // namespace nx::oss::detail
