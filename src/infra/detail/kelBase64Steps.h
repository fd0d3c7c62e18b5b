#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Base64 group by group: three bytes are four characters of six bits each.
///
/// Text is UTF-16 in arrays of unsigned short, which callers often take from an array of char16_t.
/// It is therefore read and written by memcpy, which may look at objects of any type.

namespace nx::oss::detail {

constexpr std::size_t BASE64_GROUP_BYTES = 3;
constexpr std::size_t BASE64_GROUP_UNITS = 4;

constexpr bool BASE64_LITTLE_ENDIAN = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

/// The character of six bits.
constexpr char base64Character(unsigned value, bool safe) {
    constexpr char SHARED[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    if (value < 62) {
        return SHARED[value];
    }
    return value == 62 ? (safe ? '-' : '+') : (safe ? '_' : '/');
}

/// Two characters for each twelve bits, as they stand in memory. Looking up two at once halves the
/// work; the table of one alphabet takes half of a usual first-level cache.
struct Base64Pairs {
    constexpr explicit Base64Pairs(bool safe) {
        for (unsigned bits = 0; bits < 4096; ++bits) {
            const std::uint32_t first =
                static_cast<unsigned char>(base64Character(bits >> 6, safe));
            const std::uint32_t second =
                static_cast<unsigned char>(base64Character(bits & 63, safe));
            of[bits] = BASE64_LITTLE_ENDIAN ? second << 16 | first : first << 16 | second;
        }
    }

    std::uint32_t of[4096] = {};
};

inline constexpr Base64Pairs BASE64_PAIRS(false);
inline constexpr Base64Pairs BASE64_SAFE_PAIRS(true);

/// What each character contributes to the 24 bits of a group, for each of its four places. The
/// contributions of four characters are put together by OR.
struct Base64Places {
    static constexpr std::uint32_t FOREIGN = 0x80000000;

    constexpr explicit Base64Places(bool safe) {
        for (auto& place : of) {
            for (std::uint32_t& contribution : place) {
                contribution = FOREIGN;
            }
        }
        for (unsigned value = 0; value < 64; ++value) {
            const auto unit = static_cast<unsigned char>(base64Character(value, safe));
            for (unsigned place = 0; place < 4; ++place) {
                of[place][unit] = value << (18 - 6 * place);
            }
        }
    }

    std::uint32_t of[4][256] = {};
};

inline constexpr Base64Places BASE64_PLACES(false);
inline constexpr Base64Places BASE64_SAFE_PLACES(true);

inline std::uint64_t loadFourUnits(const unsigned short* src) {
    std::uint64_t units;
    std::memcpy(&units, src, sizeof units);
    return units;
}

/// Unit `place` of four, if it is below 0x100.
inline std::size_t unitOf(std::uint64_t units, unsigned place) {
    return units >> 16 * (BASE64_LITTLE_ENDIAN ? place : 3 - place) & 0xFF;
}

inline void encodeBase64Pair(const Base64Pairs& pairs, std::uint64_t bits, unsigned short* dest) {
    std::memcpy(dest, &pairs.of[bits & 4095], sizeof(std::uint32_t));
}

inline void encodeBase64Group(const Base64Pairs& pairs, const char* src, unsigned short* dest) {
    unsigned char b[BASE64_GROUP_BYTES];
    std::memcpy(b, src, sizeof b);
    const std::uint32_t bits =
        static_cast<std::uint32_t>(b[0]) << 16 | static_cast<std::uint32_t>(b[1]) << 8 | b[2];
    encodeBase64Pair(pairs, bits >> 12, dest);
    encodeBase64Pair(pairs, bits, dest + 2);
}

/// The 24 bits of a group; FOREIGN is set if one of the units is no character of the alphabet.
inline std::uint32_t base64GroupOf(const Base64Places& places, std::uint64_t units) {
    constexpr std::uint64_t UPPER_BYTES = 0xFF00FF00FF00FF00;
    const std::uint32_t bits = places.of[0][unitOf(units, 0)] | places.of[1][unitOf(units, 1)] |
                               places.of[2][unitOf(units, 2)] | places.of[3][unitOf(units, 3)];
    return (units & UPPER_BYTES) == 0 ? bits : bits | Base64Places::FOREIGN;
}

inline void storeBase64Group(std::uint32_t bits, char* dest) {
    dest[0] = static_cast<char>(bits >> 16);
    dest[1] = static_cast<char>(bits >> 8);
    dest[2] = static_cast<char>(bits);
}

/// Plain version of Kernels::encodeBase64.
void encodeBase64Groups(const char* src, std::size_t groups, unsigned short* dest,
                        bool safe) noexcept;

/// Plain version of Kernels::decodeBase64.
std::size_t decodeBase64Groups(const unsigned short* src, std::size_t groups, char* dest,
                               bool safe) noexcept;

}  // namespace nx::oss::detail
