#pragma once

#include <cstddef>
#include <optional>

namespace nx::oss::detail {

/// Bytes of the character that a first byte announces; 0 for a byte that begins none.
inline int announcedLength(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC0 || first > 0xF7) {
        return 0;
    }
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Number of characters of `length` bytes that must be well-formed UTF-8 (the Unicode Standard,
/// table 3-7); nothing when they are not.
std::optional<std::size_t> countWellFormedUtf8(const char* bytes, std::size_t length) noexcept;

/// Number of characters judged by their first bytes only: each is skipped by the length that its
/// first byte tells, whatever follows. Nothing when a byte 80 to BF or F8 to FF stands where a
/// character begins.
std::optional<std::size_t> countUtf8Characters(const char* bytes, std::size_t length) noexcept;

}  // namespace nx::oss::detail
