#include "reference/kelAddressRecordReference.h"

namespace nx::test {

namespace {

/// A number of `size` bytes, lowest first; every byte must be there.
std::uint64_t numberAt(std::string_view bytes, std::size_t position, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = number * 256 + static_cast<unsigned char>(bytes.at(position + i - 1));
    }
    return number;
}

std::int32_t signedAt(std::string_view bytes, std::size_t position) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(numberAt(bytes, position, 4)));
}

}  // namespace

std::optional<ReadEntry> readEntrySlowly(std::string_view bytes) {
    if (bytes.size() < 42) {
        return std::nullopt;
    }
    const std::uint64_t addressLength = numberAt(bytes, 16, 4);
    if (26 + addressLength > bytes.size()) {
        return std::nullopt;
    }
    const std::uint64_t nameLength = numberAt(bytes, 24 + addressLength, 2);
    if (26 + addressLength + nameLength > bytes.size()) {
        return std::nullopt;
    }
    ReadEntry entry;
    entry.flags = signedAt(bytes, 0);
    entry.family = signedAt(bytes, 4);
    entry.type = signedAt(bytes, 8);
    entry.protocol = signedAt(bytes, 12);
    for (std::size_t i = 0; i < addressLength; ++i) {
        entry.address.push_back(bytes.at(24 + i));
    }
    for (std::size_t i = 0; i < nameLength; ++i) {
        entry.name.push_back(bytes.at(26 + addressLength + i));
    }
    entry.size = 26 + addressLength + nameLength;
    return entry;
}

std::optional<std::vector<ReadEntry>> readRecordSlowly(std::string_view record) {
    const std::size_t used = numberAt(record, 0, 2);
    if (used > 2998) {
        return std::nullopt;
    }
    std::size_t at = 0;
    while (at < 1025 && at < used && record.at(2 + at) != '\0') {
        ++at;
    }
    at += 3;
    std::vector<ReadEntry> entries;
    while (at < used || entries.empty()) {
        if (at >= used) {
            return std::nullopt;
        }
        const std::optional<ReadEntry> entry = readEntrySlowly(record.substr(2 + at, used - at));
        if (!entry) {
            return std::nullopt;
        }
        entries.push_back(*entry);
        at += entry->size;
    }
    return entries;
}

}  // namespace nx::test
