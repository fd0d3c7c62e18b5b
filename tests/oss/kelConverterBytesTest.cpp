#include <climits>

#include <sys/mman.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelConverterReports.h"
#include "support/kelGuardedBuffer.h"

namespace nx::oss {
namespace {

using test::bufferError;
using test::conversionError;
using test::GuardedBuffer;

constexpr const char* NO_BYTES = nullptr;
constexpr const char* DEFAULT = nullptr;

TEST(ConverterConvertBytes, GoesFromOneCodePageToTheOther) {
    GuardedBuffer dest(8);
    EXPECT_EQ(Converter::convert(dest.data(), 8, "UTF-8", "a\xE9", 2, "ISO-8859-1"), 4);
    EXPECT_EQ(dest.first(4), std::string("a\xC3\xA9\0", 4));
    EXPECT_TRUE(dest.untouchedAfter(4));
    EXPECT_EQ(Converter::convert(dest.data(), 8, "ISO-8859-1", "a\xC3\xA9", 3, "UTF-8"), 3);
    EXPECT_EQ(dest.first(3), std::string("a\xE9\0", 3));
}

TEST(ConverterConvertBytesToBytes, WritesExactlyTheConvertedBytes) {
    GuardedBuffer dest(8);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF-16LE", "a\xE9", 2, "ISO-8859-1"), 4);
    EXPECT_EQ(dest.first(4), std::string("a\0\xE9\0", 4));
    EXPECT_TRUE(dest.untouchedAfter(4));
}

TEST(ConverterConvertBytes, TheFlagDecidesAboutTheTerminator) {
    for (const bool sourceIsText : {false, true}) {
        GuardedBuffer dest(8);
        EXPECT_EQ(Converter::convert(dest.data(), 8, "UTF-8", true, "\xE9", 1, "ISO-8859-1",
                                     sourceIsText),
                  3);
        EXPECT_EQ(dest.first(3), std::string("\xC3\xA9\0", 3));
        GuardedBuffer bytes(8);
        EXPECT_EQ(Converter::convert(bytes.data(), 8, "UTF-8", false, "\xE9", 1, "ISO-8859-1",
                                     sourceIsText),
                  2);
        EXPECT_EQ(bytes.first(2), "\xC3\xA9");
        EXPECT_TRUE(bytes.untouchedAfter(2));
    }
}

TEST(ConverterConvertBytes, OnlyTheGivenNumberOfBytesIsRead) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-16BE", "abcdef", 2, "UTF-8"), 5);
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", "abcdef", 2, "UTF-8"), 3);
    EXPECT_STREQ(dest, "ab");
    EXPECT_EQ(Converter::convertToBytes(dest, 8, "UTF-16BE", "abcdef", 2, "UTF-8"), 4);
}

TEST(ConverterConvertBytes, ZeroBytesInsideTheLengthAreConverted) {
    GuardedBuffer dest(8);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF8", "a\0b", 3, "ISO-8859-1"), 3);
    EXPECT_EQ(dest.first(3), std::string("a\0b", 3));
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF-8", "\0a", 2, "UTF-8"), 2);
    EXPECT_EQ(dest.first(2), std::string("\0a", 2));
}

TEST(ConverterConvertString, EndsAtTheFirstZeroByte) {
    GuardedBuffer dest(8);
    EXPECT_EQ(Converter::convert(dest.data(), 8, "UTF-16BE", "a\0b", "UTF-8"), 3);
    EXPECT_EQ(dest.first(3), std::string("\0a\0", 3));
    EXPECT_TRUE(dest.untouchedAfter(3));
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF-8", "ab\0c", "UTF-8"), 2);
    EXPECT_EQ(dest.first(2), "ab");
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-16BE", "abc", "UTF-8"), 7);
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-16BE", "abc", "UTF-8"), 6);
}

TEST(ConverterConvertBytes, TextThatFillsTheBufferExactlyIsRefused) {
    GuardedBuffer dest(3);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 3, "UTF-8", "abc", "US-ASCII"),
                  bufferError(3));
    EXPECT_TRUE(dest.guardsIntact());
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 3, "UTF-8", "abc", "US-ASCII"), 3);
    EXPECT_EQ(dest.first(3), "abc");
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertBytes, EveryCapacityBelowTheNeedIsRefusedWithThatCapacity) {
    for (const char* from : {"ISO-8859-1", "UTF-8"}) {
        const int need = Converter::convert(nullptr, 0, "UTF-8", "abcd", from);
        ASSERT_EQ(need, 5);
        for (int capacity = -2; capacity < need; ++capacity) {
            GuardedBuffer dest(capacity);
            const test::Report report = bufferError(capacity);
            EXPECT_RAISES(NLSException,
                          Converter::convert(dest.data(), capacity, "UTF-8", "abcd", from), report);
            if (capacity < need - 1) {
                EXPECT_RAISES(
                    NLSException,
                    Converter::convertToBytes(dest.data(), capacity, "UTF-8", "abcd", from),
                    report);
            }
            EXPECT_TRUE(dest.guardsIntact());
        }
    }
}

TEST(ConverterConvertBytes, NoCapacityAtAllLeavesTheDestinationAlone) {
    for (const char* from : {"ISO-8859-1", "UTF-8", "Shift_JIS"}) {
        for (const int capacity : {0, -1, -5, INT_MIN}) {
            GuardedBuffer dest(8);
            const test::Report report = bufferError(capacity);
            EXPECT_RAISES(NLSException,
                          Converter::convert(dest.data(), capacity, "UTF-8", "abc", 3, from),
                          report);
            EXPECT_RAISES(NLSException,
                          Converter::convertToBytes(dest.data(), capacity, "UTF-8", "abc", 3, from),
                          report);
            EXPECT_TRUE(dest.untouched());
        }
    }
}

TEST(ConverterConvertBytes, ANullSourceGivesNothingWhateverTheForm) {
    for (const char* from : {"UTF-8", "UTF-16", "no-such", "", DEFAULT}) {
        for (const bool nullTerminate : {false, true}) {
            GuardedBuffer dest(4);
            for (const int length : {-1, 0, 1, 4, INT_MAX}) {
                EXPECT_EQ(Converter::convert(dest.data(), 4, "UTF-8", nullTerminate, NO_BYTES,
                                             length, from, true),
                          0);
                EXPECT_EQ(Converter::convert(nullptr, 4, "UTF-8", nullTerminate, NO_BYTES, length,
                                             from, false),
                          0);
            }
            EXPECT_TRUE(dest.untouched());
        }
    }
    char dest[4];
    EXPECT_EQ(Converter::convert(dest, 4, "UTF-8", NO_BYTES, "UTF-8"), 0);
    EXPECT_EQ(Converter::convertToBytes(dest, 4, "UTF-8", NO_BYTES, "UTF-8"), 0);
    EXPECT_EQ(Converter::convert(dest, 4, "UTF-8", NO_BYTES, 3, "UTF-8"), 0);
    EXPECT_EQ(Converter::convertToBytes(dest, 4, "UTF-8", NO_BYTES, 3, "UTF-8"), 0);
}

// A negative length reads nothing, as an empty source does; it does not mean "up to the zero byte".
TEST(ConverterConvertBytes, NoBytesGiveNothingOrOneZeroByte) {
    for (const char* from : {"UTF-8", "UTF-16", "no-such"}) {
        for (const int length : {0, -1, -2, INT_MIN}) {
            GuardedBuffer dest(4);
            EXPECT_EQ(Converter::convertToBytes(dest.data(), 4, "UTF-8", "abc", length, from), 0);
            EXPECT_EQ(Converter::convertToBytes(nullptr, 4, "UTF-8", "abc", length, from), 0);
            EXPECT_TRUE(dest.untouched());
            EXPECT_EQ(Converter::convert(dest.data(), 4, "UTF-8", "abc", length, from), 1);
            EXPECT_EQ(dest.first(1), std::string(1, '\0'));
            EXPECT_TRUE(dest.untouchedAfter(1));
            EXPECT_EQ(Converter::convert(nullptr, 4, "UTF-8", "abc", length, from), 1);
        }
    }
}

TEST(ConverterConvertString, AnEmptyStringGivesOneZeroByte) {
    GuardedBuffer dest(4);
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 4, "UTF-16", "", "UTF-8"), 0);
    EXPECT_TRUE(dest.untouched());
    EXPECT_EQ(Converter::convert(dest.data(), 4, "UTF-16", "", "UTF-8"), 1);
    EXPECT_EQ(dest.first(1), std::string(1, '\0'));
    EXPECT_TRUE(dest.untouchedAfter(1));
}

// Required: the one byte is counted even where there is no room to store it.
TEST(ConverterConvertBytes, NoBytesWithoutRoomAreNoError) {
    for (const char* from : {"UTF-8", "UTF-16"}) {
        for (const int capacity : {0, -1, INT_MIN}) {
            GuardedBuffer dest(4);
            EXPECT_EQ(Converter::convert(dest.data(), capacity, "UTF-8", "", from), 1);
            EXPECT_EQ(Converter::convertToBytes(dest.data(), capacity, "UTF-8", "", from), 0);
            EXPECT_TRUE(dest.untouched());
        }
    }
}

TEST(ConverterConvertBytes, AnUnknownSourceCodePageRaisesInQueryAndConversion) {
    const test::Report report = conversionError("no-such", "UTF-8");
    GuardedBuffer dest(8);
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "UTF-8", "abc", "no-such"), report);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 8, "UTF-8", "abc", "no-such"),
                  report);
    EXPECT_RAISES(NLSException, Converter::convertToBytes(nullptr, 0, "UTF-8", "abc", 3, "no-such"),
                  report);
    EXPECT_RAISES(NLSException,
                  Converter::convertToBytes(dest.data(), 8, "UTF-8", "abc", 3, "no-such"), report);
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertBytes, AnUnknownTargetCodePageRaisesInQueryAndConversion) {
    const test::Report report = conversionError("UTF-8", "no-such");
    GuardedBuffer dest(8);
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "no-such", "abc", "UTF-8"), report);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 8, "no-such", "abc", "UTF-8"),
                  report);
    EXPECT_RAISES(NLSException,
                  Converter::convertToBytes(dest.data(), 8, "no-such", "abc", "UTF-8"), report);
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterConvertBytes, BytesThatDecodeToNothingRaise) {
    const test::Report report = conversionError("UTF-16", "UTF-8");
    char dest[8];
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "UTF-8", "\xFF\xFE", 2, "UTF-16"),
                  report);
    EXPECT_RAISES(NLSException, Converter::convert(dest, 8, "UTF-8", "\xFF\xFE", 2, "UTF-16"),
                  report);
    EXPECT_RAISES(NLSException,
                  Converter::convertToBytes(dest, 8, "UTF-8", "\xFF\xFE", 2, "UTF-16"), report);
    EXPECT_RAISES(NLSException,
                  Converter::convertToBytes(nullptr, 0, "UTF-8", "\xFF\xFE", 2, "UTF-16"), report);
}

TEST(ConverterConvertBytes, TheSignatureOfUtf8IsKeptAsACharacter) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "utf-8", "\xEF\xBB\xBF", "UTF-8"), 4);
    EXPECT_STREQ(dest, "\xEF\xBB\xBF");
    EXPECT_EQ(Converter::convertToBytes(dest, 8, "UTF-16BE", "\xEF\xBB\xBF", "UTF-8"), 2);
    EXPECT_EQ(std::string(dest, 2), "\xFE\xFF");
}

TEST(ConverterConvertBytes, TheSignatureOfUtf16SelectsTheByteOrder) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", "\xFE\xFF\0a", 4, "UTF-16"), 2);
    EXPECT_STREQ(dest, "a");
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8",
                                 "\xFF\xFE"
                                 "a\0",
                                 4, "UTF-16"),
              2);
    EXPECT_STREQ(dest, "a");
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", "\0a", 2, "UTF-16"), 2);
    EXPECT_STREQ(dest, "a");
}

TEST(ConverterConvertBytes, MalformedBytesAreSubstituted) {
    GuardedBuffer dest(16);
    EXPECT_EQ(Converter::convert(dest.data(), 16, "utf-8",
                                 "a\xFF"
                                 "b",
                                 "UTF-8"),
              6);
    EXPECT_EQ(dest.first(6), std::string("a\xEF\xBF\xBD"
                                         "b\0",
                                         6));
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 16, "UTF-16BE", "\xE3\x81", 2, "UTF-8"), 2);
    EXPECT_EQ(dest.first(2), "\xFF\xFD");
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 16, "UTF-16BE", "\xED\xA0\x80", 3, "UTF-8"),
              6);
    EXPECT_EQ(dest.first(6), "\xFF\xFD\xFF\xFD\xFF\xFD");
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 16, "UTF-16BE", "a\0b", 3, "UTF-16LE"), 4);
    EXPECT_EQ(dest.first(4), std::string("\0a\xFF\xFD", 4));
}

TEST(ConverterConvertBytes, TheSizeQueryEqualsTheConversion) {
    const char* const names[] = {"UTF-8",     "utf-8", "UTF-16", "ISO-8859-1",
                                 "Shift_JIS", "",      "UTF-7"};
    const std::string bytes = "a\xE9\x82\xA0\xFF z";
    for (const char* from : names) {
        for (const char* to : names) {
            char dest[128];
            const int size = Converter::convertToBytes(nullptr, 0, to, bytes.c_str(), from);
            EXPECT_GT(size, 0);
            EXPECT_EQ(Converter::convertToBytes(dest, 128, to, bytes.c_str(), from), size);
            EXPECT_EQ(Converter::convert(nullptr, 0, to, bytes.c_str(), from), size + 1);
            EXPECT_EQ(Converter::convert(dest, 128, to, bytes.c_str(), from), size + 1);
        }
    }
}

// Code pages that make two code units of one byte, at every length: an array sized by a guess from
// the number of bytes can be full in the middle of the last pair, with no source left.
TEST(ConverterConvertBytes, APairFromOneByteIsCompleteAtEveryLength) {
    for (const char* from : {"SCSU", "BOCU-1"}) {
        std::string wanted;
        icu::UnicodeString text;
        for (int count = 1; count <= 300; ++count) {
            text.append(static_cast<UChar32>(0x1F600));
            wanted += "\xF0\x9F\x98\x80";
            char source[2000];
            const int length = Converter::convertToBytes(source, 2000, from, text);
            std::string dest(wanted.size(), '\0');
            const int size = static_cast<int>(wanted.size());
            ASSERT_EQ(Converter::convertToBytes(dest.data(), size, "UTF-8", source, length, from),
                      size);
            ASSERT_EQ(dest, wanted);
        }
    }
}

TEST(ConverterConvertBytes, OneCodePageServesAsSourceAndTargetUnderTwoNames) {
    char dest[32];
    const std::string japanese = "\x82\xA0\x82\xA2";
    ASSERT_EQ(Converter::convert(dest, 32, "sjis", japanese.c_str(), "Shift_JIS"), 5);
    EXPECT_EQ(dest, japanese);
}

TEST(ConverterConvertBytes, ATerminatorThatNoIntCountsIsAConversionError) {
    constexpr std::size_t SIZE = INT_MAX;
    void* const zeros =
        mmap(nullptr, SIZE, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    EXPECT_RAISES(NLSException,
                  Converter::convert(nullptr, 0, "UTF-8", static_cast<const char*>(zeros), INT_MAX,
                                     "ISO-8859-1"),
                  test::Report("ERR_CONV_CONVERSION_ERROR")
                      .in("kelConverter.cpp")
                      .with({"ISO-8859-1", "UTF-8"}));
    munmap(zeros, SIZE);
}

}  // namespace
}  // namespace nx::oss
