#include <infra/oss/kelFormatter.h>

#include <infra/oss/kelNLSException.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/kelGuardedBuffer.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::GuardedBuffer;
using test::Report;

UnicodeString text(const char* utf8) { return UnicodeString::fromUTF8(utf8); }

Report refused(const std::string& type, const std::string& trimmed) {
    return Report("ERR_STR_TO_NUM_CONV_ERR").in("kelFormatter.cpp").with({type, trimmed});
}

void expectNoInteger(const UnicodeString& input, const std::string& trimmed) {
    EXPECT_RAISES(NLSException, Formatter::stringToInt32(input), refused("int32_t", trimmed));
    EXPECT_RAISES(NLSException, Formatter::stringToUint32(input), refused("uint32_t", trimmed));
    EXPECT_RAISES(NLSException, Formatter::stringToInt64(input), refused("int64_t", trimmed));
    EXPECT_RAISES(NLSException, Formatter::stringToUint64(input), refused("uint64_t", trimmed));
}

void expectNoInteger(const char* utf8) { expectNoInteger(text(utf8), utf8); }

void expectNoDouble(const char* utf8, const std::string& trimmed) {
    EXPECT_RAISES(NLSException, Formatter::stringToDouble(text(utf8)), refused("double", trimmed));
    EXPECT_RAISES(NLSException, Formatter::stringToDouble(utf8), refused("double", trimmed));
}

void expectNoDouble(const char* utf8) { expectNoDouble(utf8, utf8); }

double parsed(const char* utf8) {
    const double value = Formatter::stringToDouble(text(utf8));
    const double same = Formatter::stringToDouble(utf8);
    EXPECT_TRUE(value == same || (std::isnan(value) && std::isnan(same))) << utf8;
    return value;
}

std::string doubleText(double value) {
    UnicodeString out;
    Formatter::doubleToString(out, value);
    return test::utf8(out);
}

/// White space by the trimming of texts: 09-0D, 1C-20, 1680, 2000-2006, 2008-200A, 2028, 2029,
/// 205F, 3000.
bool isTrimmed(UChar32 c) {
    return (c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20) || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x2006) || (c >= 0x2008 && c <= 0x200A) || c == 0x2028 ||
           c == 0x2029 || c == 0x205F || c == 0x3000;
}

// --- Digits -------------------------------------------------------------------------------------

TEST(HasValidDigits, CountsDigits) {
    EXPECT_EQ(hasValidDigits("0", false), 1);
    EXPECT_EQ(hasValidDigits("0123456789", false), 10);
    EXPECT_EQ(hasValidDigits("0123456789", true), 10);
    EXPECT_EQ(hasValidDigits(std::string(5000, '7').c_str(), true), 5000);
}

TEST(HasValidDigits, SkipsOneSignWhenAllowed) {
    EXPECT_EQ(hasValidDigits("-42", true), 2);
    EXPECT_EQ(hasValidDigits("+42", true), 2);
    EXPECT_EQ(hasValidDigits("-42", false), -1);
    EXPECT_EQ(hasValidDigits("+7", false), -1);
    EXPECT_EQ(hasValidDigits("--5", true), -1);
    EXPECT_EQ(hasValidDigits("+-5", true), -1);
}

TEST(HasValidDigits, CountsALoneSignAsNoDigits) {
    EXPECT_EQ(hasValidDigits("-", true), 0);
    EXPECT_EQ(hasValidDigits("+", true), 0);
    EXPECT_EQ(hasValidDigits("-", false), -1);
}

TEST(HasValidDigits, RefusesNothingAndEveryOtherByte) {
    EXPECT_EQ(hasValidDigits(nullptr, true), -1);
    EXPECT_EQ(hasValidDigits("", true), -1);
    for (int byte = 1; byte < 256; ++byte) {
        const char bytes[] = {'1', static_cast<char>(byte), '2', '\0'};
        EXPECT_EQ(hasValidDigits(bytes, true), byte >= '0' && byte <= '9' ? 3 : -1) << byte;
    }
}

// --- Integers -----------------------------------------------------------------------------------

TEST(FormatterStringToInt32, TakesNumbersWithASignAndWhiteSpaceAround) {
    EXPECT_EQ(Formatter::stringToInt32(text("  -42 ")), -42);
    EXPECT_EQ(Formatter::stringToInt32(text("+7")), 7);
    EXPECT_EQ(Formatter::stringToInt32(text("0")), 0);
    EXPECT_EQ(Formatter::stringToInt32(text("-0")), 0);
    EXPECT_EQ(Formatter::stringToInt32(text("2147483647")), INT32_MAX);
    EXPECT_EQ(Formatter::stringToInt32(text("-2147483648")), INT32_MIN);
    EXPECT_EQ(Formatter::stringToInt32(text("\t\r\n5\f\v")), 5);
}

TEST(FormatterStringToInt32, KeepsTheLow32BitsOfALargerNumber) {
    EXPECT_EQ(Formatter::stringToInt32(text("2147483648")), INT32_MIN);
    EXPECT_EQ(Formatter::stringToInt32(text("3000000000")), -1294967296);
    EXPECT_EQ(Formatter::stringToInt32(text("-3000000000")), 1294967296);
    EXPECT_EQ(Formatter::stringToInt32(text("9999999999")), 1410065407);
    EXPECT_EQ(Formatter::stringToInt32(text("-9999999999")), -1410065407);
    EXPECT_EQ(Formatter::stringToInt32(text("4294967296")), 0);
}

TEST(FormatterStringToUint32, KeepsTheLow32BitsOfALargerNumber) {
    EXPECT_EQ(Formatter::stringToUint32(text("0")), 0u);
    EXPECT_EQ(Formatter::stringToUint32(text("4294967295")), UINT32_MAX);
    EXPECT_EQ(Formatter::stringToUint32(text("4294967296")), 0u);
    EXPECT_EQ(Formatter::stringToUint32(text("9999999999")), 1410065407u);
}

TEST(FormatterStringToInt64, SaturatesBeyondTheType) {
    EXPECT_EQ(Formatter::stringToInt64(text("9223372036854775807")), INT64_MAX);
    EXPECT_EQ(Formatter::stringToInt64(text("-9223372036854775808")), INT64_MIN);
    EXPECT_EQ(Formatter::stringToInt64(text("9223372036854775808")), INT64_MAX);
    EXPECT_EQ(Formatter::stringToInt64(text("-9223372036854775809")), INT64_MIN);
    EXPECT_EQ(Formatter::stringToInt64(text("9999999999999999999")), INT64_MAX);
    EXPECT_EQ(Formatter::stringToInt64(text("-9999999999999999999")), INT64_MIN);
    EXPECT_EQ(Formatter::stringToInt64(text("+1")), 1);
}

TEST(FormatterStringToUint64, SaturatesBeyondTheType) {
    EXPECT_EQ(Formatter::stringToUint64(text("18446744073709551615")), UINT64_MAX);
    EXPECT_EQ(Formatter::stringToUint64(text("18446744073709551616")), UINT64_MAX);
    EXPECT_EQ(Formatter::stringToUint64(text("99999999999999999999")), UINT64_MAX);
    EXPECT_EQ(Formatter::stringToUint64(text("18446744073709551609")), UINT64_MAX - 6);
    EXPECT_EQ(Formatter::stringToUint64(text("10000000000000000000")), 10000000000000000000u);
}

TEST(FormatterStringToIntegers, CountLeadingZerosAsDigits) {
    EXPECT_EQ(Formatter::stringToInt32(text("0000000042")), 42);
    EXPECT_EQ(Formatter::stringToInt32(text("-0000000042")), -42);
    EXPECT_RAISES(NLSException, Formatter::stringToInt32(text("00000000042")),
                  refused("int32_t", "00000000042"));
    EXPECT_RAISES(NLSException, Formatter::stringToUint32(text("12345678901")),
                  refused("uint32_t", "12345678901"));
    EXPECT_EQ(Formatter::stringToUint32(text("0000000042")), 42u);
    EXPECT_EQ(Formatter::stringToInt64(text("0000000000000000042")), 42);
    EXPECT_RAISES(NLSException, Formatter::stringToInt64(text("00000000000000000042")),
                  refused("int64_t", "00000000000000000042"));
    EXPECT_EQ(Formatter::stringToUint64(text("00000000000000000042")), 42u);
    EXPECT_RAISES(NLSException, Formatter::stringToUint64(text("000000000000000000042")),
                  refused("uint64_t", "000000000000000000042"));
}

TEST(FormatterStringToIntegers, OfUnsignedTypesRefuseASign) {
    for (const char* const number : {"+7", "-1", "-0", "+0"}) {
        EXPECT_RAISES(NLSException, Formatter::stringToUint32(text(number)),
                      refused("uint32_t", number));
        EXPECT_RAISES(NLSException, Formatter::stringToUint64(text(number)),
                      refused("uint64_t", number));
    }
}

TEST(FormatterStringToIntegers, RefuseAnythingButDigits) {
    for (const char* const input : {"-",
                                    "+",
                                    "--5",
                                    "+-5",
                                    "- 5",
                                    "5-",
                                    "1 2",
                                    "1.0",
                                    "1.",
                                    ".1",
                                    "1e3",
                                    "0x10",
                                    "1,000",
                                    "1_0",
                                    "abc",
                                    "12a",
                                    "a12",
                                    "\xD9\xA4\xD9\xA2",
                                    "\xEF\xBC\x94",
                                    "\xE2\x88\x92"
                                    "5",
                                    "nan",
                                    "inf",
                                    "5L",
                                    "5u",
                                    "'5'"}) {
        expectNoInteger(input);
    }
}

TEST(FormatterStringToIntegers, RefuseEmptyAndBlankTextWithAnEmptyArgument) {
    expectNoInteger(UnicodeString(), "");
    expectNoInteger(UnicodeString(u" \t\u3000"), "");
    UnicodeString null;
    null.setToBogus();
    expectNoInteger(null, "");
}

TEST(FormatterStringToIntegers, RefuseAZeroCharacterAnywhere) {
    const UnicodeString inside(u"12\0x", 4);
    const UnicodeString behind(u"12\0", 3);
    const UnicodeString before(
        u"\0"
        u"12",
        3);
    for (const UnicodeString* const input : {&inside, &behind, &before}) {
        const std::string trimmed = test::utf8(*input);
        expectNoInteger(*input, trimmed);
        EXPECT_RAISES(NLSException, Formatter::stringToDouble(*input), refused("double", trimmed));
    }
}

TEST(FormatterStringToIntegers, ShowTheTrimmedTextInTheError) {
    EXPECT_RAISES(NLSException, Formatter::stringToInt32(text("  1 2\t")),
                  refused("int32_t", "1 2"));
    EXPECT_RAISES(NLSException, Formatter::stringToUint64(text("\n-3 ")),
                  refused("uint64_t", "-3"));
}

TEST(FormatterStringToIntegers, LeaveTheArgumentUntouched) {
    const UnicodeString input(u"  42 ");
    EXPECT_EQ(Formatter::stringToInt32(input), 42);
    EXPECT_EQ(input, UnicodeString(u"  42 "));
}

TEST(FormatterTrimming, DropsExactlyTheWhiteSpaceOfTheBasicPlane) {
    for (UChar32 c = 0; c <= 0xFFFF; ++c) {
        if (c >= '0' && c <= '9') {
            continue;
        }
        const auto unit = static_cast<char16_t>(c);
        const UnicodeString before = UnicodeString(unit).append(u"42", 2);
        const UnicodeString behind = UnicodeString(u"42").append(unit);
        const bool leading = isTrimmed(c) || c == '+' || c == '-';
        try {
            const auto value = Formatter::stringToInt32(before);
            ASSERT_TRUE(leading) << c;
            ASSERT_EQ(value, c == '-' ? -42 : 42) << c;
        } catch (const NLSException&) {
            ASSERT_FALSE(leading) << c;
        }
        try {
            ASSERT_EQ(Formatter::stringToUint64(behind), 42u);
            ASSERT_TRUE(isTrimmed(c)) << c;
        } catch (const NLSException&) {
            ASSERT_FALSE(isTrimmed(c)) << c;
        }
        try {
            ASSERT_EQ(Formatter::stringToDouble(behind), 42.0);
            ASSERT_TRUE(isTrimmed(c) || c == '.') << c;
        } catch (const NLSException&) {
            ASSERT_FALSE(isTrimmed(c) || c == '.') << c;
        }
    }
}

// --- Doubles ------------------------------------------------------------------------------------

TEST(FormatterStringToDouble, KeepsThePayloadOfNotANumber) {
    const auto bitsOf = [](double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    };
    EXPECT_EQ(bitsOf(Formatter::stringToDouble("nan(1)")), 0x7FF8000000000001U);
    EXPECT_EQ(bitsOf(Formatter::stringToDouble("-nan(0x2a)")), 0xFFF800000000002AU);
    EXPECT_EQ(bitsOf(Formatter::stringToDouble("nan")), 0x7FF8000000000000U);
}

TEST(FormatterStringToDouble, TakesDecimalNumbers) {
    EXPECT_EQ(parsed("  2.5  "), 2.5);
    EXPECT_EQ(parsed("+2.5"), 2.5);
    EXPECT_EQ(parsed("-2.5"), -2.5);
    EXPECT_EQ(parsed("42"), 42.0);
    EXPECT_EQ(parsed(".5"), 0.5);
    EXPECT_EQ(parsed("5."), 5.0);
    EXPECT_EQ(parsed("1e3"), 1000.0);
    EXPECT_EQ(parsed("1E+3"), 1000.0);
    EXPECT_EQ(parsed("1e-3"), 0.001);
    EXPECT_EQ(parsed("\xE3\x80\x80"
                     "7\xE3\x80\x80"),
              7.0);
    EXPECT_EQ(parsed("00012.50"), 12.5);
    EXPECT_EQ(parsed("0.1"), 0.1);
    EXPECT_EQ(parsed("123456789012345678901234567890"), 123456789012345678901234567890.0);
    EXPECT_EQ(parsed("9007199254740993"), 9007199254740992.0);
}

TEST(FormatterStringToDouble, KeepsTheSignOfZero) {
    EXPECT_TRUE(std::signbit(parsed("-0")));
    EXPECT_TRUE(std::signbit(parsed("-0.0")));
    EXPECT_TRUE(std::signbit(parsed("-1e-999")));
    EXPECT_FALSE(std::signbit(parsed("+0")));
}

TEST(FormatterStringToDouble, TakesHexadecimalNumbers) {
    EXPECT_EQ(parsed("0x10"), 16.0);
    EXPECT_EQ(parsed("0X10"), 16.0);
    EXPECT_EQ(parsed("-0x10"), -16.0);
    EXPECT_EQ(parsed("0x1p3"), 8.0);
    EXPECT_EQ(parsed("0x.8p1"), 1.0);
    EXPECT_EQ(parsed("0x1.8"), 1.5);
}

TEST(FormatterStringToDouble, TakesNotANumber) {
    for (const char* const spelling : {"nan", "NaN", "NAN", "-nan", "+nan", "NAN(abc)", "nan()"}) {
        EXPECT_TRUE(std::isnan(parsed(spelling))) << spelling;
    }
}

TEST(FormatterStringToDouble, TakesTheLargestAndSmallestNumbers) {
    EXPECT_EQ(parsed("1.7976931348623157e308"), DBL_MAX);
    EXPECT_EQ(parsed("-1.7976931348623157e308"), -DBL_MAX);
    EXPECT_EQ(parsed("2.2250738585072014e-308"), DBL_MIN);
    EXPECT_EQ(parsed("4.9406564584124654e-324"), 4.9406564584124654e-324);
    EXPECT_EQ(parsed("1e-310"), 1e-310);
    EXPECT_EQ(parsed("1e-999"), 0.0);
}

TEST(FormatterStringToDouble, RefusesInfinityAndOverflow) {
    for (const char* const input :
         {"1e999", "-1e999", "inf", "INF", "-inf", "+inf", "infinity", "-Infinity", "0x1p99999",
          "1.7976931348623159e308", "-1.7976931348623159e308"}) {
        expectNoDouble(input);
    }
}

TEST(FormatterStringToDouble, RefusesAnythingLeftOver) {
    for (const char* const input : {"1.5x",
                                    "0x",
                                    "1e",
                                    "1e+",
                                    ".",
                                    "-",
                                    "+",
                                    "--1",
                                    "+-1",
                                    "- 1",
                                    "1,5",
                                    "1_000",
                                    "1'000",
                                    "1d5",
                                    "1 2",
                                    "1.2.3",
                                    "nanx",
                                    "nan(",
                                    "nan(a b)",
                                    "infx",
                                    "0x1p",
                                    "abc",
                                    "e5",
                                    "1e5.",
                                    "1f",
                                    "\xD9\xA4",
                                    "\xEF\xBC\x94",
                                    "\xE2\x88\x92"
                                    "5",
                                    "1\xC2\xA0",
                                    "\xC2\xA0"
                                    "1"}) {
        expectNoDouble(input);
    }
}

TEST(FormatterStringToDouble, RefusesEmptyAndBlankTextWithAnEmptyArgument) {
    expectNoDouble("", "");
    expectNoDouble("   ", "");
    expectNoDouble("\xE3\x80\x80\t", "");
    UnicodeString null;
    null.setToBogus();
    EXPECT_RAISES(NLSException, Formatter::stringToDouble(null), refused("double", ""));
}

TEST(FormatterStringToDouble, NamesANullPointer) {
    EXPECT_RAISES(NLSException, Formatter::stringToDouble(static_cast<const char*>(nullptr)),
                  refused("double", "NULL"));
}

TEST(FormatterStringToDouble, ShowsTheTrimmedTextInTheError) {
    expectNoDouble("  1.5x\n", "1.5x");
    expectNoDouble("  1e999 ", "1e999");
    EXPECT_RAISES(NLSException, Formatter::stringToDouble("a\xFF"),
                  refused("double", "a\xEF\xBF\xBD"));
}

TEST(FormatterStringToDouble, TakesTextsOfAnyLength) {
    const std::string zeros(100000, '0');
    EXPECT_EQ(parsed((zeros + "7").c_str()), 7.0);
    EXPECT_EQ(parsed(("0." + zeros + "7e100001").c_str()), 7.0);
    EXPECT_EQ(parsed(("1" + zeros + "e-100000").c_str()), 1.0);
    expectNoDouble((zeros + "x").c_str());
}

// --- Numbers to text ----------------------------------------------------------------------------

TEST(FormatterToString, AppendsIntegers) {
    UnicodeString out(u"<");
    Formatter::int32ToString(out, INT32_MIN);
    Formatter::uint32ToString(out.append(u' '), UINT32_MAX);
    Formatter::int64ToString(out.append(u' '), LONG_MIN);
    Formatter::uint64ToString(out.append(u' '), ULONG_MAX);
    Formatter::int32ToString(out.append(u' '), 0);
    Formatter::int64ToString(out.append(u' '), -1);
    EXPECT_EQ(test::utf8(out),
              "<-2147483648 4294967295 -9223372036854775808 18446744073709551615 0 -1");
}

TEST(FormatterToString, AppendsDoublesWithSixDecimals) {
    UnicodeString out(u"<");
    Formatter::doubleToString(out, 1.5);
    EXPECT_EQ(test::utf8(out), "<1.500000");
    EXPECT_EQ(doubleText(-0.0), "-0.000000");
    EXPECT_EQ(doubleText(0.0000005), "0.000000")
        << "a tie goes to the even digit, the value is below";
    EXPECT_EQ(doubleText(0.0000015), "0.000002");
    EXPECT_EQ(doubleText(1e22), "10000000000000000000000.000000");
    EXPECT_EQ(doubleText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(doubleText(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(doubleText(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(doubleText(-std::numeric_limits<double>::quiet_NaN()), "-nan");
    EXPECT_EQ(doubleText(-DBL_MAX).size(), 317u);
    EXPECT_EQ(doubleText(-DBL_MAX).substr(0, 18), "-17976931348623157");
}

TEST(FormatterToString, AppendsToTextsOfEveryLength) {
    for (int32_t length = 0; length <= 60; ++length) {
        const UnicodeString text(length, u'x', length);
        UnicodeString integer(text);
        Formatter::int64ToString(integer, LONG_MIN);
        ASSERT_EQ(integer, UnicodeString(text).append(u"-9223372036854775808", -1)) << length;
        UnicodeString decimal(text);
        Formatter::doubleToString(decimal, 1e20);
        ASSERT_EQ(decimal, UnicodeString(text).append(u"100000000000000000000.000000", -1));
        // The copies shared their units.
        ASSERT_EQ(text, UnicodeString(length, u'x', length));
    }
}

TEST(FormatterToString, AppendsToTextsThatOnlyReferToTheirUnits) {
    char16_t units[64] = u"abc";
    UnicodeString borrowed(units, 3, 64);
    Formatter::int32ToString(borrowed, 12);
    EXPECT_EQ(borrowed, u"abc12");
    const char16_t constant[] = u"abcdef";
    UnicodeString alias(/*isTerminated=*/false, constant, 3);
    Formatter::int32ToString(alias, 12);
    EXPECT_EQ(alias, u"abc12");
    EXPECT_EQ(std::u16string(constant), u"abcdef");
}

TEST(FormatterToString, TurnsANullTextIntoTheNumber) {
    const auto append = [](auto write) {
        UnicodeString out;
        out.setToBogus();
        write(out);
        return test::utf8(out);
    };
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::int32ToString(out, -1); }), "-1");
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::uint32ToString(out, 1); }), "1");
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::int64ToString(out, -1); }), "-1");
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::uint64ToString(out, 1); }), "1");
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::doubleToString(out, 1); }), "1.000000");
    EXPECT_EQ(append([](UnicodeString& out) { Formatter::formatHex(out, 1, true); }), "X'1'");
}

TEST(FormatterDoubleToString, TellsTheSizeWithTheTerminatorWhenThereIsNoRoom) {
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, 1.5), 9);
    EXPECT_EQ(Formatter::doubleToString(nullptr, 100, 1.5), 9);
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, -0.0), 10);
    EXPECT_EQ(Formatter::doubleToString(nullptr, 0, -DBL_MAX), 318);
    for (const int size : {7, 1, 0, -1, INT_MIN}) {
        GuardedBuffer bytes(9);
        EXPECT_EQ(Formatter::doubleToString(bytes.data(), size, 1.5), 9) << size;
        EXPECT_TRUE(bytes.untouched()) << size;
    }
}

TEST(FormatterDoubleToString, ReturnsTheLengthWithoutTheTerminatorWhenItWrites) {
    GuardedBuffer bytes(9);
    EXPECT_EQ(Formatter::doubleToString(bytes.data(), 9, 1.5), 8);
    EXPECT_EQ(bytes.first(9), std::string("1.500000\0", 9));
    EXPECT_TRUE(bytes.guardsIntact());
    GuardedBuffer longest(318);
    EXPECT_EQ(Formatter::doubleToString(longest.data(), 318, -DBL_MAX), 317);
    EXPECT_TRUE(longest.guardsIntact());
}

TEST(FormatterDoubleToString, WritesTheTerminatorBehindALengthThatFitsExactly) {
    GuardedBuffer bytes(9);
    EXPECT_EQ(Formatter::doubleToString(bytes.data(), 8, 1.5), 8);
    EXPECT_EQ(bytes.first(9), std::string("1.500000\0", 9));
    EXPECT_TRUE(bytes.guardsIntact());
}

TEST(FormatterFormatHex, ReplacesTheText) {
    UnicodeString out(u"old");
    EXPECT_EQ(&Formatter::formatHex(out, 255, true), &out);
    EXPECT_EQ(test::utf8(out), "X'FF'");
    EXPECT_EQ(test::utf8(Formatter::formatHex(out, 255, false)), "X'ff'");
    EXPECT_EQ(test::utf8(Formatter::formatHex(out, 0, true)), "X'0'");
    EXPECT_EQ(test::utf8(Formatter::formatHex(out, 0, false)), "X'0'");
    EXPECT_EQ(test::utf8(Formatter::formatHex(out, ULONG_MAX, true)), "X'FFFFFFFFFFFFFFFF'");
    EXPECT_EQ(test::utf8(Formatter::formatHex(out, 0x0123456789ABCDEF, false)),
              "X'123456789abcdef'");
}

}  // namespace
}  // namespace nx::oss
