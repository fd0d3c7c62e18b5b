#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelNLSException.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>
#include <string>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Report;
using test::utf8;

std::string contentOf(const DataBuffer& buffer) {
    return {buffer.getString(), static_cast<std::size_t>(buffer.length())};
}

template <class Number>
std::string appended(Number value) {
    DataBuffer buffer("<>");
    buffer.appendNumber(value);
    return contentOf(buffer);
}

template <class Number>
std::string inserted(Number value) {
    DataBuffer buffer("<>");
    buffer.insertNumber(1, value);
    return contentOf(buffer);
}

template <class Number>
void expectNumber(Number value, const std::string& text) {
    EXPECT_EQ(appended(value), "<>" + text);
    EXPECT_EQ(inserted(value), "<" + text + ">");
}

// --- Numbers ------------------------------------------------------------------------------------

TEST(DataBufferNumbers, SignedIntegersAreDecimal) {
    expectNumber(0L, "0");
    expectNumber(-1L, "-1");
    expectNumber(LONG_MAX, "9223372036854775807");
    expectNumber(LONG_MIN, "-9223372036854775808");
    expectNumber(INT_MAX, "2147483647");
    expectNumber(INT_MIN, "-2147483648");
    expectNumber(static_cast<short>(-32768), "-32768");
    expectNumber(static_cast<signed char>(-128), "-128");
    expectNumber(static_cast<signed char>('A'), "65");
}

TEST(DataBufferNumbers, UnsignedIntegersAreDecimal) {
    expectNumber(0UL, "0");
    expectNumber(ULONG_MAX, "18446744073709551615");
    expectNumber(UINT_MAX, "4294967295");
    expectNumber(static_cast<unsigned short>(65535), "65535");
    expectNumber(static_cast<unsigned char>(255), "255");
}

TEST(DataBufferNumbers, EveryNumberOfDigitsIsWritten) {
    unsigned long value = 1;
    std::string text = "1";
    for (int digits = 1; digits <= 20; ++digits) {
        expectNumber(value, text);
        expectNumber(value - 1, digits == 1 ? "0" : std::string(text.size() - 1, '9'));
        value *= 10;
        text += '0';
    }
}

TEST(DataBufferNumbers, CharactersAndBooleansAreTakenAsIntegers) {
    expectNumber('c', "99");
    expectNumber(true, "1");
}

TEST(DataBufferNumbers, DoublesHaveSixDecimals) {
    expectNumber(1.5, "1.500000");
    expectNumber(0.0, "0.000000");
    expectNumber(-0.0, "-0.000000");
    expectNumber(1234567.0000006, "1234567.000001");
    expectNumber(1e22, "10000000000000000000000.000000");
    expectNumber(0.1F, "0.100000");
    expectNumber(16777216.0F, "16777216.000000");
}

TEST(DataBufferNumbers, TheLongestDoubleAndTheOddOnesAreComplete) {
    std::string largest = appended(-DBL_MAX);
    EXPECT_EQ(largest.size(), 2 + 317U);
    EXPECT_EQ(largest.substr(0, 19), "<>-1797693134862315");
    EXPECT_EQ(largest.substr(largest.size() - 7), ".000000");
    expectNumber(std::numeric_limits<double>::infinity(), "inf");
    expectNumber(-std::numeric_limits<double>::infinity(), "-inf");
    expectNumber(std::nan(""), "nan");
    expectNumber(std::copysign(std::nan(""), -1.0), "-nan");
}

TEST(DataBufferNumbers, PositionsAreClamped) {
    DataBuffer buffer("ab");
    buffer.insertNumber(-7, 1L);
    buffer.insertNumber(99, 2UL);
    buffer.insertNumber(2, 0.5);
    EXPECT_EQ(contentOf(buffer), "1a0.500000b2");
}

TEST(DataBufferNumbers, GrowTheBufferByTheRule) {
    DataBuffer buffer(std::string(4096, 'x').c_str());
    buffer.appendNumber(-12345L);
    EXPECT_EQ(buffer.capacity(), 6 + 4096 + 4096);
    EXPECT_EQ(contentOf(buffer).substr(4096), "-12345");
}

// --- Binary data --------------------------------------------------------------------------------

std::string binaryOf(const std::string& bytes, bool upperCase) {
    DataBuffer buffer;
    buffer.appendBinary(bytes.data(), static_cast<int>(bytes.size()), upperCase);
    return contentOf(buffer);
}

TEST(DataBufferSaveBinary, WritesTwoDigitsForEachByteBetweenQuotes) {
    EXPECT_EQ(binaryOf("\x01\xAB\xFF", false), "X'01abff'");
    EXPECT_EQ(binaryOf("\x01\xAB\xFF", true), "X'01ABFF'");
    EXPECT_EQ(binaryOf(std::string(1, '\0'), false), "X'00'");
}

TEST(DataBufferSaveBinary, InsertsAtThePosition) {
    DataBuffer buffer("ab");
    buffer.insertBinary(1, "\n", 1, false);
    EXPECT_EQ(contentOf(buffer), "aX'0a'b");
    buffer.saveBinary(-1, "\n", 1, true);
    buffer.saveBinary(999, "\r", 1, true);
    EXPECT_EQ(contentOf(buffer), "X'0A'aX'0a'bX'0D'");
}

TEST(DataBufferSaveBinary, DoesNothingForNullAndForCountsBelowOne) {
    DataBuffer buffer("ab");
    buffer.saveBinary(0, nullptr, 3, false);
    buffer.appendBinary("x", 0, false);
    buffer.insertBinary(0, "x", -1, false);
    buffer.saveBinary(0, "x", INT_MIN, false);
    EXPECT_EQ(contentOf(buffer), "ab");
}

TEST(DataBufferSaveBinary, KnowsEveryByte) {
    for (int value = 0; value < 256; ++value) {
        char lower[16];
        char upper[16];
        std::snprintf(lower, sizeof lower, "X'%02x'", static_cast<unsigned>(value));
        std::snprintf(upper, sizeof upper, "X'%02X'", static_cast<unsigned>(value));
        EXPECT_EQ(binaryOf(std::string(1, static_cast<char>(value)), false), lower);
        EXPECT_EQ(binaryOf(std::string(1, static_cast<char>(value)), true), upper);
        EXPECT_EQ(std::string(lower + 2, 2), OSS_DB_HEXSTRINGS[value]);
    }
}

TEST(DataBufferSaveBinary, CrossesTheInlineLimit) {
    for (const int count : {2045, 2046, 2047, 2048, 5000}) {
        const std::string bytes(static_cast<std::size_t>(count), '\x5A');
        DataBuffer buffer;
        buffer.appendBinary(bytes.data(), count, true);
        const int length = 2 * count + 3;
        EXPECT_EQ(buffer.length(), length);
        EXPECT_EQ(buffer.capacity(), length <= 4096 ? 4096 : length + 4096) << count;
        std::string expected = "X'";
        for (int i = 0; i < count; ++i) {
            expected += "5A";
        }
        EXPECT_EQ(contentOf(buffer), expected + "'");
    }
}

TEST(DataBufferGetBinary, ReadsWhatWasWritten) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<char>(value));
    }
    for (const bool upperCase : {false, true}) {
        DataBuffer buffer;
        buffer.appendBinary(all.data(), 256, upperCase);
        EXPECT_EQ(buffer.getBinary(nullptr, 0), 256);
        std::string out(256, '?');
        EXPECT_EQ(buffer.getBinary(out.data(), 256), 256);
        EXPECT_EQ(out, all);
    }
}

TEST(DataBufferGetBinary, TakesDigitsOfEitherCaseMixed) {
    char out[2] = {};
    EXPECT_EQ(DataBuffer("X'aFFa'").getBinary(out, 2), 2);
    EXPECT_EQ(out[0], '\xAF');
    EXPECT_EQ(out[1], '\xFA');
}

TEST(DataBufferGetBinary, AsksForTheSizeWithANullTarget) {
    EXPECT_EQ(DataBuffer("X'0102'").getBinary(nullptr, 0), 2);
    EXPECT_EQ(DataBuffer("X'0102'").getBinary(nullptr, -5), 2);
    EXPECT_EQ(DataBuffer("X''").getBinary(nullptr, 0), 0);
    char out = '?';
    EXPECT_EQ(DataBuffer("X''").getBinary(&out, 0), 0);
    EXPECT_EQ(out, '?');
}

TEST(DataBufferGetBinary, RejectsALengthThatNoBinaryTextHas) {
    char out[8];
    for (const char* const text : {"", "X", "X'", "''", "X'A'", "X'ABC'", "X'AB", "1234"}) {
        EXPECT_RAISES(NLSException, DataBuffer(text).getBinary(out, 8),
                      Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1575))
            << text;
    }
}

TEST(DataBufferGetBinary, RejectsMissingQuotes) {
    char out[8];
    for (const char* const text : {"x'00'", "Y'00'", "X\"00'", "X'00\"", "X'000", "0'00'", "abc"}) {
        EXPECT_RAISES(NLSException, DataBuffer(text).getBinary(out, 8),
                      Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1585))
            << text;
    }
}

TEST(DataBufferGetBinary, RejectsEveryCharacterThatIsNoDigitAtEveryPlace) {
    const std::string digits = "0123456789abcdefABCDEF";
    for (int value = 0; value < 256; ++value) {
        const char c = static_cast<char>(value);
        if (digits.find(c) != std::string::npos) {
            continue;
        }
        for (std::size_t at = 2; at < 2 + 40; at += (at < 6 || at > 36) ? 1 : 7) {
            std::string text = "X'" + std::string(40, 'a') + "'";
            text[at] = c;
            DataBuffer buffer;
            buffer.saveString(0, text.data(), static_cast<int>(text.size()));
            char out[20];
            EXPECT_RAISES(NLSException, buffer.getBinary(out, 20),
                          Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1595))
                << value << " at " << at;
        }
    }
}

TEST(DataBufferGetBinary, ChecksTheTextBeforeTheTargetIsLookedAt) {
    EXPECT_RAISES(NLSException, DataBuffer("X'0g'").getBinary(nullptr, 0),
                  Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1595));
    EXPECT_RAISES(NLSException, DataBuffer("X'0g'").getBinary(nullptr, -1),
                  Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1595));
}

TEST(DataBufferGetBinary, RefusesATargetThatIsTooSmallAndLeavesItAlone) {
    char out[2] = {'?', '?'};
    EXPECT_RAISES(NLSException, DataBuffer("X'0102'").getBinary(out, 1),
                  Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelDataBuffer.cpp", 1610).with({"1"}));
    EXPECT_RAISES(NLSException, DataBuffer("X'0102'").getBinary(out, -3),
                  Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelDataBuffer.cpp", 1610).with({"-3"}));
    EXPECT_RAISES(NLSException, DataBuffer("X''").getBinary(out, -1),
                  Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelDataBuffer.cpp", 1610).with({"-1"}));
    EXPECT_EQ(out[0], '?');
    EXPECT_EQ(out[1], '?');
}

TEST(DataBufferGetBinary, WritesNothingWhenTheTextIsWrong) {
    std::string text = "X'" + std::string(200, '1') + "'";
    text[200] = 'g';
    std::string out(100, '?');
    EXPECT_RAISES(NLSException, DataBuffer(text.c_str()).getBinary(out.data(), 100),
                  Report("ERR_DB_INVALID_BINARY_DATA").at("kelDataBuffer.cpp", 1595));
    EXPECT_EQ(out, std::string(100, '?'));
}

// --- Binary data in error reports ----------------------------------------------------------------

TEST(MessageAddBinary, AddsTheLowerCaseFormAsOneArgument) {
    Message message;
    message.addBinary("\x01\xAB\xFF", 3);
    ASSERT_EQ(message.getMessageArgs().size(), 1U);
    EXPECT_EQ(utf8(message.getMessageArgs().front()), "X'01abff'");
}

TEST(MessageAddBinary, TakesNulsAndLongData) {
    Message message;
    message.addBinary("\0a\0", 3);
    const std::string bytes(3000, '\xEE');
    message.addBinary(bytes.data(), 3000);
    ASSERT_EQ(message.getMessageArgs().size(), 2U);
    EXPECT_EQ(utf8(message.getMessageArgs().front()), "X'006100'");
    EXPECT_EQ(message.getMessageArgs().back().length(), 2 * 3000 + 3);
}

TEST(MessageAddBinary, AddsNothingForNoBytes) {
    Message message;
    message.addBinary(nullptr, 3);
    message.addBinary("x", 0);
    message.addBinary("x", -1);
    EXPECT_EQ(message.getMessageArgsCount(), 0U);
}

// 2 * 1,100,000,000 + 3 does not fit an int; the bytes are not looked at.
TEST(MessageAddBinary, OfMoreThanAnyBufferHoldsLeavesTheMessage) {
    Message message;
    message.addArgument("first");
    EXPECT_THROW(message.addBinary("abc", 1'100'000'000), std::bad_alloc);
    EXPECT_THROW(message.addBinary("abc", INT_MAX), std::bad_alloc);
    EXPECT_EQ(message.getMessageArgsCount(), 1U);
}

// --- Unicode text -------------------------------------------------------------------------------

TEST(DataBufferConversion, AppendsAndInsertsInTheCodePage) {
    DataBuffer buffer("<>");
    buffer.insertString(1, u"\u00E9\u20AC", "UTF-8");
    buffer.appendString(u"\u00E9", "ISO-8859-1");
    EXPECT_EQ(contentOf(buffer), "<\xC3\xA9\xE2\x82\xAC>\xE9");
}

TEST(DataBufferConversion, TakesNullAndEmptyForTheDefaultCodePage) {
    for (const char* const codePage : {static_cast<const char*>(nullptr), ""}) {
        DataBuffer buffer;
        buffer.appendString(u"\u00E9", codePage);
        buffer.insertString(0, u"\u4E00", codePage);
        EXPECT_EQ(contentOf(buffer), "\xE4\xB8\x80\xC3\xA9");
    }
}

TEST(DataBufferConversion, ReplacesLoneSurrogates) {
    const char16_t lone[] = {u'a', 0xD83D, u'b', 0xDE00};
    for (const char* const codePage : {static_cast<const char*>(nullptr), "UTF-8", "utf-8"}) {
        DataBuffer buffer;
        buffer.appendString(icu::UnicodeString(lone, 4), codePage);
        EXPECT_EQ(contentOf(buffer),
                  "a\xEF\xBF\xBD"
                  "b\xEF\xBF\xBD");
    }
}

TEST(DataBufferConversion, TakesZeroBytesAlongInPlace) {
    DataBuffer buffer;
    buffer.appendString(icu::UnicodeString(u"a\0b", 3), "UTF-8");
    EXPECT_EQ(contentOf(buffer), std::string("a\0b", 3));
    buffer.appendString(u"z", "UTF-16LE");
    EXPECT_EQ(contentOf(buffer), std::string("a\0bz\0", 5));
}

TEST(DataBufferConversion, GrowsByTheBytesOfTheText) {
    DataBuffer buffer(std::string(4095, 'x').c_str());
    buffer.appendString(u"\u00E9", "UTF-8");
    EXPECT_EQ(buffer.capacity(), 2 + 4095 + 4096);
    EXPECT_EQ(contentOf(buffer), std::string(4095, 'x') + "\xC3\xA9");

    DataBuffer exact(std::string(4094, 'x').c_str());
    exact.appendString(u"\u00E9", "UTF-8");
    EXPECT_EQ(exact.capacity(), 4096);
    EXPECT_EQ(exact.length(), 4096);
    EXPECT_EQ(exact.getString()[4096], '\0');
}

TEST(DataBufferConversion, TextThatGrowsTheBufferEndsAtItsFirstZeroByte) {
    DataBuffer buffer(std::string(4096, 'x').c_str());
    buffer.appendString(u"ab", "UTF-16LE");
    EXPECT_EQ(contentOf(buffer), std::string(4096, 'x') + "a");
    EXPECT_EQ(buffer.capacity(), 4 + 4096 + 4096);
}

TEST(DataBufferConversion, RefusesUtf16AndUtf32ByName) {
    for (const char* const name : {"UTF-16", "utf-16", "Utf-16", "UTF-32", "utf-32"}) {
        DataBuffer buffer("before");
        EXPECT_RAISES(
            NLSException, buffer.appendString(u"text", name),
            Report("ERR_CONV_CONVERSION_ERROR").at("kelDataBuffer.cpp", 657).with({name, name}));
        EXPECT_RAISES(
            NLSException, buffer.insertString(0, u"text", name),
            Report("ERR_CONV_CONVERSION_ERROR").at("kelDataBuffer.cpp", 1008).with({name, name}));
        EXPECT_EQ(contentOf(buffer), "before");
        EXPECT_RAISES(
            NLSException, DataBuffer(u"text", name),
            Report("ERR_CONV_CONVERSION_ERROR").at("kelDataBuffer.cpp", 657).with({name, name}));
    }
}

TEST(DataBufferConversion, RefusesThemEvenForNoText) {
    DataBuffer buffer;
    EXPECT_RAISES(NLSException, buffer.appendString(icu::UnicodeString(), "UTF-16"),
                  Report("ERR_CONV_CONVERSION_ERROR")
                      .at("kelDataBuffer.cpp", 657)
                      .with({"UTF-16", "UTF-16"}));
    EXPECT_RAISES(NLSException, buffer.insertString(3, icu::UnicodeString(), "UTF-32"),
                  Report("ERR_CONV_CONVERSION_ERROR")
                      .at("kelDataBuffer.cpp", 1008)
                      .with({"UTF-32", "UTF-32"}));
}

TEST(DataBufferConversion, DoesNotRefuseOtherSpellings) {
    DataBuffer buffer;
    buffer.appendString(u"a", "UTF16");
    EXPECT_EQ(contentOf(buffer), std::string("\xFF\xFE"
                                             "a\0",
                                             4));
    buffer.clear();
    buffer.appendString(u"a", "UTF-16BE");
    EXPECT_EQ(contentOf(buffer), std::string("\0a", 2));
}

TEST(DataBufferConversion, InsertsNothingForNoTextAndUnknownCodePages) {
    DataBuffer buffer("kept");
    icu::UnicodeString bogus;
    bogus.setToBogus();
    buffer.appendString(icu::UnicodeString(), "UTF-8");
    buffer.appendString(bogus, "UTF-8");
    buffer.appendString(u"text", "no-such-code-page");
    buffer.insertString(0, icu::UnicodeString(), nullptr);
    buffer.insertString(0, bogus, nullptr);
    buffer.insertString(0, u"text", "no-such-code-page");
    EXPECT_EQ(contentOf(buffer), "kept");
    buffer.clear(/*keepBytes=*/true);
    buffer.appendString(u"text", "no-such-code-page");
    buffer.appendString(icu::UnicodeString(), "UTF-8");
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_STREQ(buffer.getString(), "kept");
}

TEST(DataBufferConversion, LeavesTheBufferWholeWhenAPartFits) {
    // The first bytes of the text fit and the others do not.
    DataBuffer buffer(std::string(4090, 'x').c_str());
    buffer.appendString(u"\u4E00\u4E01\u4E02\u4E03", "UTF-8");
    EXPECT_EQ(contentOf(buffer).substr(4090), "\xE4\xB8\x80\xE4\xB8\x81\xE4\xB8\x82\xE4\xB8\x83");
    EXPECT_EQ(buffer.capacity(), 12 + 4090 + 4096);
}

}  // namespace
}  // namespace nx::oss
