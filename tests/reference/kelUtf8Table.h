#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// UTF-8 read off the table of well-formed byte sequences of the Unicode Standard, one row at a
/// time.
namespace nx::oss::reference {

struct ByteRange {
    unsigned lowest;
    unsigned highest;
    bool holds(char c) const {
        const unsigned byte = static_cast<unsigned char>(c);
        return byte >= lowest && byte <= highest;
    }
};

struct Utf8Row {
    std::size_t length;
    ByteRange bytes[4];
};

constexpr Utf8Row UTF8_ROWS[] = {
    {1, {{0x00, 0x7F}, {}, {}, {}}},
    {2, {{0xC2, 0xDF}, {0x80, 0xBF}, {}, {}}},
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}, {}}},
    {3, {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}, {}}},
    {3, {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}, {}}},
    {3, {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}, {}}},
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
};

inline bool fits(const Utf8Row& row, std::string_view text) {
    if (row.length > text.size()) {
        return false;
    }
    for (std::size_t i = 0; i < row.length; ++i) {
        if (!row.bytes[i].holds(text[i])) {
            return false;
        }
    }
    return true;
}

/// Length of the character that the text begins with, 0 when it is malformed.
inline std::size_t firstCharacter(std::string_view text) {
    for (const Utf8Row& row : UTF8_ROWS) {
        if (fits(row, text)) {
            return row.length;
        }
    }
    return 0;
}

/// The characters of a well-formed text; nothing for a malformed one.
inline std::optional<std::vector<std::string>> charactersOf(std::string_view text) {
    std::vector<std::string> characters;
    while (!text.empty()) {
        const std::size_t length = firstCharacter(text);
        if (length == 0) {
            return std::nullopt;
        }
        characters.emplace_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return characters;
}

/// Number of characters when only first bytes are looked at: the top bits of each tell how far the
/// next one is. Nothing when a byte that begins no character stands at such a place.
inline std::optional<std::size_t> countByFirstBytes(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++count) {
        const unsigned first = static_cast<unsigned char>(text[at]);
        if (first < 0x80) {
            at += 1;
        } else if (first >= 0xC0 && first <= 0xDF) {
            at += 2;
        } else if (first >= 0xE0 && first <= 0xEF) {
            at += 3;
        } else if (first >= 0xF0 && first <= 0xF7) {
            at += 4;
        } else {
            return std::nullopt;
        }
    }
    return count;
}

}  // namespace nx::oss::reference
