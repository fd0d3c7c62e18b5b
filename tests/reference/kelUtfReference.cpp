#include "reference/kelUtfReference.h"

#include <algorithm>
#include <vector>

namespace nx::oss::reference {
namespace {

struct ByteRange {
    unsigned first;
    unsigned last;
};

/// The Unicode Standard, table 3-7: well-formed byte sequences of UTF-8.
const std::vector<std::vector<ByteRange>> WELL_FORMED = {
    {{0x00, 0x7F}},
    {{0xC2, 0xDF}, {0x80, 0xBF}},
    {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}},
    {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}},
    {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}};

unsigned byteAt(std::string_view source, std::size_t index) {
    return static_cast<unsigned char>(source[index]);
}

/// Number of bytes at the beginning of `source` that fit the beginning of `row`.
std::size_t matching(const std::vector<ByteRange>& row, std::string_view source) {
    std::size_t count = 0;
    while (count < row.size() && count < source.size() &&
           byteAt(source, count) >= row[count].first && byteAt(source, count) <= row[count].last) {
        ++count;
    }
    return count;
}

char32_t scalarValue(std::string_view sequence) {
    if (sequence.size() == 1) {
        return byteAt(sequence, 0);
    }
    char32_t value = byteAt(sequence, 0) % (1u << (7 - sequence.size()));
    for (std::size_t i = 1; i < sequence.size(); ++i) {
        value = value * 64 + byteAt(sequence, i) % 64;
    }
    return value;
}

std::u16string utf16Of(char32_t value) {
    if (value <= 0xFFFF) {
        return {static_cast<char16_t>(value)};
    }
    const char32_t offset = value - 0x10000;
    return {static_cast<char16_t>(0xD800 + offset / 0x400),
            static_cast<char16_t>(0xDC00 + offset % 0x400)};
}

std::string utf8Of(char32_t value) {
    const auto byte = [](char32_t number) { return static_cast<char>(number); };
    if (value < 0x80) {
        return {byte(value)};
    }
    if (value < 0x800) {
        return {byte(0xC0 + value / 0x40), byte(0x80 + value % 0x40)};
    }
    if (value < 0x10000) {
        return {byte(0xE0 + value / 0x1000), byte(0x80 + value / 0x40 % 0x40),
                byte(0x80 + value % 0x40)};
    }
    return {byte(0xF0 + value / 0x40000), byte(0x80 + value / 0x1000 % 0x40),
            byte(0x80 + value / 0x40 % 0x40), byte(0x80 + value % 0x40)};
}

bool isBetween(char16_t unit, unsigned first, unsigned last) {
    return unit >= first && unit <= last;
}

bool beginsWithPair(std::u16string_view source) {
    return source.size() > 1 && isBetween(source[0], 0xD800, 0xDBFF) &&
           isBetween(source[1], 0xDC00, 0xDFFF);
}

}  // namespace

Converted<std::u16string> utf16FromUtf8(std::string_view source, std::size_t capacity) {
    Converted<std::u16string> result{{}, 0};
    while (result.read < source.size()) {
        const std::string_view rest = source.substr(result.read);
        std::size_t size = 1;
        char32_t value = 0xFFFD;
        for (const auto& row : WELL_FORMED) {
            const std::size_t count = matching(row, rest);
            size = std::max(size, count);
            if (count == row.size()) {
                value = scalarValue(rest.substr(0, count));
            }
        }
        const std::u16string units = utf16Of(value);
        if (result.text.size() + units.size() > capacity) {
            break;
        }
        result.text += units;
        result.read += size;
    }
    return result;
}

Converted<std::string> utf8FromUtf16(std::u16string_view source, std::size_t capacity) {
    Converted<std::string> result{{}, 0};
    while (result.read < source.size()) {
        const std::u16string_view rest = source.substr(result.read);
        char32_t value = isBetween(rest[0], 0xD800, 0xDFFF) ? 0xFFFD : rest[0];
        if (beginsWithPair(rest)) {
            value = 0x10000u + (rest[0] - 0xD800u) * 0x400u + (rest[1] - 0xDC00u);
        }
        const std::string bytes = utf8Of(value);
        if (result.text.size() + bytes.size() > capacity) {
            break;
        }
        result.text += bytes;
        result.read += value > 0xFFFF ? 2 : 1;
    }
    return result;
}

Converted<std::string> utf8FromLatin1(std::string_view source, std::size_t capacity) {
    Converted<std::string> result{{}, 0};
    for (const char byte : source) {
        const std::string bytes = utf8Of(static_cast<unsigned char>(byte));
        if (result.text.size() + bytes.size() > capacity) {
            break;
        }
        result.text += bytes;
        ++result.read;
    }
    return result;
}

std::size_t firstLoneSurrogate(std::u16string_view source) {
    std::size_t place = 0;
    while (place < source.size()) {
        if (beginsWithPair(source.substr(place))) {
            place += 2;
        } else if (isBetween(source[place], 0xD800, 0xDFFF)) {
            return place;
        } else {
            ++place;
        }
    }
    return place;
}

}  // namespace nx::oss::reference
