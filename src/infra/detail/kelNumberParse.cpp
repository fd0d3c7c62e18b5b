#include "infra/detail/kelNumberParse.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "infra/detail/kelAsciiText.h"
#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

namespace {

// Digits that any 64-bit number can have.
constexpr unsigned SAFE_DIGITS = 19;
constexpr std::uint64_t LARGEST = std::numeric_limits<std::uint64_t>::max();
constexpr std::size_t BLOCK = 8;
constexpr std::uint64_t BLOCK_LIMIT = 100'000'000;

constexpr std::uint64_t INTEGER_POWERS[] = {1,      10,      100,       1'000,
                                            10'000, 100'000, 1'000'000, 10'000'000};

// 5^0 to 5^19: a power of ten is one of them and a power of two.
constexpr auto POWERS_OF_FIVE = []() {
    std::array<std::uint64_t, SAFE_DIGITS + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 5;
    }
    return powers;
}();

constexpr double POWERS_OF_TEN[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                    1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};

__extension__ typedef unsigned __int128 Wide;

/// 2^exponent for exponents of normal numbers.
double powerOfTwo(int exponent) {
    const std::uint64_t bits = static_cast<std::uint64_t>(exponent + 1023) << 52;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

bool isNegative(std::u16string_view text) { return !text.empty() && text.front() == u'-'; }

std::u16string_view withoutSign(std::u16string_view text) {
    // Why: computed, not branched on, since signs come at random.
    const std::size_t signs =
        !text.empty() && (text.front() == u'-' || text.front() == u'+') ? 1 : 0;
    return {text.data() + signs, text.size() - signs};
}

/// Values of the digits at `text`, from the first that is no digit on of no meaning.
struct DigitRun {
    std::uint64_t value;
    std::size_t length;
};

#if defined(__SSE2__)

/// Eight units less '0', as they are in memory.
__m128i loadBlock(const char16_t* text) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    return _mm_sub_epi16(units, _mm_set1_epi16('0'));
}

bool areDigits(__m128i block) {
    const __m128i above = _mm_subs_epu16(block, _mm_set1_epi16(9));
    return _mm_movemask_epi8(_mm_cmpeq_epi16(above, _mm_setzero_si128())) == 0xFFFF;
}

/// The number that eight digits make: neighbours are put together three times.
std::uint64_t valueOf(__m128i digits) {
    const __m128i twos = _mm_madd_epi16(digits, _mm_set1_epi32(10 | 1 << 16));
    const __m128i packed = _mm_packs_epi32(twos, twos);
    const __m128i fours = _mm_madd_epi16(packed, _mm_set1_epi32(100 | 1 << 16));
    const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(fours));
    return (both & 0xFFFFFFFF) * 10'000 + (both >> 32);
}

/// Zeroes the first 8 - `count` digits.
__m128i keepLast(__m128i digits, std::size_t count) {
    static constexpr std::int16_t MASKS[2 * BLOCK] = {0,  0,  0,  0,  0,  0,  0,  0,
                                                      -1, -1, -1, -1, -1, -1, -1, -1};
    return _mm_and_si128(digits, _mm_loadu_si128(reinterpret_cast<const __m128i*>(MASKS + count)));
}

using Block = __m128i;

#else

/// Eight units less '0'.
struct Block {
    std::uint16_t digits[BLOCK];
};

Block loadBlock(const char16_t* text) {
    Block block;
    for (std::size_t i = 0; i < BLOCK; ++i) {
        block.digits[i] = static_cast<std::uint16_t>(text[i] - u'0');
    }
    return block;
}

bool areDigits(const Block& block) {
    return std::all_of(block.digits, block.digits + BLOCK, [](unsigned d) { return d <= 9; });
}

std::uint64_t valueOf(const Block& block) {
    std::uint64_t value = 0;
    for (const std::uint16_t digit : block.digits) {
        value = value * 10 + digit;
    }
    return value;
}

Block keepLast(Block block, std::size_t count) {
    std::fill_n(block.digits, BLOCK - count, std::uint16_t{0});
    return block;
}

#endif

/// Digits at the start of `text`, one by one, appended to `value`.
DigitRun readDigits(std::u16string_view text, std::uint64_t value) {
    std::size_t length = 0;
    while (length < text.size() && isAsciiDigit(text[length])) {
        value = value * 10 + (text[length++] - u'0');
    }
    return {value, length};
}

/// The same for runs that are often long.
DigitRun readManyDigits(std::u16string_view text, std::uint64_t value) {
    std::size_t length = 0;
    while (text.size() - length >= BLOCK) {
        const Block block = loadBlock(text.data() + length);
        if (!areDigits(block)) {
            break;
        }
        value = value * BLOCK_LIMIT + valueOf(block);
        length += BLOCK;
    }
    const DigitRun rest = readDigits(text.substr(length), value);
    return {rest.value, length + rest.length};
}

/// value * 10^count + the last `count` digits of `block`; the largest value when that is too much.
std::uint64_t appendSaturating(std::uint64_t value, const Block& block, std::size_t count) {
    const std::uint64_t last = valueOf(keepLast(block, count));
    std::uint64_t shifted = 0;
    std::uint64_t sum = 0;
    return __builtin_mul_overflow(value, INTEGER_POWERS[count], &shifted) ||
                   __builtin_add_overflow(shifted, last, &sum)
               ? LARGEST
               : sum;
}

/// A text of 8 to 20 units.
bool parseLongUnsigned(std::uint64_t& value, std::u16string_view text) {
    value = 0;
    std::size_t done = 0;
    for (; text.size() - done >= BLOCK; done += BLOCK) {
        const Block block = loadBlock(text.data() + done);
        if (!areDigits(block)) {
            return false;
        }
        value = value * BLOCK_LIMIT + valueOf(block);
    }
    // The last block overlaps the one before.
    const Block last = loadBlock(text.data() + text.size() - BLOCK);
    value = appendSaturating(value, last, text.size() - done);
    return areDigits(last);
}

/// A text of at most 7 units.
bool parseShortUnsigned(std::uint64_t& value, std::u16string_view text) {
    const DigitRun digits = readDigits(text, 0);
    value = digits.value;
    return digits.length == text.size();
}

/// At most 20 digits and at least one.
inline bool readUnsigned(std::uint64_t& value, std::u16string_view text, unsigned mostDigits) {
    if (text.empty() || text.size() > mostDigits) {
        return false;
    }
    return text.size() >= BLOCK ? parseLongUnsigned(value, text) : parseShortUnsigned(value, text);
}

/// numerator / 10^decimals, rounded to the nearest, ties to even. Exact: 64 bits of the quotient
/// and whether a remainder is left decide. The numerator is not 0, `decimals` at most 19.
double dividedByPowerOfTen(std::uint64_t numerator, std::size_t decimals) {
    constexpr int MANTISSA_BITS = 53;
    constexpr int SURPLUS_BITS = 64 - MANTISSA_BITS;
    constexpr std::uint64_t HALF = std::uint64_t{1} << (SURPLUS_BITS - 1);
    const std::uint64_t divisor = POWERS_OF_FIVE[decimals];
    const int numeratorShift = __builtin_clzll(numerator);
    const int divisorShift = __builtin_clzll(divisor);
    const std::uint64_t high = numerator << numeratorShift;
    const std::uint64_t low = divisor << divisorShift;
    // Both have their highest bit set; halved where needed, the quotient has 64 bits.
    const int halved = high >= low ? 1 : 0;
    const Wide dividend = static_cast<Wide>(high) << (64 - halved);
    auto quotient = static_cast<std::uint64_t>(dividend / low);
    const bool inexact = static_cast<Wide>(quotient) * low != dividend;
    const std::uint64_t surplus = quotient & (2 * HALF - 1);
    quotient >>= SURPLUS_BITS;
    const bool up = surplus > HALF || (surplus == HALF && (inexact || (quotient & 1) != 0));
    const int exponent =
        SURPLUS_BITS - 64 + halved - numeratorShift + divisorShift - static_cast<int>(decimals);
    // The rounded quotient is a double itself, and so is the power of two: nothing is rounded
    // again.
    return static_cast<double>(quotient + (up ? 1 : 0)) * powerOfTwo(exponent);
}

/// A plain decimal number of at most 19 digits, without an exponent.
bool parseShortDecimal(double& value, std::u16string_view text) {
    constexpr std::uint64_t EXACT = std::uint64_t{1} << 53;
    const bool negative = isNegative(text);
    text = withoutSign(text);
    if (text.size() > SAFE_DIGITS + 1) {
        return false;
    }
    DigitRun digits = readDigits(text, 0);
    std::size_t decimals = 0;
    std::size_t end = digits.length;
    if (end < text.size() && text[end] == u'.') {
        const DigitRun behind = readManyDigits(text.substr(end + 1), digits.value);
        decimals = behind.length;
        digits = {behind.value, digits.length + decimals};
        end += 1 + decimals;
    }
    if (end != text.size() || digits.length == 0 || digits.length > SAFE_DIGITS) {
        return false;
    }
    // Up to 2^53 numerator and denominator are doubles: the division rounds once, as it must.
    // Dividing by 1 does not round at all.
    const double magnitude = digits.value <= EXACT || decimals == 0
                                 ? static_cast<double>(digits.value) / POWERS_OF_TEN[decimals]
                                 : dividedByPowerOfTen(digits.value, decimals);
    value = negative ? -magnitude : magnitude;
    return true;
}

/// ASCII text narrowed into an array that most numbers fit; one NUL follows it.
class NarrowText {
  public:
    explicit NarrowText(std::u16string_view text) : length_(text.size()) {
        if (length_ >= sizeof short_) {
            long_ = std::make_unique<char[]>(length_ + 1);
            data_ = long_.get();
        }
        char16_t seen = 0;
        for (std::size_t i = 0; i < length_; ++i) {
            seen = static_cast<char16_t>(seen | text[i]);
            data_[i] = static_cast<char>(text[i]);
        }
        data_[length_] = '\0';
        ascii_ = seen < 0x80;
    }

    bool isAscii() const { return ascii_; }
    const char* begin() const { return data_; }
    const char* end() const { return data_ + length_; }

  private:
    char short_[512];
    std::unique_ptr<char[]> long_;
    char* data_ = short_;
    std::size_t length_;
    bool ascii_;
};

locale_t makeCLocale() {
    const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    if (cLocale == nullptr) {
        raiseBadAlloc();  // and the next number asks again
    }
    return cLocale;
}

double strtodInCLocale(const char* text, char** end) {
    static const locale_t cLocale = makeCLocale();
    return strtod_l(text, end, cLocale);
}

/// Everything that parseShortDecimal() leaves.
[[gnu::noinline]] bool parseAnyDouble(double& value, std::u16string_view text) {
    const NarrowText narrow(text);
    if (text.empty() || !narrow.isAscii()) {
        return false;
    }
    const auto parsed = std::from_chars(narrow.begin(), narrow.end(), value);
    if (parsed.ec == std::errc{} && parsed.ptr == narrow.end() && !std::isnan(value)) {
        return true;
    }
    // A leading plus, hexadecimal numbers, over- and underflow, the payload of "nan(1)": rare, and
    // strtod's to decide.
    char* end = nullptr;
    value = strtodInCLocale(narrow.begin(), &end);
    return end == narrow.end();
}

}  // namespace

bool parseUnsigned(std::uint64_t& value, std::u16string_view text, unsigned mostDigits) {
    return readUnsigned(value, text, mostDigits);
}

bool parseSigned(std::int64_t& value, std::u16string_view text, unsigned mostDigits) {
    constexpr std::uint64_t MAX = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t negative = isNegative(text) ? 1 : 0;
    std::uint64_t magnitude = 0;
    const bool isNumber = readUnsigned(magnitude, withoutSign(text), mostDigits);
    magnitude = std::min(magnitude, MAX + negative);
    // Negated by complement and one more, without a branch, since signs come at random.
    value = static_cast<std::int64_t>((magnitude ^ (0 - negative)) + negative);
    return isNumber;
}

bool parseDouble(double& value, std::u16string_view text) {
    return parseShortDecimal(value, text) || parseAnyDouble(value, text);
}

}  // namespace nx::oss::detail
