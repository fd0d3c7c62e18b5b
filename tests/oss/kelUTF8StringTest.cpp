#include <infra/oss/kelUTF8String.h>

#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>

#include <cstring>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "reference/kelUtf8Table.h"
#include "support/kelGuardedBuffer.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::GuardedBuffer;
using test::Report;

Report malformed() { return Report("ERR_MALFORMED_UTF8_STRING").in("kelUTF8String.cpp"); }

Report unconverted(const std::string& target) {
    return Report("ERR_CONV_CONVERSION_ERROR").with({"UTF-8", target});
}

// --- Construction and assignment ----------------------------------------------------------------

TEST(UTF8StringType, IsADataBufferThatAddsNoField) {
    EXPECT_TRUE((std::is_base_of_v<DataBuffer, UTF8String>));
    EXPECT_EQ(sizeof(UTF8String), sizeof(DataBuffer));
    EXPECT_TRUE(std::has_virtual_destructor_v<UTF8String>);
}

TEST(UTF8StringType, ConvertsFromUnicodeTextButNotFromBytesOrSizes) {
    EXPECT_TRUE((std::is_convertible_v<icu::UnicodeString, UTF8String>));
    EXPECT_FALSE((std::is_convertible_v<const char*, UTF8String>));
    EXPECT_FALSE((std::is_convertible_v<int, UTF8String>));
}

TEST(UTF8StringConstructor, HoldsUnicodeTextAsUtf8) {
    const UTF8String text = icu::UnicodeString(u"a\u00E9\u20AC\U0001F600");
    EXPECT_STREQ(text.getString(), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(text.length(), 10);
    EXPECT_EQ(text.numChars(), 4);
}

TEST(UTF8StringConstructor, ReplacesLoneSurrogates) {
    const char16_t units[] = {u'a', 0xD800};
    EXPECT_STREQ(UTF8String(icu::UnicodeString(units, 2)).getString(), "a\xEF\xBF\xBD");
}

TEST(UTF8StringConstructor, TakesBytesAsTheyAre) {
    EXPECT_STREQ(UTF8String("a\xFF\xC0\x80").getString(), "a\xFF\xC0\x80");
    EXPECT_STREQ(UTF8String("").getString(), "");
    EXPECT_STREQ(UTF8String(static_cast<const char*>(nullptr)).getString(), "");
    EXPECT_STREQ(UTF8String().getString(), "");
}

TEST(UTF8StringConstructor, WithASizeReservesThatManyBytes) {
    EXPECT_EQ(UTF8String(0).capacity(), 4096);
    EXPECT_EQ(UTF8String(4096).capacity(), 4096);
    EXPECT_EQ(UTF8String(4097).capacity(), 4097);
    EXPECT_EQ(UTF8String(4097).length(), 0);
}

TEST(UTF8StringCopy, HasStorageOfItsOwn) {
    for (const std::size_t size : {std::size_t{3}, std::size_t{4096}, std::size_t{5000}}) {
        const std::string bytes(size, 'x');
        UTF8String original(bytes.c_str());
        const UTF8String copy(original);
        original.appendString("y");
        EXPECT_EQ(copy.getString(), bytes);
        EXPECT_NE(copy.getString(), original.getString());
    }
}

TEST(UTF8StringAssignment, OfAnotherStringIsDeepAndSelfSafe) {
    for (const std::size_t size : {std::size_t{3}, std::size_t{5000}}) {
        const std::string bytes(size, 'x');
        UTF8String original(bytes.c_str());
        UTF8String target("old");
        target = original;
        original.appendString("y");
        EXPECT_EQ(target.getString(), bytes);
        const UTF8String& itself = target;
        target = itself;
        EXPECT_EQ(target.getString(), bytes);
    }
}

TEST(UTF8StringAssignment, OfUnicodeTextReplacesTheContent) {
    UTF8String text("old");
    EXPECT_EQ(&(text = icu::UnicodeString(u"\u00E9")), &text);
    EXPECT_STREQ(text.getString(), "\xC3\xA9");
    text = "literal";
    EXPECT_STREQ(text.getString(), "literal");
    text = icu::UnicodeString();
    EXPECT_EQ(text.length(), 0);
}

// --- Getting the text ---------------------------------------------------------------------------

TEST(UTF8StringGetString, ConvertsToACodePageAndCountsTheTerminator) {
    const UTF8String text(icu::UnicodeString(u"a\u00E9"));
    GuardedBuffer latin1(3);
    EXPECT_EQ(text.getString(latin1.data(), 3, "ISO-8859-1"), 3);
    EXPECT_EQ(latin1.first(3), std::string("a\xE9\0", 3));
    EXPECT_TRUE(latin1.guardsIntact());
}

TEST(UTF8StringGetString, TellsTheSizeWithoutADestination) {
    EXPECT_EQ(UTF8String("abc").getString(nullptr, 0, "ISO-8859-1"), 4);
    EXPECT_EQ(UTF8String("").getString(nullptr, 0, "UTF-8"), 1);
    EXPECT_EQ(UTF8String("").getString(nullptr, 0, "ISO-8859-1"), 1);
}

TEST(UTF8StringGetString, TreatsNoCodePageAsTheDefaultOne) {
    const UTF8String text(icu::UnicodeString(u"\u00E9"));
    for (const char* const codePage : {static_cast<const char*>(nullptr), ""}) {
        GuardedBuffer bytes(3);
        EXPECT_EQ(text.getString(bytes.data(), 3, codePage), 3);
        EXPECT_EQ(bytes.first(3), std::string("\xC3\xA9\0", 3));
    }
}

TEST(UTF8StringGetString, CopiesMalformedBytesOnlyForTheNameInCapitals) {
    const UTF8String text("a\xFF");
    GuardedBuffer copied(3);
    EXPECT_EQ(text.getString(copied.data(), 3, "UTF-8"), 3);
    EXPECT_EQ(copied.first(3), std::string("a\xFF\0", 3));
    for (const char* const codePage : {static_cast<const char*>(nullptr), "utf-8"}) {
        GuardedBuffer replaced(5);
        EXPECT_EQ(text.getString(replaced.data(), 5, codePage), 5);
        EXPECT_EQ(replaced.first(5), std::string("a\xEF\xBF\xBD\0", 5));
    }
}

TEST(UTF8StringGetString, RefusesAnUnknownCodePage) {
    char bytes[16];
    EXPECT_RAISES(NLSException, UTF8String("abc").getString(bytes, 16, "no-such-page"),
                  unconverted("no-such-page"));
}

TEST(UTF8StringGetString, AppendsToUnicodeText) {
    icu::UnicodeString out(u"<");
    UTF8String("a\xC3\xA9").getString(out);
    EXPECT_EQ(out, icu::UnicodeString(u"<a\u00E9"));
    UTF8String().getString(out);
    EXPECT_EQ(out, icu::UnicodeString(u"<a\u00E9"));
}

TEST(UTF8StringGetString, GivesANullTextTheContent) {
    icu::UnicodeString out;
    out.setToBogus();
    UTF8String("a").getString(out);
    EXPECT_FALSE(out.isBogus());
    EXPECT_EQ(out, icu::UnicodeString(u"a"));

    icu::UnicodeString untouched;
    untouched.setToBogus();
    UTF8String().getString(untouched);
    EXPECT_EQ(test::utf8(untouched), "");
}

TEST(UTF8StringGetString, ReplacesMalformedBytesInUnicodeText) {
    icu::UnicodeString out;
    UTF8String("a\xC0\x80\xED\xA0\x80z").getString(out);
    EXPECT_EQ(out, icu::UnicodeString(u"a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDz"));
}

TEST(UTF8StringGetString, DecodesZerosInTheContent) {
    UTF8String text;
    text.appendString("a\0b", 3);
    icu::UnicodeString out;
    text.getString(out);
    EXPECT_EQ(out, icu::UnicodeString(u"a\0b", 3));
}

// --- Iterator -----------------------------------------------------------------------------------

TEST(UTF8StringGetUTF8Iterator, HandsOverACopyOnce) {
    UTF8String text("a\xC3\xA9");
    UTF8Iterator it;
    EXPECT_TRUE(text.getUTF8Iterator(it));
    text.clear();
    EXPECT_STREQ(it.getFirstChar(), "a");
    EXPECT_STREQ(it.getNextChar(), "\xC3\xA9");
    EXPECT_FALSE(text.getUTF8Iterator(it));
}

TEST(UTF8StringGetUTF8Iterator, OfAnEmptyStringSetsTheIteratorToEmpty) {
    UTF8Iterator it;
    EXPECT_TRUE(UTF8String().getUTF8Iterator(it));
    EXPECT_FALSE(it.isEmpty());
    EXPECT_EQ(it.length(), 0);
}

TEST(UTF8StringGetUTF8Iterator, RaisesForMalformedBytes) {
    UTF8Iterator it;
    EXPECT_RAISES(NLSException, UTF8String("\xC0\x80").getUTF8Iterator(it),
                  Report("ERR_MALFORMED_UTF8_STRING").in("kelUTF8Iterator.cpp"));
}

// --- Counting -----------------------------------------------------------------------------------

TEST(UTF8StringNumChars, LooksAtFirstBytesOnly) {
    EXPECT_EQ(UTF8String().numChars(), 0);
    EXPECT_EQ(UTF8String("abc").numChars(), 3);
    EXPECT_EQ(UTF8String("a\xC3\xA9").numChars(), 2);
    EXPECT_EQ(UTF8String("\xC0\x80").numChars(), 1);
    EXPECT_EQ(UTF8String("\xC1\xBF").numChars(), 1);
    EXPECT_EQ(UTF8String("\xC3zz").numChars(), 2);
    EXPECT_EQ(UTF8String("\xED\xA0\x80").numChars(), 1);
    EXPECT_EQ(UTF8String("\xF4\x90\x80\x80").numChars(), 1);
    EXPECT_EQ(UTF8String("\xF5zzz\xF6zzz\xF7zzz").numChars(), 3);
    EXPECT_EQ(UTF8String("\xE2\xFF\xFF").numChars(), 1);
}

TEST(UTF8StringNumChars, CountsALastSequenceThatIsCutShort) {
    EXPECT_EQ(UTF8String("a\xC3").numChars(), 2);
    EXPECT_EQ(UTF8String("a\xE2\x82").numChars(), 2);
    EXPECT_EQ(UTF8String("a\xF0").numChars(), 2);
    EXPECT_EQ(UTF8String((std::string(4095, 'x') + "\xF0").c_str()).numChars(), 4096);
}

TEST(UTF8StringNumChars, CountsEveryPairOfBytesByTheFirst) {
    for (unsigned first = 1; first <= 0xFF; ++first) {
        for (unsigned second = 1; second <= 0xFF; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second), '\0'};
            const auto expected = reference::countByFirstBytes(bytes);
            const UTF8String text(bytes);
            if (expected) {
                ASSERT_EQ(text.numChars(), static_cast<int>(*expected)) << first << ' ' << second;
            } else {
                EXPECT_RAISES(NLSException, text.numChars(), malformed());
            }
        }
    }
}

TEST(UTF8StringNumChars, RefusesBytesThatBeginNoCharacter) {
    for (unsigned byte = 0x80; byte <= 0xFF; byte = byte == 0xBF ? 0xF8 : byte + 1) {
        const char text[] = {'a', static_cast<char>(byte), '\0'};
        EXPECT_RAISES(NLSException, UTF8String(text).numChars(), malformed());
    }
}

TEST(UTF8StringNumChars, CountsLongTexts) {
    for (const std::size_t size : {std::size_t{4095}, std::size_t{4096}, std::size_t{4097}}) {
        EXPECT_EQ(UTF8String(std::string(size, 'x').c_str()).numChars(), static_cast<int>(size));
    }
}

// --- Changing -----------------------------------------------------------------------------------

TEST(UTF8StringAppendString, TakesEveryKindOfText) {
    UTF8String text;
    text.appendString("ab");
    text.appendString("cdX", 2);
    text.appendString(icu::UnicodeString(u"\u00E9"));
    text.appendString(UTF8String("!"));
    EXPECT_STREQ(text.getString(), "abcd\xC3\xA9!");
    text.appendString(static_cast<const char*>(nullptr));
    text.appendString("zzz", 0);
    text.appendString("zzz", -1);
    text.appendString(icu::UnicodeString());
    EXPECT_STREQ(text.getString(), "abcd\xC3\xA9!");
}

TEST(UTF8StringInsertString, TakesEveryKindOfText) {
    UTF8String text("|");
    text.insertString(0, "ab");
    text.insertString(3, "cdX", 2);
    text.insertString(-5, icu::UnicodeString(u"\u00E9"));
    text.insertString(100, UTF8String("!"));
    EXPECT_STREQ(text.getString(),
                 "\xC3\xA9"
                 "ab|cd!");
}

// --- Comparing ----------------------------------------------------------------------------------

TEST(UTF8StringCompare, TakesTheArgumentAsTheFirstOperand) {
    const UTF8String text("b");
    EXPECT_EQ(text.compare("a"), -1);
    EXPECT_EQ(text.compare("b"), 0);
    EXPECT_EQ(text.compare("c"), 1);
    EXPECT_EQ(text.compare(UTF8String("a")), -1);
    EXPECT_EQ(text.compare(UTF8String("b")), 0);
    EXPECT_EQ(text.compare(UTF8String("c")), 1);
}

TEST(UTF8StringCompare, GivesMinusOneForNull) {
    EXPECT_EQ(UTF8String("").compare(static_cast<const char*>(nullptr)), -1);
    EXPECT_EQ(UTF8String("b").compare(static_cast<const char*>(nullptr)), -1);
}

TEST(UTF8StringCompare, IsExactlyMinusOneZeroOrOneForDistantBytes) {
    EXPECT_EQ(UTF8String("z").compare("\x01"), -1);
    EXPECT_EQ(UTF8String("\x01").compare("z"), 1);
    EXPECT_EQ(UTF8String("abc").compare("ab"), -1);
    EXPECT_EQ(UTF8String("ab").compare("abc"), 1);
    EXPECT_EQ(UTF8String("").compare("a"), 1);
    EXPECT_EQ(UTF8String("a").compare(""), -1);
    EXPECT_EQ(UTF8String("").compare(""), 0);
}

TEST(UTF8StringCompare, ComparesUnsignedBytes) {
    EXPECT_EQ(UTF8String("a").compare("\xC3\xA9"), 1);
    EXPECT_EQ(UTF8String("\xC3\xA9").compare("a"), -1);
    EXPECT_EQ(UTF8String("\x7F").compare("\x80"), 1);
}

// --- Translation between UTF-8 and the local character set --------------------------------------

TEST(TranslationTables, HoldThePrintableAsciiCharactersInOrder) {
    ASSERT_EQ(sizeof UTF8DATA, 95u);
    ASSERT_EQ(sizeof LCHARDATA, 95u);
    for (unsigned i = 0; i < 95; ++i) {
        EXPECT_EQ(UTF8DATA[i], 0x20 + i);
        EXPECT_EQ(LCHARDATA[i], 0x20 + i);
    }
}

TEST(TranslationTables, AreFilledByTheFirstTranslation) {
    char text[] = "a";
    EXPECT_EQ(cUTF8(text), 0);
    EXPECT_EQ(TABLES_ARE_BUILT, 1);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(LOCAL_to_UTF8[i], i);
        EXPECT_EQ(UTF8_to_LOCAL[i], i);
    }
}

TEST(TranslationTables, AreUsedByBothTranslations) {
    char built[] = "a";
    cUTF8(built);
    constexpr unsigned char E = 'e';
    UTF8_to_LOCAL[0xE9] = E;
    LOCAL_to_UTF8[E] = 'E';
    char local[] = "x\xE9\xE9";
    EXPECT_EQ(cLCHAR(local, 2), 2);
    EXPECT_STREQ(local, "xe\xE9");
    EXPECT_EQ(cUTF8(local), 0);
    EXPECT_STREQ(local, "xE\xE9");
    UTF8_to_LOCAL[0xE9] = 0xE9;
    LOCAL_to_UTF8[E] = E;
}

TEST(CLCHAR, KeepsEveryByteAndReturnsTheLength) {
    char bytes[256];
    for (unsigned i = 0; i < 256; ++i) {
        bytes[i] = static_cast<char>(i);
    }
    EXPECT_EQ(cLCHAR(bytes, 256), 256);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(static_cast<unsigned char>(bytes[i]), i);
    }
}

TEST(CLCHAR, OfNoBytesChangesNothing) {
    char text[] = "abc";
    EXPECT_EQ(cLCHAR(text, 0), 0);
    EXPECT_EQ(cLCHAR(text, -1), 0);
    EXPECT_EQ(cLCHAR(nullptr, 0), 0);
    EXPECT_EQ(cLCHAR(nullptr, 5), 0);
    EXPECT_STREQ(text, "abc");
}

TEST(CUTF8, KeepsEveryByteAndReturnsZero) {
    char text[256];
    for (unsigned i = 0; i < 255; ++i) {
        text[i] = static_cast<char>(i + 1);
    }
    text[255] = '\0';
    EXPECT_EQ(cUTF8(text), 0);
    for (unsigned i = 0; i < 255; ++i) {
        EXPECT_EQ(static_cast<unsigned char>(text[i]), i + 1);
    }
    EXPECT_EQ(cUTF8(nullptr), 0);
}

}  // namespace
}  // namespace nx::oss
