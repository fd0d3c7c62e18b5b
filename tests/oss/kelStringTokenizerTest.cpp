#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelStringTokenizer.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelGuardedMemory.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using ::nx::test::Report;
using ::nx::test::utf8;
using Tokens = std::vector<std::string>;

/// All tokens in UTF-8, from the first one on.
Tokens stringsOf(StringTokenizer& tokenizer) {
    Tokens tokens;
    for (int i = 0; i < tokenizer.countTokens(); ++i) {
        tokens.push_back(
            utf8(i == 0 ? tokenizer.getFirstTokenString() : tokenizer.getNextTokenString()));
    }
    EXPECT_FALSE(tokenizer.hasMoreTokens());
    return tokens;
}

Tokens bytesOf(StringTokenizer& tokenizer) {
    Tokens tokens;
    for (int i = 0; i < tokenizer.countTokens(); ++i) {
        tokens.emplace_back(i == 0 ? tokenizer.getFirstToken() : tokenizer.getNextToken());
    }
    EXPECT_FALSE(tokenizer.hasMoreTokens());
    return tokens;
}

/// The tokens that both constructors and both kinds of operations agree on.
Tokens tokensOf(const char* text, const char* delimiters = nullptr) {
    StringTokenizer ofBytes(text, delimiters);
    const Tokens tokens = stringsOf(ofBytes);
    EXPECT_EQ(bytesOf(ofBytes), tokens);
    StringTokenizer ofText(UnicodeString::fromUTF8(text), delimiters);
    EXPECT_EQ(stringsOf(ofText), tokens);
    EXPECT_EQ(bytesOf(ofText), tokens);
    return tokens;
}

Tokens tokensOf(const UnicodeString& text, const UnicodeString& delimiters) {
    StringTokenizer tokenizer(UnicodeString{});
    tokenizer.parseString(text, delimiters);
    return stringsOf(tokenizer);
}

// --- Splitting ----------------------------------------------------------------------------------

struct Row {
    const char* name;
    const char* text;
    const char* delimiters;
    Tokens tokens;
};

const Row ROWS[] = {
    {"BlankByDefault", "a b", nullptr, {"a", "b"}},
    {"EachDefaultDelimiter", "a b\rc\nd\te", nullptr, {"a", "b", "c", "d", "e"}},
    {"NoOtherDefaultDelimiter", "a\vb\fc,d;e", nullptr, {"a\vb\fc,d;e"}},
    {"EmptyDelimitersAreTheDefaultOnes", "a b\tc", "", {"a", "b", "c"}},
    {"RunBetweenTokens", "a,,b", ",", {"a", "b"}},
    {"LongRunOfAll", "a \t\r\n \t b", nullptr, {"a", "b"}},
    {"DelimiterAtTheEnd", "a,b,", ",", {"a", "b"}},
    {"DelimitersAtTheEnd", "a,b,,,", ",", {"a", "b"}},
    {"DelimiterAtTheStart", ",a", ",", {"", "a"}},
    {"DelimitersAtTheStart", ",,,a,b", ",", {"", "a", "b"}},
    {"DelimiterAlone", ",", ",", {""}},
    {"DelimitersAlone", ",,,,", ",", {""}},
    {"CarriageReturnWithLineFeed", "x\r\ny", nullptr, {"x", "y"}},
    {"CarriageReturnWithLineFeedAtTheStart", "\r\ny", nullptr, {"", "y"}},
    {"CarriageReturnWithLineFeedAlone", "\r\n", nullptr, {""}},
    {"CarriageReturnsAndLineFeeds", "\r\r\n\nx\n\ry\r\n\r\n", nullptr, {"", "x", "y"}},
    {"PairWhereOnlyLineFeedDelimits", "x\r\ny", "\n", {"x\r", "y"}},
    {"PairWhereOnlyCarriageReturnDelimits", "x\r\ny", "\r", {"x", "\ny"}},
    {"NoDelimiterInside", "abc", ",", {"abc"}},
    {"OneUnit", "a", ",", {"a"}},
    {"OtherDelimitersThanTheDefaultOnes", "a b,c", ",", {"a b", "c"}},
    {"RepeatedDelimiter", "a,b", ",,", {"a", "b"}},
    {"SeveralDelimiters", "k=v;x:y", "=;:", {"k", "v", "x", "y"}},
    {"DelimiterOutsideAscii", "a\u00A7b\u3001c", "\u3001\u00A7", {"a", "b", "c"}},
    {"CaseMatters", "aXbxc", "x", {"aXb", "c"}},
    {"DelBeforeTheEndOfAscii",
     "a\x7F"
     "b~c",
     "\x7F",
     {"a", "b~c"}},
};

class StringTokenizerSplits : public testing::TestWithParam<Row> {};

TEST_P(StringTokenizerSplits, IntoTheseTokens) {
    const Row& row = GetParam();
    EXPECT_EQ(tokensOf(row.text, row.delimiters), row.tokens);
}

INSTANTIATE_TEST_SUITE_P(Rows, StringTokenizerSplits, testing::ValuesIn(ROWS),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(StringTokenizerSplit, OfNothingHasNoTokens) {
    const UnicodeString empty;
    UnicodeString bogus;
    bogus.setToBogus();
    StringTokenizer tokenizers[] = {{empty}, {bogus}, {""}, {nullptr}, {nullptr, ",", "UTF-16"}};
    for (StringTokenizer& tokenizer : tokenizers) {
        EXPECT_EQ(tokenizer.countTokens(), 0);
        EXPECT_FALSE(tokenizer.hasMoreTokens());
        EXPECT_STREQ(tokenizer.getFirstToken(), "");
        EXPECT_STREQ(tokenizer.getNextToken(), "");
        EXPECT_EQ(utf8(tokenizer.getFirstTokenString()), "");
        EXPECT_EQ(utf8(tokenizer.getNextTokenString()), "");
        EXPECT_FALSE(tokenizer.hasMoreTokens());
    }
}

TEST(StringTokenizerSplit, TakesZerosInATextForUnitsLikeOthers) {
    const UnicodeString text(u"a\0b,\0", 5);
    StringTokenizer tokenizer(text, ",");
    EXPECT_EQ(tokenizer.countTokens(), 2);
    EXPECT_EQ(tokenizer.getFirstTokenString(), UnicodeString(u"a\0b", 3));
    EXPECT_EQ(tokenizer.getNextTokenString(), UnicodeString(u"\0", 1));
    EXPECT_EQ(tokensOf(text, UnicodeString(u"\0", 1)), (Tokens{"a", "b,"}));
}

TEST(StringTokenizerSplit, EndsBytesAtTheirFirstZero) {
    StringTokenizer tokenizer("a b\0c", nullptr);
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"a", "b"}));
    StringTokenizer bytes(UnicodeString(u"a\0b", 3), ",");
    EXPECT_EQ(std::string(bytes.getFirstToken(), 4), std::string("a\0b\0", 4));
}

TEST(StringTokenizerSplit, TakesBothHalvesOfACharacterBeyondFFFFForDelimiters) {
    const UnicodeString text = UnicodeString::fromUTF8(
        "a\xF0\x9F\x98\x80"
        "b");
    StringTokenizer tokenizer(text, "\xF0\x9F\x98\x80");
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"a", "b"}));
    // U+1F601 begins with the same half.
    tokenizer.parseString(u"a\U0001F601b", u"\U0001F600");
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"a");
    EXPECT_EQ(tokenizer.getNextTokenString(), UnicodeString(u'\xDE01').append(u'b'));
}

TEST(StringTokenizerSplit, FindsASingleSurrogate) {
    const UnicodeString low(static_cast<char16_t>(0xDE00));
    const UnicodeString text = UnicodeString(u"a").append(low).append(u"b\U0001F600c");
    StringTokenizer tokenizer(UnicodeString{});
    tokenizer.parseString(text, low);
    EXPECT_EQ(tokenizer.countTokens(), 3);
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"a");
    EXPECT_EQ(tokenizer.getNextTokenString(), UnicodeString(u'b').append(u'\xD83D'));
    EXPECT_EQ(tokenizer.getNextTokenString(), u"c");
}

TEST(StringTokenizerSplit, TellsUnitsApartThatShareTheirLowerByte) {
    EXPECT_EQ(tokensOf(u"a\u012Cb\u022C,c\uFF2C", u","), (Tokens{"a\u012Cb\u022C", "c\uFF2C"}));
    EXPECT_EQ(tokensOf(u"a,b\u012Cc", u"\u012C"), (Tokens{"a,b", "c"}));
    EXPECT_EQ(tokensOf(u"a\u00ACb\u802Cc", u"\u002C"), (Tokens{"a\u00ACb\u802Cc"}));
}

TEST(StringTokenizerSplit, WorksAtEveryLengthAroundTheSizesThatItReadsAtOnce) {
    for (const int length : {26, 27, 28, 29, 63, 64, 65, 4095, 4096, 4097, 8191, 8192, 8193}) {
        const UnicodeString first(length, u'f', length);
        const UnicodeString second(length, u's', length);
        StringTokenizer tokenizer(UnicodeString(first).append(u',').append(second), ",");
        ASSERT_EQ(tokenizer.countTokens(), 2) << length;
        EXPECT_EQ(tokenizer.getFirstTokenString(), first) << length;
        EXPECT_EQ(tokenizer.getNextTokenString(), second) << length;
        const UnicodeString run(length, u',', length);
        tokenizer.parseString(UnicodeString(run).append(first).append(run), u",");
        ASSERT_EQ(tokenizer.countTokens(), 2) << length;
        EXPECT_EQ(tokenizer.getFirstTokenString(), u"") << length;
        EXPECT_EQ(tokenizer.getNextTokenString(), first) << length;
        tokenizer.parseString(run, u",");
        EXPECT_EQ(tokenizer.countTokens(), 1) << length;
    }
}

/// A string that refers to the caller's units has nothing behind them.
TEST(StringTokenizerSplit, ReadsNothingBehindTheText) {
    test::GuardedMemory memory(4096);
    for (int length = 1; length <= 80; ++length) {
        for (int last = 0; last < length; ++last) {
            char16_t* const units = memory.last<char16_t>(static_cast<std::size_t>(length));
            std::fill_n(units, length, u'x');
            units[last] = u',';
            StringTokenizer tokenizer(UnicodeString(false, units, length), ",");
            const UnicodeString behind(length - 1 - last, u'x', length - 1 - last);
            EXPECT_EQ(tokenizer.countTokens(), last < length - 1 ? 2 : 1) << length;
            EXPECT_EQ(tokenizer.getFirstTokenString(), UnicodeString(last, u'x', last)) << length;
            EXPECT_EQ(tokenizer.getNextTokenString(), behind) << length;
        }
    }
}

TEST(StringTokenizerSplit, CountsAMillionTokens) {
    UnicodeString text;
    for (int i = 0; i < 1'000'000; ++i) {
        text.append(u"x ");
    }
    StringTokenizer tokenizer(text);
    EXPECT_EQ(tokenizer.countTokens(), 1'000'000);
    int found = 0;
    for (; tokenizer.hasMoreTokens(); ++found) {
        ASSERT_EQ(tokenizer.getNextTokenString(), u"x");
    }
    EXPECT_EQ(found, 1'000'000);
}

TEST(StringTokenizerSplit, TakesAnyNumberOfDelimiters) {
    std::string all;
    for (int unit = 1; unit < 128; ++unit) {
        all.push_back(static_cast<char>(unit));
    }
    EXPECT_EQ(tokensOf("\u00E9"
                       "a\u00FC",
                       all.c_str()),
              (Tokens{"\u00E9", "\u00FC"}));
    UnicodeString every;
    for (int unit = 0; unit < 0x10000; ++unit) {
        every.append(static_cast<char16_t>(unit));
    }
    EXPECT_EQ(tokensOf(u"any text\uFFFF", every), (Tokens{""}));
    every.remove(u'x', 1);
    EXPECT_EQ(tokensOf(u"next", every), (Tokens{"", "x"}));
}

TEST(StringTokenizerSplit, KeepsNothingOfItsArguments) {
    UnicodeString text(u"first second");
    std::string delimiters = " ";
    StringTokenizer tokenizer(text, delimiters.c_str());
    text.remove();
    delimiters[0] = 'x';
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"first", "second"}));
    std::u16string storage(100, u'q');
    StringTokenizer aliasing(UnicodeString(false, storage.data(), static_cast<int>(storage.size())),
                             ",");
    storage.assign(100, u'z');
    EXPECT_EQ(stringsOf(aliasing), (Tokens{std::string(100, 'q')}));
}

// --- parseString --------------------------------------------------------------------------------

TEST(StringTokenizerParseString, ReplacesAllTokensAndStartsAgain) {
    StringTokenizer tokenizer("a b c");
    tokenizer.getFirstToken();
    tokenizer.getNextTokenString();
    tokenizer.parseString(u"d,e", u",");
    EXPECT_EQ(tokenizer.countTokens(), 2);
    EXPECT_TRUE(tokenizer.hasMoreTokens());
    EXPECT_STREQ(tokenizer.getNextToken(), "d");
    EXPECT_STREQ(tokenizer.getNextToken(), "e");
    tokenizer.parseString(u"", u",");
    EXPECT_EQ(tokenizer.countTokens(), 0);
    EXPECT_FALSE(tokenizer.hasMoreTokens());
    EXPECT_STREQ(tokenizer.getNextToken(), "");
}

TEST(StringTokenizerParseString, WithoutDelimitersTakesTheDefaultOnes) {
    UnicodeString bogus;
    bogus.setToBogus();
    EXPECT_EQ(tokensOf(u"a b\tc\rd\ne,f", u""), (Tokens{"a", "b", "c", "d", "e,f"}));
    EXPECT_EQ(tokensOf(u"a b\tc\rd\ne,f", bogus), (Tokens{"a", "b", "c", "d", "e,f"}));
}

TEST(StringTokenizerParseString, OfANullTextHasNoTokens) {
    UnicodeString bogus;
    bogus.setToBogus();
    StringTokenizer tokenizer("a b");
    tokenizer.parseString(bogus, u" ");
    EXPECT_EQ(tokenizer.countTokens(), 0);
    EXPECT_EQ(utf8(tokenizer.getFirstTokenString()), "");
}

TEST(StringTokenizerParseString, TakesItsOwnTokens) {
    StringTokenizer tokenizer("one,two three,four\tfive;six", ";");
    tokenizer.parseString(tokenizer.getFirstTokenString(), u",");
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"one", "two three", "four\tfive"}));
    tokenizer.getFirstTokenString();
    tokenizer.parseString(tokenizer.getNextTokenString(), u" ");
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"two", "three"}));
    const UnicodeString longToken(1000, u'l', 1000);
    tokenizer.parseString(longToken, u",");
    tokenizer.parseString(tokenizer.getFirstTokenString(), tokenizer.getFirstTokenString());
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{""}));
}

TEST(StringTokenizerParseString, KeepsTheCodePage) {
    StringTokenizer tokenizer("x", ",", "ISO8859_1");
    tokenizer.parseString(u"\u00E9,\u00FC", u",");
    EXPECT_EQ(bytesOf(tokenizer), (Tokens{"\xE9", "\xFC"}));
}

TEST(StringTokenizerParseString, ClearsTheBytesHandedOut) {
    StringTokenizer tokenizer("token");
    const char* const bytes = tokenizer.getFirstToken();
    tokenizer.parseString(u"", u"");
    EXPECT_STREQ(bytes, "");
}

// --- Handing out --------------------------------------------------------------------------------

TEST(StringTokenizerParseString, GivesUpTheBytesOfALongToken) {
    StringTokenizer tokenizer(UnicodeString(5000, u'l', 5000));
    EXPECT_EQ(std::strlen(tokenizer.getFirstToken()), 5000u);
    tokenizer.parseString(u"a b", u" ");
    EXPECT_STREQ(tokenizer.getNextToken(), "a");
    EXPECT_STREQ(tokenizer.getNextToken(), "b");
    EXPECT_STREQ(tokenizer.getNextToken(), "");
}

TEST(StringTokenizerTokens, AreHandedOutInOrderUntilTheyAreExhausted) {
    StringTokenizer tokenizer("a b c");
    EXPECT_EQ(tokenizer.countTokens(), 3);
    EXPECT_TRUE(tokenizer.hasMoreTokens());
    EXPECT_STREQ(tokenizer.getNextToken(), "a") << "without getFirstToken()";
    EXPECT_STREQ(tokenizer.getNextToken(), "b");
    EXPECT_TRUE(tokenizer.hasMoreTokens());
    EXPECT_STREQ(tokenizer.getNextToken(), "c");
    EXPECT_FALSE(tokenizer.hasMoreTokens());
    for (int i = 0; i < 3; ++i) {
        EXPECT_STREQ(tokenizer.getNextToken(), "");
        const UnicodeString exhausted = tokenizer.getNextTokenString();
        EXPECT_TRUE(exhausted.isEmpty());
        EXPECT_FALSE(exhausted.isBogus());
    }
    EXPECT_EQ(tokenizer.countTokens(), 3);
    EXPECT_FALSE(tokenizer.hasMoreTokens());
}

TEST(StringTokenizerTokens, BeginAgainWithTheFirstOne) {
    StringTokenizer tokenizer("a b");
    EXPECT_STREQ(tokenizer.getNextToken(), "a");
    EXPECT_STREQ(tokenizer.getNextToken(), "b");
    EXPECT_STREQ(tokenizer.getFirstToken(), "a");
    EXPECT_STREQ(tokenizer.getNextToken(), "b");
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"a");
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"a");
    EXPECT_EQ(tokenizer.getNextTokenString(), u"b");
}

TEST(StringTokenizerTokens, ShareOnePositionOfBothKinds) {
    StringTokenizer tokenizer("a b c d");
    EXPECT_STREQ(tokenizer.getFirstToken(), "a");
    EXPECT_EQ(tokenizer.getNextTokenString(), u"b");
    EXPECT_STREQ(tokenizer.getNextToken(), "c");
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"a");
    EXPECT_STREQ(tokenizer.getNextToken(), "b");
}

TEST(StringTokenizerTokens, OfShorterTextsShowNothingOfLongerOnes) {
    StringTokenizer tokenizer("abcdefgh xy z");
    const char* const longer = tokenizer.getFirstToken();
    EXPECT_EQ(std::string(longer, 9), std::string("abcdefgh\0", 9));
    EXPECT_EQ(std::string(tokenizer.getNextToken(), 9), std::string("xy\0\0\0\0\0\0\0", 9));
    EXPECT_EQ(std::string(tokenizer.getNextToken(), 9), std::string("z\0\0\0\0\0\0\0\0", 9));
    EXPECT_EQ(std::string(tokenizer.getNextToken(), 9), std::string(9, '\0'));
}

/// Short tokens of ASCII take a way of their own.
TEST(StringTokenizerTokens, OfAllKindsFollowEachOtherInBytes) {
    const std::string tokens[] = {"a",
                                  "exactly16letters",
                                  "seventeen letters",
                                  "",
                                  "\xC3\xA9t\xC3\xA9",
                                  "b",
                                  std::string(20, 'c'),
                                  std::string(2000, 'd'),
                                  "exactly16letters",
                                  "\xE3\x81\x82",
                                  "e"};
    for (const std::string& first : tokens) {
        for (const std::string& second : tokens) {
            const std::string text = first + ";" + second + ";f";
            StringTokenizer tokenizer(text.c_str(), ";");
            EXPECT_EQ(tokenizer.getFirstToken(), first);
            if (!second.empty()) {
                EXPECT_EQ(tokenizer.getNextToken(), second) << first;
            }
            EXPECT_STREQ(tokenizer.getNextToken(), "f");
            EXPECT_STREQ(tokenizer.getNextToken(), "");
            EXPECT_EQ(tokenizer.getFirstToken(), first);
        }
    }
}

TEST(StringTokenizerTokens, OfEverySizeAroundTheInlineBytesAreWhole) {
    for (const int size : {4095, 4096, 4097, 8192, 8193, 100'000}) {
        const std::string token(static_cast<std::size_t>(size), 't');
        StringTokenizer tokenizer((token + " short").c_str());
        EXPECT_EQ(tokenizer.getFirstToken(), token) << size;
        EXPECT_STREQ(tokenizer.getNextToken(), "short") << size;
        EXPECT_EQ(tokenizer.getFirstToken(), token) << size;
        EXPECT_STREQ(tokenizer.getNextToken(), "short") << size;
        EXPECT_STREQ(tokenizer.getNextToken(), "") << size;
    }
}

TEST(StringTokenizerTokens, OfAFewBytesFollowALongOneThatEndsAtItsFirstZero) {
    UnicodeString text(u"a");
    text.append(char16_t{0}).append(UnicodeString(5000, u'b', 5000)).append(u" cd e");
    StringTokenizer tokenizer(text);
    EXPECT_STREQ(tokenizer.getFirstToken(), "a");
    EXPECT_STREQ(tokenizer.getNextToken(), "cd");
    EXPECT_STREQ(tokenizer.getNextToken(), "e");
    EXPECT_FALSE(tokenizer.hasMoreTokens());
}

TEST(StringTokenizerTokens, BelongToTheCaller) {
    StringTokenizer tokenizer("short longer");
    UnicodeString first = tokenizer.getFirstTokenString();
    first.append(u" changed");
    EXPECT_EQ(tokenizer.getFirstTokenString(), u"short");
    const UnicodeString longToken(1000, u'l', 1000);
    UnicodeString kept;
    {
        StringTokenizer other(longToken, ",");
        UnicodeString changed = other.getFirstTokenString();
        changed.setCharAt(0, u'X');
        kept = other.getFirstTokenString();
        EXPECT_STREQ(other.getFirstToken(), std::string(1000, 'l').c_str());
    }
    EXPECT_EQ(kept, longToken);
}

// --- Code pages ---------------------------------------------------------------------------------

constexpr char E_ACUTE_UTF8[] = "\xC3\xA9";

TEST(StringTokenizerCodePage, DecodesTextAndDelimitersAndEncodesTokens) {
    // A7 is the section sign and separates, E9 and FC are letters.
    StringTokenizer tokenizer("\xE9\xA7\xFC", "\xA7", "ISO8859_1");
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"\u00E9", "\u00FC"}));
    EXPECT_EQ(bytesOf(tokenizer), (Tokens{"\xE9", "\xFC"}));
    StringTokenizer shiftJis("\x82\xA0\x81\x41\x82\xA2", "\x81\x41", "Shift_JIS");
    EXPECT_EQ(stringsOf(shiftJis), (Tokens{"\u3042", "\u3044"}));
    EXPECT_EQ(bytesOf(shiftJis), (Tokens{"\x82\xA0", "\x82\xA2"}));
}

TEST(StringTokenizerCodePage, IsUtf8WhenItIsNullOrEmptyOrNotAskedFor) {
    for (const char* const codePage : {static_cast<const char*>(nullptr), ""}) {
        StringTokenizer tokenizer("a\u00A7\u00E9", "\u00A7", codePage);
        EXPECT_EQ(stringsOf(tokenizer), (Tokens{"a", E_ACUTE_UTF8}));
        EXPECT_EQ(bytesOf(tokenizer), (Tokens{"a", E_ACUTE_UTF8}));
    }
    StringTokenizer tokenizer(UnicodeString(u"a\u00A7\u00E9"), "\u00A7");
    EXPECT_EQ(bytesOf(tokenizer), (Tokens{"a", E_ACUTE_UTF8}));
}

TEST(StringTokenizerCodePage, ReplacesMalformedBytesAndWhatItCannotHold) {
    StringTokenizer malformed(
        "a\xFF"
        "b,c",
        ",");
    EXPECT_EQ(stringsOf(malformed), (Tokens{"a\uFFFD"
                                            "b",
                                            "c"}));
    StringTokenizer tokenizer("x", ",", "ISO8859_1");
    tokenizer.parseString(u"\u4E00,b", u",");
    EXPECT_EQ(bytesOf(tokenizer), (Tokens{"\x1A", "b"}));
    StringTokenizer lone(UnicodeString(static_cast<char16_t>(0xD83D)).append(u" b"));
    EXPECT_EQ(bytesOf(lone), (Tokens{"\uFFFD", "b"}));
}

TEST(StringTokenizerCodePage, ThatIsUnknownLeavesNoTokens) {
    StringTokenizer tokenizer("a b", nullptr, "no-such-code-page");
    EXPECT_EQ(tokenizer.countTokens(), 0);
    EXPECT_STREQ(tokenizer.getFirstToken(), "");
    tokenizer.parseString(u"a b", u"");
    EXPECT_EQ(stringsOf(tokenizer), (Tokens{"a", "b"}));
    EXPECT_EQ(bytesOf(tokenizer), (Tokens{"", ""})) << "bytes in no code page are none";
}

TEST(StringTokenizerCodePage, ThatHoldsZerosIsRefusedForBytesAndTheTokenIsKept) {
    for (const char* const codePage : {"UTF-16", "utf-16", "UTF-32", "Utf-32"}) {
        const Report refused = Report("ERR_CONV_CONVERSION_ERROR")
                                   .at("kelDataBuffer.cpp", 657)
                                   .with({codePage, codePage});
        StringTokenizer tokenizer("", nullptr, codePage);
        EXPECT_STREQ(tokenizer.getFirstToken(), "") << "no token, nothing to refuse";
        tokenizer.parseString(u",b", u",");
        EXPECT_RAISES(NLSException, tokenizer.getFirstToken(), refused);
        EXPECT_RAISES(NLSException, tokenizer.getNextToken(), refused);
        EXPECT_EQ(tokenizer.getNextTokenString(), u"") << "not passed over, although empty";
        EXPECT_RAISES(NLSException, tokenizer.getNextToken(), refused);
        EXPECT_TRUE(tokenizer.hasMoreTokens());
        EXPECT_EQ(tokenizer.getNextTokenString(), u"b");
        EXPECT_STREQ(tokenizer.getNextToken(), "") << "exhausted, nothing to refuse";
        EXPECT_RAISES(NLSException, tokenizer.getFirstToken(), refused);
        EXPECT_TRUE(tokenizer.hasMoreTokens()) << "at the first token again";
        EXPECT_EQ(tokenizer.getNextTokenString(), u"");
    }
}

TEST(StringTokenizerCodePage, InAnotherSpellingIsNotRefused) {
    StringTokenizer tokenizer("", nullptr, "UTF-16LE");
    tokenizer.parseString(u"ab,c", u",");
    EXPECT_EQ(std::string(tokenizer.getFirstToken(), 6), std::string("a\0b\0\0\0", 6));
    EXPECT_EQ(std::string(tokenizer.getNextToken(), 6), std::string("c\0\0\0\0\0", 6));
}

TEST(StringTokenizerCodePage, IsCutAfter64Bytes) {
    const auto tokensIn = [](const std::string& codePage) {
        StringTokenizer tokenizer("\xE9,b", ",", codePage.c_str());
        return bytesOf(tokenizer);
    };
    // ICU takes a locale of up to 156 bytes behind a name, which means nothing to this code page.
    const std::string name = "ISO8859_1,locale=";
    EXPECT_EQ(tokensIn(name + std::string(47, 'x')), (Tokens{"\xE9", "b"})) << "64 bytes";
    EXPECT_EQ(tokensIn(name + std::string(48, 'x')), (Tokens{"\xE9", "b"}));
    EXPECT_EQ(tokensIn(name + std::string(1000, 'x')), (Tokens{"\xE9", "b"}));
    EXPECT_EQ(tokensIn(std::string(1000, 'x')), Tokens());
}

// --- Type ---------------------------------------------------------------------------------------

static_assert(!std::is_copy_constructible_v<StringTokenizer>);
static_assert(!std::is_copy_assignable_v<StringTokenizer>);
static_assert(!std::is_default_constructible_v<StringTokenizer>);
static_assert(!std::has_virtual_destructor_v<StringTokenizer>);
static_assert(std::is_same_v<decltype(std::declval<StringTokenizer&>().getFirstTokenString()),
                             UnicodeString>);
static_assert(
    std::is_same_v<decltype(std::declval<StringTokenizer&>().getNextToken()), const char*>);

TEST(StringTokenizerConstructor, ChoosesTheFormByItsArguments) {
    StringTokenizer literal("a b");
    EXPECT_EQ(literal.countTokens(), 2);
    StringTokenizer withDelimiters("a b,c", ",");
    EXPECT_EQ(withDelimiters.countTokens(), 2);
    StringTokenizer withCodePage("a b,c", ",", "UTF-8");
    EXPECT_EQ(withCodePage.countTokens(), 2);
    StringTokenizer null(nullptr);
    EXPECT_EQ(null.countTokens(), 0);
    StringTokenizer utf16(u"a b");
    EXPECT_EQ(utf16.countTokens(), 2);
    const UnicodeString text("a b,c");
    StringTokenizer unicode(text);
    EXPECT_EQ(unicode.countTokens(), 2);
    StringTokenizer unicodeWithDelimiters(text, ",");
    EXPECT_EQ(unicodeWithDelimiters.countTokens(), 2);
}

}  // namespace
}  // namespace nx::oss
