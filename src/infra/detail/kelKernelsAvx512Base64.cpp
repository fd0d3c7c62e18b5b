#if defined(__x86_64__)

#include <algorithm>
#include <cstdint>

#include "infra/detail/kelAvx512.h"
#include "infra/detail/kelBase64Steps.h"

// Base64 between bytes and UTF-16, sixteen groups at a time: 48 bytes and 64 characters. The plain
// versions are encodeBase64Groups() and decodeBase64Groups().
//
// Instructions that move any byte of a vector to any place, look all characters up at once, and
// take bits from anywhere in eight bytes, do nearly all of the work (Mula and Lemire, "Base64
// encoding and decoding at almost the speed of a memory copy", 2020). What is fewer than sixteen
// groups takes the same way: masks keep loads and stores inside the buffers.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 16;        // groups of a vector of characters
constexpr std::size_t HALF = BLOCK / 2;  // groups of a vector of units
constexpr std::size_t LANE = 8;          // bytes that bits are taken from at once

/// Constants for each byte of a vector.
struct alignas(64) Bytes64 {
    std::uint8_t of[64] = {};
};

[[KELINFRA_AVX512, gnu::always_inline]] inline __m512i load512(const void* src) {
    return _mm512_loadu_si512(src);
}

[[KELINFRA_AVX512, gnu::always_inline]] inline void store512(void* dest, __m512i bytes) {
    _mm512_storeu_si512(dest, bytes);
}

/// The lowest `count` bits, 1 to 64 of them: one for each element that a masked instruction
/// touches.
constexpr std::uint64_t firstBits(std::size_t count) { return ~std::uint64_t{0} >> (64 - count); }

/// The 64 units of sixteen groups.
struct Units {
    __m512i first;
    __m512i second;
};

/// Which of them belong to the first groups, one bit for each unit.
struct UnitMasks {
    explicit UnitMasks(std::size_t groups)
        : first(static_cast<std::uint32_t>(firstBits(BASE64_GROUP_UNITS * groups))),
          second(static_cast<std::uint32_t>(firstBits(BASE64_GROUP_UNITS * groups) >> 32)) {}

    std::uint32_t first;
    std::uint32_t second;
};

// --- Encoding -----------------------------------------------------------------------------------

/// Where the bytes of the groups come from. Lane i takes two groups, i and 8 + i, each as a number
/// of 24 bits, with a byte that nobody looks at on either side:
///
///   bit  63       55       47       39       31       23       15       7      0
///        -------- AAAAAAAA BBBBBBBB CCCCCCCC aaaaaaaa bbbbbbbb cccccccc --------
///                 group 8 + i                group i
constexpr Bytes64 makeOrderOfBytes() {
    Bytes64 order;
    for (std::size_t lane = 0; lane < HALF; ++lane) {
        for (std::size_t byte = 0; byte < BASE64_GROUP_BYTES; ++byte) {
            const std::size_t from = BASE64_GROUP_BYTES * lane + byte;
            order.of[LANE * lane + 3 - byte] = static_cast<std::uint8_t>(from);
            order.of[LANE * lane + 6 - byte] =
                static_cast<std::uint8_t>(BASE64_GROUP_BYTES * HALF + from);
        }
    }
    return order;
}

/// The lowest of the six bits of each value, in the picture above. The values of the two groups of
/// a lane alternate, so that a 16-bit lane holds a value of the first eight groups below the one in
/// the same place of the other eight:
///
///   byte   7    6    5    4    3    2    1    0
///   from  32    8   38   14   44   20   50   26
///          D    d    C    c    B    b    A    a
constexpr Bytes64 makeLowestBits() {
    Bytes64 lowest;
    for (std::size_t i = 0; i < sizeof lowest.of; i += 2) {
        const std::size_t place = i / 2 % BASE64_GROUP_UNITS;
        lowest.of[i] = static_cast<std::uint8_t>(8 + 18 - 6 * place);
        lowest.of[i + 1] = static_cast<std::uint8_t>(8 + 24 + 18 - 6 * place);
    }
    return lowest;
}

constexpr Bytes64 makeAlphabet(bool safe) {
    Bytes64 alphabet;
    for (unsigned value = 0; value < sizeof alphabet.of; ++value) {
        alphabet.of[value] = static_cast<std::uint8_t>(base64Character(value, safe));
    }
    return alphabet;
}

constexpr Bytes64 ORDER_OF_BYTES = makeOrderOfBytes();
constexpr Bytes64 LOWEST_BITS = makeLowestBits();
constexpr Bytes64 ALPHABET = makeAlphabet(/*safe=*/false);
constexpr Bytes64 SAFE_ALPHABET = makeAlphabet(/*safe=*/true);

/// The text of the 48 bytes that come first in `bytes`.
[[KELINFRA_AVX512, gnu::always_inline]] inline Units textOf(__m512i bytes, __m512i alphabet) {
    const __m512i lanes = _mm512_permutexvar_epi8(load512(ORDER_OF_BYTES.of), bytes);
    // Each value has two bits of its neighbour above it. The alphabet has 64 places, so that
    // looking up leaves them out.
    const __m512i values = _mm512_multishift_epi64_epi8(load512(LOWEST_BITS.of), lanes);
    const __m512i characters = _mm512_permutexvar_epi8(values, alphabet);
    return {_mm512_and_si512(characters, _mm512_set1_epi16(0xFF)),
            _mm512_srli_epi16(characters, 8)};
}

[[KELINFRA_AVX512, gnu::always_inline]] inline void encode(const char* src, std::size_t groups,
                                                           unsigned short* dest,
                                                           const Bytes64& characters) {
    // Whole vectors are loaded while six groups more than needed, their other bytes, are there.
    constexpr std::size_t LOADED = (64 + BASE64_GROUP_BYTES - 1) / BASE64_GROUP_BYTES;
    const __m512i alphabet = load512(characters.of);
    for (; groups >= LOADED; groups -= BLOCK, src += 48, dest += 64) {
        const Units text = textOf(load512(src), alphabet);
        store512(dest, text.first);
        store512(dest + 32, text.second);
    }
    while (groups > 0) {
        const std::size_t count = std::min(groups, BLOCK);
        const std::uint64_t isByte = firstBits(BASE64_GROUP_BYTES * count);
        const UnitMasks isUnit(count);
        const Units text = textOf(_mm512_maskz_loadu_epi8(isByte, src), alphabet);
        _mm512_mask_storeu_epi16(dest, isUnit.first, text.first);
        _mm512_mask_storeu_epi16(dest + 32, isUnit.second, text.second);
        groups -= count;
        src += 48;
        dest += 64;
    }
}

// --- Decoding -----------------------------------------------------------------------------------

constexpr std::uint8_t FOREIGN = 0x80;  // the bit that no character and no value has

/// The value of each byte below 80, or FOREIGN.
struct Values {
    constexpr explicit Values(bool safe) {
        for (std::uint8_t& value : of) {
            value = FOREIGN;
        }
        for (unsigned value = 0; value < 64; ++value) {
            of[static_cast<unsigned char>(base64Character(value, safe))] =
                static_cast<std::uint8_t>(value);
        }
    }

    alignas(64) std::uint8_t of[128] = {};
};

constexpr Values VALUES(/*safe=*/false);
constexpr Values SAFE_VALUES(/*safe=*/true);

/// Where the bytes of the text come from. Packing takes eight units from each of two vectors in
/// turn, that is, two groups; number g of the text, from 0 to F, stands in these four bytes of a
/// vector:
///
///   0 1 8 9   2 3 A B   4 5 C D   6 7 E F
///
/// and holds its three bytes in the wrong order, with a zero above them.
constexpr Bytes64 makeOrderOfGroups() {
    Bytes64 order;
    for (std::size_t group = 0; group < BLOCK; ++group) {
        const std::size_t pair = group % HALF / 2;  // 4 words each
        const std::size_t word = 4 * pair + 2 * (group / HALF) + group % 2;
        for (std::size_t byte = 0; byte < BASE64_GROUP_BYTES; ++byte) {
            order.of[BASE64_GROUP_BYTES * group + byte] =
                static_cast<std::uint8_t>(BASE64_GROUP_UNITS * word + 2 - byte);
        }
    }
    return order;
}

constexpr Bytes64 ORDER_OF_GROUPS = makeOrderOfGroups();

/// 48 bytes, the other ones copies of the first.
struct Decoded {
    __m512i bytes;
    bool isGood;  ///< no unit was foreign
};

[[KELINFRA_AVX512, gnu::always_inline]] inline Decoded bytesOf(const Units& text, __m512i valuesLow,
                                                               __m512i valuesHigh) {
    // Units from 8000 on become 0 and others from 100 on FF; neither is a character.
    const __m512i characters = _mm512_packus_epi16(text.first, text.second);
    // Looking up leaves out the highest bit of a byte, which makes it foreign too.
    const __m512i values = _mm512_permutex2var_epi8(valuesLow, characters, valuesHigh);
    const std::uint64_t foreign = _mm512_movepi8_mask(_mm512_or_si512(values, characters));
    // Bytes, 16-bit and 32-bit lanes, highest first; the value of the first character is in the
    // lowest byte:
    //   00dddddd 00cccccc 00bbbbbb 00aaaaaa
    //   0000cccccc dddddd 0000aaaaaa bbbbbb     a * 40 + b, c * 40 + d
    //   00000000 aaaaaa bbbbbb cccccc dddddd    ab * 1000 + cd
    const __m512i twelveBits = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(twelveBits, _mm512_set1_epi32(0x00011000));
    return {_mm512_permutexvar_epi8(load512(ORDER_OF_GROUPS.of), groups), foreign == 0};
}

[[KELINFRA_AVX512, gnu::always_inline]] inline void storeBytes48(char* dest, __m512i bytes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest), _mm512_castsi512_si256(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + 32), _mm512_extracti32x4_epi32(bytes, 2));
}

/// The first groups, which are fewer than a block, and letters A in the place of the others.
[[KELINFRA_AVX512, gnu::always_inline]] inline Units loadPart(const unsigned short* src,
                                                              std::size_t groups) {
    const UnitMasks isUnit(groups);
    const __m512i letters = _mm512_set1_epi16('A');
    return {_mm512_mask_loadu_epi16(letters, isUnit.first, src),
            _mm512_mask_loadu_epi16(letters, isUnit.second, src + 32)};
}

/// Blocks up to the first that holds a foreign unit. Returns the groups done.
[[KELINFRA_AVX512, gnu::always_inline]] inline std::size_t decodeBlocks(const unsigned short* src,
                                                                        std::size_t groups,
                                                                        char* dest,
                                                                        const Values& values) {
    const __m512i low = load512(values.of);
    const __m512i high = load512(values.of + 64);
    std::size_t done = 0;
    for (; groups - done >= BLOCK; done += BLOCK) {
        const unsigned short* const text = src + BASE64_GROUP_UNITS * done;
        const Decoded block = bytesOf({load512(text), load512(text + 32)}, low, high);
        if (!block.isGood) {
            return done;
        }
        storeBytes48(dest + BASE64_GROUP_BYTES * done, block.bytes);
    }
    if (done < groups) {
        const Decoded rest =
            bytesOf(loadPart(src + BASE64_GROUP_UNITS * done, groups - done), low, high);
        if (!rest.isGood) {
            return done;
        }
        _mm512_mask_storeu_epi8(dest + BASE64_GROUP_BYTES * done,
                                firstBits(BASE64_GROUP_BYTES * (groups - done)), rest.bytes);
    }
    return groups;
}

}  // namespace

namespace avx512 {

[[KELINFRA_AVX512]] void encodeBase64(const char* src, std::size_t groups, unsigned short* dest,
                                      bool safe) noexcept {
    encode(src, groups, dest, safe ? SAFE_ALPHABET : ALPHABET);
}

[[KELINFRA_AVX512]] std::size_t decodeBase64(const unsigned short* src, std::size_t groups,
                                             char* dest, bool safe) noexcept {
    const std::size_t done = decodeBlocks(src, groups, dest, safe ? SAFE_VALUES : VALUES);
    if (done == groups) {
        return done;
    }
    // One of the next sixteen groups is foreign; those before it are decoded one by one.
    return done + decodeBase64Groups(src + BASE64_GROUP_UNITS * done, groups - done,
                                     dest + BASE64_GROUP_BYTES * done, safe);
}

}  // namespace avx512
}  // namespace nx::oss::detail

#endif
