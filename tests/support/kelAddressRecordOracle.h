#pragma once

#include <string>
#include <string_view>

namespace nx::test {

/// Rebuilds the addresses of a record of 3,000 bytes with the library, the record lying right
/// before memory that nobody may read, and compares with the slow reader. Connects from it when it
/// is malformed. Returns what differs, nothing when all is well.
std::string compareRecord(std::string_view record);

/// The same for one entry that begins `bytes`, which lie right before such memory.
std::string compareEntry(std::string_view bytes);

}  // namespace nx::test
