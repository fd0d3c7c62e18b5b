#if defined(__x86_64__)

#include "infra/detail/kelAvx2.h"

// Hexadecimal text. A byte and its two digits make one 16-bit lane.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 16;  // bytes that a vector holds the digits of

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i digitTable(bool upperCase) {
    const __m128i digits = upperCase ? _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8',
                                                     '9', 'A', 'B', 'C', 'D', 'E', 'F')
                                     : _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8',
                                                     '9', 'a', 'b', 'c', 'd', 'e', 'f');
    return _mm256_broadcastsi128_si256(digits);
}

/// The digits of 16 bytes.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i digitsOf(__m128i bytes, __m256i table) {
    // 00XY becomes 0Y0X: the first digit comes first in memory.
    const __m256i lanes = _mm256_cvtepu8_epi16(bytes);
    const __m256i nibbles =
        _mm256_or_si256(_mm256_srli_epi16(lanes, 4), _mm256_slli_epi16(lanes, 8));
    return _mm256_shuffle_epi8(table, _mm256_and_si256(nibbles, _mm256_set1_epi8(15)));
}

/// Nonzero bytes where a character is a digit. The upper half of a character chooses the class that
/// its lower half must have: 1 for 0 to 9, 2 for A to F and a to f. Characters from 80 on choose
/// nothing.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i digitClasses(__m256i characters) {
    const __m256i byUpperHalf =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, 0, 1, 2, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    const __m256i byLowerHalf =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 3, 3, 3, 3, 3, 3, 1, 1, 1, 0, 0, 0, 0, 0, 0));
    const __m256i upper = _mm256_and_si256(_mm256_srli_epi16(characters, 4), _mm256_set1_epi8(15));
    return _mm256_and_si256(_mm256_shuffle_epi8(byUpperHalf, upper),
                            _mm256_shuffle_epi8(byLowerHalf, characters));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool areDigits(__m256i classes) {
    return byteMask(_mm256_cmpeq_epi8(classes, _mm256_setzero_si256())) == 0;
}

/// The bytes of 16 pairs of digits, one in each lane.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i bytesOf(__m256i digits) {
    // Letters are 41 and 61 on: nine more than their lower half.
    const __m256i isLetter = _mm256_cmpgt_epi8(digits, _mm256_set1_epi8('9'));
    const __m256i values = _mm256_add_epi8(_mm256_and_si256(digits, _mm256_set1_epi8(15)),
                                           _mm256_and_si256(isLetter, _mm256_set1_epi8(9)));
    return _mm256_maddubs_epi16(values, broadcast16(0x0110));
}

}  // namespace

namespace avx2 {

[[KELINFRA_AVX2]] void encodeHex(const char* src, std::size_t length, char* dest,
                                 bool upperCase) noexcept {
    const __m256i table = digitTable(upperCase);
    if (length < BLOCK) {
        storeUnits(dest, digitsOf(loadBytes(src, length), table), length);
        return;
    }
    std::size_t i = 0;
    for (; length - i >= 2 * BLOCK; i += 2 * BLOCK) {
        store256(dest + 2 * i, digitsOf(load128(src + i), table));
        store256(dest + 2 * i + 32, digitsOf(load128(src + i + BLOCK), table));
    }
    if (length - i >= BLOCK) {
        store256(dest + 2 * i, digitsOf(load128(src + i), table));
    }
    store256(dest + 2 * (length - BLOCK), digitsOf(load128(src + length - BLOCK), table));
}

[[KELINFRA_AVX2]] bool isHex(const char* src, std::size_t length) noexcept {
    if (length < 16) {
        const __m256i part = _mm256_zextsi128_si256(loadBytes(src, length));
        const std::uint32_t bad =
            byteMask(_mm256_cmpeq_epi8(digitClasses(part), _mm256_setzero_si256()));
        return (bad & ((1u << length) - 1)) == 0;
    }
    if (length < 32) {
        return areDigits(digitClasses(_mm256_set_m128i(load128(src + length - 16), load128(src))));
    }
    // The last vector overlaps the one before.
    __m256i least = digitClasses(load256(src + length - 32));
    std::size_t i = 0;
    for (; length - i >= 64; i += 64) {
        const __m256i first = digitClasses(load256(src + i));
        least = _mm256_min_epu8(_mm256_min_epu8(least, first), digitClasses(load256(src + i + 32)));
    }
    if (length - i >= 32) {
        least = _mm256_min_epu8(least, digitClasses(load256(src + i)));
    }
    return areDigits(least);
}

[[KELINFRA_AVX2]] void decodeHex(const char* src, std::size_t count, char* dest) noexcept {
    if (count < BLOCK) {
        const __m256i digits = loadUnits(reinterpret_cast<const char16_t*>(src), count);
        storeBytes(dest, narrow(bytesOf(digits)), count);
        return;
    }
    std::size_t i = 0;
    for (; count - i >= 2 * BLOCK; i += 2 * BLOCK) {
        store256(dest + i,
                 narrow(bytesOf(load256(src + 2 * i)), bytesOf(load256(src + 2 * i + 32))));
    }
    if (count - i >= BLOCK) {
        store128(dest + i, narrow(bytesOf(load256(src + 2 * i))));
    }
    store128(dest + count - BLOCK, narrow(bytesOf(load256(src + 2 * (count - BLOCK)))));
}

}  // namespace avx2
}  // namespace nx::oss::detail

#endif
