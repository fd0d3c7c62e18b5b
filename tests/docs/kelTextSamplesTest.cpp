// The samples of docs/text.md, each between two lines of dashes, with what they come to.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelStringTokenizer.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include <string>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

TEST(TextDocument, BuildsALineInADataBuffer) {
    // ----
    nx::oss::DataBuffer line("item ");
    line.appendNumber(7);
    line.appendString(": ");
    line.appendBinary("\x01\xAB\xFF", 3, /*upperCase=*/false);
    line.insertString(0, icu::UnicodeString(u"n\u00E4chstes "), "UTF-8");
    line.replaceAll("item", "Element");  // nächstes Element 7: X'01abff'
    // ----
    EXPECT_STREQ(line.getString(),
                 "n\xC3\xA4"
                 "chstes Element 7: X'01abff'");
    EXPECT_EQ(line.length(), 30);
}

TEST(TextDocument, DecodesTheBinaryForm) {
    // ----
    const nx::oss::DataBuffer text("X'01abff'");
    std::string bytes(static_cast<std::size_t>(text.getBinary(nullptr, 0)), '\0');
    text.getBinary(bytes.data(), static_cast<int>(bytes.size()));
    // ----
    EXPECT_EQ(bytes, "\x01\xAB\xFF");
}

TEST(TextDocument, WalksUtf8) {
    std::string seen;
    // ----
    const nx::oss::UTF8String text(icu::UnicodeString(u"na\u00EFve"));
    nx::oss::UTF8Iterator it(text.getString());  // throws when it is not well-formed
    for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
        seen += c;
        seen += '.';
    }
    // ----
    EXPECT_EQ(seen, "n.a.\xC3\xAF.v.e.");
    EXPECT_EQ(it.numChars(), 5);
    EXPECT_EQ(it.length(), 6);
}

TEST(TextDocument, SplitsText) {
    std::string seen;
    // ----
    nx::oss::StringTokenizer pairs("port = 80; host = example", "=; ");
    while (pairs.hasMoreTokens()) {
        const icu::UnicodeString name = pairs.getNextTokenString();
        const std::string value = pairs.getNextToken();  // bytes, in UTF-8
        seen += nx::oss::UTF8String(name).getString() + (":" + value) + "\n";
    }
    // ----
    EXPECT_EQ(seen, "port:80\nhost:example\n");
}

TEST(TextDocument, TakesTheBuildVersionApart) {
    // ----
    const nx::oss::BuildVersion library;                                // 1.0.0.0-1.1-579
    const icu::UnicodeString& product = library.getProductVersion();    // 1.0.0.0
    const icu::UnicodeString& protocol = library.getProtocolVersion();  // 1.1
    const icu::UnicodeString& number = library.getBuildNumberString();  // 579
    // ----
    EXPECT_EQ(library.getBuildVersion(), u"1.0.0.0-1.1-579");
    EXPECT_EQ(product, u"1.0.0.0");
    EXPECT_EQ(protocol, u"1.1");
    EXPECT_EQ(number, u"579");
}

TEST(TextDocument, ParsesAndPrintsNumbers) {
    // ----
    const int count = nx::oss::Formatter::stringToInt32(" 42 ");        // 42
    const double share = nx::oss::Formatter::stringToDouble("2.5e-1");  // 0.25
    icu::UnicodeString text;
    nx::oss::Formatter::int32ToString(text, count);                // text is "42"
    nx::oss::Formatter::doubleToString(text, share);               // text is "420.250000"
    nx::oss::Formatter::formatHex(text, 255, /*upperCase=*/true);  // text is "X'FF'"
    // ----
    EXPECT_EQ(count, 42);
    EXPECT_DOUBLE_EQ(share, 0.25);
    EXPECT_EQ(text, icu::UnicodeString("X'FF'"));
}

TEST(TextDocument, ShowsNumbersToPeople) {
    // ----
    const nx::oss::Formatter german(nx::oss::Formatter::SHORT, nx::oss::Formatter::MEDIUM, "de_DE");
    icu::UnicodeString text;
    german.formatNumber(text, 1234567);  // 1.234.567
    long number = 0;
    const bool isNumber = german.parseAs(number, "1.234");  // true, number is 1234
    // ----
    EXPECT_EQ(text, icu::UnicodeString("1.234.567"));
    EXPECT_TRUE(isNumber);
    EXPECT_EQ(number, 1234);
}

TEST(TextDocument, FoldsLocaleNames) {
    // ----
    const nx::oss::NLSUtility& locales = nx::oss::NLSUtility::getInstance();
    const char* const swiss = locales.getStandardLocaleValue("de-CH.UTF-8");  // "deCH"
    const char* const hebrew = locales.getStandardLocaleValue("iw");          // "heIL"
    const bool known = locales.isSupported("xx_YY");                          // false
    // ----
    EXPECT_STREQ(swiss, "deCH");
    EXPECT_STREQ(hebrew, "heIL");
    EXPECT_FALSE(known);
}

TEST(TextDocument, WritesToAnArray) {
    nx::util::ExtendedProperties settings;
    settings.putPropertyAsInt32("port", 4711);
    // ----
    char array[4096];
    nx::oss::ByteArrayOutputStream out(array, sizeof array);
    settings.store(out);
    const std::string text(array, out.getCount());
    // ----
    EXPECT_EQ(text, "#saved by ExtendedProperties on \r\nport=4711\r\n");
}

}  // namespace
}  // namespace nx::oss
