#pragma once

#include <cstddef>
#include <cstdint>

namespace nx::oss::detail {

/// Single characters in and out of the encoding forms of Unicode, for the plain kernels and for the
/// ends of the vector kernels.

constexpr char32_t REPLACEMENT = 0xFFFD;

constexpr bool isHighSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xD800; }
constexpr bool isLowSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xDC00; }

/// A character read from text, and the code units that it took.
struct Character {
    char32_t value;
    std::size_t size;
};

/// First character of `length` > 0 units of UTF-16; a lone surrogate counts as U+FFFD.
inline Character firstOfUtf16(const char16_t* src, std::size_t length) {
    const char32_t first = src[0];
    if ((first & 0xF800) != 0xD800) {
        return {first, 1};
    }
    if (isHighSurrogate(first) && length > 1 && isLowSurrogate(src[1])) {
        return {0x10000 + ((first - 0xD800) << 10) + (src[1] - 0xDC00u), 2};
    }
    return {REPLACEMENT, 1};
}

/// Well-formed second bytes of a lead byte, and the number of bytes of the sequence.
struct LeadByte {
    std::uint8_t size;
    std::uint8_t firstSecond;
    std::uint8_t lastSecond;
};

constexpr LeadByte leadByte(std::uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return {2, 0x80, 0xBF};
    }
    if (lead == 0xE0) {  // below A0: would fit two bytes
        return {3, 0xA0, 0xBF};
    }
    if (lead == 0xED) {  // above 9F: a surrogate
        return {3, 0x80, 0x9F};
    }
    if (lead >= 0xE1 && lead <= 0xEF) {
        return {3, 0x80, 0xBF};
    }
    if (lead == 0xF0) {  // below 90: would fit three bytes
        return {4, 0x90, 0xBF};
    }
    if (lead >= 0xF1 && lead <= 0xF3) {
        return {4, 0x80, 0xBF};
    }
    if (lead == 0xF4) {  // above 8F: beyond U+10FFFF
        return {4, 0x80, 0x8F};
    }
    return {1, 0, 0};  // continuation bytes, C0, C1, F5 to FF
}

/// First character of `length` > 0 bytes of UTF-8. An ill-formed sequence counts as U+FFFD and
/// takes its maximal subpart: the bytes that could begin a character, or one byte.
inline Character firstOfUtf8(const char* src, std::size_t length) {
    const auto first = static_cast<std::uint8_t>(src[0]);
    if (first < 0x80) {
        return {first, 1};
    }
    const LeadByte lead = leadByte(first);
    if (lead.size == 1 || length == 1) {
        return {REPLACEMENT, 1};
    }
    const auto second = static_cast<std::uint8_t>(src[1]);
    if (second < lead.firstSecond || second > lead.lastSecond) {
        return {REPLACEMENT, 1};
    }
    // Payload of the lead byte: 110xxxxx, 1110xxxx, 11110xxx.
    char32_t value = (char32_t{first} & (0x7Fu >> lead.size)) << 6 | (second & 0x3Fu);
    for (std::size_t i = 2; i < lead.size; ++i) {
        if (i == length || (static_cast<std::uint8_t>(src[i]) & 0xC0u) != 0x80) {
            return {REPLACEMENT, i};
        }
        value = value << 6 | (static_cast<std::uint8_t>(src[i]) & 0x3Fu);
    }
    return {value, lead.size};
}

constexpr std::size_t utf8Size(char32_t value) {
    return value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
}

/// Writes the utf8Size(value) bytes of a character.
inline void writeUtf8(char32_t value, char* dest) {
    const std::size_t size = utf8Size(value);
    if (size == 1) {
        dest[0] = static_cast<char>(value);
        return;
    }
    for (std::size_t i = size - 1; i > 0; --i) {
        dest[i] = static_cast<char>(0x80 | (value & 0x3F));
        value >>= 6;
    }
    // As many leading ones as bytes: 110xxxxx, 1110xxxx, 11110xxx.
    dest[0] = static_cast<char>((0xFF00u >> size & 0xFF) | value);
}

constexpr std::size_t utf16Size(char32_t value) { return value < 0x10000 ? 1 : 2; }

/// Writes the utf16Size(value) units of a character.
inline void writeUtf16(char32_t value, char16_t* dest) {
    if (value < 0x10000) {
        dest[0] = static_cast<char16_t>(value);
        return;
    }
    dest[0] = static_cast<char16_t>(0xD7C0 + (value >> 10));  // D800 - (10000 >> 10)
    dest[1] = static_cast<char16_t>(0xDC00 | (value & 0x3FF));
}

}  // namespace nx::oss::detail
