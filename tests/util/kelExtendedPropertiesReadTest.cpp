#include <infra/util/kelExtendedProperties.h>

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <infra/oss/kelNLSException.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::hex4;
using test::pairsOf;
using test::readPairs;
using test::Report;
using test::shown;
using test::ShownPairs;

struct TextCase {
    std::string text;
    ShownPairs pairs;
};

void expectPairs(const std::vector<TextCase>& cases) {
    for (const TextCase& each : cases) {
        EXPECT_EQ(readPairs(each.text), each.pairs) << testing::PrintToString(each.text);
    }
}

/// The byte as test::shown() prints it.
std::string shownByte(unsigned byte) { return shown(UnicodeString(static_cast<UChar32>(byte))); }

// --- Lines --------------------------------------------------------------------------------------

TEST(ExtendedPropertiesLoad, GivesNothingForAnEmptyText) {
    EXPECT_EQ(readPairs(""), ShownPairs{});
    ExtendedProperties properties;
    properties.load(nullptr, 0);
    properties.loadFromString(nullptr, 0);
    EXPECT_EQ(pairsOf(properties), ShownPairs{});
}

TEST(ExtendedPropertiesLoad, ReadsAPairInEveryForm) {
    expectPairs({{"a=b", {{"a", "b"}}},
                 {"key value", {{"key", "value"}}},
                 {"key=value", {{"key", "value"}}},
                 {"key = value", {{"key", "value"}}},
                 {"key:value", {{"key", "value"}}},
                 {"key : value", {{"key", "value"}}},
                 {"key\tvalue", {{"key", "value"}}},
                 {"key\t=\t value", {{"key", "value"}}},
                 {"key", {{"key", ""}}},
                 {"key=", {{"key", ""}}},
                 {"key = ", {{"key", ""}}},
                 {"=value", {{"", "value"}}},
                 {":value", {{"", "value"}}},
                 {"=", {{"", ""}}},
                 {"a b=c", {{"a", "b=c"}}},
                 {"a b:c", {{"a", "b:c"}}},
                 {"  key  =  value  \n", {{"key", "value  "}}},
                 {"\t key\t=\tvalue\t\n", {{"key", "value{0009}"}}}});
}

TEST(ExtendedPropertiesLoad, ConsumesOneSeparator) {
    expectPairs({{"a==b", {{"a", "=b"}}},
                 {"a::b", {{"a", ":b"}}},
                 {"a=:b", {{"a", ":b"}}},
                 {"a = = b", {{"a", "= b"}}},
                 {"==b", {{"", "=b"}}}});
}

TEST(ExtendedPropertiesLoad, EndsLinesAtCrLfCrAndLf) {
    const ShownPairs both{{"a", "1"}, {"b", "2"}};
    expectPairs({{"a=1\nb=2\n", both},
                 {"a=1\rb=2\r", both},
                 {"a=1\r\nb=2\r\n", both},
                 {"a=1\n\rb=2", both},
                 {"\n\r\r\n\na=1\n\n\nb=2\r\r", both},
                 {"a\rb=2", {{"a", ""}, {"b", "2"}}},
                 {"a=\rb=2", {{"a", ""}, {"b", "2"}}},
                 {"a=1\r\nb=2", both}});
}

TEST(ExtendedPropertiesLoad, LetsTheLastValueOfAKeyWin) {
    expectPairs({{"a=1\r\na=2\n", {{"a", "2"}}}});
}

TEST(ExtendedPropertiesLoad, AddsToWhatIsThere) {
    ExtendedProperties properties;
    properties.putProperty("a", "old");
    properties.putProperty("z", "kept");
    properties.addInclude("i");
    test::load(properties, "a=new\nb=%a%\n");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "new"}, {"b", "%a%"}, {"z", "kept"}}));
    EXPECT_EQ(test::shownList(properties.getIncludes()), test::ShownList{"i"});
}

TEST(ExtendedPropertiesLoad, SkipsBlankLinesAndComments) {
    expectPairs({{"\n \n\t\n", {}},
                 {"# c\n! d\r\n#\r!\na=1\n", {{"a", "1"}}},
                 {"  # c=1\n\t! d=2\n", {}},
                 {"#a=1\rb=2\n", {{"b", "2"}}},
                 {"  \\\n  # c\n", {}},
                 {"# c\\\nk=v\n", {{"k", "v"}}},
                 {"#include name\n", {}}});
}

TEST(ExtendedPropertiesLoad, TakesACommentCharacterForOneAtTheStartOnly) {
    expectPairs({{"key=1 # note\n", {{"key", "1 # note"}}},
                 {"k#y!=1\n", {{"k#y!", "1"}}},
                 {"key #1\n", {{"key", "#1"}}},
                 {"\\#key=1\n", {{"#key", "1"}}},
                 {"\\!key=1\n", {{"!key", "1"}}}});
}

// Required: such a comment goes on as a line with nothing left on it.
TEST(ExtendedPropertiesLoad, AddsTheEmptyPairForACommentThatTheTextEndsIn) {
    expectPairs({{"# c", {{"", ""}}},
                 {"#", {{"", ""}}},
                 {"!", {{"", ""}}},
                 {"  ! c", {{"", ""}}},
                 {"a=1\n#x", {{"", ""}, {"a", "1"}}},
                 {"=v\n#x", {{"", ""}}},
                 {"# c\\", {{"", ""}}},
                 {"#c\n", {}},
                 {"#c\r", {}}});
}

TEST(ExtendedPropertiesLoad, AddsNothingForABlankTail) {
    expectPairs({{"a=1\n  ", {{"a", "1"}}},
                 {" ", {}},
                 {"\t \t", {}},
                 {" \\\n \\\r\n\\\r", {}},
                 {"\\\n", {}},
                 {"\\\n\\\n", {}}});
}

TEST(ExtendedPropertiesLoad, ContinuesLinesBehindABackslash) {
    expectPairs({{"a\\\n   b=c\n", {{"ab", "c"}}},
                 {"k=line1\\\n    line2\n", {{"k", "line1line2"}}},
                 {"k=line1\\\r\n\t line2\r\nj=1", {{"j", "1"}, {"k", "line1line2"}}},
                 {"k=line1\\\r line2", {{"k", "line1line2"}}},
                 {"k=a\\\n\\\n\\\n b", {{"k", "ab"}}},
                 {"k\\\n=\\\n v", {{"k", "v"}}},
                 {"k\\\n  :v", {{"k", "v"}}},
                 {"k \\\n\\\n= \\\n v", {{"k", "v"}}},
                 {"k=a\\\n", {{"k", "a"}}},
                 {"k=a\\\n   ", {{"k", "a"}}},
                 {"a\\\n\nb=c", {{"a", ""}, {"b", "c"}}},
                 {"k=a\\\n\nb=c", {{"b", "c"}, {"k", "a"}}},
                 {"k=a\\\n\rb", {{"b", ""}, {"k", "a"}}},
                 {"k=a\\\r\n\nb", {{"b", ""}, {"k", "a"}}},
                 {"k=a\\\n#b", {{"k", "a#b"}}},
                 {"k=a  \\\n  b", {{"k", "a  b"}}}});
}

TEST(ExtendedPropertiesLoad, TreatsABackslashElsewhereAsTheStartOfText) {
    expectPairs({{"\\", {{"", ""}}},
                 {"a=1\n\\", {{"", ""}, {"a", "1"}}},
                 {"k=\\", {{"k", ""}}},
                 {"k\\", {{"k", ""}}},
                 {"k=v\\", {{"k", "v"}}},
                 {"k \\", {{"k", ""}}},
                 {"  \\ k=v", {{" k", "v"}}},
                 {"k = \\ v", {{"k", " v"}}}});
}

TEST(ExtendedPropertiesLoad, ReadsEveryByteOfAKeyAsItsCharacter) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const std::string text = std::string("k") + c + "y=v\n";
        ShownPairs wanted{{"k" + shownByte(byte) + "y", "v"}};
        switch (c) {
            case ' ':
            case '\t':
                wanted = {{"k", "y=v"}};
                break;
            case '\r':
            case '\n':
                wanted = {{"k", ""}, {"y", "v"}};
                break;
            case ':':
            case '=':
                wanted = {{"k", "y=v"}};
                break;
            case '\\':
                wanted = {{"ky", "v"}};
                break;
            default:
                break;
        }
        EXPECT_EQ(readPairs(text), wanted) << byte;
    }
}

TEST(ExtendedPropertiesLoad, ReadsEveryByteOfAValueAsItsCharacter) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        ShownPairs wanted{{"k", "a" + shownByte(byte) + "z"}};
        if (c == '\r' || c == '\n') {
            wanted = {{"k", "a"}, {"z", ""}};
        } else if (c == '\\') {
            wanted = {{"k", "az"}};
        }
        EXPECT_EQ(readPairs(std::string("k=a") + c + "z"), wanted) << byte;
    }
}

TEST(ExtendedPropertiesLoad, ReadsEveryByteAtTheStartOfALine) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        ShownPairs wanted{{shownByte(byte) + "k", "v"}};
        switch (c) {
            case ' ':
            case '\t':
            case '\r':
            case '\n':
            case '\\':
                wanted = {{"k", "v"}};
                break;
            case ':':
            case '=':
                wanted = {{"", "k=v"}};
                break;
            case '!':
            case '#':
                wanted = {};
                break;
            default:
                break;
        }
        EXPECT_EQ(readPairs(c + std::string("k=v\n")), wanted) << byte;
    }
}

TEST(ExtendedPropertiesLoad, SkipsEveryByteInAComment) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool endsLine = c == '\r' || c == '\n';
        const ShownPairs wanted = endsLine ? ShownPairs{{"b", "c"}} : ShownPairs{};
        EXPECT_EQ(readPairs(std::string("#a") + c + "b=c\n"), wanted) << byte;
    }
}

TEST(ExtendedPropertiesLoad, ReadsLinesOfAnyLength) {
    const std::string key(100'000, 'k');
    const std::string value(1'000'000, 'v');
    EXPECT_EQ(readPairs(key + "=" + value + "\nb=1"), (ShownPairs{{"b", "1"}, {key, value}}));
    std::string escaped;
    for (int i = 0; i < 200'000; ++i) {
        escaped += "\\v";
    }
    EXPECT_EQ(readPairs("k=" + escaped), (ShownPairs{{"k", std::string(200'000, 'v')}}));
}

TEST(ExtendedPropertiesLoad, FindsTheSameAtEveryAlignmentAndLength) {
    for (std::size_t before = 0; before < 70; ++before) {
        const std::string key(before, 'k');
        const std::string value = std::string(before, '\xE9') + "\\t" + std::string(before, 'v');
        std::string wanted;
        for (std::size_t i = 0; i < before; ++i) {
            wanted += "{00E9}";
        }
        wanted += "{0009}" + std::string(before, 'v');
        EXPECT_EQ(readPairs(key + " = " + value + "\r\n"), (ShownPairs{{key, wanted}})) << before;
    }
}

// --- Escapes ------------------------------------------------------------------------------------

TEST(ExtendedPropertiesEscape, StandsForEveryByteInKeyAndValue) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        std::string wanted = shownByte(byte);
        switch (c) {
            case 'n':
                wanted = "{000A}";
                break;
            case 'r':
                wanted = "{000D}";
                break;
            case 't':
                wanted = "{0009}";
                break;
            case '\r':
            case '\n':
                wanted = "";
                break;
            default:
                break;
        }
        EXPECT_EQ(readPairs(std::string("a\\") + c + "z=b\\" + c + "y\n"),
                  (ShownPairs{{"a" + wanted + "z", "b" + wanted + "y"}}))
            << byte;
    }
}

TEST(ExtendedPropertiesEscape, OfFormatCharactersGivesThem) {
    expectPairs({{R"(k\ey=v)", {{"key", "v"}}},
                 {R"(a\=b\:c\ d\#e\!f\\g=1)", {{R"(a=b:c d#e!f\g)", "1"}}},
                 {R"(k=\ \=\:\#\!\\\a)", {{"k", R"( =:#!\a)"}}}});
}

TEST(ExtendedPropertiesUnicodeEscape, NeedsOneByteBehindItsDigits) {
    expectPairs({{"k=\\u0041", {{"k", "u0041"}}},
                 {"k=\\u0041\n", {{"k", "A"}}},
                 {"k=\\u0041\r", {{"k", "A"}}},
                 {"k=\\u00411", {{"k", "A1"}}},
                 {"k=\\u0041 ", {{"k", "A "}}},
                 {"\\u0041", {{"u0041", ""}}},
                 {"\\u0041=", {{"A", ""}}},
                 {"k=\\u004\n", {{"k", "u004"}}},
                 {"k=\\u004", {{"k", "u004"}}},
                 {"k=\\u\n", {{"k", "u"}}},
                 {"k=\\u", {{"k", "u"}}},
                 {"k=\\u0041\\u0042", {{"k", "Au0042"}}}});
}

TEST(ExtendedPropertiesUnicodeEscape, TakesDigitsOfBothCases) {
    expectPairs({{"k=\\u00e9\n", {{"k", "{00E9}"}}},
                 {"k=\\u00E9\n", {{"k", "{00E9}"}}},
                 {"k=\\uaBcD\n", {{"k", "{ABCD}"}}},
                 {"k=\\u09Af\n", {{"k", "{09AF}"}}},
                 {"k=\\u0000\n", {{"k", "{0000}"}}},
                 {"k=\\u00415\n", {{"k", "A5"}}},
                 {"k=\\uFFFD\n", {{"k", "{FFFD}"}}},
                 {"\\u006B=v", {{"k", "v"}}},
                 {"k=\\u003D\\u000A\\u0020\n", {{"k", "={000A} "}}}});
}

TEST(ExtendedPropertiesUnicodeEscape, DegradesToItsLetterWithoutDigits) {
    expectPairs({{"k=\\uZZZZ\n", {{"k", "uZZZZ"}}},
                 {"k=\\uuuuu\n", {{"k", "uuuuu"}}},
                 {"k=\\u004G\n", {{"k", "u004G"}}},
                 {"k=\\uG041\n", {{"k", "uG041"}}},
                 {"k=\\u 041\n", {{"k", "u 041"}}},
                 {"k=\\u-041\n", {{"k", "u-041"}}},
                 {"k=\\u+041\n", {{"k", "u+041"}}},
                 {"k=\\u0x41\n", {{"k", "u0x41"}}},
                 {"k=\\U0041\n", {{"k", "U0041"}}},
                 // What follows the letter is read as ever.
                 {"k=\\u00\\u0041\n", {{"k", "u00A"}}},
                 {"k=\\u00\n41=\n", {{"41", ""}, {"k", "u00"}}},
                 {"\\u00=41\n", {{"u00", "41"}}},
                 {"k=\\u\\\n 0041\n", {{"k", "u0041"}}}});
}

TEST(ExtendedPropertiesUnicodeEscape, RejectsEveryByteThatIsNoDigitInEveryPlace) {
    const std::string digits = "0123456789ABCDEFabcdef";
    for (std::size_t place = 0; place < 4; ++place) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            std::string text = "0000";
            text[place] = static_cast<char>(byte);
            UnicodeString out;
            std::size_t pos = 1;
            const std::string bytes = "\\u" + text + ".";
            ExtendedProperties::readEscaped(out, pos, bytes.data(), bytes.size());
            const bool isDigit = digits.find(text[place]) != std::string::npos;
            EXPECT_EQ(pos, isDigit ? 6u : 2u) << place << " " << byte;
            EXPECT_EQ(out.length(), 1);
            EXPECT_EQ(out == UnicodeString("u"), !isDigit);
        }
    }
}

TEST(ExtendedPropertiesUnicodeEscape, NamesEveryUnitButSurrogatesAndNoncharacters) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const bool refused = (unit >= 0xD800 && unit <= 0xDFFF) ||
                             (unit >= 0xFDD0 && unit <= 0xFDEF) || unit == 0xFFFE || unit == 0xFFFF;
        const std::string bytes = "u" + hex4(unit) + "\n";
        UnicodeString out;
        std::size_t pos = 0;
        ExtendedProperties::readEscaped(out, pos, bytes.data(), bytes.size());
        ASSERT_EQ(pos, refused ? 1u : 5u) << hex4(unit);
        ASSERT_EQ(out.length(), 1);
        ASSERT_EQ(static_cast<unsigned>(out.charAt(0)), refused ? 'u' : unit);
    }
    expectPairs({{"k=\\uD83D\n", {{"k", "uD83D"}}},
                 {"k=\\uD83D\\uDE00\n", {{"k", "uD83DuDE00"}}},
                 {"k=\\uDFFF\n", {{"k", "uDFFF"}}},
                 {"k=\\uFFFF\n", {{"k", "uFFFF"}}},
                 {"k=\\ufdd0\n", {{"k", "ufdd0"}}}});
}

// --- Positions ----------------------------------------------------------------------------------

/// Where a scanning operation stops that starts at `pos`.
template <class Operation>
std::size_t after(const Operation& operation, std::size_t pos, const std::string& text) {
    const std::vector<char> bytes(text.begin(), text.end());
    operation(pos, bytes.data(), bytes.size());
    return pos;
}

TEST(ExtendedPropertiesSkipNewLine, StepsOverOneLineEnd) {
    const auto skip = ExtendedProperties::skipNewLine;
    EXPECT_EQ(after(skip, 0, "\r\n\n"), 2u);
    EXPECT_EQ(after(skip, 0, "\r\r"), 1u);
    EXPECT_EQ(after(skip, 0, "\n\r"), 1u);
    EXPECT_EQ(after(skip, 0, "\r"), 1u);
    EXPECT_EQ(after(skip, 0, "a\n"), 0u);
    EXPECT_EQ(after(skip, 0, " \n"), 0u);
    EXPECT_EQ(after(skip, 1, "a\r\nb"), 3u);
    EXPECT_EQ(after(skip, 0, ""), 0u);
    EXPECT_EQ(after(skip, 1, "\n"), 1u);
    EXPECT_EQ(after(skip, 5, "\n"), 5u);
}

TEST(ExtendedPropertiesSkipWhiteSpace, StepsOverBlanksTabsAndContinuedLineEnds) {
    const auto skip = ExtendedProperties::skipWhiteSpace;
    EXPECT_EQ(after(skip, 0, " \t a"), 3u);
    EXPECT_EQ(after(skip, 0, " \\\n \\\r\n\\\r\ta"), 10u);
    EXPECT_EQ(after(skip, 0, "\\"), 0u);
    EXPECT_EQ(after(skip, 0, " \\"), 1u);
    EXPECT_EQ(after(skip, 0, " \\a"), 1u);
    EXPECT_EQ(after(skip, 0, "\\\\\n"), 0u);
    EXPECT_EQ(after(skip, 0, "\\ \n"), 0u);
    EXPECT_EQ(after(skip, 0, " \n"), 1u);
    EXPECT_EQ(after(skip, 0, "\f "), 0u);
    EXPECT_EQ(after(skip, 0, "\v\xA0"), 0u);
    EXPECT_EQ(after(skip, 0, "   "), 3u);
    EXPECT_EQ(after(skip, 2, "a  b"), 3u);
    EXPECT_EQ(after(skip, 0, ""), 0u);
    EXPECT_EQ(after(skip, 7, "   "), 7u);
}

TEST(ExtendedPropertiesSkipAssignOp, StepsOverAtMostOneSeparator) {
    const auto skip = ExtendedProperties::skipAssignOp;
    EXPECT_EQ(after(skip, 1, "a = b"), 4u);
    EXPECT_EQ(after(skip, 1, "a : b"), 4u);
    EXPECT_EQ(after(skip, 1, "a b"), 2u);
    EXPECT_EQ(after(skip, 1, "a==b"), 2u);
    EXPECT_EQ(after(skip, 1, "a = = b"), 4u);
    EXPECT_EQ(after(skip, 1, "a\\\n=\\\n b"), 7u);
    EXPECT_EQ(after(skip, 0, "a"), 0u);
    EXPECT_EQ(after(skip, 0, "="), 1u);
    EXPECT_EQ(after(skip, 0, ""), 0u);
    EXPECT_EQ(after(skip, 3, "="), 3u);
}

TEST(ExtendedPropertiesSkipLine, StepsBehindTheNextLineEnd) {
    const auto skip = ExtendedProperties::skipLine;
    EXPECT_EQ(after(skip, 0, "abc\r\nd"), 5u);
    EXPECT_EQ(after(skip, 0, "abc\rd"), 4u);
    EXPECT_EQ(after(skip, 0, "abc\n\nd"), 4u);
    EXPECT_EQ(after(skip, 0, "a\\\nd"), 3u);
    EXPECT_EQ(after(skip, 0, "abc"), 3u);
    EXPECT_EQ(after(skip, 0, ""), 0u);
    EXPECT_EQ(after(skip, 9, "abc"), 9u);
}

TEST(ExtendedPropertiesReadEscaped, AppendsOneCharacterAndMovesOn) {
    const auto read = [](const std::string& text, std::size_t pos) {
        UnicodeString out("x");
        const std::size_t end =
            after([&](std::size_t& at, const char* data,
                      std::size_t len) { ExtendedProperties::readEscaped(out, at, data, len); },
                  pos, text);
        return shown(out) + "@" + std::to_string(end);
    };
    EXPECT_EQ(read("n", 0), "x{000A}@1");
    EXPECT_EQ(read("rr", 0), "x{000D}@1");
    EXPECT_EQ(read("ta", 0), "x{0009}@1");
    EXPECT_EQ(read("a", 0), "xa@1");
    EXPECT_EQ(read("\xFF", 0), "x{00FF}@1");
    EXPECT_EQ(read(std::string(1, '\0'), 0), "x{0000}@1");
    EXPECT_EQ(read("u0041.", 0), "xA@5");
    EXPECT_EQ(read("u0041", 0), "xu@1");
    EXPECT_EQ(read("\r\n \t a", 0), "x@5");
    EXPECT_EQ(read("\n", 0), "x@1");
    EXPECT_EQ(read("", 0), "x@0");
    EXPECT_EQ(read("abc", 3), "x@3");
    EXPECT_EQ(read("abc", 8), "x@8");
}

TEST(ExtendedPropertiesReadEscaped, AppendsToANullTextAsToAnEmptyOne) {
    const auto appendTo = [](UnicodeString out, const std::string& bytes) {
        std::size_t pos = 0;
        ExtendedProperties::readEscaped(out, pos, bytes.data(), bytes.size());
        return test::utf8(out);
    };
    UnicodeString null;
    null.setToBogus();
    EXPECT_EQ(appendTo(null, "a"), "a");
    EXPECT_EQ(appendTo(null, "u00E9."), "\u00E9");
    EXPECT_EQ(appendTo(null, "\n  b"), "");
    EXPECT_EQ(appendTo(null, ""), "");
    EXPECT_EQ(appendTo("x", "a"), "xa");
}

TEST(ExtendedPropertiesLoadLine, TellsWhetherSomethingWasLeft) {
    ExtendedProperties properties;
    const std::string text = "a=1\r\n\n# c\nb=2\n  ";
    std::size_t pos = 0;
    const auto line = [&] { return properties.loadLine(pos, text.data(), text.size()); };
    EXPECT_TRUE(line());
    EXPECT_EQ(pos, 5u);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}}));
    EXPECT_TRUE(line());
    EXPECT_EQ(pos, 6u);
    EXPECT_TRUE(line());
    EXPECT_EQ(pos, 10u);
    EXPECT_TRUE(line());
    EXPECT_EQ(pos, 14u);
    EXPECT_FALSE(line());
    EXPECT_EQ(pos, text.size());
    EXPECT_FALSE(line());
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}, {"b", "2"}}));
}

TEST(ExtendedPropertiesLoadLine, GivesFalseAtOnceAtTheEndAndBehindIt) {
    ExtendedProperties properties;
    for (const std::size_t start : {std::size_t{0}, std::size_t{1}, std::size_t{1000},
                                    std::numeric_limits<std::size_t>::max()}) {
        std::size_t pos = start;
        EXPECT_FALSE(properties.loadLine(pos, "", 0));
        EXPECT_EQ(pos, start);
    }
    EXPECT_EQ(pairsOf(properties), ShownPairs{});
}

TEST(ExtendedPropertiesLoadLine, GivesTrueForTheLastCommentAndItsPair) {
    ExtendedProperties properties;
    std::size_t pos = 0;
    EXPECT_TRUE(properties.loadLine(pos, "# c", 3));
    EXPECT_EQ(pos, 3u);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"", ""}}));
    EXPECT_FALSE(properties.loadLine(pos, "# c", 3));
}

TEST(ExtendedPropertiesLoadLine, StartsInTheMiddleOfALine) {
    ExtendedProperties properties;
    std::size_t pos = 2;
    EXPECT_TRUE(properties.loadLine(pos, "a=b=c", 5));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"b", "c"}}));
}

// --- loadFromString -----------------------------------------------------------------------------

ShownPairs loaded(const UnicodeString& text) {
    ExtendedProperties properties;
    properties.loadFromString(text);
    return pairsOf(properties);
}

TEST(ExtendedPropertiesLoadFromString, ResolvesWhenToldTo) {
    const std::string text = "a=%b%\nb=x\n";
    for (const bool flag : {false, true}) {
        ExtendedProperties resolved;
        resolved.loadFromString(text.data(), text.size(), flag, true);
        EXPECT_EQ(pairsOf(resolved), (ShownPairs{{"a", "x"}, {"b", "x"}}));
        ExtendedProperties plain;
        plain.loadFromString(text.data(), text.size(), flag, false);
        EXPECT_EQ(pairsOf(plain), (ShownPairs{{"a", "%b%"}, {"b", "x"}}));
    }
}

TEST(ExtendedPropertiesLoadFromString, ResolvesByDefault) {
    const std::string text = "a=%b%\nb=x\n";
    ExtendedProperties properties;
    properties.loadFromString(text.data(), text.size());
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "x"}, {"b", "x"}}));
    EXPECT_EQ(loaded("a=%b%\nb=x\n"), (ShownPairs{{"a", "x"}, {"b", "x"}}));
}

TEST(ExtendedPropertiesLoadFromString, ResolvesAlsoWhatWasThereBefore) {
    ExtendedProperties properties;
    properties.putProperty("a", "%b%");
    properties.putProperty("b", "x");
    properties.loadFromString("", 0);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "x"}, {"b", "x"}}));
    properties.putProperty("a", "%b%");
    properties.loadFromString(UnicodeString());
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "x"}, {"b", "x"}}));
}

TEST(ExtendedPropertiesLoadFromString, ResolvesOnlyAfterTheWholeText) {
    const std::string text = "a=%b%\nc=1%b%2\nb=x\nd=%nope%\ne=%b%\nf=last";
    ExtendedProperties properties;
    EXPECT_RAISES(PropertiesException, properties.loadFromString(text.data(), text.size()),
                  Report("ERR_PROPERTIES_BAD_REFERENCE")
                      .at("src/infra/util/kelExtendedProperties", 542)
                      .with({"d", "nope"}));
    EXPECT_EQ(
        pairsOf(properties),
        (ShownPairs{
            {"a", "x"}, {"b", "x"}, {"c", "1x2"}, {"d", "%nope%"}, {"e", "%b%"}, {"f", "last"}}));
}

TEST(ExtendedPropertiesLoadFromString, LetsTheEmptyPairOfALastCommentBeReferredTo) {
    EXPECT_EQ(loaded("a=%%\n# c"), (ShownPairs{{"", ""}, {"a", ""}}));
}

TEST(ExtendedPropertiesLoadFromText, IsLatin1) {
    UnicodeString text("k=");
    std::string wanted;
    for (char16_t unit = 0x7F; unit <= 0xFF; ++unit) {
        text.append(unit);
        wanted += shownByte(unit);
    }
    EXPECT_EQ(loaded(text), (ShownPairs{{"k", wanted}}));
}

TEST(ExtendedPropertiesLoadFromText, SubstitutesWhatLatin1CannotHold) {
    EXPECT_EQ(loaded(u"k=\u20ACx\u4E00"), (ShownPairs{{"k", "{001A}x{001A}"}}));
    EXPECT_EQ(loaded(UnicodeString("k=").append(static_cast<UChar32>(0x1F600)).append(u'x')),
              (ShownPairs{{"k", "{001A}x"}}));
    EXPECT_EQ(loaded(UnicodeString("k=").append(static_cast<char16_t>(0xD83D)).append(u'x')),
              (ShownPairs{{"k", "{001A}x"}}));
    EXPECT_EQ(loaded(u"k=\\u20AC\n"), (ShownPairs{{"k", "{20AC}"}}));
}

TEST(ExtendedPropertiesLoadFromText, KeepsNuls) {
    EXPECT_EQ(loaded(UnicodeString(u"k=a\0b\nj\0=1", 10)),
              (ShownPairs{{"j{0000}", "1"}, {"k", "a{0000}b"}}));
}

TEST(ExtendedPropertiesLoadFromText, KeepsTheMarginOfUnicodeEscapes) {
    EXPECT_EQ(loaded(u"k=\\u0041"), (ShownPairs{{"k", "u0041"}}));
    EXPECT_EQ(loaded(u"# c"), (ShownPairs{{"", ""}}));
}

TEST(ExtendedPropertiesLoadFromText, HoldsTextsAroundAndFarAboveItsBuffer) {
    for (const int length : {509, 510, 511, 512, 513, 1024, 100'000}) {
        UnicodeString text("k=");
        text.append(UnicodeString(length - 2, u'v', length - 2));
        EXPECT_EQ(loaded(text),
                  (ShownPairs{{"k", std::string(static_cast<std::size_t>(length - 2), 'v')}}))
            << length;
    }
}

TEST(ExtendedPropertiesLoadFromText, ReadsANullTextAsAnEmptyOne) {
    UnicodeString null;
    null.setToBogus();
    EXPECT_EQ(loaded(null), ShownPairs{});
}

// ICU drops ignorable characters, and a conversion to nothing is an error of the converter.
TEST(ExtendedPropertiesLoadFromText, PassesErrorsOfTheConverterOn) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    EXPECT_RAISES(
        oss::NLSException, properties.loadFromString(UnicodeString(u"\u200D")),
        Report("ERR_CONV_CONVERSION_ERROR").in("kelConverter.cpp").with({"UTF-16", "ISO8859_1"}));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}}));
}

}  // namespace
}  // namespace nx::util
