#include <cstdio>
#include <type_traits>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelConverterReports.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::bufferError;
using test::conversionError;

// Every operation has exactly this signature; a program takes its address.
constexpr int (*TEXT_CORE)(char*, int, const char*, bool,
                           const UnicodeString&) = &Converter::convert;
constexpr int (*TEXT)(char*, int, const char*, const UnicodeString&) = &Converter::convert;
constexpr int (*TEXT_TO_BYTES)(char*, int, const char*,
                               const UnicodeString&) = &Converter::convertToBytes;
constexpr int (*BYTES_CORE)(char*, int, const char*, bool, const char*, int, const char*,
                            bool) = &Converter::convert;
constexpr int (*BYTES)(char*, int, const char*, const char*, int,
                       const char*) = &Converter::convert;
constexpr int (*STRING)(char*, int, const char*, const char*, const char*) = &Converter::convert;
constexpr int (*BYTES_TO_BYTES)(char*, int, const char*, const char*, int,
                                const char*) = &Converter::convertToBytes;
constexpr int (*STRING_TO_BYTES)(char*, int, const char*, const char*,
                                 const char*) = &Converter::convertToBytes;
constexpr char* (*TEMPLATE)(SizeableBuffer<char, 1026>&, const char*,
                            const UnicodeString&) = &Converter::convert<1026>;
constexpr void (*SET_DEBUGGING)(bool) = &Converter::setDebugging;

static_assert(std::is_same_v<decltype(Converter::debugMode), bool>);
static_assert(std::is_default_constructible_v<Converter>);
static_assert(!std::is_polymorphic_v<Converter>);
static_assert(std::is_empty_v<Converter>);

TEST(ConverterOverloads, EachOfThemIsReachedByItsAddress) {
    char dest[8];
    EXPECT_EQ(TEXT_CORE(dest, 8, "UTF-8", false, u"abc"), 3);
    EXPECT_EQ(TEXT(dest, 8, "UTF-8", u"abc"), 4);
    EXPECT_EQ(TEXT_TO_BYTES(dest, 8, "UTF-8", u"abc"), 3);
    EXPECT_EQ(BYTES_CORE(dest, 8, "UTF-8", false, "abc", 3, "US-ASCII", true), 3);
    EXPECT_EQ(BYTES(dest, 8, "UTF-8", "abc", 2, "US-ASCII"), 3);
    EXPECT_EQ(STRING(dest, 8, "UTF-8", "abc", "US-ASCII"), 4);
    EXPECT_EQ(BYTES_TO_BYTES(dest, 8, "UTF-8", "abc", 2, "US-ASCII"), 2);
    EXPECT_EQ(STRING_TO_BYTES(dest, 8, "UTF-8", "abc", "US-ASCII"), 3);
    SizeableBuffer<char, 1026> buffer(0);
    EXPECT_STREQ(TEMPLATE(buffer, "UTF-8", u"abc"), "abc");
    SET_DEBUGGING(false);
    EXPECT_FALSE(Converter::debugMode);
}

TEST(ConverterOverloads, TwoStringsAreBytesAndTheirCodePage) {
    char dest[8];
    EXPECT_RAISES(NLSException, Converter::convert(dest, 8, "UTF-8", "abc", "no-such"),
                  conversionError("no-such", "UTF-8"));
    EXPECT_RAISES(NLSException, Converter::convertToBytes(dest, 8, "UTF-8", "abc", "no-such"),
                  conversionError("no-such", "UTF-8"));
}

TEST(ConverterOverloads, ANullSourceIsTakenAsBytes) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", nullptr, "UTF-16"), 0);
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", 0, "UTF-16"), 0);
    EXPECT_EQ(Converter::convertToBytes(dest, 8, "UTF-8", nullptr, "UTF-16"), 0);
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-8", nullptr, 3, "UTF-16"), 0);
}

// Required: a string without a code page becomes a UnicodeString, read as UTF-8.
TEST(ConverterOverloads, OneStringWithoutACodePageIsText) {
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-16BE", "a\xC3\xA9"), 5);
    EXPECT_EQ(Converter::convert(nullptr, 0, "UTF-16BE", true, "a\xC3\xA9"), 5);
    EXPECT_EQ(Converter::convertToBytes(nullptr, 0, "UTF-16BE", "a\xC3\xA9"), 4);
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "no-such", "abc"),
                  conversionError("UTF-16", "no-such"));
}

TEST(ConverterOverloads, ALiteralSizeAfterTheFlagIsTheEightArgumentCore) {
    char dest[8];
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-16BE", true, "abc", 2, "UTF-8", false), 5);
    EXPECT_EQ(Converter::convert(dest, 8, "UTF-16BE", false, "abc", 2, "UTF-8", true), 4);
}

TEST(ConverterObject, CanBeCreatedAlthoughEverythingIsStatic) {
    Converter converter;
    EXPECT_EQ(converter.convertToBytes(nullptr, 0, "UTF-8", u"abc"), 3);
}

TEST(ConverterCodePage, NullAndEmptyMeanUtf8) {
    for (const char* codePage : {static_cast<const char*>(nullptr), ""}) {
        char dest[8];
        ASSERT_EQ(Converter::convert(dest, 8, codePage, u"\u00E9"), 3);
        EXPECT_STREQ(dest, "\xC3\xA9");
        ASSERT_EQ(Converter::convert(dest, 8, "UTF-16BE", "\xC3\xA9", codePage), 3);
        EXPECT_EQ(std::string(dest, 3), std::string("\x00\xE9\x00", 3));
        SizeableBuffer<char, 16> buffer(0);
        EXPECT_STREQ(Converter::convert(buffer, codePage, u"\u00E9"), "\xC3\xA9");
    }
}

TEST(ConverterCodePage, NullAndEmptyAreShownAsTheDefaultConvertersName) {
    for (const char* codePage : {static_cast<const char*>(nullptr), ""}) {
        // A signature alone converts to nothing.
        EXPECT_RAISES(NLSException,
                      Converter::convert(nullptr, 0, codePage, "\xFF\xFE", 2, "UTF-16"),
                      conversionError("UTF-16", "UTF-8"));
        EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "no-such", "abc", codePage),
                      conversionError("UTF-8", "no-such"));
    }
}

TEST(ConverterCodePage, AnUnknownNameStaysUnknownAfterKnownOnes) {
    char dest[8];
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Converter::convert(dest, 8, "ISO-8859-1", u"\u00E9"), 2);
        EXPECT_RAISES(NLSException, Converter::convert(dest, 8, "ISO-8859-1x", u"\u00E9"),
                      conversionError("UTF-16", "ISO-8859-1x"));
        EXPECT_RAISES(NLSException, Converter::convert(dest, 8, "ISO-8859-", u"\u00E9"),
                      conversionError("UTF-16", "ISO-8859-"));
    }
}

// The name is read during the call only: a caller may reuse its storage for another name.
TEST(ConverterCodePage, ANameInReusedStorageIsTheNewName) {
    char name[32] = "ISO-8859-1";
    char dest[8];
    ASSERT_EQ(Converter::convertToBytes(dest, 8, name, u"\u20AC"), 1);
    EXPECT_EQ(dest[0], '\x1A');
    std::snprintf(name, sizeof name, "ISO-8859-15");
    ASSERT_EQ(Converter::convertToBytes(dest, 8, name, u"\u20AC"), 1);
    EXPECT_EQ(dest[0], '\xA4');
    std::snprintf(name, sizeof name, "windows-1252");
    ASSERT_EQ(Converter::convertToBytes(dest, 8, name, u"\u20AC"), 1);
    EXPECT_EQ(dest[0], '\x80');
}

TEST(ConverterCodePage, ANameOfAnyLengthIsReported) {
    const std::string name(5000, 'x');
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, name.c_str(), u"abc"),
                  conversionError("UTF-16", name));
    EXPECT_RAISES(NLSException, Converter::convert(nullptr, 0, "UTF-8", "abc", name.c_str()),
                  conversionError(name, "UTF-8"));
}

TEST(ConverterCodePage, ErrorsDoNotDisturbLaterConversions) {
    char dest[16];
    // Refused in the middle of a shifted run.
    EXPECT_RAISES(NLSException, Converter::convertToBytes(dest, 4, "ISO-2022-JP", u"\u3042\u3044"),
                  bufferError(4));
    ASSERT_EQ(Converter::convertToBytes(dest, 16, "ISO-2022-JP", u"abc"), 3);
    EXPECT_EQ(std::string(dest, 3), "abc");
    // Ends inside a shifted run and inside a character.
    EXPECT_GT(Converter::convertToBytes(dest, 16, "UTF-8", "\x1B$B$", 4, "ISO-2022-JP"), 0);
    ASSERT_EQ(Converter::convertToBytes(dest, 16, "UTF-8", "abc", "ISO-2022-JP"), 3);
    EXPECT_EQ(std::string(dest, 3), "abc");
}

}  // namespace
}  // namespace nx::oss
