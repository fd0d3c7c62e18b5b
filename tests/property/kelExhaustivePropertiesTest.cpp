// All properties texts of up to three bytes, and of up to six of the characters that mean
// something.

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/kelExhaustiveRun.h"
#include "support/kelPropertiesOracle.h"

namespace nx::util {
namespace {

using test::ExhaustiveRun;
using test::TextsOf;

constexpr std::uint64_t CASES = 20'000;

void expectReadAlike(const TextsOf& texts) {
    ExhaustiveRun(texts.count(), CASES).forEach([&](std::uint64_t number) {
        const std::string text = texts.text(number);
        const std::string difference = test::compareReading(text);
        EXPECT_EQ(difference, "") << testing::PrintToString(text);
        return difference.empty();
    });
}

TEST(ExhaustiveProperties, EveryTextOfUpToThreeBytesIsReadAsByTheSlowReader) {
    expectReadAlike(TextsOf(test::allBytes(), 3));
}

TEST(ExhaustiveProperties, EveryTextOfUpToSixSpecialCharactersIsReadAsByTheSlowReader) {
    expectReadAlike(TextsOf("\\\n\r=:#! \tu%n0a", 6));
}

/// The letters and digits of a complete escape, in every order that fits behind a backslash.
TEST(ExhaustiveProperties, EveryEscapeOfDigitsIsReadAsByTheSlowReader) {
    const TextsOf digits("09aAfFdDgu", 5);
    ExhaustiveRun(digits.count(), CASES).forEach([&](std::uint64_t number) {
        const std::string text = "\\u" + digits.text(number);
        const std::string difference = test::compareReading(text);
        EXPECT_EQ(difference, "") << text;
        return difference.empty();
    });
}

}  // namespace
}  // namespace nx::util
