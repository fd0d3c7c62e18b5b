#include <infra/oss/kelFormatter.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "reference/kelNumberReference.h"
#include "support/kelGuardedBuffer.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using test::GuardedBuffer;

std::string textOf(double value) {
    char text[512];
    const int length = Formatter::doubleToString(text, sizeof text, value);
    EXPECT_EQ(std::string(text).size(), static_cast<std::size_t>(length));
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, value), length + 1);
    return text;
}

TEST(DoubleToString, GivesTheSizeNeededWithItsTerminatorForANullTarget) {
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, 1.5), 9);
    EXPECT_EQ(Formatter::doubleToString(nullptr, 100, 1.5), 9);
    EXPECT_EQ(Formatter::doubleToString(nullptr, -1, 1.5), 9);
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, -DBL_MAX), 318);
}

TEST(DoubleToString, GivesTheLengthWithoutTerminatorWhenItWrites) {
    GuardedBuffer target(9);
    EXPECT_EQ(Formatter::doubleToString(target.data(), 9, 1.5), 8);
    EXPECT_STREQ(target.data(), "1.500000");
    EXPECT_TRUE(target.guardsIntact());
}

TEST(DoubleToString, WritesTheTerminatorBehindATargetOfExactlyTheLength) {
    GuardedBuffer target(9);
    EXPECT_EQ(Formatter::doubleToString(target.data(), 8, 1.5), 8);
    EXPECT_STREQ(target.data(), "1.500000");
    EXPECT_TRUE(target.guardsIntact());
}

TEST(DoubleToString, WritesNothingIntoATargetThatIsTooSmall) {
    for (const int size : {7, 1, 0, -1, INT_MIN}) {
        GuardedBuffer target(9);
        EXPECT_EQ(Formatter::doubleToString(target.data(), size, 1.5), 9) << size;
        EXPECT_TRUE(target.untouched()) << size;
    }
}

TEST(DoubleToString, HasSixDecimalsAndAPoint) {
    EXPECT_EQ(textOf(0), "0.000000");
    EXPECT_EQ(textOf(-0.0), "-0.000000");
    EXPECT_EQ(textOf(42), "42.000000");
    EXPECT_EQ(textOf(-1234.5678), "-1234.567800");
    EXPECT_EQ(textOf(0.0000005), "0.000000");  // just below the half
    EXPECT_EQ(textOf(0.00000050000001), "0.000001");
    EXPECT_EQ(textOf(1e-300), "0.000000");
    EXPECT_EQ(textOf(5e-324), "0.000000");
    EXPECT_EQ(textOf(999999.9999999), "1000000.000000");
    EXPECT_EQ(textOf(9007199254740991.0), "9007199254740991.000000");
    EXPECT_EQ(textOf(9007199254740993.0), "9007199254740992.000000");
}

TEST(DoubleToString, RoundsTiesToEven) {
    EXPECT_EQ(textOf(0.5 / 64), "0.007812");  // 0.0078125
    EXPECT_EQ(textOf(1.5 / 64), "0.023438");  // 0.0234375
    EXPECT_EQ(textOf(3.0000005 - 0.0000005), "3.000000");
    EXPECT_EQ(textOf(2.0 + 1.0 / 128), "2.007812");  // 2.0078125
    EXPECT_EQ(textOf(2.0 + 3.0 / 128), "2.023438");  // 2.0234375
}

TEST(DoubleToString, KnowsTheOddValues) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    EXPECT_EQ(textOf(INFINITE), "inf");
    EXPECT_EQ(textOf(-INFINITE), "-inf");
    EXPECT_EQ(textOf(std::nan("")), "nan");
    EXPECT_EQ(textOf(std::copysign(std::nan(""), -1.0)), "-nan");
    EXPECT_EQ(textOf(DBL_MAX).size(), 316U);
    EXPECT_EQ(textOf(-DBL_MAX).size(), 317U);
    EXPECT_EQ(textOf(DBL_MAX).substr(0, 20), "17976931348623157081");
}

TEST(DoubleToString, NeedsNoFormatterAndNoInitialisation) {
    static const int early = Formatter::doubleToString(nullptr, 0, 10.0);
    EXPECT_EQ(early, 10);
}

// --- Against the C library ----------------------------------------------------------------------

void expectPrintfText(double value) {
    const std::string wanted = reference::textOf(value);
    char got[512];
    const int length = Formatter::doubleToString(got, sizeof got, value);
    ASSERT_EQ(got, wanted);
    ASSERT_EQ(static_cast<std::size_t>(length), wanted.size());
}

double fromBits(std::uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(DoubleToStringOracle, AnyBitPatternIsWhatPrintfWrites) {
    const test::RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        expectPrintfText(fromBits(random()));
    }
}

TEST(DoubleToStringOracle, EverydayNumbersAreWhatPrintfWrites) {
    const test::RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        const auto digits = static_cast<double>(random() % 10'000'000'000'000ULL);
        expectPrintfText(digits / std::pow(10.0, static_cast<double>(random() % 14)));
        // Around the halves of the last decimal.
        const double half = (static_cast<double>(random() % 1'000'000) + 0.5) / 1e6;
        expectPrintfText(half);
        expectPrintfText(std::nextafter(half, 0.0));
        expectPrintfText(std::nextafter(half, 1.0));
    }
}

TEST(DoubleToStringOracle, ExactTiesAreWhatPrintfWrites) {
    // Numbers with a binary fraction of seven bits end in ...5 at the seventh decimal.
    for (int i = 0; i < 1 << 16; ++i) {
        expectPrintfText(i / 128.0);
        expectPrintfText(-i / 128.0);
        expectPrintfText(1e6 + i / 128.0);
    }
}

TEST(DoubleToStringOracle, EveryPowerOfTwoAndItsNeighboursAreWhatPrintfWrites) {
    for (int exponent = -1074; exponent <= 1023; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        for (const double value :
             {power, std::nextafter(power, 0.0), std::nextafter(power, DBL_MAX)}) {
            expectPrintfText(value);
            expectPrintfText(-value);
        }
    }
}

}  // namespace
}  // namespace nx::oss
