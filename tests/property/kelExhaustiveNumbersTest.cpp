// All texts of up to five of the characters that numbers are made of, and some that stand near
// them.

#include <infra/oss/kelFormatter.h>

#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unicode/numfmt.h>

#include "support/kelExhaustiveRun.h"
#include "support/kelNumberOracle.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using nx::test::ExhaustiveRun;
using nx::test::TextsOf;

constexpr std::uint64_t CASES = 20'000;

const TextsOf& numberTexts() {
    static const TextsOf texts("0123456789+-.eE xpnaif", 5);
    return texts;
}

TEST(ExhaustiveNumbers, EveryTextIsParsedAsByTheCLibrary) {
    ExhaustiveRun(numberTexts().count(), CASES).forEach([](std::uint64_t number) {
        const std::string text = numberTexts().text(number);
        const auto difference = test::differenceInParsing(UnicodeString::fromUTF8(text));
        EXPECT_FALSE(difference) << *difference;
        return !difference;
    });
}

int digitsOf(const std::string& text, bool allowSign) {
    const bool signedText = allowSign && !text.empty() && (text[0] == '+' || text[0] == '-');
    const std::string rest = text.substr(signedText ? 1 : 0);
    const bool digitsOnly = rest.find_first_not_of("0123456789") == std::string::npos;
    return text.empty() || !digitsOnly ? -1 : static_cast<int>(rest.size());
}

TEST(ExhaustiveNumbers, DigitsOfEveryTextAreCounted) {
    ExhaustiveRun(numberTexts().count(), CASES).forEach([](std::uint64_t number) {
        const std::string text = numberTexts().text(number);
        const bool same = hasValidDigits(text.c_str(), true) == digitsOf(text, true) &&
                          hasValidDigits(text.c_str(), false) == digitsOf(text, false);
        EXPECT_TRUE(same) << testing::PrintToString(text);
        return same;
    });
}

TEST(ExhaustiveNumbers, EveryTextIsParsedByLocaleAsByIcu) {
    const Formatter formatter(Formatter::SHORT, Formatter::SHORT, "enUS");
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::NumberFormat> reference(
        icu::NumberFormat::createInstance(icu::Locale::getUS(), status));
    ASSERT_TRUE(U_SUCCESS(status));
    ExhaustiveRun(numberTexts().count(), CASES / 3).forEach([&](std::uint64_t number) {
        const std::string text = numberTexts().text(number);
        const auto difference =
            test::differenceInParsing(formatter, *reference, UnicodeString::fromUTF8(text));
        EXPECT_FALSE(difference) << *difference << ": " << testing::PrintToString(text);
        return !difference;
    });
}

}  // namespace
}  // namespace nx::oss
