// Bytes whose two code pages have the same name.

#include <climits>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelConverterReports.h"
#include "support/kelGuardedBuffer.h"

namespace nx::oss {
namespace {

using test::bufferError;
using test::GuardedBuffer;

constexpr const char* DEFAULT = nullptr;

TEST(ConverterCopy, EqualNamesCopyTheBytesAsTheyAre) {
    GuardedBuffer dest(8);
    EXPECT_EQ(Converter::convert(dest.data(), 8, "UTF-8",
                                 "a\xFF"
                                 "b",
                                 "UTF-8"),
              4);
    EXPECT_EQ(dest.first(4), std::string("a\xFF"
                                         "b\0",
                                         4));
    EXPECT_TRUE(dest.untouchedAfter(4));
    GuardedBuffer bytes(8);
    EXPECT_EQ(Converter::convertToBytes(bytes.data(), 8, "UTF-16", "\xFF\xFE\x01", 3, "UTF-16"), 3);
    EXPECT_EQ(bytes.first(3), "\xFF\xFE\x01");
    EXPECT_TRUE(bytes.untouchedAfter(3));
}

TEST(ConverterCopy, EqualNamesAreComparedByTheirLetters) {
    const std::string from = "UTF-8";
    const std::string to = "UTF-8";
    ASSERT_NE(from.c_str(), to.c_str());
    char dest[16];
    EXPECT_EQ(Converter::convert(dest, 16, to.c_str(),
                                 "a\xFF"
                                 "b",
                                 from.c_str()),
              4);
    EXPECT_EQ(Converter::convert(dest, 16, "utf-8",
                                 "a\xFF"
                                 "b",
                                 "UTF-8"),
              6);
    EXPECT_EQ(Converter::convert(dest, 16, "UTF-8",
                                 "a\xFF"
                                 "b",
                                 "utf-8"),
              6);
    EXPECT_EQ(Converter::convert(dest, 16, "UTF-8",
                                 "a\xFF"
                                 "b",
                                 "UTF8"),
              6);
}

TEST(ConverterCopy, ANameThatIsCopiedNeedNotExist) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "X", "abc", "X"), 4);
    EXPECT_STREQ(dest, "abc");
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "X", "abc", "X"), 3);
}

TEST(ConverterCopy, NullAndEmptyNamesAreTheSameCodePage) {
    for (const char* from : {DEFAULT, ""}) {
        for (const char* to : {DEFAULT, ""}) {
            char dest[8];
            EXPECT_EQ(Converter::convert(dest, 8, to,
                                         "a\xFF"
                                         "b",
                                         from),
                      4);
            EXPECT_STREQ(dest,
                         "a\xFF"
                         "b");
            EXPECT_EQ(Converter::convertToBytes(nullptr, 0, to,
                                                "a\xFF"
                                                "b",
                                                from),
                      3);
        }
    }
}

// Required: although the default converter is UTF-8, naming it makes another name.
TEST(ConverterCopy, TheDefaultAndItsNameAreDifferentCodePages) {
    for (const char* unnamed : {DEFAULT, ""}) {
        GuardedBuffer dest(8);
        EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, "UTF-8",
                                            "a\xFF"
                                            "b",
                                            3, unnamed),
                  5);
        EXPECT_EQ(dest.first(5),
                  "a\xEF\xBF\xBD"
                  "b");
        EXPECT_EQ(Converter::convertToBytes(dest.data(), 8, unnamed,
                                            "a\xFF"
                                            "b",
                                            3, "UTF-8"),
                  5);
        EXPECT_EQ(dest.first(5),
                  "a\xEF\xBF\xBD"
                  "b");
    }
}

TEST(ConverterCopy, CopiesFitAndAreRefusedLikeConversions) {
    GuardedBuffer text(4);
    EXPECT_EQ(Converter::convert(text.data(), 4, "UTF-8", "abc", 3, "UTF-8"), 4);
    EXPECT_EQ(text.first(4), std::string("abc\0", 4));
    EXPECT_TRUE(text.guardsIntact());
    GuardedBuffer dest(3);
    EXPECT_RAISES(NLSException, Converter::convert(dest.data(), 3, "UTF-8", "abc", 3, "UTF-8"),
                  bufferError(3));
    EXPECT_TRUE(dest.guardsIntact());
    EXPECT_EQ(Converter::convertToBytes(dest.data(), 3, "UTF-8", "abc", 3, "UTF-8"), 3);
    EXPECT_EQ(dest.first(3), "abc");
    EXPECT_TRUE(dest.guardsIntact());
    EXPECT_RAISES(NLSException,
                  Converter::convertToBytes(dest.data(), 3, "UTF-8", "abcd", 4, "UTF-8"),
                  bufferError(3));
    EXPECT_TRUE(dest.guardsIntact());
}

TEST(ConverterCopy, TheSizeOfACopyIsTheSourcesSize) {
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-8", "abc", 3, "UTF-8"), 4);
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-8", "abc", 3, "UTF-8"), 3);
    // Without looking at the bytes.
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-8", "abc", INT_MAX, "UTF-8"), INT_MAX);
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-8", "abc", INT_MAX - 1, "UTF-8"), INT_MAX);
}

TEST(ConverterCopy, ACopyOfTheGreatestLengthDoesNotWrapAround) {
    for (const int capacity : {-1, 0, 8}) {
        GuardedBuffer dest(8);
        EXPECT_RAISES(NLSException,
                      Converter::convert(dest.data(), capacity, "UTF-8", "abc", INT_MAX, "UTF-8"),
                      bufferError(capacity));
        EXPECT_TRUE(dest.untouched());
    }
    char byte;
    EXPECT_RAISES(NLSException,
                  Converter::convert(&byte, INT_MAX, "UTF-8", "abc", INT_MAX, "UTF-8"),
                  bufferError(2147483647));
}

TEST(ConverterCopy, ASizeThatNoIntHoldsIsAConversionError) {
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-8", "abc", INT_MAX, "UTF-8"), 2147483647);
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-8", "abc", INT_MAX - 1, "UTF-8"), 2147483647);
    EXPECT_RAISES(
        NLSException, Converter::convert(nullptr, 0, "UTF-8", "abc", INT_MAX, "UTF-8"),
        test::Report("ERR_CONV_CONVERSION_ERROR").in("kelConverter.cpp").with({"UTF-8", "UTF-8"}));
}

}  // namespace
}  // namespace nx::oss
