#include <infra/oss/kelFormatter.h>

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "reference/kelNumberReference.h"
#include "support/kelNumberOracle.h"
#include "support/kelRaises.h"
#include "support/kelRandomNumbers.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using nx::test::RandomNumbers;
using nx::test::RandomRun;
using nx::test::utf8;

constexpr long CASES = 100000;

template <class Write>
std::string written(Write write) {
    UnicodeString out;
    write(out);
    return utf8(out);
}

void expectIntegerTexts(std::uint64_t value) {
    const auto number = static_cast<std::int64_t>(value);
    const auto small = static_cast<std::int32_t>(value);
    const auto smallUnsigned = static_cast<std::uint32_t>(value);
    ASSERT_EQ(written([&](auto& out) { Formatter::uint64ToString(out, value); }),
              reference::textOf(value));
    ASSERT_EQ(written([&](auto& out) { Formatter::int64ToString(out, number); }),
              reference::textOf(number));
    ASSERT_EQ(written([&](auto& out) { Formatter::int32ToString(out, small); }),
              reference::textOf(std::int64_t{small}));
    ASSERT_EQ(written([&](auto& out) { Formatter::uint32ToString(out, smallUnsigned); }),
              reference::textOf(std::uint64_t{smallUnsigned}));
    for (const bool upperCase : {true, false}) {
        ASSERT_EQ(written([&](auto& out) { Formatter::formatHex(out, value, upperCase); }),
                  reference::hexTextOf(value, upperCase));
    }
}

void expectDoubleTexts(double value) {
    const std::string expected = reference::textOf(value);
    const auto length = static_cast<int>(expected.size());
    ASSERT_EQ(written([&](auto& out) { Formatter::doubleToString(out, value); }), expected);
    ASSERT_EQ(Formatter::doubleToString(nullptr, 0, value), length + 1) << expected;
    std::string bytes(expected.size() + 1, '?');
    ASSERT_EQ(Formatter::doubleToString(bytes.data(), length, value), length);
    ASSERT_EQ(bytes, expected + '\0');
}

TEST(NumberProperty, ParsersAgreeWithTheCLibrary) {
    const RandomRun run(CASES);
    RandomNumbers random(run.seed());
    long accepted = 0;
    for (long i = 0; i < run.cases(); ++i) {
        const UnicodeString text = random.text();
        const auto difference = test::differenceInParsing(text);
        ASSERT_FALSE(difference) << *difference;
        accepted += reference::doubleOf(text).has_value();
    }
    EXPECT_GT(accepted, run.cases() / 4) << "most texts are no numbers";
    EXPECT_LT(accepted, run.cases()) << "all texts are numbers";
}

TEST(NumberProperty, ParsersReadBackWhatIsWritten) {
    const RandomRun run(CASES);
    RandomNumbers random(run.seed());
    for (long i = 0; i < run.cases(); ++i) {
        const std::uint64_t value = random.bits() >> random.number(63);
        const auto number = static_cast<std::int64_t>(value);
        UnicodeString text;
        Formatter::uint64ToString(text, value);
        ASSERT_EQ(Formatter::stringToUint64(text), value);
        text.remove();
        Formatter::int64ToString(text, number);
        ASSERT_EQ(Formatter::stringToInt64(text), number);
    }
}

TEST(NumberProperty, TextsOfIntegersAgreeWithTheCLibrary) {
    const RandomRun run(CASES);
    RandomNumbers random(run.seed());
    for (long i = 0; i < run.cases() && !testing::Test::HasFatalFailure(); ++i) {
        expectIntegerTexts(random.bits() >> random.number(63));
    }
    for (unsigned bit = 0; bit < 64 && !testing::Test::HasFatalFailure(); ++bit) {
        for (const std::uint64_t distance :
             {~std::uint64_t{0}, std::uint64_t{0}, std::uint64_t{1}}) {
            expectIntegerTexts((std::uint64_t{1} << bit) + distance);
        }
    }
}

TEST(NumberProperty, TextsOfDoublesAgreeWithTheCLibrary) {
    using Limits = std::numeric_limits<double>;
    const RandomRun run(CASES);
    RandomNumbers random(run.seed());
    for (long i = 0; i < run.cases() && !testing::Test::HasFatalFailure(); ++i) {
        expectDoubleTexts(random.real());
    }
    for (const double value : {0.0, Limits::max(), Limits::min(), Limits::denorm_min(),
                               Limits::infinity(), Limits::quiet_NaN(), 0.0000005, 0.5e-6, 1e15}) {
        expectDoubleTexts(value);
        expectDoubleTexts(-value);
    }
}

}  // namespace
}  // namespace nx::oss
