#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A slow reader of address records, byte by byte, with nothing of the library.
namespace nx::test {

struct ReadEntry {
    std::int32_t flags = 0;
    std::int32_t family = 0;
    std::int32_t type = 0;
    std::int32_t protocol = 0;
    std::string address;
    std::string name;
    std::size_t size = 0;

    bool operator==(const ReadEntry& other) const {
        return flags == other.flags && family == other.family && type == other.type &&
               protocol == other.protocol && address == other.address && name == other.name &&
               size == other.size;
    }
};

/// The entry that begins the bytes, or nothing when they hold none.
std::optional<ReadEntry> readEntrySlowly(std::string_view bytes);

/// The entries of a record of 3,000 bytes, or nothing when it is malformed.
std::optional<std::vector<ReadEntry>> readRecordSlowly(std::string_view record);

}  // namespace nx::test
