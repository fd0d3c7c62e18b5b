#include <cerrno>
#include <memory>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;

constexpr const char* NO_BYTES = nullptr;

std::string withoutErrno(std::string text) {
    const std::string label = "errno: ";
    for (auto at = text.find(label); at != std::string::npos; at = text.find(label, at)) {
        at += label.size();
        text.replace(at, text.find_first_not_of("0123456789", at) - at, "#");
    }
    return text;
}

class ConverterDebug : public testing::Test {
  protected:
    void SetUp() override { Converter::setDebugging(true); }
    void TearDown() override { Converter::setDebugging(false); }

    // What the statement prints, with "#" for every value of errno: that is the C library's.
    template <class Statement>
    static std::string output(const Statement& statement) {
        testing::internal::CaptureStdout();
        statement();
        return withoutErrno(testing::internal::GetCapturedStdout());
    }

    template <class Statement>
    static std::string outputOfFailure(const Statement& statement) {
        return output([&] { EXPECT_THROW(statement(), NLSException); });
    }

    char dest_[32];
};

TEST(ConverterDebugging, IsOffAtFirstAndPrintsNothing) {
    EXPECT_FALSE(Converter::debugMode);
    testing::internal::CaptureStdout();
    char dest[8];
    Converter::convert(dest, 8, "UTF-8", u"abc");
    Converter::convert(dest, 8, "UTF-16", "ab", "UTF-8");
    Converter::convert(nullptr, 0, "UTF-8", "ab", "UTF-8");
    EXPECT_THROW(Converter::convert(dest, 0, "UTF-8", u"abc"), NLSException);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ConverterDebugging, IsThePublicSwitch) {
    Converter::setDebugging(true);
    EXPECT_TRUE(Converter::debugMode);
    Converter::setDebugging(false);
    EXPECT_FALSE(Converter::debugMode);
    Converter::debugMode = true;
    testing::internal::CaptureStdout();
    Converter::convert(nullptr, 0, "UTF-8", u"abc");
    Converter::debugMode = false;
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 7), "DEBUG: ");
}

TEST_F(ConverterDebug, ATextConversion) {
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", u"ab\u00E9"); }),
              "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
              "DEBUG: Destination length: [32] Data size: [3]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called extract to convert data - errno: # "
              "size: 5 destLength: 32 toCodePage: UTF-8.\n"
              "DEBUG: converted data: [ab\xC3\xA9]\n");
}

TEST_F(ConverterDebug, ATextConversionToBytes) {
    EXPECT_EQ(output([&] { Converter::convertToBytes(dest_, 32, "UTF-16LE", u"ab"); }),
              "DEBUG: convert parameters - ToCP: [UTF-16LE] Data is String object\n"
              "DEBUG: Destination length: [32] Data size: [2]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called extract to convert data - errno: # "
              "size: 4 destLength: 32 toCodePage: UTF-16LE.\n"
              "DEBUG: converted data is binary\n");
}

TEST_F(ConverterDebug, TheDefaultCodePageIsShownByItsName) {
    for (const char* codePage : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(output([&] { Converter::convert(dest_, 32, codePage, u"a"); }),
                  "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
                  "DEBUG: Destination length: [32] Data size: [1]\n"
                  "DEBUG: Converting data\n"
                  "DEBUG: Called extract to convert data - errno: # "
                  "size: 2 destLength: 32 toCodePage: UTF-8.\n"
                  "DEBUG: converted data: [a]\n");
    }
}

TEST_F(ConverterDebug, ATextSizeQuery) {
    EXPECT_EQ(output([] { Converter::convert(nullptr, 7, "UTF-8", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
              "DEBUG: Destination length: [7] Data size: [3]\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Called extract to get size - errno: # size: 4 toCodePage: UTF-8.\n");
    EXPECT_EQ(output([] { Converter::convertToBytes(nullptr, 0, "ISO-8859-1", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [ISO-8859-1] Data is String object\n"
              "DEBUG: Destination length: [0] Data size: [3]\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Called extract to get size - errno: # size: 3 toCodePage: ISO-8859-1.\n");
}

TEST_F(ConverterDebug, ShowsErrnoAsItStands) {
    testing::internal::CaptureStdout();
    errno = EDOM;
    Converter::convert(dest_, 32, "UTF-8", u"abc");
    errno = EDOM;
    Converter::convert(dest_, 32, "UTF-16LE", "abc", "UTF-8");
    errno = 0;
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_NE(text.find("Called extract to convert data - errno: 33 size: 4 "), text.npos) << text;
    EXPECT_NE(text.find("Called String constructor - errno: 33\n"), text.npos) << text;
}

TEST_F(ConverterDebug, AnEmptyText) {
    const std::string wanted =
        "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
        "DEBUG: Destination length: [32] Data size: [0]\n"
        "DEBUG: Converting data\n"
        "DEBUG: No data was passed\n";
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", UnicodeString()); }), wanted);
    EXPECT_EQ(output([&] { Converter::convertToBytes(dest_, 32, "UTF-8", UnicodeString()); }),
              wanted);
    EXPECT_EQ(output([] { Converter::convert(nullptr, 0, "UTF-8", UnicodeString()); }),
              "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
              "DEBUG: Destination length: [0] Data size: [0]\n"
              "DEBUG: Getting the size\n"
              "DEBUG: No data was passed\n");
}

TEST_F(ConverterDebug, ATextSizeQueryThatFails) {
    EXPECT_EQ(outputOfFailure([] { Converter::convert(nullptr, 0, "no-such", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [no-such] Data is String object\n"
              "DEBUG: Destination length: [0] Data size: [3]\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Call to extract to get size failed - errno: # "
              "size: 0 toCodePage: no-such.\n");
}

TEST_F(ConverterDebug, ATextConversionThatFails) {
    EXPECT_EQ(outputOfFailure([&] { Converter::convert(dest_, 32, "no-such", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [no-such] Data is String object\n"
              "DEBUG: Destination length: [32] Data size: [3]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Call to extract to convert data failed - errno: # "
              "size: 0 destLength: 32 toCodePage: no-such.\n");
}

TEST_F(ConverterDebug, ATextThatDoesNotFit) {
    EXPECT_EQ(outputOfFailure([&] { Converter::convert(dest_, 3, "UTF-8", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
              "DEBUG: Destination length: [3] Data size: [3]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Call to extract to convert data failed because the "
              "destination buffer was too small - size: 4 destLength: 3.\n");
    EXPECT_EQ(outputOfFailure([&] { Converter::convertToBytes(dest_, -1, "UTF-8", u"abc"); }),
              "DEBUG: convert parameters - ToCP: [UTF-8] Data is String object\n"
              "DEBUG: Destination length: [-1] Data size: [3]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Call to extract to convert data failed because the "
              "destination buffer was too small - size: 3 destLength: -1.\n");
}

TEST_F(ConverterDebug, AStringConversion) {
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", "a\xE9", "ISO-8859-1"); }),
              "DEBUG: convert parameters - FromCP: [ISO-8859-1] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [2] Data size: [2]\n"
              "DEBUG: Data: [a\xE9]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Called extract to convert data - errno: # "
              "size: 4 destLength: 32 toCodePage: UTF-8.\n"
              "DEBUG: converted data: [a\xC3\xA9]\n");
}

TEST_F(ConverterDebug, AStringConversionToBytes) {
    EXPECT_EQ(output([&] { Converter::convertToBytes(dest_, 32, "UTF-16LE", "ab", ""); }),
              "DEBUG: convert parameters - FromCP: [UTF-8] ToCP: [UTF-16LE]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [2] Data size: [2]\n"
              "DEBUG: Data: [ab]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Called extract to convert data - errno: # "
              "size: 4 destLength: 32 toCodePage: UTF-16LE.\n"
              "DEBUG: converted data is binary\n");
}

TEST_F(ConverterDebug, BytesOfAGivenLengthAreNotShown) {
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", "a\0b", 3, "ISO-8859-1"); }),
              "DEBUG: convert parameters - FromCP: [ISO-8859-1] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [3] Data is binary\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Called extract to convert data - errno: # "
              "size: 4 destLength: 32 toCodePage: UTF-8.\n"
              "DEBUG: converted data: [a]\n");
    EXPECT_EQ(output([] { Converter::convertToBytes(nullptr, 0, "UTF-8", "ab", 2, "US-ASCII"); }),
              "DEBUG: convert parameters - FromCP: [US-ASCII] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [0]\n"
              "DEBUG: Data length: [2] Data is binary\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Called extract to get size - errno: # size: 2 toCodePage: UTF-8.\n");
}

TEST_F(ConverterDebug, ASourceShownAsTextIsReadOnlyToItsEnd) {
    // No zero byte behind: reading on would be an overflow.
    const std::unique_ptr<char[]> source(new char[3]{'a', 'b', 'c'});
    const char* const bytes = source.get();
    EXPECT_EQ(
        output([&] { Converter::convert(dest_, 32, "UTF-8", true, bytes, 3, "UTF-8", true); }),
        "DEBUG: convert parameters - FromCP: [UTF-8] ToCP: [UTF-8]\n"
        "DEBUG: Destination length: [32]\n"
        "DEBUG: Data length: [3] Data size: [3]\n"
        "DEBUG: Data: [abc]\n"
        "DEBUG: Converting data\n"
        "DEBUG: Returning the passed data string - size: 4.\n");
}

TEST_F(ConverterDebug, ASourceShownAsTextEndsAtItsFirstZeroByte) {
    EXPECT_EQ(
        output([&] { Converter::convert(dest_, 32, "UTF-8", false, "a\0b", 3, "UTF-8", true); }),
        "DEBUG: convert parameters - FromCP: [UTF-8] ToCP: [UTF-8]\n"
        "DEBUG: Destination length: [32]\n"
        "DEBUG: Data length: [3] Data size: [1]\n"
        "DEBUG: Data: [a]\n"
        "DEBUG: Converting data\n"
        "DEBUG: Returning the passed data string - size: 3.\n");
}

TEST_F(ConverterDebug, ANullSource) {
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", NO_BYTES, "UTF-8"); }),
              "DEBUG: convert parameters - FromCP: [UTF-8] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [0] Data size: [0]\n"
              "DEBUG: Data: [(null)]\n"
              "DEBUG: Converting data\n"
              "DEBUG: No data buffer was passed\n");
    EXPECT_EQ(output([] { Converter::convertToBytes(nullptr, 0, "", NO_BYTES, 5, "UTF-16"); }),
              "DEBUG: convert parameters - FromCP: [UTF-16] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [0]\n"
              "DEBUG: Data length: [5] Data is binary\n"
              "DEBUG: Getting the size\n"
              "DEBUG: No data buffer was passed\n");
}

TEST_F(ConverterDebug, NoBytes) {
    EXPECT_EQ(output([&] { Converter::convert(dest_, 32, "UTF-8", "", "UTF-16"); }),
              "DEBUG: convert parameters - FromCP: [UTF-16] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [0] Data size: [0]\n"
              "DEBUG: Data: []\n"
              "DEBUG: Converting data\n"
              "DEBUG: No data was passed\n");
}

TEST_F(ConverterDebug, ANegativeLengthReadsNothing) {
    const std::unique_ptr<char[]> source(new char[1]{'a'});
    const char* const bytes = source.get();
    const std::string printed =
        output([&] { Converter::convert(dest_, 32, "UTF-8", true, bytes, -5, "UTF-16", true); });
    EXPECT_NE(printed.find("Data length: [-5] "), std::string::npos);
    EXPECT_NE(printed.find("DEBUG: No data was passed\n"), std::string::npos);
}

TEST_F(ConverterDebug, ACopy) {
    EXPECT_EQ(output([&] { Converter::convertToBytes(dest_, 32, "X", "abc", "X"); }),
              "DEBUG: convert parameters - FromCP: [X] ToCP: [X]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [3] Data size: [3]\n"
              "DEBUG: Data: [abc]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Returning the passed data string - size: 3.\n");
}

TEST_F(ConverterDebug, ACopyThatDoesNotFit) {
    EXPECT_EQ(outputOfFailure([&] { Converter::convert(dest_, 3, "X", "abc", "X"); }),
              "DEBUG: convert parameters - FromCP: [X] ToCP: [X]\n"
              "DEBUG: Destination length: [3]\n"
              "DEBUG: Data length: [3] Data size: [3]\n"
              "DEBUG: Data: [abc]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Could not convert data because the destination"
              " buffer was too small - size: 4 destLength: 3.\n");
    EXPECT_EQ(outputOfFailure([&] { Converter::convertToBytes(dest_, 2, "X", "abc", 3, "X"); }),
              "DEBUG: convert parameters - FromCP: [X] ToCP: [X]\n"
              "DEBUG: Destination length: [2]\n"
              "DEBUG: Data length: [3] Data is binary\n"
              "DEBUG: Converting data\n"
              "DEBUG: Could not convert data because the destination"
              " buffer was too small - size: 3 destLength: 2.\n");
}

TEST_F(ConverterDebug, TheSizeOfACopy) {
    EXPECT_EQ(output([] { Converter::convert(nullptr, 0, nullptr, "abc", 3, ""); }),
              "DEBUG: convert parameters - FromCP: [UTF-8] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [0]\n"
              "DEBUG: Data length: [3] Data is binary\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Returning just the size with both code pages the same - size: 4\n");
}

TEST_F(ConverterDebug, BytesThatDoNotConvert) {
    EXPECT_EQ(outputOfFailure([&] { Converter::convert(dest_, 32, "UTF-8", "abc", "no-such"); }),
              "DEBUG: convert parameters - FromCP: [no-such] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [32]\n"
              "DEBUG: Data length: [3] Data size: [3]\n"
              "DEBUG: Data: [abc]\n"
              "DEBUG: Converting data\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Call to extract to convert data failed - errno: # "
              "size: 0 destLength: 32 toCodePage: UTF-8.\n");
    EXPECT_EQ(outputOfFailure(
                  [] { Converter::convertToBytes(nullptr, 0, "UTF-8", "\xFF\xFE", 2, "UTF-16"); }),
              "DEBUG: convert parameters - FromCP: [UTF-16] ToCP: [UTF-8]\n"
              "DEBUG: Destination length: [0]\n"
              "DEBUG: Data length: [2] Data is binary\n"
              "DEBUG: Getting the size\n"
              "DEBUG: Called String constructor - errno: #\n"
              "DEBUG: Call to extract to get size failed - errno: # "
              "size: 0 toCodePage: UTF-8.\n");
}

TEST_F(ConverterDebug, ConvertedBytesThatDoNotFit) {
    EXPECT_EQ(
        outputOfFailure([&] { Converter::convert(dest_, 0, "UTF-8", "abc", 3, "ISO-8859-1"); }),
        "DEBUG: convert parameters - FromCP: [ISO-8859-1] ToCP: [UTF-8]\n"
        "DEBUG: Destination length: [0]\n"
        "DEBUG: Data length: [3] Data is binary\n"
        "DEBUG: Converting data\n"
        "DEBUG: Called String constructor - errno: #\n"
        "DEBUG: Call to extract to convert data failed because the "
        "destination buffer was too small - size: 4 destLength: 0.\n");
}

// A "%" in a name or in the data is printed, not interpreted.
TEST_F(ConverterDebug, PercentSignsAreNoFormat) {
    const std::string printed =
        output([&] { Converter::convert(dest_, 32, "%s%n", "100%s", "%s%n"); });
    EXPECT_NE(printed.find("FromCP: [%s%n] ToCP: [%s%n]\n"), std::string::npos);
    EXPECT_NE(printed.find("DEBUG: Data: [100%s]\n"), std::string::npos);
}

TEST_F(ConverterDebug, TheResultIsTheSameAsWithoutIt) {
    output([&] { EXPECT_EQ(Converter::convert(dest_, 32, "UTF-16LE", u"ab"), 5); });
    EXPECT_EQ(std::string(dest_, 5), std::string("a\0b\0\0", 5));
    output([&] { EXPECT_EQ(Converter::convertToBytes(dest_, 32, "UTF-8", "\xE9", "latin1"), 2); });
    EXPECT_EQ(std::string(dest_, 2), "\xC3\xA9");
}

}  // namespace
}  // namespace nx::oss
