#pragma once

#include "infra/detail/kelAvx2.h"

/// UTF-8 in vectors of 32 bytes. The check for well-formedness looks up the high and low halves of
/// neighbouring bytes and combines what they allow (Keiser and Lemire, "Validating UTF-8 in less
/// than one instruction per byte", 2021).

namespace nx::oss::detail {

constexpr std::size_t BLOCK = 32;

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i broadcast(int byte) {
    return _mm256_set1_epi8(static_cast<char>(byte));
}

/// Where an ill-formed pair of neighbours shows: bit sets of the high and the low four bits of the
/// first byte, and of the high four bits of the second.
struct BadPair {
    std::uint16_t firstHigh;
    std::uint16_t firstLow;
    std::uint16_t secondHigh;
};

constexpr std::uint16_t nibbles(unsigned from, unsigned to) {
    return static_cast<std::uint16_t>((2u << to) - (1u << from));
}

/// Bit i of the lookups below stands for row i.
inline constexpr BadPair BAD_PAIRS[8] = {
    {nibbles(0x0, 0x7), nibbles(0x0, 0xF), nibbles(0x8, 0xB)},  // ASCII, continuation
    {nibbles(0xC, 0xF), nibbles(0x0, 0xF),                      // lead, no continuation
     static_cast<std::uint16_t>(~nibbles(0x8, 0xB))},
    {nibbles(0xC, 0xC), nibbles(0x0, 0x1), nibbles(0x8, 0xB)},  // C0, C1: below U+0080
    {nibbles(0xE, 0xE), nibbles(0x0, 0x0), nibbles(0x8, 0x9)},  // E0 80..9F: below U+0800
    {nibbles(0xE, 0xE), nibbles(0xD, 0xD), nibbles(0xA, 0xB)},  // ED A0..BF: surrogates
    {nibbles(0xF, 0xF), nibbles(0x4, 0xF), nibbles(0x9, 0xB)},  // F4 90..BF, F5: above U+10FFFF
    {nibbles(0xF, 0xF), nibbles(0x0, 0x0) | nibbles(0x5, 0xF),  // F0 80..8F: below U+10000, and F5
     nibbles(0x8, 0x8)},
    {nibbles(0x8, 0xB), nibbles(0x0, 0xF), nibbles(0x8, 0xB)},  // two continuations: see errorsOf
};

/// For each value of four bits, the rows that it fits, twice since lookups work within halves.
struct NibbleTable {
    alignas(32) std::uint8_t rows[32];
};

constexpr NibbleTable makeNibbleTable(std::uint16_t BadPair::*member) {
    NibbleTable table{};
    for (std::size_t value = 0; value < 32; ++value) {
        for (std::size_t row = 0; row < 8; ++row) {
            if ((BAD_PAIRS[row].*member >> (value % 16) & 1) != 0) {
                table.rows[value] = static_cast<std::uint8_t>(table.rows[value] | 1u << row);
            }
        }
    }
    return table;
}

inline constexpr NibbleTable FIRST_HIGH = makeNibbleTable(&BadPair::firstHigh);
inline constexpr NibbleTable FIRST_LOW = makeNibbleTable(&BadPair::firstLow);
inline constexpr NibbleTable SECOND_HIGH = makeNibbleTable(&BadPair::secondHigh);

/// 32 bytes, and for each the bytes one, two and three places before.
struct Block {
    __m256i here;
    __m256i before1;
    __m256i before2;
    __m256i before3;
};

[[KELINFRA_AVX2, gnu::always_inline]] inline Block follow(__m256i previous, __m256i here) {
    const __m256i middle = _mm256_permute2x128_si256(previous, here, 0x21);
    return {here, _mm256_alignr_epi8(here, middle, 15), _mm256_alignr_epi8(here, middle, 14),
            _mm256_alignr_epi8(here, middle, 13)};
}

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i lookUp(const NibbleTable& table,
                                                            __m256i nibbles) {
    return _mm256_shuffle_epi8(_mm256_load_si256(reinterpret_cast<const __m256i*>(table.rows)),
                               nibbles);
}

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i highNibbles(__m256i bytes) {
    return _mm256_and_si256(_mm256_srli_epi16(bytes, 4), broadcast(0x0F));
}

/// Zero where each byte fits the three bytes before it.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i errorsOf(const Block& block) {
    const __m256i pairs = _mm256_and_si256(
        _mm256_and_si256(lookUp(FIRST_HIGH, highNibbles(block.before1)),
                         lookUp(FIRST_LOW, _mm256_and_si256(block.before1, broadcast(0x0F)))),
        lookUp(SECOND_HIGH, highNibbles(block.here)));
    // Two continuations are right exactly at the third byte after E0 and above, and at the fourth
    // after F0 and above. Saturated subtraction leaves bit 80 for these leads.
    const __m256i third = _mm256_subs_epu8(block.before2, broadcast(0xE0 - 0x80));
    const __m256i fourth = _mm256_subs_epu8(block.before3, broadcast(0xF0 - 0x80));
    const __m256i expected = _mm256_and_si256(_mm256_or_si256(third, fourth), broadcast(0x80));
    return _mm256_xor_si256(pairs, expected);
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool isIllFormed(const Block& block) {
    const __m256i errors = errorsOf(block);
    return !hasNone(errors, errors);
}

/// Not zero if the last character of `bytes` goes on behind them.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i unfinished(__m256i bytes) {
    // F0, E0 or C0 and above in the last three places.
    const __m256i largest =
        _mm256_setr_epi32(-1, -1, -1, -1, -1, -1, -1, static_cast<int>(0xBFDFEFFF));
    return _mm256_subs_epu8(bytes, largest);
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool endsInside(__m256i bytes) {
    const __m256i excess = unfinished(bytes);
    return !hasNone(excess, excess);
}

/// The `length` <= 32 bytes at `src`, then zeros.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadPart(const char* src, std::size_t length) {
    if (length == BLOCK) {
        return load256(src);
    }
    if (length < 16) {
        return _mm256_zextsi128_si256(loadBytes(src, length));
    }
    return _mm256_set_m128i(loadBytes(src + 16, length - 16), load128(src));
}

}  // namespace nx::oss::detail
