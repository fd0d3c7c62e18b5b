#include <infra/oss/kelFormatter.h>

#include <infra/oss/kelNLSUtility.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>

#include "support/kelLocaleSpellings.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::utf8;

const Formatter& english() {
    static const Formatter formatter(Formatter::SHORT, Formatter::MEDIUM, "en_US");
    return formatter;
}

template <class Number>
std::string formatted(const Formatter& formatter, Number value) {
    UnicodeString out(u"<");
    EXPECT_EQ(&formatter.formatNumber(out, value), &out);
    return utf8(out).substr(1);
}

template <class Number>
std::string formatted(Number value) {
    return formatted(english(), value);
}

UnicodeString text(const char* utf8Text) { return UnicodeString::fromUTF8(utf8Text); }

constexpr int UNTOUCHED = -77;

// Not std::to_string, which follows the process locale.
template <class Number>
std::string shown(Number value) {
    std::ostringstream out;
    out << std::fixed << value;
    return out.str();
}

/// The parsed number, or that nothing was parsed and the output is as before.
template <class Number>
std::string parsed(const Formatter& formatter, const char* input) {
    Number value = UNTOUCHED;
    const bool done = formatter.parseAs(value, text(input));
    if (!done) {
        return value == UNTOUCHED ? "no" : "changed";
    }
    return shown(value);
}

std::string asInt(const char* input) { return parsed<int>(english(), input); }
std::string asLong(const char* input) { return parsed<long>(english(), input); }
std::string asDouble(const char* input) { return parsed<double>(english(), input); }

// --- formatNumber -------------------------------------------------------------------------------

TEST(FormatterFormatNumber, GroupsIntegersOfEveryTypeAndAppends) {
    EXPECT_EQ(formatted(static_cast<signed char>(-128)), "-128");
    EXPECT_EQ(formatted(static_cast<short>(-32768)), "-32,768");
    EXPECT_EQ(formatted(INT_MIN), "-2,147,483,648");
    EXPECT_EQ(formatted(LONG_MIN), "-9,223,372,036,854,775,808");
    EXPECT_EQ(formatted(static_cast<unsigned char>(255)), "255");
    EXPECT_EQ(formatted(static_cast<unsigned short>(65535)), "65,535");
    EXPECT_EQ(formatted(UINT_MAX), "4,294,967,295");
    EXPECT_EQ(formatted(0ul), "0");
}

TEST(FormatterFormatNumber, GroupsNothingBeyondTheLargestSignedNumber) {
    EXPECT_EQ(formatted(9223372036854775807ul), "9,223,372,036,854,775,807");
    EXPECT_EQ(formatted(9223372036854775808ul), "9223372036854775808");
    EXPECT_EQ(formatted(ULONG_MAX), "18446744073709551615");
}

TEST(FormatterFormatNumber, RoundsToThreeDecimals) {
    EXPECT_EQ(formatted(1234.5), "1,234.5");
    EXPECT_EQ(formatted(0.12345), "0.123");
    EXPECT_EQ(formatted(0.1f), "0.1");
    EXPECT_EQ(formatted(1234.5f), "1,234.5");
    EXPECT_EQ(formatted(-0.0), "-0");
    EXPECT_EQ(formatted(std::numeric_limits<double>::quiet_NaN()), "NaN");
    EXPECT_EQ(formatted(std::numeric_limits<double>::infinity()), "\xE2\x88\x9E");
}

TEST(FormatterFormatNumber, FollowsTheLocaleOfTheObject) {
    const Formatter german(Formatter::SHORT, Formatter::SHORT, "de_DE");
    EXPECT_EQ(formatted(german, 1234567), "1.234.567");
    EXPECT_EQ(formatted(german, 1234.5), "1.234,5");
    EXPECT_EQ(formatted(german, ULONG_MAX), "18446744073709551615");
    const Formatter swiss(Formatter::SHORT, Formatter::SHORT, "de_CH");
    EXPECT_EQ(formatted(swiss, 1234.5),
              "1\xE2\x80\x99"
              "234.5");
    const Formatter hindi(Formatter::SHORT, Formatter::SHORT, "hi_IN");
    EXPECT_EQ(formatted(hindi, 1234567), "12,34,567");
}

TEST(FormatterFormatNumber, GivesANullTextTheNumber) {
    const auto append = [](auto value) {
        UnicodeString out;
        out.setToBogus();
        english().formatNumber(out, value);
        return utf8(out);
    };
    EXPECT_EQ(append(1), "1");
    EXPECT_EQ(append(1.5), "1.5");
    EXPECT_EQ(append(ULONG_MAX), "18446744073709551615");
}

// --- parseAs ------------------------------------------------------------------------------------

TEST(FormatterParseAs, TakesIntegersAsIntAndLongOnly) {
    EXPECT_EQ(asInt("42"), "42");
    EXPECT_EQ(asLong("42"), "42");
    EXPECT_EQ(asDouble("42"), "no");
    EXPECT_EQ(asInt("-42"), "-42");
    EXPECT_EQ(asInt("1,234"), "1234");
}

TEST(FormatterParseAs, TakesFractionsAsDoubleOnly) {
    EXPECT_EQ(asInt("42.5"), "no");
    EXPECT_EQ(asLong("42.5"), "no");
    EXPECT_EQ(asDouble("42.5"), "42.500000");
    EXPECT_EQ(asDouble("-1,234.5"), "-1234.500000");
}

TEST(FormatterParseAs, TakesWholeFractionsAsIntegers) {
    for (const char* const input : {"42.0", "42.", "0.42e2"}) {
        EXPECT_EQ(asDouble(input), "no") << input;
    }
    EXPECT_EQ(asInt("42.0"), "42");
    EXPECT_EQ(asInt("5."), "5");
    EXPECT_EQ(asInt("1E3"), "1000");
    EXPECT_EQ(asInt("1e3"), "1000");
}

TEST(FormatterParseAs, EndsIntAt32Bits) {
    EXPECT_EQ(asInt("2147483647"), "2147483647");
    EXPECT_EQ(asInt("-2147483648"), "-2147483648");
    EXPECT_EQ(asInt("2147483648"), "no");
    EXPECT_EQ(asInt("-2147483649"), "no");
    EXPECT_EQ(asLong("2147483647"), "2147483647");
    EXPECT_EQ(asLong("2147483648"), "2147483648");
    EXPECT_EQ(asLong("-2147483649"), "-2147483649");
}

TEST(FormatterParseAs, EndsLongAt64Bits) {
    EXPECT_EQ(asLong("9223372036854775807"), "9223372036854775807");
    EXPECT_EQ(asLong("-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(asLong("9223372036854775808"), "no");
    EXPECT_EQ(asInt("9223372036854775808"), "no");
    EXPECT_EQ(asDouble("9223372036854775807"), "no");
    EXPECT_EQ(asDouble("9223372036854775808"), "9223372036854775808.000000");
}

TEST(FormatterParseAs, TakesMinusZeroAndNotANumberAsDouble) {
    EXPECT_EQ(asInt("-0"), "no");
    EXPECT_EQ(asDouble("-0"), "-0.000000");
    EXPECT_EQ(asDouble("NaN"), "nan");
    EXPECT_EQ(asDouble("\xE2\x88\x9E"), "inf");
}

TEST(FormatterParseAs, IgnoresWhatFollowsTheNumber) {
    EXPECT_EQ(asInt("42abc"), "42");
    EXPECT_EQ(asInt("5%"), "5");
    EXPECT_EQ(asInt("42 "), "42");
    EXPECT_EQ(asInt("0x10"), "0");
    EXPECT_EQ(asInt("1E"), "1");
    EXPECT_EQ(asDouble("1.5.5"), "1.500000");
}

TEST(FormatterParseAs, LeavesTheOutputAloneWhenThereIsNoNumber) {
    for (const char* const input : {"", "abc", " 42", "+5", "(5)", "1,23,4", "-", "."}) {
        EXPECT_EQ(asInt(input), "no") << input;
        EXPECT_EQ(asLong(input), "no") << input;
        EXPECT_EQ(asDouble(input), "no") << input;
    }
    UnicodeString null;
    null.setToBogus();
    int value = UNTOUCHED;
    EXPECT_FALSE(english().parseAs(value, null));
    EXPECT_EQ(value, UNTOUCHED);
}

TEST(FormatterParseAs, FollowsTheLocaleOfTheObject) {
    const Formatter german(Formatter::SHORT, Formatter::SHORT, "de_DE");
    EXPECT_EQ(parsed<double>(german, "1.234,5"), "1234.500000");
    EXPECT_EQ(parsed<int>(german, "1.234"), "1234");
    EXPECT_EQ(parsed<int>(english(), "\xD9\xA4\xD9\xA2"), "42") << "Arabic digits";
}

// --- Settings -----------------------------------------------------------------------------------

TEST(FormatterStyle, IsTheNumberOfTheStyleOfIcuAndShortOtherwise) {
    const Formatter& formatter = english();
    EXPECT_EQ(Formatter::FULL, 0);
    EXPECT_EQ(Formatter::LONG, 1);
    EXPECT_EQ(Formatter::MEDIUM, 2);
    EXPECT_EQ(Formatter::SHORT, 3);
    const auto icuStyle = [&](int style) {
        return static_cast<int>(formatter.getICUStyle(static_cast<Formatter::Style>(style)));
    };
    EXPECT_EQ(icuStyle(0), icu::DateFormat::kFull);
    EXPECT_EQ(icuStyle(1), icu::DateFormat::kLong);
    EXPECT_EQ(icuStyle(2), icu::DateFormat::kMedium);
    EXPECT_EQ(icuStyle(3), icu::DateFormat::kShort);
    for (const int other : {4, 5, 128, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(icuStyle(other), icu::DateFormat::kShort) << other;
    }
    EXPECT_EQ(sizeof(Formatter::Style), 4u);
}

TEST(FormatterConstructor, TakesStylesAndAnySpellingOfTheLocale) {
    const Formatter formatter(Formatter::FULL, Formatter::LONG, "de-ch.UTF-8");
    EXPECT_STREQ(formatter.getLocale(), "deCH");
    EXPECT_EQ(formatter.getDateStyle(), Formatter::FULL);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::LONG);
}

TEST(FormatterConstructor, TakesTheLocaleOfTheEnvironmentWithoutOne) {
    const icu::Locale before = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("fr_CA"), status);
    const Formatter plain;
    EXPECT_STREQ(plain.getLocale(), "frCA");
    EXPECT_EQ(plain.getDateStyle(), Formatter::SHORT);
    EXPECT_EQ(plain.getTimeStyle(), Formatter::MEDIUM);
    EXPECT_STREQ(Formatter(Formatter::FULL, Formatter::FULL, nullptr).getLocale(), "frCA");
    EXPECT_STREQ(Formatter(Formatter::FULL, Formatter::FULL, "").getLocale(), "frCA");
    icu::Locale::setDefault(before, status);
}

TEST(FormatterConstructor, TakesTheDefaultOfTheLibraryForAnUnknownLocale) {
    EXPECT_STREQ(Formatter(Formatter::FULL, Formatter::FULL, "xx").getLocale(), "enUS");
}

TEST(FormatterConstructor, ServesEveryStandardLocale) {
    for (const char* const value : test::STANDARD_LOCALES) {
        const Formatter formatter(Formatter::SHORT, Formatter::SHORT, value);
        EXPECT_STREQ(formatter.getLocale(), value);
        int number = 0;
        UnicodeString out;
        EXPECT_TRUE(formatter.parseAs(number, formatter.formatNumber(out, 1234567))) << value;
        EXPECT_EQ(number, 1234567) << value;
    }
}

TEST(FormatterConstructor, KeepsStylesThatHaveNoName) {
    const auto odd = static_cast<Formatter::Style>(99);
    const Formatter formatter(odd, odd, "en_US");
    EXPECT_EQ(formatter.getDateStyle(), odd);
    EXPECT_EQ(formatter.getTimeStyle(), odd);
}

TEST(FormatterType, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Formatter>);
    EXPECT_FALSE(std::is_copy_assignable_v<Formatter>);
    EXPECT_FALSE(std::is_polymorphic_v<Formatter>);
}

TEST(FormatterSetSettings, StoresLocaleAndStyles) {
    Formatter formatter(Formatter::SHORT, Formatter::SHORT, "en_US");
    formatter.setSettings(Formatter::LONG, Formatter::FULL, "de_DE");
    EXPECT_STREQ(formatter.getLocale(), "deDE");
    EXPECT_EQ(formatter.getDateStyle(), Formatter::LONG);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::FULL);
    EXPECT_EQ(formatted(formatter, 1234.5), "1.234,5");
    formatter.setSettings(Formatter::LONG, Formatter::FULL, "en_US");
    EXPECT_EQ(formatted(formatter, 1234.5), "1,234.5");
}

TEST(FormatterSetSettings, RecordsStylesThatAloneDiffer) {
    Formatter formatter(Formatter::SHORT, Formatter::SHORT, "de_DE");
    formatter.setSettings(Formatter::FULL, Formatter::SHORT, "de_DE");
    EXPECT_EQ(formatter.getDateStyle(), Formatter::FULL);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::SHORT);
    formatter.setSettings(Formatter::FULL, Formatter::LONG, "de_DE");
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::LONG);
    EXPECT_STREQ(formatter.getLocale(), "deDE");
    EXPECT_EQ(formatted(formatter, 1234.5), "1.234,5");
}

TEST(FormatterSetSettings, ChangesNothingForEqualSettings) {
    Formatter formatter(Formatter::SHORT, Formatter::LONG, "de_DE");
    formatter.setSettings(Formatter::SHORT, Formatter::LONG, "DEU");
    EXPECT_EQ(formatter.getDateStyle(), Formatter::SHORT);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::LONG);
    EXPECT_STREQ(formatter.getLocale(), "deDE");
}

TEST(FormatterSetSettings, EndsTheLocaleNameWithAZeroWhateverStoodThere) {
    Formatter formatter(Formatter::SHORT, Formatter::LONG, "de_DE");
    formatter.setSettings(Formatter::SHORT, Formatter::LONG, "no-such-locale");
    EXPECT_STREQ(formatter.getLocale(), "enUS");
    EXPECT_EQ(std::string(formatter.getLocale(), 65), std::string("enUS") + std::string(61, '\0'));
}

TEST(FormatterDefaultInstance, IsOneAndMadeFromTheEnvironment) {
    Formatter& formatter = Formatter::getDefaultInstance();
    EXPECT_EQ(&formatter, &Formatter::getDefaultInstance());
    EXPECT_EQ(formatter.getDateStyle(), Formatter::SHORT);
    EXPECT_EQ(formatter.getTimeStyle(), Formatter::MEDIUM);
    EXPECT_STREQ(formatter.getLocale(), NLSUtility::getInstance().getEnvironmentLocale());
}

}  // namespace
}  // namespace nx::oss
