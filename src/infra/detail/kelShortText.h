#pragma once

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace nx::oss::detail {

// Why: a kernel takes as long for the call through its table as for a short text. Most names and
// messages are such texts, and ASCII.

constexpr std::size_t SHORT_BLOCK = 16;
constexpr std::size_t LONGEST_SHORT_TEXT = 4 * SHORT_BLOCK;

constexpr bool isShort(std::size_t length) {
    return length - SHORT_BLOCK <= LONGEST_SHORT_TEXT - SHORT_BLOCK;
}

#if defined(__SSE2__)

[[gnu::always_inline]] inline bool copyAsciiBlock(const char16_t* src, char* dest) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src) + 1);
    const __m128i high = _mm_and_si128(_mm_or_si128(first, second), _mm_set1_epi16(~0x7F));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF) {
        return false;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dest), _mm_packus_epi16(first, second));
    return true;
}

/// Copies text of isShort() units to as many bytes if all are ASCII. Otherwise returns false; what
/// it has written to the `length` bytes at `dest` has no meaning then.
[[gnu::always_inline]] inline bool copyShortAscii(const char16_t* src, std::size_t length,
                                                  char* dest) {
    // The last block overlaps the one before.
    const std::size_t last = length - SHORT_BLOCK;
    for (std::size_t at = 0; at < last; at += SHORT_BLOCK) {
        if (!copyAsciiBlock(src + at, dest + at)) {
            return false;
        }
    }
    return copyAsciiBlock(src + last, dest + last);
}

#else

inline bool copyShortAscii(const char16_t*, std::size_t, char*) { return false; }

#endif

}  // namespace nx::oss::detail
