#include <climits>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelAllocationFaults.h"
#include "support/kelConverterReports.h"
#include "support/kelGuardedBuffer.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::bufferError;
using test::conversionError;
using test::GuardedBuffer;

TEST(ConverterConvertText, ReturnsTheSizeWithTheTerminator) {
    for (const int capacity : {4, 5, 8, 100}) {
        GuardedBuffer dest(capacity);
        EXPECT_EQ(Converter::convert(dest.data(), capacity, "UTF-8", u"abc"), 4);
        EXPECT_EQ(dest.first(4), std::string("abc\0", 4));
        EXPECT_TRUE(dest.untouchedAfter(4));
    }
}

// Required: the zero byte needs room of its own.
TEST(ConverterConvertText, TextThatFillsTheBufferExactlyIsRefused) {
    GuardedBuffer dest(3);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 3, "UTF-8", u"abc"),
                  bufferError(3));
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertText, EveryCapacityBelowTheNeedIsRefusedWithThatCapacity) {
    for (const char* codePage : {"UTF-8", "UTF-16", "ISO-8859-1", "Shift_JIS", "", "ISO-2022-JP"}) {
        const int need = Converter::convert(nullptr, 0, codePage, u"ab\u00E9\u3042");
        for (int capacity = -3; capacity < need; ++capacity) {
            GuardedBuffer dest(capacity);
            EXPECT_RAISES(NLSException,
                          Converter::convert(dest.data(), capacity, codePage, u"ab\u00E9\u3042"),
                          bufferError(capacity));
            EXPECT_TRUE(dest.guardsIntact()) << codePage << capacity;
        }
    }
}

TEST(ConverterConvertTextToBytes, TextThatFillsTheBufferExactlyFits) {
    GuardedBuffer dest(3);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 3, "UTF-8", u"abc"), 3);
    EXPECT_EQ(dest.first(3), "abc");
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertTextToBytes, WritesNothingBehindTheResult) {
    for (const char* codePage : {"UTF-8", "utf-8", "US-ASCII", "windows-1252", "GB18030"}) {
        for (int length = 1; length < 200; ++length) {
            GuardedBuffer dest(length + 80);
            const UnicodeString text(length, U'x', length);
            ASSERT_EQ(Converter::convertToBytes(dest.data(), length + 80, codePage, text), length);
            ASSERT_TRUE(dest.untouchedAfter(static_cast<std::size_t>(length)))
                << codePage << length;
        }
    }
}

TEST(ConverterConvertTextToBytes, ACapacityOneBelowTheNeedIsRefused) {
    GuardedBuffer dest(2);
    EXPECT_RAISES(NLSException, Converter::convertToBytes(dest.data(), 2, "UTF-8", u"abc"),
                  bufferError(2));
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertText, NoCapacityAtAllIsRefusedAndNothingIsWritten) {
    for (const char* codePage :
         {"UTF-8", "ISO-8859-1", "UTF-16", static_cast<const char*>(nullptr)}) {
        for (const int capacity : {0, -1, -5, INT_MIN}) {
            GuardedBuffer dest(8);
            EXPECT_RAISES(NLSException,
                          Converter::convert(dest.data(), capacity, codePage, u"abcdefgh"),
                          bufferError(capacity));
            EXPECT_RAISES(NLSException,
                          Converter::convertToBytes(dest.data(), capacity, codePage, u"abcdefgh"),
                          bufferError(capacity));
            EXPECT_TRUE(dest.untouched());
        }
    }
}

TEST(ConverterConvertText, ANullDestinationIgnoresItsCapacity) {
    for (const int capacity : {INT_MIN, -1, 0, 1, INT_MAX}) {
        EXPECT_EQ(Converter::convert(nullptr, capacity, "UTF-8", u"abc"), 4);
        EXPECT_EQ(Converter::convertToBytes(nullptr, capacity, "UTF-8", u"abc"), 3);
    }
}

TEST(ConverterConvertText, AVeryLargeCapacityIsTakenAtItsWord) {
    GuardedBuffer dest(16);
    EXPECT_EQ(Converter::convert(dest.data(), INT_MAX, "ISO-8859-1", u"abc"), 4);
    EXPECT_TRUE(dest.untouchedAfter(4));
    EXPECT_EQ(Converter::convertToBytes(dest.data(), INT_MAX, "UTF-8", u"abc"), 3);
    EXPECT_TRUE(dest.untouchedAfter(4));
}

TEST(ConverterConvertText, ShortAsciiIsTerminatedBehindItsLastByte) {
    const UnicodeString text = u"sixteen units, or some more";
    GuardedBuffer dest(40);
    EXPECT_EQ(Converter::convert(dest.data(), 40, "UTF-8", text), 28);
    EXPECT_EQ(dest.first(28), std::string("sixteen units, or some more\0", 28));
    EXPECT_TRUE(dest.untouchedAfter(28));
}

TEST(ConverterConvertText, AnEmptyTextGivesOneZeroByte) {
    GuardedBuffer dest(3);
    EXPECT_EQ(Converter::convert(dest.data(), 3, "UTF-8", UnicodeString()), 1);
    EXPECT_EQ(dest.first(1), std::string(1, '\0'));
    EXPECT_TRUE(dest.untouchedAfter(1));
    EXPECT_EQ(Converter::convert(nullptr, 3, "UTF-8", UnicodeString()), 1);
}

// Required: the one byte is counted even where there is no room to store it.
TEST(ConverterConvertText, AnEmptyTextWithoutRoomIsNoError) {
    for (const int capacity : {0, -1, INT_MIN}) {
        GuardedBuffer dest(3);
        EXPECT_EQ(Converter::convert(dest.data(), capacity, "UTF-8", UnicodeString()), 1);
        EXPECT_TRUE(dest.untouched());
    }
}

TEST(ConverterConvertTextToBytes, AnEmptyTextGivesNothing) {
    GuardedBuffer dest(3);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 3, "UTF-16", UnicodeString()), 0);
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-16", UnicodeString()), 0);
    EXPECT_TRUE(dest.untouched());
}

TEST(ConverterConvertText, ABogusTextCountsAsEmpty) {
    UnicodeString bogus;
    bogus.setToBogus();
    char dest[2] = {'x', 'x'};
    EXPECT_EQ(Converter::convert(dest, 2, "UTF-8", bogus), 1);
    EXPECT_EQ(dest[0], '\0');
    EXPECT_EQ(Converter::convertToBytes(dest, 2, "UTF-8", bogus), 0);
}

TEST(ConverterConvertText, AnEmptyTextDoesNotLookAtTheCodePage) {
    char dest[2] = {'x', 'x'};
    EXPECT_EQ(Converter::convert(dest, 2, "no-such", UnicodeString()), 1);
    EXPECT_EQ(dest[0], '\0');
    EXPECT_EQ(Converter::convertToBytes(dest, 2, "no-such", UnicodeString()), 0);
    EXPECT_EQ(Converter::convert(nullptr, 0, "no-such", UnicodeString()), 1);
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "no-such", UnicodeString()), 0);
}

TEST(ConverterConvertText, AnUnknownCodePageRaisesInQueryAndConversion) {
    const test::Report report = conversionError("UTF-16", "no-such");
    GuardedBuffer dest(8);
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "no-such", u"abc"), report);
    EXPECT_RAISES(NLSException, Converter::convertToBytes(nullptr, 0, "no-such", u"abc"), report);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 8, "no-such", u"abc"), report);
    EXPECT_RAISES(NLSException, Converter::convertToBytes(dest.data(), 8, "no-such", u"abc"),
                  report);
    EXPECT_TRUE(dest.guardsIntact());
}

// The conversion fails before there is a size to compare with the capacity.
TEST(ConverterConvertText, AnUnknownCodePageIsReportedAlsoWithoutCapacity) {
    const test::Report report = conversionError("UTF-16", "no-such");
    for (const int capacity : {0, -1}) {
        GuardedBuffer dest(8);
        EXPECT_RAISES(NLSException, Converter::convert(dest.data(), capacity, "no-such", u"abc"),
                      report);
        EXPECT_TRUE(dest.untouched());
    }
}

TEST(ConverterConvertText, TextThatConvertsToNothingRaises) {
    const test::Report report = conversionError("UTF-16", "US-ASCII");
    char dest[8];
    for (const char16_t* text : {u"\u200D", u"\u00AD", u"\uFEFF", u"\u200D\u200D"}) {
        EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "US-ASCII", text), report);
        EXPECT_RAISES(NLSException, Converter::convert(dest, 8, "US-ASCII", text), report);
        EXPECT_RAISES(NLSException, Converter::convertToBytes(nullptr, 0, "US-ASCII", text),
                      report);
        EXPECT_RAISES(NLSException, Converter::convertToBytes(dest, 8, "US-ASCII", text), report);
    }
}

TEST(ConverterConvertText, WhatTheTargetCannotHoldIsSubstituted) {
    char dest[16];
    ASSERT_EQ(Converter::convert(dest, 16, "ISO-8859-1", u"a\u4E00b"), 4);
    EXPECT_STREQ(dest,
                 "a\x1A"
                 "b");
    ASSERT_EQ(Converter::convert(dest, 16, "Shift_JIS", u"\u00E9"), 3);
    EXPECT_STREQ(dest, "\xFC\xFC");
    ASSERT_EQ(Converter::convert(dest, 16, "US-ASCII", u"a\u200Db"), 3);
    EXPECT_STREQ(dest, "ab");
    ASSERT_EQ(Converter::convert(dest, 16, "US-ASCII", u"\U0001F600"), 2);
    EXPECT_STREQ(dest, "\x1A");
}

TEST(ConverterConvertText, UnpairedSurrogatesAreSubstituted) {
    const UnicodeString text = UnicodeString(static_cast<char16_t>(0xD83D))
                                   .append(u'a')
                                   .append(static_cast<char16_t>(0xDE00));
    for (const char* codePage : {"UTF-8", "utf-8", "UTF8", "", static_cast<const char*>(nullptr)}) {
        char dest[16];
        ASSERT_EQ(Converter::convert(dest, 16, codePage, text), 8);
        EXPECT_STREQ(dest,
                     "\xEF\xBF\xBD"
                     "a\xEF\xBF\xBD");
    }
}

TEST(ConverterConvertText, ZeroUnitsAreConvertedLikeOthers) {
    GuardedBuffer dest(8);
    const UnicodeString text(u"a\0b", 3);
    EXPECT_EQ(Converter::convert(dest.data(), 8, "UTF-8", text), 4);
    EXPECT_EQ(dest.first(4), std::string("a\0b\0", 4));
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF-16BE", text), 6);
    EXPECT_EQ(dest.first(6), std::string("\0a\0\0\0b", 6));
}

TEST(ConverterConvertText, Utf16StartsWithASignatureAndEndsWithOneZeroByte) {
    GuardedBuffer dest(16);
    EXPECT_EQ(Converter::convert(dest.data(), 16, "UTF-16", u"abc"), 9);
    EXPECT_EQ(dest.first(9), std::string("\xFF\xFE"
                                         "a\0b\0c\0\0",
                                         9));
    EXPECT_TRUE(dest.untouchedAfter(9));
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-16", u"abc"), 9);
}

TEST(ConverterConvertText, EveryConversionStartsAfresh) {
    GuardedBuffer dest(16);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Converter::convertToBytes(dest.data(), 16, "UTF-16", u"a"), 4);
        EXPECT_EQ(dest.first(4), std::string("\xFF\xFE"
                                             "a\0",
                                             4));
        EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-16", u"a"), 4);
    }
}

TEST(ConverterConvertText, ASignatureInTheTextIsConvertedAsACharacter) {
    char dest[8];
    ASSERT_EQ(Converter::convert(dest, 8, "UTF-8", u"\uFEFFa"), 5);
    EXPECT_STREQ(dest,
                 "\xEF\xBB\xBF"
                 "a");
    ASSERT_EQ(Converter::convert(dest, 8, "UTF-8", u"\uFEFF"), 4);
    EXPECT_STREQ(dest, "\xEF\xBB\xBF");
}

TEST(ConverterConvertText, AConversionByAnOpenConverterAllocatesNothing) {
    char dest[64];
    for (const char* codePage : {"UTF-8", "ISO-8859-1", "Shift_JIS", "UTF-16"}) {
        Converter::convert(dest, 64, codePage, u"warm \u00E9");
        const UnicodeString text(u"text \u00E9");
        test::AllocationFaults faults(1);
        faults.arm();
        EXPECT_GT(Converter::convert(dest, 64, codePage, text), 0);
        faults.disarm();
        EXPECT_FALSE(test::allocationFailed()) << codePage;
    }
}

TEST(ConverterConvertText, TheSourceIsNotChanged) {
    const UnicodeString text(u"a\u00E9\u200D\U0001F600");
    const UnicodeString copy(text.getBuffer(), text.length());
    char dest[64];
    for (const char* codePage : {"UTF-8", "US-ASCII", "UTF-7", "GB18030"}) {
        Converter::convert(dest, 64, codePage, text);
        EXPECT_EQ(text, copy);
    }
}

}  // namespace
}  // namespace nx::oss
