#include <infra/oss/kelUTF8Iterator.h>

#include <infra/oss/kelNLSException.h>

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "reference/kelUtf8Table.h"
#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"
#include "support/kelRepeatedText.h"

namespace nx::oss {
namespace {

using test::Report;

using Characters = std::vector<std::string>;

Report malformed() { return Report("ERR_MALFORMED_UTF8_STRING").in("kelUTF8Iterator.cpp"); }

/// `count` bytes of "abc...", whose order shows a wrong copy.
std::string letters(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.push_back(static_cast<char>('a' + i % 26));
    }
    return text;
}

Characters walk(UTF8Iterator& it) {
    Characters characters;
    for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
        characters.emplace_back(c);
    }
    return characters;
}

/// Whether a fresh iterator takes the text exactly as the table of well-formed sequences says.
testing::AssertionResult followsTheTable(const std::string& text) {
    const auto expected = reference::charactersOf(text);
    UTF8Iterator it;
    try {
        it.setString(text.c_str());
    } catch (const NLSException&) {
        return expected ? testing::AssertionFailure() << "refused " << testing::PrintToString(text)
                        : testing::AssertionSuccess();
    }
    if (!expected) {
        return testing::AssertionFailure() << "took " << testing::PrintToString(text);
    }
    if (it.numChars() != static_cast<int>(expected->size()) || walk(it) != *expected) {
        return testing::AssertionFailure() << "walked wrongly " << testing::PrintToString(text);
    }
    return testing::AssertionSuccess();
}

std::string bytes(std::initializer_list<unsigned> values) {
    std::string result;
    for (const unsigned value : values) {
        result.push_back(static_cast<char>(value));
    }
    return result;
}

// --- Construction -------------------------------------------------------------------------------

TEST(UTF8IteratorType, TakesAUnicodeStringByNonConstReferenceOnlyAndIsNotAssigned) {
    EXPECT_TRUE((std::is_constructible_v<UTF8Iterator, icu::UnicodeString&>));
    EXPECT_FALSE((std::is_constructible_v<UTF8Iterator, const icu::UnicodeString&>));
    EXPECT_FALSE((std::is_constructible_v<UTF8Iterator, icu::UnicodeString&&>));
    EXPECT_FALSE(std::is_copy_assignable_v<UTF8Iterator>);
    EXPECT_FALSE(std::is_polymorphic_v<UTF8Iterator>);
}

TEST(UTF8IteratorConstructor, WithoutTextIsEmpty) {
    UTF8Iterator it;
    EXPECT_TRUE(it.isEmpty());
    EXPECT_EQ(it.getString(), nullptr);
    EXPECT_EQ(it.length(), 0);
    EXPECT_EQ(it.numChars(), 0);
    EXPECT_FALSE(it.hasMoreChars());
    EXPECT_EQ(it.getFirstChar(), nullptr);
    EXPECT_EQ(it.getNextChar(), nullptr);
}

TEST(UTF8IteratorConstructor, WithBytesTakesACopyOfThem) {
    std::string text = "a\xC3\xA9";
    UTF8Iterator it(text.c_str());
    text = "xxx";
    EXPECT_STREQ(it.getString(), "a\xC3\xA9");
    EXPECT_EQ(it.length(), 3);
    EXPECT_EQ(it.numChars(), 2);
}

TEST(UTF8IteratorConstructor, WithMalformedBytesRaisesAndLeaksNothing) {
    const std::string longText = letters(5000) + "\xE2\x82";
    const long before = test::liveAllocations();
    EXPECT_RAISES(NLSException, UTF8Iterator("\x80"), malformed());
    EXPECT_RAISES(NLSException, UTF8Iterator(longText.c_str()), malformed());
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(UTF8IteratorConstructor, WithAUnicodeStringHoldsItsUtf8) {
    icu::UnicodeString text = icu::UnicodeString(u"a\u00E9\u20AC\U0001F600");
    UTF8Iterator it(text);
    EXPECT_EQ(walk(it), (Characters{"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}));
    EXPECT_EQ(it.length(), 10);
    EXPECT_EQ(it.numChars(), 4);
}

TEST(UTF8IteratorConstructor, WithAnEmptyOrNullUnicodeStringHoldsAnEmptyText) {
    icu::UnicodeString empty;
    icu::UnicodeString null;
    null.setToBogus();
    for (icu::UnicodeString* const text : {&empty, &null}) {
        UTF8Iterator it(*text);
        EXPECT_FALSE(it.isEmpty());
        EXPECT_STREQ(it.getString(), "");
        EXPECT_EQ(it.length(), 0);
        EXPECT_FALSE(it.setString("b"));
    }
}

TEST(UTF8IteratorConstructor, WithAUnicodeStringReplacesLoneSurrogates) {
    const char16_t units[] = {u'a', 0xD800, u'b', 0xDC00};
    icu::UnicodeString text(units, 4);
    UTF8Iterator it(text);
    EXPECT_STREQ(it.getString(),
                 "a\xEF\xBF\xBD"
                 "b\xEF\xBF\xBD");
}

TEST(UTF8IteratorConstructor, WithAUnicodeStringEndsAtAZero) {
    const char16_t units[] = {u'a', 0, u'b'};
    icu::UnicodeString text(units, 3);
    EXPECT_STREQ(UTF8Iterator(text).getString(), "a");
    icu::UnicodeString zero(units + 1, 2);
    const UTF8Iterator it(zero);
    EXPECT_FALSE(it.isEmpty());
    EXPECT_EQ(it.length(), 0);
}

TEST(UTF8IteratorConstructor, WithALongUnicodeStringKeepsOneHeapArray) {
    icu::UnicodeString text(5000, u'\u00E9', 5000);
    const long before = test::liveAllocations();
    {
        const UTF8Iterator it(text);
        EXPECT_EQ(test::liveAllocations(), before + 1);
        EXPECT_EQ(it.length(), 10000);
        EXPECT_EQ(it.numChars(), 5000);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(UTF8IteratorCopy, HasStorageOfItsOwnAndStartsAtTheBeginning) {
    for (const std::size_t size : {std::size_t{3}, std::size_t{4096}, std::size_t{4097}}) {
        UTF8Iterator original(letters(size).c_str());
        original.getFirstChar();
        UTF8Iterator copy(original);
        EXPECT_NE(copy.getString(), original.getString());
        EXPECT_EQ(copy.getString(), letters(size));
        EXPECT_EQ(copy.numChars(), static_cast<int>(size));
        EXPECT_STREQ(copy.getNextChar(), "a");
        EXPECT_STREQ(original.getNextChar(), "b");
    }
}

TEST(UTF8IteratorCopy, OfAnIteratorWithoutTextHoldsAnEmptyText) {
    const UTF8Iterator original;
    UTF8Iterator copy(original);
    EXPECT_TRUE(original.isEmpty());
    EXPECT_FALSE(copy.isEmpty());
    EXPECT_EQ(copy.length(), 0);
    EXPECT_FALSE(copy.setString("a"));
}

TEST(UTF8IteratorCopy, OfAMalformedTextRaises) {
    UTF8Iterator original;
    EXPECT_RAISES(NLSException, original.setString("a\xFF"), malformed());
    EXPECT_RAISES(NLSException, UTF8Iterator copy(original), malformed());
}

// --- setString ----------------------------------------------------------------------------------

TEST(UTF8IteratorSetString, TakesATextOnce) {
    UTF8Iterator it;
    EXPECT_TRUE(it.setString("one"));
    EXPECT_STREQ(it.getFirstChar(), "o");
    EXPECT_FALSE(it.setString("other"));
    EXPECT_FALSE(it.setString(""));
    EXPECT_FALSE(it.setString(nullptr));
    EXPECT_FALSE(it.setString("\xFF"));
    EXPECT_STREQ(it.getString(), "one");
    EXPECT_EQ(it.length(), 3);
    EXPECT_EQ(it.numChars(), 3);
    EXPECT_STREQ(it.getNextChar(), "n");
}

TEST(UTF8IteratorSetString, OfAnEmptyOrNullTextCountsAsSet) {
    for (const char* const text : {"", static_cast<const char*>(nullptr)}) {
        UTF8Iterator it;
        EXPECT_TRUE(it.setString(text));
        EXPECT_FALSE(it.isEmpty());
        EXPECT_STREQ(it.getString(), "");
        EXPECT_EQ(it.length(), 0);
        EXPECT_EQ(it.numChars(), 0);
        EXPECT_FALSE(it.hasMoreChars());
        EXPECT_EQ(it.getFirstChar(), nullptr);
        EXPECT_FALSE(it.setString("a"));
    }
}

TEST(UTF8IteratorSetString, KeepsUpTo4096BytesInline) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{4095}, std::size_t{4096}}) {
        const std::string text = letters(size);
        const long before = test::liveAllocations();
        UTF8Iterator it;
        EXPECT_TRUE(it.setString(text.c_str()));
        EXPECT_EQ(test::liveAllocations(), before) << size;
        const auto* const object = reinterpret_cast<const char*>(&it);
        EXPECT_EQ(it.getString(), object) << "the inline storage is the first field";
        EXPECT_EQ(it.getString(), text);
        EXPECT_EQ(it.length(), static_cast<int>(size));
    }
}

TEST(UTF8IteratorSetString, PutsLongerTextsOnTheHeapAndFreesThem) {
    const std::string text = letters(4097);
    const long before = test::liveAllocations();
    {
        UTF8Iterator it;
        EXPECT_TRUE(it.setString(text.c_str()));
        EXPECT_EQ(test::liveAllocations(), before + 1);
        EXPECT_EQ(it.getString(), text);
        EXPECT_EQ(it.length(), 4097);
        EXPECT_EQ(it.numChars(), 4097);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(UTF8IteratorSetString, RefusesATextWhoseLengthNoIntCounts) {
    const test::RepeatedText text("a", std::size_t{1} << 31);
    UTF8Iterator it;
    EXPECT_FALSE(it.setString(text.data()));
    EXPECT_TRUE(it.isEmpty());
    EXPECT_EQ(it.length(), 0);
    EXPECT_TRUE(it.setString("b"));
    EXPECT_EQ(walk(it), (Characters{"b"}));
}

TEST(UTF8IteratorSetString, FollowsTheTableForEveryFirstAndSecondByte) {
    for (unsigned first = 1; first <= 0xFF; ++first) {
        for (unsigned second = 1; second <= 0xFF; ++second) {
            const std::string two = bytes({first, second});
            ASSERT_TRUE(followsTheTable(two));
            ASSERT_TRUE(followsTheTable(two + "\x80"));
            ASSERT_TRUE(followsTheTable(two + "\x80\xBF"));
            ASSERT_TRUE(followsTheTable(two + "\xBF\x80"
                                              "a"));
        }
    }
}

TEST(UTF8IteratorSetString, FollowsTheTableForEveryThirdAndFourthByte) {
    for (const unsigned first : {0xE0u, 0xE1u, 0xECu, 0xEDu, 0xEFu, 0xF0u, 0xF1u, 0xF3u, 0xF4u}) {
        const unsigned second = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
        for (unsigned third = 1; third <= 0xFF; ++third) {
            ASSERT_TRUE(followsTheTable(bytes({first, second, third})));
            ASSERT_TRUE(followsTheTable(bytes({first, second, third, 0x80})));
            ASSERT_TRUE(followsTheTable(bytes({first, second, 0x80, third})));
        }
    }
}

TEST(UTF8IteratorSetString, RefusesATextCutShortAtEveryPlace) {
    const Characters whole = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
    for (const std::string& character : whole) {
        for (std::size_t kept = 1; kept < character.size(); ++kept) {
            const std::string cut = character.substr(0, kept);
            EXPECT_RAISES(NLSException, UTF8Iterator(cut.c_str()), malformed());
            EXPECT_RAISES(NLSException, UTF8Iterator(("abc" + cut).c_str()), malformed());
            EXPECT_RAISES(NLSException, UTF8Iterator((cut + "abc").c_str()), malformed());
            EXPECT_RAISES(NLSException, UTF8Iterator((letters(4094) + cut).c_str()), malformed());
        }
    }
}

TEST(UTF8IteratorSetString, RefusesOverlongFormsSurrogatesAndValuesBeyondUnicode) {
    for (const char* const text :
         {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
          "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80",
          "\xE2\x82", "\xFE", "\xFF", "\x80", "\xBF"}) {
        EXPECT_RAISES(NLSException, UTF8Iterator it(text), malformed());
    }
}

TEST(UTF8IteratorSetString, TakesTheFirstAndLastCharacterOfEveryLength) {
    for (const char* const text :
         {"\x01", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(UTF8Iterator(text).numChars(), 1);
    }
}

TEST(UTF8IteratorSetString, LeavesAMalformedInlineTextSet) {
    UTF8Iterator it;
    EXPECT_RAISES(NLSException, it.setString("ab\xE2\x82"), malformed());
    EXPECT_FALSE(it.isEmpty());
    EXPECT_STREQ(it.getString(), "ab\xE2\x82");
    EXPECT_EQ(it.length(), 4);
    EXPECT_EQ(it.numChars(), 0);
    EXPECT_FALSE(it.setString("good"));
    EXPECT_STREQ(it.getString(), "ab\xE2\x82");
}

TEST(UTF8IteratorSetString, LeavesNothingOfAMalformedHeapText) {
    const std::string text = letters(4096) + "\x80";
    const long before = test::liveAllocations();
    UTF8Iterator it;
    EXPECT_RAISES(NLSException, it.setString(text.c_str()), malformed());
    EXPECT_EQ(test::liveAllocations(), before);
    EXPECT_TRUE(it.isEmpty());
    EXPECT_EQ(it.getString(), nullptr);
    EXPECT_FALSE(it.hasMoreChars());
    EXPECT_EQ(it.getFirstChar(), nullptr);
}

TEST(UTF8IteratorSetString, WorksAgainAfterAMalformedHeapText) {
    const std::string text = letters(4096) + "\x80";
    UTF8Iterator empty;
    EXPECT_RAISES(NLSException, empty.setString(text.c_str()), malformed());
    EXPECT_TRUE(empty.setString(""));
    EXPECT_EQ(empty.length(), 0);
    EXPECT_FALSE(empty.hasMoreChars());
    EXPECT_EQ(empty.getFirstChar(), nullptr);

    UTF8Iterator filled;
    EXPECT_RAISES(NLSException, filled.setString(text.c_str()), malformed());
    EXPECT_TRUE(filled.setString("xy"));
    EXPECT_EQ(walk(filled), (Characters{"x", "y"}));
}

// --- Walking ------------------------------------------------------------------------------------

TEST(UTF8IteratorWalk, ReturnsEachCharacterThenNull) {
    UTF8Iterator it("a\xC3\xA9");
    EXPECT_TRUE(it.hasMoreChars());
    EXPECT_STREQ(it.getFirstChar(), "a");
    EXPECT_TRUE(it.hasMoreChars());
    EXPECT_STREQ(it.getNextChar(), "\xC3\xA9");
    EXPECT_FALSE(it.hasMoreChars());
    EXPECT_EQ(it.getNextChar(), nullptr);
    EXPECT_EQ(it.getNextChar(), nullptr);
}

TEST(UTF8IteratorWalk, StartsWithTheFirstCharacterWithoutGetFirstChar) {
    UTF8Iterator it("xy");
    EXPECT_STREQ(it.getNextChar(), "x");
    EXPECT_STREQ(it.getNextChar(), "y");
}

TEST(UTF8IteratorWalk, BeginsAgainWithGetFirstChar) {
    UTF8Iterator it("xy");
    EXPECT_EQ(walk(it), (Characters{"x", "y"}));
    EXPECT_EQ(walk(it), (Characters{"x", "y"}));
}

TEST(UTF8IteratorWalk, ReusesOneClearedBufferForTheCharacter) {
    UTF8Iterator it(
        "\xF0\x9F\x98\x80"
        "a");
    const char* const first = it.getFirstChar();
    const char* const second = it.getNextChar();
    EXPECT_EQ(first, second);
    EXPECT_EQ(std::string(second, 5), std::string("a\0\0\0\0", 5));
}

TEST(UTF8IteratorWalk, OfAMalformedInlineTextStaysWithinIt) {
    UTF8Iterator it;
    const std::string text = letters(4095) + "\xF0";
    EXPECT_RAISES(NLSException, it.setString(text.c_str()), malformed());
    const Characters characters = walk(it);
    ASSERT_EQ(characters.size(), 4096u);
    EXPECT_EQ(characters.back(), "\xF0");
}

TEST(UTF8IteratorWalk, DoesNotPassAByteThatBeginsNoCharacter) {
    for (const char* const text : {"a\x80z", "a\xBFz", "a\xF8z", "a\xFFz"}) {
        UTF8Iterator it;
        EXPECT_RAISES(NLSException, it.setString(text), malformed());
        EXPECT_STREQ(it.getFirstChar(), "a");
        for (int i = 0; i < 3; ++i) {
            EXPECT_STREQ(it.getNextChar(), "");
            EXPECT_TRUE(it.hasMoreChars());
        }
    }
}

}  // namespace
}  // namespace nx::oss
