#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "infra/detail/kelDecimalText.h"
#include "infra/detail/kelNumberParse.h"
#include "support/kelGuardedMemory.h"
#include "support/kelRandomRun.h"

namespace nx::oss::detail {
namespace {

using nx::test::RandomRun;
using test::GuardedMemory;

template <class... Arguments>
std::string printed(const char* format, Arguments... arguments) {
    char text[400];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

/// Writes into exactly the room that the header asks for.
template <std::size_t Longest, class Number>
std::string written(Number value) {
    static GuardedMemory memory(4096);
    char* const out = memory.last<char>(Longest);
    return std::string(out, writeDecimal(out, value));
}

std::string writtenInteger(long value) { return written<LONGEST_INTEGER_TEXT>(value); }
std::string writtenUnsigned(unsigned long value) { return written<LONGEST_INTEGER_TEXT>(value); }
std::string writtenDouble(double value) { return written<LONGEST_DECIMAL_TEXT>(value); }

/// A text between guards, so that reading past its end would be seen.
std::u16string_view guarded(const std::string& text) {
    static GuardedMemory memory(8192);
    char16_t* const units = memory.last<char16_t>(text.size());
    std::copy(text.begin(), text.end(), units);
    return {units, text.size()};
}

std::uint64_t bitsOf(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// The parsed number, with all bits set for what is none.
std::uint64_t parsedBits(const std::string& text) {
    double value = 0;
    return parseDouble(value, guarded(text)) ? bitsOf(value) : ~std::uint64_t{0};
}

std::uint64_t readBits(const std::string& text) {
    return bitsOf(std::strtod(text.c_str(), nullptr));
}

TEST(DecimalText, IntegersOfEveryLengthAreThoseOfPrintf) {
    unsigned long power = 1;
    for (int digits = 1; digits <= 20; ++digits, power *= 10) {
        for (const unsigned long value : {power - 1, power, power + 1, power * 9, power / 7 * 11}) {
            EXPECT_EQ(writtenUnsigned(value), printed("%lu", value));
            const auto number = static_cast<long>(value);
            EXPECT_EQ(writtenInteger(number), printed("%ld", number));
            EXPECT_EQ(writtenInteger(-(number / 2)), printed("%ld", -(number / 2)));
        }
    }
    EXPECT_EQ(writtenUnsigned(0), "0");
    EXPECT_EQ(writtenUnsigned(18446744073709551615UL), "18446744073709551615");
    EXPECT_EQ(writtenInteger(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(writtenInteger(std::numeric_limits<long>::max()), "9223372036854775807");
}

TEST(DecimalText, EveryNumberOfUpToSixDigitsIsThatOfPrintf) {
    for (unsigned long value = 0; value < 1'000'000; ++value) {
        ASSERT_EQ(writtenUnsigned(value), std::to_string(value));
    }
}

TEST(DecimalText, RandomNumbersAreThoseOfPrintf) {
    const RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        const std::uint64_t bits = random() >> random() % 64;
        ASSERT_EQ(writtenUnsigned(bits), printed("%lu", bits));
        ASSERT_EQ(writtenInteger(static_cast<long>(bits)), printed("%ld", bits));
    }
}

TEST(DecimalText, RandomDoublesAreThoseOfPrintf) {
    const RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        // Any bits, and numbers with few digits behind the point, which bring ties.
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isnan(value)) {
            ASSERT_EQ(writtenDouble(value), printed("%lf", value)) << bits;
        }
        value = static_cast<double>(static_cast<std::int64_t>(random()) >> random() % 64) /
                static_cast<double>(std::uint64_t{1} << random() % 30);
        ASSERT_EQ(writtenDouble(value), printed("%lf", value)) << bitsOf(value);
    }
}

TEST(DecimalText, DoublesAroundPowersOfTenAreThoseOfPrintf) {
    for (int exponent = -12; exponent <= 308; ++exponent) {
        const double power = std::strtod(printed("1e%d", exponent).c_str(), nullptr);
        for (const double value :
             {power, std::nextafter(power, 0), std::nextafter(power, 1e308), power * 5, -power}) {
            EXPECT_EQ(writtenDouble(value), printed("%lf", value));
        }
    }
}

TEST(NumberParse, IntegersOfEveryLengthAreRead) {
    const std::string digits = "98765432109876543210";
    for (std::size_t length = 1; length <= 19; ++length) {
        const std::string text = digits.substr(0, length);
        std::uint64_t value = 0;
        ASSERT_TRUE(parseUnsigned(value, guarded(text), 20)) << text;
        EXPECT_EQ(value, std::strtoull(text.c_str(), nullptr, 10));
        for (const char* const sign : {"-", "+", ""}) {
            std::int64_t number = 0;
            ASSERT_TRUE(parseSigned(number, guarded(sign + text), 19)) << sign << text;
            EXPECT_EQ(number, std::strtoll((sign + text).c_str(), nullptr, 10));
        }
    }
}

TEST(NumberParse, IntegersBeyondTheRangeSaturate) {
    std::uint64_t value = 0;
    EXPECT_TRUE(parseUnsigned(value, u"18446744073709551615", 20));
    EXPECT_EQ(value, 18446744073709551615U);
    EXPECT_TRUE(parseUnsigned(value, u"18446744073709551616", 20));
    EXPECT_EQ(value, 18446744073709551615U);
    EXPECT_TRUE(parseUnsigned(value, u"99999999999999999999", 20));
    EXPECT_EQ(value, 18446744073709551615U);
    std::int64_t number = 0;
    EXPECT_TRUE(parseSigned(number, u"9223372036854775808", 19));
    EXPECT_EQ(number, std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(parseSigned(number, u"-9223372036854775808", 19));
    EXPECT_EQ(number, std::numeric_limits<std::int64_t>::min());
    EXPECT_TRUE(parseSigned(number, u"-9999999999999999999", 19));
    EXPECT_EQ(number, std::numeric_limits<std::int64_t>::min());
}

TEST(NumberParse, EveryOtherUnitAtEveryPositionIsRefused) {
    for (std::size_t length = 1; length <= 20; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            std::u16string text(length, u'7');
            for (const char16_t unit : {u'\0', u'/', u':', u'-', u'+', u' ', u'.', u'a', u'\u0660',
                                        u'\u0130', u'\u8030', u'\uFF17', u'\uFFFF'}) {
                text[position] = unit;
                std::uint64_t value = 0;
                EXPECT_FALSE(parseUnsigned(value, text, 20)) << length << ", " << position;
            }
        }
    }
}

TEST(NumberParse, TooManyDigitsAndNoneAreRefused) {
    std::uint64_t value = 0;
    std::int64_t number = 0;
    EXPECT_FALSE(parseUnsigned(value, u"", 20));
    EXPECT_FALSE(parseUnsigned(value, u"000000000000000000000", 20));
    EXPECT_FALSE(parseUnsigned(value, u"00000000042", 10));
    EXPECT_TRUE(parseUnsigned(value, u"0000000042", 10));
    EXPECT_EQ(value, 42U);
    EXPECT_FALSE(parseSigned(number, u"", 19));
    EXPECT_FALSE(parseSigned(number, u"-", 19));
    EXPECT_FALSE(parseSigned(number, u"+-1", 19));
    EXPECT_FALSE(parseSigned(number, u"-12345678901", 10));
}

TEST(NumberParse, RandomDecimalsAreThoseOfStrtod) {
    const RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        std::string text = std::to_string(random() >> random() % 64);
        text.insert(random() % (text.size() + 1), ".");
        if (random() % 2 == 0) {
            text.insert(0, "-");
        }
        ASSERT_EQ(parsedBits(text), readBits(text)) << text;
    }
}

TEST(NumberParse, DoublesSurviveTheirSeventeenDigits) {
    const RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        const double value =
            std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 100) - 110);
        ASSERT_EQ(parsedBits(printed("%.17g", value)), bitsOf(value));
        ASSERT_EQ(parsedBits(printed("%.16g", -value)), readBits(printed("%.16g", -value)));
    }
}

TEST(NumberParse, DecimalsHalfwayBetweenDoublesAreRoundedToEven) {
    // 2^53 + 1 and its like lie exactly between two doubles; one digit more decides otherwise.
    for (const char* const text :
         {"9007199254740993", "9007199254740993.0", "9007199254740993.001", "9007199254740992.999",
          "9007199254740995", "900719925474099.3", "4503599627370496.5", "4503599627370497.5",
          "4503599627370497.501", "4503599627370497.499", "1125899906842624.125",
          "1125899906842624.375", "18014398509481986", "18014398509481990", "0.3000000000000000166",
          "9999999999999999999", "0.000000000000000001", "0.0000000000000000001"}) {
        EXPECT_EQ(parsedBits(text), readBits(text)) << text;
    }
}

TEST(NumberParse, TwentyDigitsAreReadAsADouble) {
    double value = 0;
    EXPECT_TRUE(parseDouble(value, u"12345678901234567890"));
    EXPECT_EQ(value, 12345678901234567168.0);
    EXPECT_TRUE(parseDouble(value, u"-99999999999999999999"));
    EXPECT_EQ(value, -1e20);
}

TEST(NumberParse, WhatStrtodTakesInPartIsRefused) {
    for (const char* const text : {"", ".", "-", "+", "-.", "1..2", "1.2.3", "1,5", "12345678x",
                                   "1.12345678x", "1.5 ", "1e", "0x"}) {
        EXPECT_EQ(parsedBits(text), ~std::uint64_t{0}) << text;
    }
}

TEST(NumberParse, FormsWithoutDigitsOnOneSideOfThePointAreRead) {
    EXPECT_EQ(parsedBits("5."), bitsOf(5.0));
    EXPECT_EQ(parsedBits(".5"), bitsOf(0.5));
    EXPECT_EQ(parsedBits("-.5"), bitsOf(-0.5));
    EXPECT_EQ(parsedBits("+2.5"), bitsOf(2.5));
    EXPECT_EQ(parsedBits("-0"), bitsOf(-0.0));
    EXPECT_EQ(parsedBits("0x10"), bitsOf(16.0));
    EXPECT_EQ(parsedBits("1.25e2"), bitsOf(125.0));
}

}  // namespace
}  // namespace nx::oss::detail
