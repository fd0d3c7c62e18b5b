#include "infra/detail/kelDecimalText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace nx::oss::detail {

namespace {

constexpr int DECIMALS = 6;
constexpr std::uint64_t DECIMAL_SCALE = 1'000'000;
constexpr int MANTISSA_BITS = 52;
constexpr int EXPONENT_BIAS = 1023;
constexpr unsigned WORD_DIGITS = 8;
constexpr std::uint64_t WORD_LIMIT = 100'000'000;

__extension__ typedef unsigned __int128 Wide;

char* writeText(char* out, const char* text) {
    const std::size_t length = std::strlen(text);
    // No terminator: the number goes on.
    std::memcpy(out, text, length);  // NOLINT(bugprone-not-null-terminated-result)
    return out + length;
}

/// The eight digits of `value`, leading zeros included, as characters: the first in the lowest
/// byte. The number is split in halves three times; each time all parts are divided by one
/// multiplication.
std::uint64_t eightDigits(std::uint64_t value) {
    const std::uint64_t fours = value / 10'000 | value % 10'000 << 32;
    // x * 10486 >> 20 is x / 100 up to 10,000, x * 103 >> 10 is x / 10 up to 100.
    const std::uint64_t hundreds = fours * 10'486 >> 20 & 0x0000007F'0000007F;
    const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const std::uint64_t tens = twos * 103 >> 10 & 0x000F000F'000F000F;
    return (tens | (twos - tens * 10) << 8) + 0x30303030'30303030;
}

/// Stores eight characters, the first of which is in the lowest byte.
void storeEight(char* out, std::uint64_t characters) {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    characters = __builtin_bswap64(characters);
#endif
    std::memcpy(out, &characters, sizeof characters);
}

void storeEight(char16_t* out, std::uint64_t characters) {
#if defined(__SSE2__)
    const __m128i bytes = _mm_cvtsi64_si128(static_cast<long long>(characters));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
#else
    for (unsigned i = 0; i < WORD_DIGITS; ++i) {
        out[i] = static_cast<char16_t>(characters >> 8 * i & 0xFF);
    }
#endif
}

/// Writes the last `count` of eight digits, and NULs up to eight characters.
template <class Unit>
Unit* writeLast(Unit* out, std::uint64_t digits, unsigned count) {
    storeEight(out, digits >> 8 * (WORD_DIGITS - count));
    return out + count;
}

/// `value` < 10^8 without leading zeros.
template <class Unit>
Unit* writeFirst(Unit* out, std::uint64_t value) {
    const std::uint64_t digits = eightDigits(value);
    // Leading zeros lie in the lowest bytes; the last digit is written in any case.
    const std::uint64_t significant = (digits - 0x30303030'30303030) | std::uint64_t{1} << 56;
    return writeLast(out, digits,
                     WORD_DIGITS - static_cast<unsigned>(__builtin_ctzll(significant)) / 8);
}

template <class Unit>
[[gnu::always_inline]] inline Unit* writeUnsigned(Unit* out, std::uint64_t value) {
    if (value < WORD_LIMIT) {
        return writeFirst(out, value);
    }
    const std::uint64_t high = value / WORD_LIMIT;
    const std::uint64_t low = eightDigits(value % WORD_LIMIT);
    if (high < WORD_LIMIT) {
        return writeLast(writeFirst(out, high), low, WORD_DIGITS);
    }
    out = writeFirst(out, high / WORD_LIMIT);
    out = writeLast(out, eightDigits(high % WORD_LIMIT), WORD_DIGITS);
    return writeLast(out, low, WORD_DIGITS);
}

template <class Unit>
[[gnu::always_inline]] inline Unit* writeSigned(Unit* out, long value) {
    const auto magnitude = static_cast<unsigned long>(value);
    *out = '-';
    return value < 0 ? writeDecimal(out + 1, 0 - magnitude) : writeDecimal(out, magnitude);
}

char* writeDecimals(char* out, std::uint64_t millionths) {
    return writeLast(out, eightDigits(millionths), DECIMALS);
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

char* writeDecimal(char* out, unsigned long value) { return writeUnsigned(out, value); }

char16_t* writeDecimal(char16_t* out, unsigned long value) { return writeUnsigned(out, value); }

char* writeDecimal(char* out, long value) { return writeSigned(out, value); }

char16_t* writeDecimal(char16_t* out, long value) { return writeSigned(out, value); }

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
