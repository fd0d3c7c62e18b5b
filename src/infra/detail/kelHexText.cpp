#include "infra/detail/kelHexText.h"

namespace nx::oss::detail {

namespace {

constexpr char LOWER_DIGITS[] = "0123456789abcdef";
constexpr char UPPER_DIGITS[] = "0123456789ABCDEF";
constexpr unsigned char NO_DIGIT = 0xFF;

constexpr unsigned char valueOf(unsigned character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned char>(character - '0');
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<unsigned char>(character - 'a' + 10);
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<unsigned char>(character - 'A' + 10);
    }
    return NO_DIGIT;
}

struct DigitValues {
    constexpr DigitValues() {
        for (unsigned i = 0; i < 256; ++i) {
            values[i] = valueOf(i);
        }
    }
    unsigned char of(char digit) const { return values[static_cast<unsigned char>(digit)]; }

    unsigned char values[256] = {};
};

constexpr DigitValues DIGIT_VALUES;

}  // namespace

char* encodeHex(char* out, const char* bytes, std::size_t count, bool upperCase) {
    const char* const digits = upperCase ? UPPER_DIGITS : LOWER_DIGITS;
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 15];
    }
    return out;
}

bool decodeHex(char* out, const char* digits, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned high = DIGIT_VALUES.of(digits[2 * i]);
        const unsigned low = DIGIT_VALUES.of(digits[2 * i + 1]);
        if ((high | low) > 15) {
            return false;
        }
        out[i] = static_cast<char>(high << 4 | low);
    }
    return true;
}

bool isHex(const char* text, std::size_t length) {
    unsigned seen = 0;
    for (std::size_t i = 0; i < length; ++i) {
        seen |= DIGIT_VALUES.of(text[i]);
    }
    return seen <= 15;
}

char* writeHexLiteral(char* out, unsigned long value, bool upperCase) {
    const char* const digits = upperCase ? UPPER_DIGITS : LOWER_DIGITS;
    constexpr int BITS = 64;
    const int leadingZeros = value == 0 ? BITS - 4 : __builtin_clzl(value) / 4 * 4;
    *out++ = 'X';
    *out++ = '\'';
    for (int shift = BITS - 4 - leadingZeros; shift >= 0; shift -= 4) {
        *out++ = digits[value >> shift & 15];
    }
    *out++ = '\'';
    return out;
}

}  // namespace nx::oss::detail
