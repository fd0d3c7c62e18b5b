#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nx::oss::detail {

constexpr std::size_t LONGEST_SHORT_COPY = 32;

/// Copies `count` bytes when `Word` takes them with at most two moves, which may overlap.
/// Everything is read before anything is written.
template <class Word>
[[gnu::always_inline]] inline void copyTwoWords(char* dest, const char* src, std::size_t count) {
    Word first;
    Word last;
    std::memcpy(&first, src, sizeof first);
    std::memcpy(&last, src + count - sizeof last, sizeof last);
    std::memcpy(dest, &first, sizeof first);
    std::memcpy(dest + count - sizeof last, &last, sizeof last);
}

/// As memmove for 1 to LONGEST_SHORT_COPY bytes.
[[gnu::always_inline]] inline void copyShort(char* dest, const char* src, std::size_t count) {
    __extension__ using Sixteen = unsigned __int128;
    if (count >= 16) {
        copyTwoWords<Sixteen>(dest, src, count);
    } else if (count >= 8) {
        copyTwoWords<std::uint64_t>(dest, src, count);
    } else if (count >= 4) {
        copyTwoWords<std::uint32_t>(dest, src, count);
    } else if (count >= 2) {
        copyTwoWords<std::uint16_t>(dest, src, count);
    } else {
        *dest = *src;
    }
}

// Why: most pieces of text are short, and the call would cost more than the bytes.

/// As memcpy; `count` is at least 1.
[[gnu::always_inline]] inline void copyBytes(char* dest, const char* src, std::size_t count) {
    if (count > LONGEST_SHORT_COPY) {
        std::memcpy(dest, src, count);
    } else {
        copyShort(dest, src, count);
    }
}

/// As memmove; `count` is at least 1.
[[gnu::always_inline]] inline void moveBytes(char* dest, const char* src, std::size_t count) {
    if (count > LONGEST_SHORT_COPY) {
        std::memmove(dest, src, count);
    } else {
        copyShort(dest, src, count);
    }
}

}  // namespace nx::oss::detail
