#if defined(__x86_64__)

#include <algorithm>

#include "infra/detail/kelAvx2.h"

// Kernels that treat all units alike: Latin-1, sizes, surrogate checks, byte order.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 16;  // units in a vector

/// Two bits per unit, for each unit of `units` that has one of `bits`.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t unitsWith(__m256i units, int bits) {
    return ~byteMask(hasBits(units, bits, 0));
}

/// Narrows up to 16 units if all are Latin-1, else those before the first that is not; returns the
/// number.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t narrowPart(const char16_t* src,
                                                                    std::size_t length,
                                                                    char* dest) {
    const __m256i units = loadUnits(src, length);
    const std::uint32_t wide = unitsWith(units, 0xFF00);
    const std::size_t count = wide == 0 ? length : _tzcnt_u32(wide) / 2;
    storeBytes(dest, narrow(units), count);
    return count;
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool isLatin1(__m256i first, __m256i second) {
    return hasNone(_mm256_or_si256(first, second), broadcast16(0xFF00));
}

/// Two bits per unit, for surrogates of a block: first halves, and units that second halves follow.
struct Surrogates {
    std::uint32_t high;
    std::uint32_t lowFollows;
};

/// Surrogates among `units`, the first 16 of `left` units at `src`.
[[KELINFRA_AVX2, gnu::always_inline]] inline Surrogates surrogates(__m256i units,
                                                                   const char16_t* src,
                                                                   std::size_t left) {
    const std::uint32_t low = byteMask(hasBits(units, 0xFC00, 0xDC00));
    const bool nextIsLow = left > BLOCK && (src[BLOCK] & 0xFC00) == 0xDC00;
    return {byteMask(hasBits(units, 0xFC00, 0xD800)), low >> 2 | (nextIsLow ? 0xC0000000 : 0)};
}

/// Bytes of UTF-8 of the first 16 of `left` units at `src`. A pair counts where it begins.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t utf8LengthOfBlock(const char16_t* src,
                                                                           std::size_t left) {
    const std::size_t length = std::min(left, BLOCK);
    const __m256i units = loadUnits(src, length);
    const std::uint32_t sizes = sizeBits(isAtLeast(units, 0x80), isAtLeast(units, 0x800));
    const Surrogates found = surrogates(units, src, left);
    // A pair takes four bytes, not six: the two bits of its first half.
    return length + countBits(sizes) - countBits(found.high & found.lowFollows);
}

/// Sum of the 16-bit lanes, each below 8000.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t sum(__m256i lanes) {
    const __m256i pairs = _mm256_madd_epi16(lanes, broadcast16(1));
    const __m128i four =
        _mm_add_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    const __m128i two = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
    const __m128i one = _mm_add_epi32(two, _mm_shuffle_epi32(two, 0xB1));
    return static_cast<std::size_t>(_mm_cvtsi128_si32(one));
}

constexpr std::size_t GROUP = 4 * BLOCK;

/// Takes the pairs of 64 units at `src` off the lanes of countExtraBytes: a pair takes four bytes,
/// not six.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i withoutPairs(__m256i lanes,
                                                                  const char16_t* src) {
    for (std::size_t i = 0; i < GROUP; i += BLOCK) {
        const __m256i pairs = _mm256_and_si256(hasBits(load256(src + i), 0xFC00, 0xD800),
                                               hasBits(load256(src + i + 1), 0xFC00, 0xDC00));
        lanes = _mm256_add_epi16(lanes, _mm256_add_epi16(pairs, pairs));
    }
    return lanes;
}

/// Adds to each lane the bytes of UTF-8 beyond one per unit, of 64 units at `src`. One more unit
/// lies behind them, since pairs are found at their first half.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i countExtraBytes(__m256i lanes,
                                                                     const char16_t* src) {
    // Adding 2800 turns surrogates into 0 to 7FF and nothing else.
    __m256i lowest = broadcast16(-1);
    for (std::size_t i = 0; i < GROUP; i += BLOCK) {
        const __m256i units = load256(src + i);
        lanes = _mm256_sub_epi16(lanes, isAtLeast(units, 0x80));
        lanes = _mm256_sub_epi16(lanes, isAtLeast(units, 0x800));
        lowest = _mm256_min_epu16(lowest, _mm256_add_epi16(units, broadcast16(0x2800)));
    }
    return byteMask(isAtLeast(lowest, 0x800)) == ~0u ? lanes : withoutPairs(lanes, src);
}

/// A lane grows by 8 at most for each group of 64 units and must stay below 8000.
constexpr std::size_t SUMMED = 4000 * GROUP;

/// The two bytes of each lane exchanged.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i swapped(__m256i units) {
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    return _mm256_shuffle_epi8(units, order);
}

}  // namespace

namespace avx2 {

[[KELINFRA_AVX2]] std::size_t utf16ToLatin1(const char16_t* src, std::size_t length,
                                            char* dest) noexcept {
    std::size_t done = 0;
    for (; length - done >= 2 * BLOCK; done += 2 * BLOCK) {
        const __m256i first = load256(src + done);
        const __m256i second = load256(src + done + BLOCK);
        if (!isLatin1(first, second)) {
            break;
        }
        store256(dest + done, narrow(first, second));
    }
    while (done < length) {
        const std::size_t part = std::min(length - done, BLOCK);
        const std::size_t count = narrowPart(src + done, part, dest + done);
        done += count;
        if (count < part) {
            break;
        }
    }
    return done;
}

[[KELINFRA_AVX2]] std::size_t latin1PrefixLength(const char16_t* src, std::size_t length) noexcept {
    std::size_t done = 0;
    while (length - done >= 2 * BLOCK &&
           isLatin1(load256(src + done), load256(src + done + BLOCK))) {
        done += 2 * BLOCK;
    }
    while (done < length) {
        const std::size_t part = std::min(length - done, BLOCK);
        const std::uint32_t wide = unitsWith(loadUnits(src + done, part), 0xFF00);
        if (wide != 0) {
            return done + _tzcnt_u32(wide) / 2;
        }
        done += part;
    }
    return length;
}

[[KELINFRA_AVX2]] void latin1ToUtf16(const char* src, std::size_t length, char16_t* dest) noexcept {
    widen(src, length, dest);
}

[[KELINFRA_AVX2]] std::size_t utf8LengthOfUtf16(const char16_t* src, std::size_t length) noexcept {
    std::size_t size = 0;
    std::size_t done = 0;
    while (length - done > GROUP) {
        const std::size_t stop = done + std::min((length - done - 1) / GROUP * GROUP, SUMMED);
        __m256i extra = _mm256_setzero_si256();
        size += stop - done;
        for (; done < stop; done += GROUP) {
            extra = countExtraBytes(extra, src + done);
        }
        size += sum(extra);
    }
    for (; done < length; done += std::min(length - done, BLOCK)) {
        size += utf8LengthOfBlock(src + done, length - done);
    }
    return size;
}

[[KELINFRA_AVX2]] std::size_t utf8LengthOfLatin1(const char* src, std::size_t length) noexcept {
    std::size_t size = length;
    std::size_t done = 0;
    for (; length - done >= 32; done += 32) {
        size += countBits(byteMask(load256(src + done)));
    }
    for (; done < length; done += std::min<std::size_t>(length - done, 15)) {
        const __m128i part = loadBytes(src + done, std::min<std::size_t>(length - done, 15));
        const auto high = static_cast<std::uint32_t>(_mm_movemask_epi8(part));
        size += countBits(high);
    }
    return size;
}

[[KELINFRA_AVX2]] std::size_t wellFormedUtf16Prefix(const char16_t* src,
                                                    std::size_t length) noexcept {
    if (length > 0 && (src[0] & 0xFC00) == 0xDC00) {
        return 0;
    }
    for (std::size_t done = 0; done < length; done += std::min(length - done, BLOCK)) {
        const std::size_t left = length - done;
        const __m256i units = loadUnits(src + done, std::min(left, BLOCK));
        const Surrogates found = surrogates(units, src + done, left);
        const std::uint32_t unmatched = found.high ^ found.lowFollows;
        if (unmatched != 0) {
            const std::uint32_t bit = _tzcnt_u32(unmatched);
            return done + bit / 2 + (found.lowFollows >> bit & 1);
        }
    }
    return length;
}

[[KELINFRA_AVX2]] void swapUtf16(const char16_t* src, std::size_t length, char* dest) noexcept {
    if (length < BLOCK) {
        storeUnits(dest, swapped(loadUnits(src, length)), length);
        return;
    }
    for (std::size_t i = 0; length - i >= BLOCK; i += BLOCK) {
        store256(dest + 2 * i, swapped(load256(src + i)));
    }
    store256(dest + 2 * (length - BLOCK), swapped(load256(src + length - BLOCK)));
}

}  // namespace avx2
}  // namespace nx::oss::detail

#endif
