#include "infra/detail/kelDecimalText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace nx::oss::detail {

namespace {

constexpr int DECIMALS = 6;
constexpr std::uint64_t DECIMAL_SCALE = 1'000'000;
constexpr int MANTISSA_BITS = 52;
constexpr int EXPONENT_BIAS = 1023;
// Room for the digits of any 64-bit number.
constexpr std::size_t LONGEST_INTEGER = 20;

__extension__ typedef unsigned __int128 Wide;

char* writeText(char* out, const char* text) {
    const std::size_t length = std::strlen(text);
    std::memcpy(out, text, length);
    return out + length;
}

char* writeDecimals(char* out, std::uint64_t millionths) {
    for (int i = DECIMALS - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + millionths % 10);
        millionths /= 10;
    }
    return out + DECIMALS;
}

/// mantissa / 2^shift in millionths, rounded to the nearest, ties to even. Exact: a product of 53
/// and 20 bits is compared with the binary half.
std::uint64_t roundedMillionths(std::uint64_t mantissa, int shift) {
    // 53 bits times 2^20 shifted out by more than that: below half a millionth.
    if (shift > 75) {
        return 0;
    }
    const Wide scaled = static_cast<Wide>(mantissa) * DECIMAL_SCALE;
    const auto quotient = static_cast<std::uint64_t>(scaled >> shift);
    const Wide remainder = scaled - (static_cast<Wide>(quotient) << shift);
    const Wide half = static_cast<Wide>(1) << (shift - 1);
    const bool up = remainder > half || (remainder == half && (quotient & 1) != 0);
    return quotient + (up ? 1 : 0);
}

/// A finite value of at least 0 below 2^53, in fixed notation.
char* writeSmall(char* out, std::uint64_t bits) {
    const int exponent = static_cast<int>(bits >> MANTISSA_BITS) - EXPONENT_BIAS;
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << MANTISSA_BITS) - 1);
    // Subnormal numbers lack the leading bit, but all of them round to zero.
    mantissa |= std::uint64_t{1} << MANTISSA_BITS;
    const int shift = MANTISSA_BITS - exponent;
    std::uint64_t whole = shift > MANTISSA_BITS ? 0 : mantissa >> shift;
    const std::uint64_t fraction = shift > MANTISSA_BITS ? mantissa : mantissa - (whole << shift);
    std::uint64_t millionths = shift == 0 ? 0 : roundedMillionths(fraction, shift);
    if (millionths == DECIMAL_SCALE) {
        millionths = 0;
        ++whole;
    }
    out = writeDecimal(out, whole);
    *out++ = '.';
    return writeDecimals(out, millionths);
}

}  // namespace

char* writeDecimal(char* out, long value) {
    return std::to_chars(out, out + LONGEST_INTEGER, value).ptr;
}

char* writeDecimal(char* out, unsigned long value) {
    return std::to_chars(out, out + LONGEST_INTEGER, value).ptr;
}

char* writeDecimal(char* out, double value) {
    constexpr double EXACT_LIMIT = 9007199254740992.0;  // 2^53: from here on there is no fraction
    if (std::signbit(value)) {
        *out++ = '-';
        value = -value;
    }
    if (value < EXACT_LIMIT) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return writeSmall(out, bits);
    }
    if (std::isfinite(value)) {
        return std::to_chars(out, out + LONGEST_DECIMAL_TEXT - 1, value, std::chars_format::fixed,
                             DECIMALS)
            .ptr;
    }
    return writeText(out, std::isnan(value) ? "nan" : "inf");
}

}  // namespace nx::oss::detail
