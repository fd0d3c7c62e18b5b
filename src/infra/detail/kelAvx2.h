#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "infra/detail/kelKernels.h"

/// Attributes of every function that runs vector instructions. The rest of the library is compiled
/// for any x86-64 processor, so nothing else may contain them.
#define KELINFRA_AVX2 gnu::target("avx2,bmi,bmi2,popcnt")

namespace nx::oss::detail {

/// The kernels of avx2Kernels().
namespace avx2 {
Progress utf16ToUtf8(const char16_t*, std::size_t, char*, std::size_t) noexcept;
std::size_t utf8LengthOfUtf16(const char16_t*, std::size_t) noexcept;
Progress utf8ToUtf16(const char*, std::size_t, char16_t*, std::size_t) noexcept;
std::size_t utf16ToLatin1(const char16_t*, std::size_t, char*) noexcept;
std::size_t latin1PrefixLength(const char16_t*, std::size_t) noexcept;
void latin1ToUtf16(const char*, std::size_t, char16_t*) noexcept;
Progress latin1ToUtf8(const char*, std::size_t, char*, std::size_t) noexcept;
std::size_t utf8LengthOfLatin1(const char*, std::size_t) noexcept;
std::size_t wellFormedUtf16Prefix(const char16_t*, std::size_t) noexcept;
void swapUtf16(const char16_t*, std::size_t, char*) noexcept;
std::size_t copyUtf8Text(const char*, std::size_t, char*) noexcept;
std::size_t countUtf8Characters(const char*, std::size_t) noexcept;
void encodeHex(const char*, std::size_t, char*, bool) noexcept;
bool isHex(const char*, std::size_t) noexcept;
void decodeHex(const char*, std::size_t, char*) noexcept;
const char* findText(const char*, std::size_t, const char*, std::size_t) noexcept;
void encodeBase64(const char*, std::size_t, unsigned short*, bool) noexcept;
std::size_t decodeBase64(const unsigned short*, std::size_t, char*, bool) noexcept;
void markUnitsOutside(const char16_t*, std::size_t, const UnitSet&, std::uint64_t*) noexcept;
}  // namespace avx2

/// A number of type Word from memory that need not be aligned.
template <class Word>
inline Word loadWord(const char* src) {
    Word word;
    std::memcpy(&word, src, sizeof word);
    return word;
}

template <class Word>
inline void storeWord(char* dest, std::uint64_t word) {
    const Word low = static_cast<Word>(word);
    std::memcpy(dest, &low, sizeof low);
}

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i load256(const void* src) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(src));
}
[[KELINFRA_AVX2, gnu::always_inline]] inline __m128i load128(const void* src) {
    return _mm_loadu_si128(static_cast<const __m128i*>(src));
}
[[KELINFRA_AVX2, gnu::always_inline]] inline void store256(void* dest, __m256i bytes) {
    _mm256_storeu_si256(static_cast<__m256i*>(dest), bytes);
}
[[KELINFRA_AVX2, gnu::always_inline]] inline void store128(void* dest, __m128i bytes) {
    _mm_storeu_si128(static_cast<__m128i*>(dest), bytes);
}

/// True if no bit of `bits` is set in `value`.
[[KELINFRA_AVX2, gnu::always_inline]] inline bool hasNone(__m256i value, __m256i bits) {
    return _mm256_testz_si256(value, bits) != 0;
}

/// The `size` < 16 bytes at `from`, then zeros. Two words that overlap cover each range of sizes;
/// the second is shifted right by what the first has already.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m128i loadBytes(const void* from, std::size_t size) {
    const char* src = static_cast<const char*>(from);
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    if (size >= 8) {
        low = loadWord<std::uint64_t>(src);
        // In two steps, since 64 is no valid count.
        high = loadWord<std::uint64_t>(src + size - 8) >> 8 >> (8 * (15 - size));
    } else if (size >= 4) {
        const std::uint64_t last = loadWord<std::uint32_t>(src + size - 4);
        low = loadWord<std::uint32_t>(src) | last >> (8 * (8 - size)) << 32;
    } else if (size >= 2) {
        const std::uint64_t last = loadWord<std::uint16_t>(src + size - 2);
        low = loadWord<std::uint16_t>(src) | last >> (8 * (4 - size)) << 16;
    } else if (size == 1) {
        low = loadWord<std::uint8_t>(src);
    }
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

/// Stores the first `size` <= 16 bytes, in words that overlap.
[[KELINFRA_AVX2, gnu::always_inline]] inline void storeBytes(void* to, __m128i bytes,
                                                             std::size_t size) {
    char* dest = static_cast<char*>(to);
    const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(bytes));
    if (size == 16) {
        store128(dest, bytes);
    } else if (size >= 8) {
        const auto high = static_cast<std::uint64_t>(_mm_extract_epi64(bytes, 1));
        storeWord<std::uint64_t>(dest, low);
        // Bytes size - 8 to size - 1 of the whole.
        storeWord<std::uint64_t>(dest + size - 8,
                                 low >> (8 * (size - 8)) | high << 8 << (8 * (15 - size)));
    } else if (size >= 4) {
        storeWord<std::uint32_t>(dest, low);
        storeWord<std::uint32_t>(dest + size - 4, low >> (8 * (size - 4)));
    } else if (size >= 2) {
        storeWord<std::uint16_t>(dest, low);
        storeWord<std::uint16_t>(dest + size - 2, low >> (8 * (size - 2)));
    } else if (size == 1) {
        storeWord<std::uint8_t>(dest, low);
    }
}

/// Both halves of 16 units, each at most FF, as 16 bytes.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m128i narrow(__m256i units) {
    return _mm_packus_epi16(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
}

/// 32 units, each at most FF, as 32 bytes.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i narrow(__m256i first, __m256i second) {
    // Packing works within halves and gives the quarters 0 2 1 3.
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

/// 16 bytes as 16 units.
[[KELINFRA_AVX2, gnu::always_inline]] inline void widen16(const char* src, char16_t* dest) {
    store256(dest, _mm256_cvtepu8_epi16(load128(src)));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i broadcast16(int unit) {
    return _mm256_set1_epi16(static_cast<short>(unit));
}

/// All ones in the lanes of units that are at least `least`.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i isAtLeast(__m256i units, int least) {
    return _mm256_cmpeq_epi16(_mm256_max_epu16(units, broadcast16(least)), units);
}

/// All ones in the lanes of units whose `bits` are `value`.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i hasBits(__m256i units, int bits, int value) {
    return _mm256_cmpeq_epi16(_mm256_and_si256(units, broadcast16(bits)), broadcast16(value));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t byteMask(__m256i bytes) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t countBits(std::uint32_t mask) {
    return static_cast<std::size_t>(_mm_popcnt_u32(mask));
}

/// Bits 2i and 2i + 1 for unit i: the first is set if the unit takes more than one byte of UTF-8,
/// the second if it takes three.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t sizeBits(__m256i isLong,
                                                                    __m256i isThree) {
    return byteMask(_mm256_blendv_epi8(isLong, isThree, broadcast16(0xFF00)));
}

/// The `length` <= 16 units at `src`, then zeros.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadUnits(const char16_t* src,
                                                               std::size_t length) {
    if (length == 16) {
        return load256(src);
    }
    if (length < 8) {
        return _mm256_zextsi128_si256(loadBytes(src, 2 * length));
    }
    return _mm256_set_m128i(loadBytes(src + 8, 2 * length - 16), load128(src));
}

/// Stores the first `length` < 16 units.
[[KELINFRA_AVX2, gnu::always_inline]] inline void storeUnits(void* dest, __m256i units,
                                                             std::size_t length) {
    const __m128i low = _mm256_castsi256_si128(units);
    if (length < 8) {
        storeBytes(dest, low, 2 * length);
        return;
    }
    store128(dest, low);
    storeBytes(static_cast<char*>(dest) + 16, _mm256_extracti128_si256(units, 1), 2 * length - 16);
}

/// Bytes as units, any number of them: the last vector overlaps the one before.
[[KELINFRA_AVX2, gnu::always_inline]] inline void widen(const char* src, std::size_t length,
                                                        char16_t* dest) {
    if (length < 16) {
        storeUnits(dest, _mm256_cvtepu8_epi16(loadBytes(src, length)), length);
        return;
    }
    std::size_t i = 0;
    for (; length - i >= 32; i += 32) {
        widen16(src + i, dest + i);
        widen16(src + i + 16, dest + i + 16);
    }
    if (length - i >= 16) {
        widen16(src + i, dest + i);
    }
    widen16(src + length - 16, dest + length - 16);
}

}  // namespace nx::oss::detail
