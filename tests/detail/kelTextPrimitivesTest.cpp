// The byte work behind text buffers: hexadecimal text, replacing, heap blocks.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "infra/detail/kelAsciiText.h"
#include "infra/detail/kelDecimalText.h"
#include "infra/detail/kelHexText.h"
#include "infra/detail/kelTextBlock.h"
#include "infra/detail/kelTextReplace.h"
#include "support/kelGuardedMemory.h"

namespace nx::oss::detail {
namespace {

using oss::test::GuardedMemory;

constexpr std::size_t LONGEST = 200;

std::string slowHex(const std::string& bytes, bool upperCase) {
    std::string result;
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, upperCase ? "%02X" : "%02x",
                      static_cast<unsigned>(static_cast<unsigned char>(c)));
        result += digits;
    }
    return result;
}

std::string sample(std::size_t length, unsigned start) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<char>(start + i * 37);
    }
    return bytes;
}

// --- Hexadecimal text ---------------------------------------------------------------------------

TEST(ToAsciiUpper, ChangesTheSmallLettersAndNothingAroundThem) {
    std::string text = "`az{AZ09\xE9";
    for (char& c : text) {
        c = toAsciiUpper(c);
    }
    EXPECT_EQ(text, "`AZ{AZ09\xE9");
}

TEST(EncodeHex, WritesEveryLengthAtTheBorderOfItsMemory) {
    GuardedMemory source(LONGEST);
    GuardedMemory target(2 * LONGEST);
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        const std::string bytes = sample(length, static_cast<unsigned>(length * 5));
        for (const bool upperCase : {false, true}) {
            char* const in = source.last<char>(length);
            char* const out = target.last<char>(2 * length);
            std::memcpy(in, bytes.data(), length);
            ASSERT_EQ(encodeHex(out, in, length, upperCase), out + 2 * length);
            ASSERT_EQ(std::string(out, 2 * length), slowHex(bytes, upperCase)) << length;

            std::memcpy(source.first<char>(), bytes.data(), length);
            encodeHex(target.first<char>(), source.first<char>(), length, upperCase);
            ASSERT_EQ(std::string(target.first<char>(), 2 * length), slowHex(bytes, upperCase));
        }
    }
}

TEST(DecodeHex, ReadsEveryLengthAtTheBorderOfItsMemory) {
    GuardedMemory source(2 * LONGEST);
    GuardedMemory target(LONGEST);
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        const std::string bytes = sample(length, static_cast<unsigned>(length * 11));
        std::string digits = slowHex(bytes, false);
        for (std::size_t i = 0; i < digits.size(); i += 3) {
            digits[i] = digits[i] >= 'a' ? static_cast<char>(digits[i] - 'a' + 'A') : digits[i];
        }
        char* const in = source.last<char>(2 * length);
        char* const out = target.last<char>(length);
        std::memcpy(in, digits.data(), digits.size());
        ASSERT_TRUE(isHex(in, 2 * length));
        decodeHex(out, in, length);
        ASSERT_EQ(std::string(out, length), bytes) << length;
    }
}

TEST(EncodeHex, AndDecodeHexWorkAtEveryAlignment) {
    char source[64 + LONGEST];
    char digits[64 + 2 * LONGEST];
    char decoded[64 + LONGEST];
    for (std::size_t from = 0; from < 33; ++from) {
        for (std::size_t to = 0; to < 33; ++to) {
            const std::size_t length = 31 + from + to;
            const std::string bytes = sample(length, static_cast<unsigned>(from * 33 + to));
            std::memcpy(source + from, bytes.data(), length);
            std::memset(digits, '.', sizeof digits);
            std::memset(decoded, '.', sizeof decoded);
            encodeHex(digits + to, source + from, length, false);
            ASSERT_EQ(std::string(digits + to, 2 * length), slowHex(bytes, false));
            ASSERT_EQ(digits[to + 2 * length], '.');
            decodeHex(decoded + from, digits + to, length);
            ASSERT_EQ(std::string(decoded + from, length), bytes);
            ASSERT_EQ(decoded[from + length], '.');
        }
    }
}

TEST(IsHex, FindsEveryWrongByteAtEveryPlace) {
    const std::string right = "0123456789abcdefABCDEF";
    for (const std::size_t length :
         {1UL, 2UL, 15UL, 16UL, 17UL, 31UL, 32UL, 33UL, 64UL, 65UL, 100UL}) {
        std::string text;
        while (text.size() < length) {
            text += right;
        }
        text.resize(length);
        for (int value = 0; value < 256; ++value) {
            const char c = static_cast<char>(value);
            const bool digit = c != '\0' && right.find(c) != std::string::npos;
            for (std::size_t at = 0; at < length; ++at) {
                std::string changed = text;
                changed[at] = c;
                ASSERT_EQ(isHex(changed.data(), length), digit) << value << " at " << at;
            }
        }
    }
}

TEST(WriteHexLiteral, LeavesOutLeadingZeros) {
    const std::pair<unsigned long, const char*> cases[] = {{0, "X'0'"},
                                                           {1, "X'1'"},
                                                           {15, "X'F'"},
                                                           {16, "X'10'"},
                                                           {255, "X'FF'"},
                                                           {4096, "X'1000'"},
                                                           {~0UL, "X'FFFFFFFFFFFFFFFF'"},
                                                           {1UL << 63, "X'8000000000000000'"},
                                                           {0xABCDEF, "X'ABCDEF'"}};
    for (const auto& [value, text] : cases) {
        char out[LONGEST_HEX_LITERAL];
        EXPECT_EQ(std::string(out, writeHexLiteral(out, value, true)), text);
    }
    char out[LONGEST_HEX_LITERAL];
    EXPECT_EQ(std::string(out, writeHexLiteral(out, 0xABCDEF, false)), "X'abcdef'");
}

TEST(WriteHexLiteral, EveryBitIsWhatPrintfWrites) {
    for (int bit = 0; bit < 64; ++bit) {
        for (const unsigned long value : {1UL << bit, (1UL << bit) - 1, ~0UL >> bit}) {
            char wanted[32];
            std::snprintf(wanted, sizeof wanted, "X'%lx'", value);
            char out[LONGEST_HEX_LITERAL];
            ASSERT_EQ(std::string(out, writeHexLiteral(out, value, false)), wanted);
        }
    }
}

// --- Decimal text -------------------------------------------------------------------------------

template <class Number>
std::string decimal(Number value) {
    GuardedMemory memory(LONGEST_DECIMAL_TEXT);
    char* const out = memory.last<char>(LONGEST_DECIMAL_TEXT);
    return {out, writeDecimal(out, value)};
}

TEST(WriteDecimal, StaysWithinTheLongestText) {
    EXPECT_EQ(decimal(-1.7976931348623157e308).size(), LONGEST_DECIMAL_TEXT);
    EXPECT_EQ(decimal(-9223372036854775807L - 1), "-9223372036854775808");
    EXPECT_EQ(decimal(18446744073709551615UL), "18446744073709551615");
}

TEST(WriteDecimal, IntegersAroundEveryPowerOfTenAreWhatPrintfWrites) {
    unsigned long power = 1;
    for (int digits = 0; digits < 20; ++digits, power *= 10) {
        for (unsigned long value = power - 2; value != power + 3; ++value) {
            char wanted[32];
            std::snprintf(wanted, sizeof wanted, "%lu", value);
            ASSERT_EQ(decimal(value), wanted);
            const long negative = static_cast<long>(0 - value);
            std::snprintf(wanted, sizeof wanted, "%ld", negative);
            ASSERT_EQ(decimal(negative), wanted);
        }
    }
}

/// In exactly the room that the header asks for.
template <class Integer>
std::u16string decimalUnits(Integer value) {
    GuardedMemory memory(LONGEST_INTEGER_TEXT * sizeof(char16_t));
    auto* const out = memory.last<char16_t>(LONGEST_INTEGER_TEXT);
    return {out, writeDecimal(out, value)};
}

TEST(WriteDecimal, WritesTheSameIntegersAsUnits) {
    EXPECT_EQ(decimalUnits(-9223372036854775807L - 1), u"-9223372036854775808");
    EXPECT_EQ(decimalUnits(18446744073709551615UL), u"18446744073709551615");
    EXPECT_EQ(decimalUnits(0L), u"0");
    unsigned long power = 1;
    for (int digits = 0; digits < 20; ++digits, power *= 10) {
        for (unsigned long value = power - 2; value != power + 3; ++value) {
            const std::string wanted = std::to_string(value);
            ASSERT_EQ(decimalUnits(value), std::u16string(wanted.begin(), wanted.end()));
            const long negative = static_cast<long>(0 - value);
            const std::string signedText = std::to_string(negative);
            ASSERT_EQ(decimalUnits(negative), std::u16string(signedText.begin(), signedText.end()));
        }
    }
}

// --- Replacing ----------------------------------------------------------------------------------

TEST(CountMatches, CountsTheOnesOfTheWindow) {
    EXPECT_EQ(countMatches("a-a-a", {"a", "", 1, 3}), 3);
    EXPECT_EQ(countMatches("a-a-a", {"a", "", 2, 2}), 1);
    EXPECT_EQ(countMatches("a-a-a", {"a", "", 3, 9}), 1);
    EXPECT_EQ(countMatches("a-a-a", {"a", "", 4, 9}), 0);
    EXPECT_EQ(countMatches("a-a-a", {"a", "", -5, 1}), 1);
    EXPECT_EQ(countMatches("", {"a", "", 1, 9}), 0);
}

std::string rebuilt(const std::string& text, const TextReplacement& what) {
    const std::vector<int> starts = findMatches(text.c_str(), what);
    std::string result(text.size() + starts.size() * what.replacement.size(), '.');
    result.resize(text.size() + starts.size() * (what.replacement.size() - what.needle.size()));
    rebuild(result.data(), text, starts, what);
    return result;
}

TEST(FindMatches, GivesTheStartsOfTheWindow) {
    EXPECT_EQ(findMatches("one two one two one", {"one", "", 2, 3}), (std::vector<int>{8, 16}));
    EXPECT_EQ(findMatches("aaaa", {"aa", "", 1, 9}), (std::vector<int>{0, 2}));
    EXPECT_EQ(findMatches("aaaa", {"b", "", 1, 9}), (std::vector<int>{}));
}

TEST(Rebuild, WritesTheReplacementsElsewhere) {
    EXPECT_EQ(rebuilt("one two one two one", {"one", "THREE", 2, 3}), "one two THREE two THREE");
    EXPECT_EQ(rebuilt("one", {"one", "three", 1, 1}), "three");
    EXPECT_EQ(rebuilt("no match", {"one", "three", 1, 1}), "no match");
}

TEST(Shrink, WritesTheReplacementsWhereTheTextStands) {
    char text[] = "one two one two one";
    long made = 0;
    char* const end = shrink(text, text + sizeof text - 1, {"one", "1", 1, 2}, made);
    EXPECT_EQ(std::string(text, end), "1 two 1 two one");
    EXPECT_EQ(made, 2);
}

TEST(Widen, WritesTheReplacementsWhereTheTextStands) {
    char text[32] = "one two one";
    const TextReplacement what{"one", "three", 1, 2};
    widen(text, 11, findMatches(text, what), what);
    EXPECT_EQ(std::string(text, 15), "three two three");
}

// --- Heap blocks --------------------------------------------------------------------------------

TEST(TextBlock, KeepsItsCharactersWhenItIsExtended) {
    char* characters = TextBlock::allocate(3);
    std::memcpy(characters, "abc", 3);
    TextBlock::of(characters).nulFree = 2;
    for (const std::size_t room : {3UL, 100UL, 1'000'000UL}) {
        characters = TextBlock::extend(characters, room);
        EXPECT_GE(TextBlock::of(characters).room, room);
        EXPECT_EQ(TextBlock::of(characters).nulFree, 2U);
        EXPECT_EQ(std::string(characters, 3), "abc");
    }
    EXPECT_THROW(TextBlock::extend(characters, ~std::size_t{0} / 3 * 2), std::bad_alloc);
    EXPECT_EQ(std::string(characters, 3), "abc");
    TextBlock::release(characters);
}

TEST(TextBlock, IsZeroedOnDemandAndAtLeastAsLongAsAskedFor) {
    for (const std::size_t room : {1UL, 4098UL, 100'000UL}) {
        char* const characters = TextBlock::allocateZeroed(room);
        EXPECT_GE(TextBlock::of(characters).room, room);
        EXPECT_EQ(TextBlock::of(characters).nulFree, 0U);
        EXPECT_EQ(std::string(characters, room), std::string(room, '\0'));
        TextBlock::release(characters);
    }
}

TEST(TextBlock, RefusesARoomThatNoMemoryHas) {
    EXPECT_THROW(TextBlock::allocate(~std::size_t{0}), std::bad_alloc);
    EXPECT_THROW(TextBlock::allocate(~std::size_t{0} / 3 * 2), std::bad_alloc);
}

}  // namespace
}  // namespace nx::oss::detail
