#include <infra/oss/kelDataBuffer.h>

#include <climits>
#include <new>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/kelGuardedMemory.h"
#include "support/kelRepeatedText.h"

namespace nx::oss {
namespace {

using test::GuardedMemory;

std::string contentOf(const DataBuffer& buffer) {
    return {buffer.getString(), static_cast<std::size_t>(buffer.length())};
}

std::string filled(std::size_t length, char c = 'x') { return std::string(length, c); }

std::string bytes(std::initializer_list<int> values) {
    std::string result;
    for (const int value : values) {
        result.push_back(static_cast<char>(value));
    }
    return result;
}

void saveAll(DataBuffer& buffer, int position, const std::string& text) {
    buffer.saveString(position, text.data(), static_cast<int>(text.size()));
}

// --- Construction -------------------------------------------------------------------------------

TEST(DataBufferConstructor, MakesAnEmptyBufferOf4096Characters) {
    const DataBuffer buffer;
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.capacity(), 4096);
    EXPECT_STREQ(buffer.getString(), "");
}

TEST(DataBufferConstructor, TakesASizeAboveTheInlineStorageAsCapacity) {
    for (const int size : {4097, 5000, 1 << 20}) {
        const DataBuffer buffer(size);
        EXPECT_EQ(buffer.capacity(), size);
        EXPECT_EQ(buffer.length(), 0);
        EXPECT_EQ(std::string(buffer.getString(), 4097), std::string(4097, '\0'));
    }
}

TEST(DataBufferConstructor, KeepsTheInlineStorageForSmallAndNegativeSizes) {
    for (const int size : {4096, 4095, 1, 0, -1, INT_MIN}) {
        const DataBuffer buffer(size);
        EXPECT_EQ(buffer.capacity(), 4096) << size;
        EXPECT_EQ(buffer.length(), 0) << size;
    }
}

TEST(DataBufferConstructor, CopiesATextAndTakesNullForNone) {
    EXPECT_EQ(contentOf(DataBuffer("text")), "text");
    EXPECT_EQ(contentOf(DataBuffer("")), "");
    EXPECT_EQ(contentOf(DataBuffer(static_cast<const char*>(nullptr))), "");
}

TEST(DataBufferConstructor, GrowsForALongText) {
    const std::string text = filled(4097);
    const DataBuffer buffer(text.c_str());
    EXPECT_EQ(contentOf(buffer), text);
    EXPECT_EQ(buffer.capacity(), 8193);
}

TEST(DataBufferConstructor, ConvertsUnicodeText) {
    EXPECT_EQ(contentOf(DataBuffer(u"\u00E9", "UTF-8")), "\xC3\xA9");
    EXPECT_EQ(contentOf(DataBuffer(u"\u00E9", "ISO-8859-1")), "\xE9");
    EXPECT_EQ(contentOf(DataBuffer(u"\u00E9", nullptr)), "\xC3\xA9");
    EXPECT_EQ(contentOf(DataBuffer(u"\u00E9", "")), "\xC3\xA9");
}

TEST(DataBufferConstructor, IsExplicitForSizesAndBytesOnly) {
    static_assert(!std::is_convertible_v<int, DataBuffer>);
    static_assert(!std::is_convertible_v<const char*, DataBuffer>);
    DataBuffer buffer;
    buffer = "literal";  // takes the Unicode form, without ambiguity
    EXPECT_EQ(contentOf(buffer), "literal");
}

// --- Copies -------------------------------------------------------------------------------------

TEST(DataBufferCopy, KeepsNulsInsideTheContent) {
    DataBuffer source;
    saveAll(source, 0, std::string("ab\0cd", 5));
    const DataBuffer copy(source);
    EXPECT_EQ(contentOf(copy), std::string("ab\0cd", 5));
    EXPECT_EQ(copy.capacity(), 4096);
}

TEST(DataBufferCopy, StaysInlineUpTo4096WhateverTheSourceHadRoomFor) {
    DataBuffer source(100'000);
    source.appendString(filled(4096).c_str());
    const DataBuffer copy(source);
    EXPECT_EQ(source.capacity(), 100'000);
    EXPECT_EQ(copy.capacity(), 4096);
    EXPECT_EQ(contentOf(copy), filled(4096));
}

TEST(DataBufferCopy, TakesTheGrowthStepAbove4096) {
    DataBuffer source(100'000);
    source.appendString(filled(4097).c_str());
    const DataBuffer copy(source);
    EXPECT_EQ(copy.capacity(), 4097 + 4096);
    EXPECT_EQ(contentOf(copy), filled(4097));
    EXPECT_NE(copy.getString(), source.getString());
}

TEST(DataBufferCopy, OfAForgottenContentIsEmpty) {
    DataBuffer source("abc");
    source.clear(/*keepBytes=*/true);
    const DataBuffer copy(source);
    EXPECT_EQ(copy.length(), 0);
    EXPECT_STREQ(copy.getString(), "");
}

TEST(DataBufferAssignment, CopiesTheContentBothWaysAcrossTheInlineLimit) {
    DataBuffer small("small");
    DataBuffer large(filled(10'000, 'l').c_str());
    DataBuffer target(filled(6'000).c_str());
    target = small;
    EXPECT_EQ(contentOf(target), "small");
    EXPECT_EQ(target.capacity(), 4096);
    target = large;
    EXPECT_EQ(contentOf(target), filled(10'000, 'l'));
    EXPECT_EQ(target.capacity(), 14'096);
    target.appendString("!");
    EXPECT_EQ(contentOf(large), filled(10'000, 'l'));
}

TEST(DataBufferAssignment, ToItselfChangesNothing) {
    DataBuffer buffer(filled(5'000).c_str());
    const DataBuffer& same = buffer;
    buffer = same;
    EXPECT_EQ(contentOf(buffer), filled(5'000));
    EXPECT_EQ(buffer.capacity(), 9'096);
}

TEST(DataBufferAssignment, TakesUnicodeTextInTheDefaultCodePage) {
    DataBuffer buffer(filled(5'000).c_str());
    buffer = icu::UnicodeString(u"\u20AC");
    EXPECT_EQ(contentOf(buffer), "\xE2\x82\xAC");
    EXPECT_EQ(buffer.capacity(), 4096);
}

// --- clear --------------------------------------------------------------------------------------

TEST(DataBufferClear, ZeroesTheInlineStorageAndGivesTheHeapBack) {
    DataBuffer buffer("abc");
    const char* const inlineStorage = buffer.getString();
    buffer.appendString(filled(5'000).c_str());
    EXPECT_NE(buffer.getString(), inlineStorage);
    buffer.clear();
    EXPECT_EQ(buffer.getString(), inlineStorage);
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.capacity(), 4096);
    EXPECT_EQ(std::string(buffer.getString(), 4097), std::string(4097, '\0'));
}

TEST(DataBufferClear, KeepingTheBytesLeavesTheOldTextToBeSeen) {
    DataBuffer buffer("abc");
    buffer.clear(/*keepBytes=*/true);
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.capacity(), 4096);
    EXPECT_STREQ(buffer.getString(), "abc");
}

TEST(DataBufferClear, KeepingTheBytesShowsNothingOfAContentThatWasOnTheHeap) {
    DataBuffer buffer("abc");
    buffer.appendString(filled(5'000).c_str());
    buffer.clear(/*keepBytes=*/true);
    EXPECT_STREQ(buffer.getString(), "");
}

TEST(DataBufferClear, InsertionAfterKeepingTheBytesHoldsOnlyWhatIsInserted) {
    DataBuffer shortOne("abc");
    shortOne.clear(/*keepBytes=*/true);
    shortOne.insertString(0, "x");
    EXPECT_EQ(shortOne.length(), 1);
    EXPECT_STREQ(shortOne.getString(), "x");

    DataBuffer full(filled(4096, 'q').c_str());
    full.clear(/*keepBytes=*/true);
    full.insertString(0, "0123456789");
    EXPECT_EQ(full.length(), 10);
    EXPECT_STREQ(full.getString(), "0123456789");
}

TEST(DataBufferClear, KeepingTheBytesLeavesNothingToSearch) {
    DataBuffer buffer("abc abc");
    buffer.clear(/*keepBytes=*/true);
    EXPECT_EQ(buffer.indexOf(0, "abc"), -1);
    EXPECT_EQ(buffer.indexOf(-1, "abc"), -1);
    EXPECT_EQ(buffer.indexOf(-1, 99, "abc"), -1);
    EXPECT_EQ(buffer.occurrences("abc"), 0);
    EXPECT_EQ(buffer.replaceAll("abc", "x"), 0);
    EXPECT_EQ(buffer.replace("abc", "x", 1), 0);
    EXPECT_EQ(buffer.replace("abc", "x", 1, 1), 0);
}

// --- Insertion ----------------------------------------------------------------------------------

TEST(DataBufferSaveString, DoesNothingForNullAndForCountsBelowOne) {
    DataBuffer buffer("abc");
    buffer.saveString(0, nullptr, 5);
    buffer.saveString(0, "x", 0);
    buffer.saveString(0, "x", -1);
    buffer.saveString(0, "x", INT_MIN);
    buffer.appendString(nullptr);
    buffer.appendString("");
    buffer.insertString(1, nullptr);
    buffer.appendString(nullptr, 3);
    buffer.insertString(1, nullptr, 3);
    EXPECT_EQ(contentOf(buffer), "abc");
}

TEST(DataBufferSaveString, ClampsThePosition) {
    for (const auto& [position, result] : {std::pair{-5, "Xabc"},
                                           {INT_MIN, "Xabc"},
                                           {0, "Xabc"},
                                           {1, "aXbc"},
                                           {3, "abcX"},
                                           {4, "abcX"},
                                           {INT_MAX, "abcX"}}) {
        DataBuffer buffer("abc");
        buffer.saveString(position, "X", 1);
        EXPECT_EQ(contentOf(buffer), result) << position;
    }
}

TEST(DataBufferSaveString, TakesExactlyTheCountOfATextThatFits) {
    DataBuffer buffer("ab");
    buffer.saveString(1, "12345", 3);
    EXPECT_EQ(contentOf(buffer), "a123b");
    buffer.appendString("\0z", 2);
    EXPECT_EQ(contentOf(buffer), std::string("a123b\0z", 7));
    EXPECT_EQ(buffer.getString()[7], '\0');
}

TEST(DataBufferSaveString, ReadsNothingBehindTheCount) {
    GuardedMemory memory(64);
    memory.fill('t');
    DataBuffer inPlace;
    inPlace.saveString(0, memory.last<char>(8), 8);
    EXPECT_EQ(contentOf(inPlace), "tttttttt");
    DataBuffer growing(filled(4096).c_str());
    growing.saveString(4096, memory.last<char>(8), 8);
    EXPECT_EQ(contentOf(growing), filled(4096) + "tttttttt");
}

TEST(DataBufferSaveString, EveryFormInsertsThroughIt) {
    DataBuffer buffer("b");
    const DataBuffer other("<>");
    buffer.appendString("c");
    buffer.appendString("def", 1);
    buffer.appendString(other);
    buffer.insertString(0, "a");
    buffer.insertString(0, "12", 1);
    buffer.insertString(1, other);
    EXPECT_EQ(contentOf(buffer), "1<>abcd<>");
}

TEST(DataBufferSaveString, TheTailEndsAtItsFirstNul) {
    DataBuffer front;
    saveAll(front, 0, std::string("ab\0cd", 5));
    front.insertString(0, "X");
    EXPECT_EQ(contentOf(front), bytes({0x58, 0x61, 0x62, 0x00, 0x64, 0x00}));

    DataBuffer behind;
    saveAll(behind, 0, std::string("ab\0cd", 5));
    behind.insertString(4, "X");
    EXPECT_EQ(contentOf(behind), bytes({0x61, 0x62, 0x00, 0x63, 0x58, 0x64}));
}

TEST(DataBufferSaveString, RoomBehindACutTailHoldsNoOldBytes) {
    DataBuffer buffer(filled(64, 'o').c_str());
    EXPECT_EQ(buffer.replace(filled(60, 'o').c_str(), "", 1), 1);
    buffer.appendString("\0z", 2);
    buffer.insertString(0, "12345");
    EXPECT_EQ(contentOf(buffer), std::string("12345oooo\0\0", 11));
}

TEST(DataBufferSaveString, AppendsBinaryPiecesAsLongAsTheyFit) {
    DataBuffer buffer;
    saveAll(buffer, 0, std::string("\0\0", 2));
    saveAll(buffer, 2, std::string("a\0", 2));
    EXPECT_EQ(contentOf(buffer), std::string("\0\0a\0", 4));
    const DataBuffer other(buffer);
    buffer.appendString(other);
    EXPECT_EQ(contentOf(buffer), std::string("\0\0a\0\0\0a\0", 8));
    buffer.insertString(8, other);
    EXPECT_EQ(buffer.length(), 12);
}

// --- Growth -------------------------------------------------------------------------------------

TEST(DataBufferGrowth, FillsTheCapacityWithoutGrowing) {
    DataBuffer buffer;
    saveAll(buffer, 0, filled(4096));
    EXPECT_EQ(buffer.capacity(), 4096);
    EXPECT_EQ(buffer.getString()[4096], '\0');
    saveAll(buffer, 0, "y");
    EXPECT_EQ(buffer.capacity(), 4096 + 1 + 4096);
    EXPECT_EQ(contentOf(buffer), "y" + filled(4096));
}

TEST(DataBufferGrowth, AppendingTooMuchTakesTheLengthAnd4096More) {
    DataBuffer buffer;
    saveAll(buffer, 0, filled(4097));
    EXPECT_EQ(buffer.capacity(), 8193);
    EXPECT_EQ(contentOf(buffer), filled(4097));
}

TEST(DataBufferGrowth, ReportsEveryStepOfTheRule) {
    for (const int step : {1, 7, 12, 4095, 4096, 4097, 10'000}) {
        const std::string piece = filled(static_cast<std::size_t>(step));
        DataBuffer buffer;
        int capacity = 4096;
        for (int length = 0; length < 200'000; length += step) {
            if (length + step > capacity) {
                capacity = length + step + 4096;
            }
            saveAll(buffer, length, piece);
            ASSERT_EQ(buffer.capacity(), capacity) << step << " at " << length;
            ASSERT_EQ(buffer.length(), length + step);
        }
        EXPECT_EQ(contentOf(buffer), filled(static_cast<std::size_t>(buffer.length())));
    }
}

TEST(DataBufferGrowth, CountsTheRequestEvenWhenTheTextEndsEarlier) {
    DataBuffer buffer;
    std::string text = filled(5'000);
    text[10] = '\0';
    saveAll(buffer, 0, text);
    EXPECT_EQ(contentOf(buffer), filled(10));
    EXPECT_EQ(buffer.capacity(), 9'096);
}

TEST(DataBufferGrowth, DropsWhatFollowsANulInEachPart) {
    DataBuffer buffer;
    saveAll(buffer, 0, std::string("ab\0cd", 5));
    saveAll(buffer, 5, filled(4'096, 'z'));
    EXPECT_EQ(contentOf(buffer), "ab" + filled(4'096, 'z'));
    EXPECT_EQ(buffer.capacity(), 5 + 4'096 + 4'096);

    DataBuffer all;
    saveAll(all, 0, std::string("a\0b|c\0d", 7));
    std::string text = filled(4'100, 'z');
    text[2] = '\0';
    saveAll(all, 4, text);
    EXPECT_EQ(contentOf(all), "azzc");
}

TEST(DataBufferGrowth, DropsWhatFollowsANulOnTheHeapToo) {
    DataBuffer buffer(filled(5'000).c_str());
    saveAll(buffer, 2, std::string("\0\0", 2));
    EXPECT_EQ(buffer.length(), 5'002);
    const int capacity = buffer.capacity();
    saveAll(buffer, buffer.length(), filled(static_cast<std::size_t>(capacity), 'z'));
    EXPECT_EQ(contentOf(buffer), "xx" + filled(static_cast<std::size_t>(capacity), 'z'));
}

TEST(DataBufferGrowth, OfAForgottenContentKeepsNothingOfIt) {
    DataBuffer buffer("abc");
    buffer.clear(/*keepBytes=*/true);
    saveAll(buffer, 0, filled(5'000));
    EXPECT_EQ(contentOf(buffer), filled(5'000));
    buffer.clear(/*keepBytes=*/true);
    EXPECT_STREQ(buffer.getString(), "");
}

// --- Arguments inside the buffer ----------------------------------------------------------------

TEST(DataBufferAliasing, InsertsAPartOfItself) {
    DataBuffer buffer("abcdef");
    buffer.insertString(0, buffer.getString() + 2, 3);
    EXPECT_EQ(contentOf(buffer), "cdeabcdef");
    buffer.insertString(4, buffer.getString());
    EXPECT_EQ(contentOf(buffer), "cdeacdeabcdefbcdef");
}

TEST(DataBufferAliasing, AppendsItselfInPlaceAndGrowing) {
    DataBuffer buffer("ab");
    std::string expected = "ab";
    while (expected.size() < 100'000) {
        buffer.appendString(buffer);
        expected += expected;
        ASSERT_EQ(contentOf(buffer), expected);
    }
    buffer.appendString(buffer.getString());
    EXPECT_EQ(contentOf(buffer), expected + expected);
}

TEST(DataBufferAliasing, ReplacesWithAndByItsOwnText) {
    DataBuffer buffer("ab-ab-ab");
    EXPECT_EQ(buffer.replaceAll(buffer.getString() + 6, buffer.getString()), 3);
    EXPECT_EQ(contentOf(buffer), "ab-ab-ab-ab-ab-ab-ab-ab-ab");
    EXPECT_EQ(buffer.replaceAll("-", buffer.getString() + 25), 8);
    EXPECT_EQ(contentOf(buffer), "abbabbabbabbabbabbabbabbab");
}

TEST(DataBufferAliasing, WritesTheHexadecimalFormOfItself) {
    DataBuffer buffer("az");
    buffer.insertBinary(0, buffer.getString(), 2, /*upperCase=*/false);
    EXPECT_EQ(contentOf(buffer), "X'617a'az");
}

// --- Sizes that no buffer has -------------------------------------------------------------------

template <class Operation>
void expectRefused(DataBuffer& buffer, const Operation& operation) {
    const std::string before = contentOf(buffer);
    const int capacity = buffer.capacity();
    EXPECT_THROW(operation(), std::bad_alloc);
    EXPECT_EQ(contentOf(buffer), before);
    EXPECT_EQ(buffer.capacity(), capacity);
}

TEST(DataBufferLimits, RefusesWhatNoLengthCountsBeforeReadingIt) {
    GuardedMemory memory(1);
    const char* const unreadable = memory.last<char>(0);
    DataBuffer buffer("abc");
    expectRefused(buffer, [&] { buffer.saveString(0, unreadable, INT_MAX); });
    expectRefused(buffer, [&] { buffer.saveString(0, unreadable, INT_MAX - 4096); });
    expectRefused(buffer, [&] { buffer.appendString(unreadable, INT_MAX); });
    expectRefused(buffer, [&] { buffer.saveBinary(0, unreadable, 1'100'000'000, false); });
    expectRefused(buffer, [&] { buffer.saveBinary(0, unreadable, INT_MAX, true); });
}

TEST(DataBufferLimits, RefusesTheFirstCountThatOutgrowsTheLengthInEveryForm) {
    GuardedMemory memory(1);
    const char* const unreadable = memory.last<char>(0);
    DataBuffer buffer("abc");
    const int text = INT_MAX - 3 - 4096;  // with what is there and the growth: INT_MAX
    const int bytes = (INT_MAX - 3 - 4096 - 3) / 2 + 1;
    expectRefused(buffer, [&] { buffer.saveString(1, unreadable, text); });
    expectRefused(buffer, [&] { buffer.appendString(unreadable, text); });
    expectRefused(buffer, [&] { buffer.insertString(1, unreadable, text); });
    expectRefused(buffer, [&] { buffer.saveBinary(1, unreadable, bytes, false); });
    expectRefused(buffer, [&] { buffer.appendBinary(unreadable, bytes, true); });
    expectRefused(buffer, [&] { buffer.insertBinary(1, unreadable, bytes, true); });
}

TEST(DataBufferLimits, RefusesATextThatIsLongerThanAnyBuffer) {
    const ::nx::test::RepeatedText text("a", INT_MAX);
    DataBuffer buffer("abc");
    expectRefused(buffer, [&] { buffer.appendString(text.data()); });
}

TEST(DataBufferLimits, RefusesASizeAboveTheLargestCapacity) {
    EXPECT_THROW(DataBuffer{INT_MAX}, std::bad_alloc);
}

TEST(DataBufferLimits, RefusesItsOwnTextInAHopelessLengthWithoutCopyingIt) {
    DataBuffer buffer("abc");
    expectRefused(buffer, [&] { buffer.saveString(0, buffer.getString(), INT_MAX); });
    expectRefused(buffer, [&] { buffer.saveBinary(0, buffer.getString(), INT_MAX, false); });
}

TEST(DataBufferLimits, RefusesAReplacementThatOutgrowsTheLength) {
    DataBuffer buffer(filled(1 << 16, 'a').c_str());
    const std::string replacement = filled(1 << 15, 'b');
    expectRefused(buffer, [&] { buffer.replaceAll("a", replacement.c_str()); });
}

}  // namespace
}  // namespace nx::oss
