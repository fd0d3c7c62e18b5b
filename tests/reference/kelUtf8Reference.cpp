#include "reference/kelUtf8Reference.h"

#include <iterator>

namespace nx::oss::reference {

namespace {

struct Range {
    unsigned char from;
    unsigned char to;
    bool contains(unsigned char byte) const { return from <= byte && byte <= to; }
};

/// Table 3-7, row by row.
struct Row {
    std::size_t size;
    Range bytes[4];
};
constexpr Row ROWS[] = {
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

unsigned char byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

bool fits(const Row& row, std::string_view text, std::size_t position) {
    if (row.size > text.size() - position) {
        return false;
    }
    for (std::size_t i = 0; i < row.size; ++i) {
        if (!row.bytes[i].contains(byteAt(text, position + i))) {
            return false;
        }
    }
    return true;
}

std::size_t wellFormedSize(std::string_view text, std::size_t position) {
    for (const Row& row : ROWS) {
        if (fits(row, text, position)) {
            return row.size;
        }
    }
    return 0;
}

std::size_t sizeByFirstByte(unsigned char first) {
    constexpr Range FIRST[] = {{}, {0x00, 0x7F}, {0xC0, 0xDF}, {0xE0, 0xEF}, {0xF0, 0xF7}};
    for (std::size_t size = 1; size < std::size(FIRST); ++size) {
        if (FIRST[size].contains(first)) {
            return size;
        }
    }
    return 0;
}

}  // namespace

std::optional<std::size_t> wellFormedCharacters(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++count) {
        const std::size_t size = wellFormedSize(text, i);
        if (size == 0) {
            return std::nullopt;
        }
        i += size;
    }
    return count;
}

std::optional<std::size_t> charactersByFirstBytes(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++count) {
        const std::size_t size = sizeByFirstByte(byteAt(text, i));
        if (size == 0) {
            return std::nullopt;
        }
        i += size;
    }
    return count;
}

std::string characterAt(std::string_view text, std::size_t position) {
    return std::string(text.substr(position, sizeByFirstByte(byteAt(text, position))));
}

}  // namespace nx::oss::reference
