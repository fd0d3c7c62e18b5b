#if defined(__x86_64__)

#include "infra/detail/kelAvx2.h"
#include "infra/detail/kelBase64Steps.h"

// Base64 between bytes and UTF-16, eight groups at a time: 24 bytes and 32 characters.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 8;  // groups of a whole vector
constexpr std::size_t HALF = 4;

/// The same 16 bytes in both halves.
template <class... Bytes>
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i twice(Bytes... bytes) {
    return _mm256_broadcastsi128_si256(_mm_setr_epi8(static_cast<char>(bytes)...));
}

/// The halves of a vector as given.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i halves(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// --- Encoding -----------------------------------------------------------------------------------

/// 24 bytes so that the first 12 are the first ones of the lower half and the others the last ones
/// of the upper half.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadBytes24(const char* src) {
    return halves(load128(src), load128(src + 8));
}

/// 12 bytes in the lower half.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadBytes12(const char* src) {
    const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    return _mm256_zextsi128_si256(_mm_insert_epi32(eight, loadWord<std::int32_t>(src + 8), 2));
}

/// The values of the characters of the groups, one in each byte.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i sixBitsOf(__m256i bytes) {
    // Each group becomes the bytes b1 b0 b2 b1, a pair of 16-bit lanes:
    //   bbbbcccc aaaaaabb | ccdddddd bbbbcccc   (low byte first)
    const __m256i order = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                           5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14);
    const __m256i lanes = _mm256_shuffle_epi8(bytes, order);
    // A multiplication shifts each lane by its own count: first and third value down into the low
    // byte, second and fourth up into the high one.
    const __m256i firstAndThird = _mm256_mulhi_epu16(
        _mm256_and_si256(lanes, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i secondAndFourth = _mm256_mullo_epi16(
        _mm256_and_si256(lanes, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(firstAndThird, secondAndFourth);
}

/// The characters of values. What is added to a value depends on the range that it lies in: 0 are
/// the capitals, 1 the small letters, 2 to 11 the digits one by one, 12 and 13 the last two.
template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i charactersOf(__m256i values) {
    constexpr int DIGIT = '0' - 52;
    const __m256i distances =
        twice('A', 'a' - 26, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT, DIGIT,
              (SAFE ? '-' : '+') - 62, (SAFE ? '_' : '/') - 63, 0, 0);
    const __m256i isNoCapital = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25));
    const __m256i range =
        _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), isNoCapital);
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(distances, range));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline void storeWide(__m128i characters,
                                                            unsigned short* dest) {
    store256(dest, _mm256_cvtepu8_epi16(characters));
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline void encodeBlock(const char* src,
                                                              unsigned short* dest) {
    const __m256i characters = charactersOf<SAFE>(sixBitsOf(loadBytes24(src)));
    storeWide(_mm256_castsi256_si128(characters), dest);
    storeWide(_mm256_extracti128_si256(characters, 1), dest + 16);
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline void encodeHalf(const char* src,
                                                             unsigned short* dest) {
    const __m256i characters = charactersOf<SAFE>(sixBitsOf(loadBytes12(src)));
    storeWide(_mm256_castsi256_si128(characters), dest);
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline void encode(const char* src, std::size_t groups,
                                                         unsigned short* dest) {
    if (groups < HALF) {
        encodeBase64Groups(src, groups, dest, SAFE);
        return;
    }
    if (groups < BLOCK) {
        const std::size_t last = groups - HALF;
        encodeHalf<SAFE>(src, dest);
        encodeHalf<SAFE>(src + 3 * last, dest + 4 * last);
        return;
    }
    // The last block overlaps the one before.
    const std::size_t last = groups - BLOCK;
    for (std::size_t i = 0; i < last; i += BLOCK) {
        encodeBlock<SAFE>(src + 3 * i, dest + 4 * i);
    }
    encodeBlock<SAFE>(src + 3 * last, dest + 4 * last);
}

// --- Decoding -----------------------------------------------------------------------------------

/// 32 units as bytes; those from 0x100 on as 0 or FF, which are no characters either.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadUnits32(const unsigned short* src) {
    // Packing works within halves, so each takes its quarters in the order that it wants them in.
    const __m256i first = halves(load128(src), load128(src + 16));
    const __m256i second = halves(load128(src + 8), load128(src + 24));
    return _mm256_packus_epi16(first, second);
}

/// 16 units as bytes, in the lower half.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadUnits16(const unsigned short* src) {
    return _mm256_zextsi128_si256(_mm_packus_epi16(load128(src), load128(src + 8)));
}

struct Values {
    __m256i values;   ///< six bits in each byte
    __m256i classes;  ///< zero where there was no character of the alphabet
};

/// The upper half of a character chooses the class that its lower half must have. Bytes from 80 on
/// choose nothing.
template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline Values valuesOf(__m256i characters) {
    // 1: the last two of the standard alphabet or the minus sign; 2: digits; 4: letters from the
    // first row; 8: from the second; 16: from the second, and the low line.
    constexpr int ROW5 = SAFE ? 16 : 8;
    constexpr int LOW = SAFE ? 0 : 1;
    const __m256i byUpperHalf = twice(0, 0, 1, 2, 4, ROW5, 4, 8, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i byLowerHalf = twice(2 + 8 + 16, 30, 30, 30, 30, 30, 30, 30, 30, 30, 4 + 8 + 16,
                                      4 + LOW, 4, SAFE ? 4 + 1 : 4, 4, SAFE ? 4 + 16 : 4 + 1);
    const __m256i upper = _mm256_and_si256(_mm256_srli_epi16(characters, 4), _mm256_set1_epi8(15));
    const __m256i classes = _mm256_and_si256(_mm256_shuffle_epi8(byUpperHalf, upper),
                                             _mm256_shuffle_epi8(byLowerHalf, characters));
    // What is added to a character depends on its row. Rows that hold characters with two distances
    // are told apart: '/' takes the row below, and what comes behind 'Z' the row above.
    const __m256i row =
        SAFE ? _mm256_sub_epi8(upper, _mm256_cmpgt_epi8(characters, _mm256_set1_epi8('Z')))
             : _mm256_add_epi8(upper, _mm256_cmpeq_epi8(characters, _mm256_set1_epi8('/')));
    const __m256i distances = SAFE ? twice(0, 0, 62 - '-', 52 - '0', -'A', -'A', 63 - '_', 26 - 'a',
                                           26 - 'a', 0, 0, 0, 0, 0, 0, 0)
                                   : twice(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a',
                                           26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
    return {_mm256_add_epi8(characters, _mm256_shuffle_epi8(distances, row)), classes};
}

/// Three bytes for each group of values, twelve of them at the beginning of each half.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i bytesOf(__m256i values) {
    const __m256i twelveBits = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(twelveBits, _mm256_set1_epi32(0x00011000));
    return _mm256_shuffle_epi8(groups,
                               twice(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
}

/// The 24 bytes of both halves together.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i joined(__m256i bytes) {
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

[[KELINFRA_AVX2, gnu::always_inline]] inline void storeLow64(char* dest, __m128i bytes) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dest), bytes);
}

[[KELINFRA_AVX2, gnu::always_inline]] inline void storeBytes24(char* dest, __m256i bytes) {
    const __m256i all = joined(bytes);
    store128(dest, _mm256_castsi256_si128(all));
    storeLow64(dest + 16, _mm256_extracti128_si256(all, 1));
}

/// Bits of the bytes whose class is zero.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t foreign(__m256i classes) {
    return byteMask(_mm256_cmpeq_epi8(classes, _mm256_setzero_si256()));
}

/// False, with nothing written, when a unit is foreign.
template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline bool decodeBlock(const unsigned short* src,
                                                              char* dest) {
    const Values block = valuesOf<SAFE>(loadUnits32(src));
    if (foreign(block.classes) != 0) {
        return false;
    }
    storeBytes24(dest, bytesOf(block.values));
    return true;
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline bool decodeTwoBlocks(const unsigned short* src,
                                                                  char* dest) {
    const Values first = valuesOf<SAFE>(loadUnits32(src));
    const Values second = valuesOf<SAFE>(loadUnits32(src + 32));
    if (foreign(_mm256_min_epu8(first.classes, second.classes)) != 0) {
        return false;
    }
    // Of the first vector eight bytes too many, which the second one replaces.
    store256(dest, joined(bytesOf(first.values)));
    storeBytes24(dest + 24, bytesOf(second.values));
    return true;
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline bool decodeHalf(const unsigned short* src,
                                                             char* dest) {
    const Values half = valuesOf<SAFE>(loadUnits16(src));
    if ((foreign(half.classes) & 0xFFFF) != 0) {
        return false;
    }
    const __m128i bytes = _mm256_castsi256_si128(bytesOf(half.values));
    storeLow64(dest, bytes);
    storeWord<std::uint32_t>(dest + 8, static_cast<std::uint32_t>(_mm_extract_epi32(bytes, 2)));
    return true;
}

/// Whole vectors from the beginning, up to the first that holds a foreign unit; then one that
/// overlaps the one before. Returns the groups done.
template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t decodeVectors(const unsigned short* src,
                                                                       std::size_t groups,
                                                                       char* dest) {
    std::size_t done = 0;
    while (groups - done >= 2 * BLOCK && decodeTwoBlocks<SAFE>(src + 4 * done, dest + 3 * done)) {
        done += 2 * BLOCK;
    }
    while (groups - done >= BLOCK) {
        if (!decodeBlock<SAFE>(src + 4 * done, dest + 3 * done)) {
            return done;
        }
        done += BLOCK;
    }
    if (done < groups && groups >= BLOCK) {
        const std::size_t last = groups - BLOCK;
        return decodeBlock<SAFE>(src + 4 * last, dest + 3 * last) ? groups : done;
    }
    if (done < groups && decodeHalf<SAFE>(src, dest)) {
        const std::size_t last = groups - HALF;
        return decodeHalf<SAFE>(src + 4 * last, dest + 3 * last) ? groups : HALF;
    }
    return done;
}

template <bool SAFE>
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t decode(const unsigned short* src,
                                                                std::size_t groups, char* dest) {
    if (groups < HALF) {
        return decodeBase64Groups(src, groups, dest, SAFE);
    }
    const std::size_t done = decodeVectors<SAFE>(src, groups, dest);
    if (done == groups) {
        return done;
    }
    return done + decodeBase64Groups(src + 4 * done, groups - done, dest + 3 * done, SAFE);
}

}  // namespace

namespace avx2 {

[[KELINFRA_AVX2]] void encodeBase64(const char* src, std::size_t groups, unsigned short* dest,
                                    bool safe) noexcept {
    if (safe) {
        encode<true>(src, groups, dest);
    } else {
        encode<false>(src, groups, dest);
    }
}

[[KELINFRA_AVX2]] std::size_t decodeBase64(const unsigned short* src, std::size_t groups,
                                           char* dest, bool safe) noexcept {
    return safe ? decode<true>(src, groups, dest) : decode<false>(src, groups, dest);
}

}  // namespace avx2
}  // namespace nx::oss::detail

#endif
