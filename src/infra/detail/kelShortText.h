#pragma once

#include <cstddef>
#include <cstdint>

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

/// Stores the units of both vectors as bytes. False, and nothing stored, unless all are ASCII.
[[gnu::always_inline]] inline bool storeAscii(__m128i first, __m128i second, char* dest) {
    const __m128i high = _mm_and_si128(_mm_or_si128(first, second), _mm_set1_epi16(~0x7F));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF) {
        return false;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dest), _mm_packus_epi16(first, second));
    return true;
}

[[gnu::always_inline]] inline bool copyAsciiBlock(const char16_t* src, char* dest) {
    const auto* const units = reinterpret_cast<const __m128i*>(src);
    return storeAscii(_mm_loadu_si128(units), _mm_loadu_si128(units + 1), dest);
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

/// Copies `length` units, not more than SHORT_BLOCK, to as many bytes if all are ASCII, with NULs
/// behind them; otherwise returns false and writes nothing. Reads and writes a whole block in any
/// case.
[[gnu::always_inline]] inline bool copyAsciiToBlock(const char16_t* src, std::size_t length,
                                                    char* dest) {
    // A window on this sliding by a unit keeps one unit more.
    alignas(16) static constexpr std::uint16_t KEPT[2 * SHORT_BLOCK] = {
        0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF,
        0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    const auto* const kept = reinterpret_cast<const __m128i*>(KEPT + SHORT_BLOCK - length);
    const auto* const units = reinterpret_cast<const __m128i*>(src);
    return storeAscii(_mm_and_si128(_mm_loadu_si128(units), _mm_loadu_si128(kept)),
                      _mm_and_si128(_mm_loadu_si128(units + 1), _mm_loadu_si128(kept + 1)), dest);
}

#else

inline bool copyShortAscii(const char16_t*, std::size_t, char*) { return false; }
inline bool copyAsciiToBlock(const char16_t*, std::size_t, char*) { return false; }

#endif

}  // namespace nx::oss::detail
