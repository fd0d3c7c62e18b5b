#include <infra/oss/kelByteBuffer.h>

#include <climits>
#include <cstring>
#include <new>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/kelAllocationFaults.h"

namespace nx::oss {
namespace {

using Target = DefaultAlternateBuffer<char>;

// The content; fails when the terminator or the order of the sizes is broken.
std::string contentOf(const ByteBuffer& buffer) {
    EXPECT_GE(buffer.size(), 1u);
    EXPECT_GE(buffer.capacity(), buffer.size());
    EXPECT_EQ(buffer.data()[buffer.size() - 1], '\0');
    return {buffer.data(), buffer.size() - 1};
}

void expectEmpty(const ByteBuffer& buffer, unsigned long capacity) {
    EXPECT_EQ(contentOf(buffer), "");
    EXPECT_EQ(buffer.size(), 1u);
    EXPECT_EQ(buffer.capacity(), capacity);
}

ByteBuffer bufferOf(const std::string& bytes) { return {bytes.data(), bytes.size()}; }

// --- Construction -------------------------------------------------------------------------------

TEST(ByteBufferConstructor, WithACapacityLeavesRoomForTheTerminator) {
    expectEmpty(ByteBuffer(0), 4);
    expectEmpty(ByteBuffer(3), 4);
    expectEmpty(ByteBuffer(4), 8);
    expectEmpty(ByteBuffer(63), 64);
    expectEmpty(ByteBuffer(64), 128);
}

TEST(ByteBufferConstructor, WithACapacityBeyondTheLimitThrowsBadAlloc) {
    EXPECT_THROW(ByteBuffer(1ul << 30), std::bad_alloc);
    EXPECT_THROW(ByteBuffer(ULONG_MAX - 1), std::bad_alloc);
    EXPECT_THROW(ByteBuffer buffer(ULONG_MAX), std::bad_alloc);
}

TEST(ByteBufferConstructor, WithBytesCopiesThemNulsIncluded) {
    char bytes[] = {'a', '\0', 'b'};
    const ByteBuffer buffer(bytes, sizeof bytes);
    bytes[0] = 'x';
    EXPECT_EQ(contentOf(buffer), std::string("a\0b", 3));
    EXPECT_EQ(buffer.size(), 4u);
    EXPECT_EQ(buffer.capacity(), 4u);
}

TEST(ByteBufferConstructor, WithBytesTakesTheSmallestPowerOfTwo) {
    EXPECT_EQ(bufferOf("a").capacity(), 4u);
    EXPECT_EQ(bufferOf("abcd").capacity(), 8u);
    EXPECT_EQ(bufferOf(std::string(7, 'x')).capacity(), 8u);
    EXPECT_EQ(bufferOf(std::string(8, 'x')).capacity(), 16u);
}

TEST(ByteBufferConstructor, WithNullOrNoBytesIsEmpty) {
    expectEmpty(ByteBuffer(nullptr, 5), 4);
    expectEmpty(ByteBuffer(nullptr, ULONG_MAX), 4);
    expectEmpty(ByteBuffer("abc", 0), 4);
}

TEST(ByteBufferConstructor, WithTextConvertsIt) {
    const ByteBuffer buffer(icu::UnicodeString(u"a\u00E9"), "ISO8859_1");
    EXPECT_EQ(contentOf(buffer), "a\xE9");
    expectEmpty(ByteBuffer(icu::UnicodeString(), "UTF-8"), 4);
}

TEST(ByteBufferCopy, IsDeep) {
    ByteBuffer source = bufferOf("abc");
    const ByteBuffer copy(source);
    source.append("d", 1);
    EXPECT_EQ(contentOf(copy), "abc");
    EXPECT_NE(copy.data(), source.data());
}

TEST(ByteBufferCopy, TakesTheSmallestCapacityThatHoldsTheContent) {
    ByteBuffer source(1000);
    source.append("abc", 3);
    EXPECT_EQ(ByteBuffer(source).capacity(), 4u);
    expectEmpty(ByteBuffer(ByteBuffer(1000)), 1024);  // no copy is made of a temporary
    const ByteBuffer empty(1000);
    expectEmpty(ByteBuffer(empty), 4);
}

TEST(ByteBufferAssignment, IsDeepAndSafeForItself) {
    ByteBuffer target = bufferOf("old content that is longer");
    ByteBuffer source = bufferOf(std::string("a\0b", 3));
    target = source;
    source.clear();
    EXPECT_EQ(contentOf(target), std::string("a\0b", 3));
    const ByteBuffer& alias = target;
    target = alias;
    EXPECT_EQ(contentOf(target), std::string("a\0b", 3));
}

TEST(ByteBufferDestructor, FreesBufferAndStorage) {
    const long before = test::liveAllocations();
    {
        ByteBuffer buffer = bufferOf("abc");
        buffer.append("0123456789", 10);
        EXPECT_EQ(test::liveAllocations(), before + 2);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

// --- Append -------------------------------------------------------------------------------------

TEST(ByteBufferAppend, GrowsInPowersOfTwo) {
    ByteBuffer buffer(0);
    buffer.append("abcde", 5);
    EXPECT_EQ(buffer.size(), 6u);
    EXPECT_EQ(buffer.capacity(), 8u);
    buffer.append("fgh", 3);
    EXPECT_EQ(buffer.size(), 9u);
    EXPECT_EQ(buffer.capacity(), 16u);
    EXPECT_EQ(contentOf(buffer), "abcdefgh");
}

TEST(ByteBufferAppend, ThatFillsTheCapacityExactlyKeepsTheStorage) {
    ByteBuffer buffer(7);
    const char* const storage = buffer.data();
    buffer.append("abcdefg", 7);
    EXPECT_EQ(buffer.data(), storage);
    EXPECT_EQ(buffer.size(), 8u);
    EXPECT_EQ(buffer.capacity(), 8u);
    buffer.append("h", 1);
    EXPECT_EQ(contentOf(buffer), "abcdefgh");
    EXPECT_EQ(buffer.capacity(), 16u);
}

TEST(ByteBufferAppend, OfNullOrNothingChangesNothing) {
    ByteBuffer buffer = bufferOf("abc");
    const char* const storage = buffer.data();
    buffer.append(nullptr, 3);
    buffer.append(nullptr, ULONG_MAX);
    buffer.append("x", 0);
    EXPECT_EQ(contentOf(buffer), "abc");
    EXPECT_EQ(buffer.data(), storage);
}

TEST(ByteBufferAppend, TakesBytesOfTheSameBufferWhereTheyFit) {
    ByteBuffer buffer(63);
    buffer.append("abc", 3);
    buffer.append(buffer.data(), 3);
    EXPECT_EQ(contentOf(buffer), "abcabc");
    EXPECT_EQ(buffer.capacity(), 64u);
    buffer.append(buffer.data() + 1, buffer.size() - 1);  // up to and with the terminator
    EXPECT_EQ(contentOf(buffer), std::string("abcabcbcabc\0", 12));
}

TEST(ByteBufferAppend, TakesBytesOfEveryLengthThatOverlapTheTerminator) {
    for (unsigned long length = 1; length <= 100; ++length) {
        std::string wanted(length - 1, ' ');
        for (unsigned long i = 0; i < wanted.size(); ++i) {
            wanted[i] = static_cast<char>('!' + i % 90);
        }
        ByteBuffer buffer(255UL);
        buffer.append(wanted.data(), wanted.size());
        const char* const before = buffer.data();
        buffer.append(before, length);
        wanted += std::string(wanted) + '\0';
        ASSERT_EQ(buffer.data(), before);
        ASSERT_EQ(std::string(buffer.data(), buffer.size()), wanted + '\0') << length;
    }
}

TEST(ByteBufferAppend, TakesBytesOfTheSameBufferWhereItGrows) {
    ByteBuffer buffer = bufferOf("abc");
    ASSERT_EQ(buffer.capacity(), 4u);
    buffer.append(buffer.data(), buffer.size());
    EXPECT_EQ(contentOf(buffer), std::string("abcabc\0", 7));
    EXPECT_EQ(buffer.capacity(), 8u);
    buffer.append(buffer.data() + 2, 3);
    EXPECT_EQ(contentOf(buffer), std::string("abcabc\0cab", 10));
}

TEST(ByteBufferAppend, BeyondTheLimitThrowsBadAllocAndLeavesTheContent) {
    ByteBuffer buffer = bufferOf("abc");
    for (const unsigned long length : {ULONG_MAX, ULONG_MAX - 3, ULONG_MAX - 4, 1ul << 30}) {
        EXPECT_THROW(buffer.append("x", length), std::bad_alloc) << length;
        EXPECT_EQ(contentOf(buffer), "abc");
        EXPECT_EQ(buffer.capacity(), 4u);
    }
}

TEST(ByteBufferAppend, MatchesAStringInRandomSteps) {
    const auto seed = static_cast<unsigned>(std::random_device()());
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::string model;
    ByteBuffer buffer(0);
    for (int step = 0; step < 2000; ++step) {
        const std::string piece(random() % 40, static_cast<char>(random()));
        if (random() % 100 == 0) {
            model.clear();
            buffer.clear();
        } else {
            model += piece;
            buffer.append(piece.data(), piece.size());
        }
        ASSERT_EQ(contentOf(buffer), model);
    }
}

class ByteBufferGrowth : public testing::TestWithParam<unsigned long> {};

TEST_P(ByteBufferGrowth, ReallocatesOncePerPowerOfTwo) {
    ByteBuffer buffer(0);
    unsigned long capacity = buffer.capacity();
    unsigned long steps = 0;
    for (unsigned long i = 0; i < GetParam(); ++i) {
        const char byte = static_cast<char>('a' + i % 26);
        buffer.append(&byte, 1);
        if (buffer.capacity() != capacity) {
            EXPECT_EQ(buffer.capacity(), 2 * capacity);
            capacity = buffer.capacity();
            ++steps;
        }
    }
    EXPECT_EQ(buffer.size(), GetParam() + 1);
    EXPECT_EQ(4ul << steps, capacity);
    EXPECT_LT(capacity, 2 * (GetParam() + 1));
    for (unsigned long i = 0; i < GetParam(); ++i) {
        ASSERT_EQ(buffer.data()[i], static_cast<char>('a' + i % 26)) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Bytes, ByteBufferGrowth, testing::Values(10'000, 100'000, 1'000'000));

// --- Set ----------------------------------------------------------------------------------------

struct SetRow {
    const char16_t* text;
    const char* codePage;
    std::string bytes;
};

class ByteBufferSet : public testing::TestWithParam<SetRow> {};

TEST_P(ByteBufferSet, StoresTheConvertedBytes) {
    ByteBuffer buffer = bufferOf("old");
    buffer.set(icu::UnicodeString(GetParam().text), GetParam().codePage);
    EXPECT_EQ(contentOf(buffer), GetParam().bytes);
    const ByteBuffer constructed(icu::UnicodeString(GetParam().text), GetParam().codePage);
    EXPECT_EQ(contentOf(constructed), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ByteBufferSet,
    testing::Values(SetRow{u"abc", "UTF-8", "abc"}, SetRow{u"a\u00E9", nullptr, "a\xC3\xA9"},
                    SetRow{u"a\u00E9", "", "a\xC3\xA9"}, SetRow{u"a\u00E9", "ISO8859_1", "a\xE9"},
                    SetRow{u"\u3042", "Shift_JIS", "\x82\xA0"},
                    SetRow{u"\U0001F600", "UTF-8", "\xF0\x9F\x98\x80"},
                    // What a code page cannot hold becomes its substitution byte.
                    SetRow{u"a\u4E00b", "ISO8859_1",
                           "a\x1A"
                           "b"},
                    SetRow{u"a\u4E00b", "US-ASCII",
                           "a\x1A"
                           "b"},
                    // A lone surrogate becomes U+FFFD.
                    SetRow{u"a\xD800"
                           u"b",
                           "UTF-8",
                           "a\xEF\xBF\xBD"
                           "b"},
                    SetRow{u"", "UTF-8", ""}, SetRow{u"abc", "no-such-code-page", ""}));

TEST(ByteBufferSetText, KeepsNulCharactersAsBytes) {
    ByteBuffer buffer(0);
    buffer.set(icu::UnicodeString(u"a\0b", 3), "UTF-8");
    EXPECT_EQ(contentOf(buffer), std::string("a\0b", 3));
}

TEST(ByteBufferSetText, OfNullTextEmpties) {
    icu::UnicodeString null;
    null.setToBogus();
    ByteBuffer buffer = bufferOf("abc");
    buffer.set(null, "UTF-8");
    expectEmpty(buffer, 4);
}

TEST(ByteBufferSetText, GrowsByTheRuleAndKeepsALargerStorage) {
    ByteBuffer buffer(0);
    buffer.set(icu::UnicodeString("0123456"), nullptr);
    EXPECT_EQ(buffer.capacity(), 8u);
    buffer.set(icu::UnicodeString("01234567"), nullptr);
    EXPECT_EQ(buffer.size(), 9u);
    EXPECT_EQ(buffer.capacity(), 16u);
    buffer.set(icu::UnicodeString("a"), nullptr);
    EXPECT_EQ(contentOf(buffer), "a");
    EXPECT_EQ(buffer.capacity(), 16u);
    buffer.set(icu::UnicodeString("b"), "no-such-code-page");
    expectEmpty(buffer, 16);
}

// --- Clear, compare -----------------------------------------------------------------------------

TEST(ByteBufferClear, KeepsTheStorage) {
    ByteBuffer buffer(63);
    buffer.append("0123456789", 10);
    const char* const storage = buffer.data();
    buffer.clear();
    expectEmpty(buffer, 64);
    EXPECT_EQ(buffer.data(), storage);
    buffer.append("a", 1);
    EXPECT_EQ(contentOf(buffer), "a");
}

TEST(ByteBufferCompare, IsTrueExactlyForTheSameBytes) {
    const ByteBuffer buffer = bufferOf(std::string("a\0b", 3));
    EXPECT_TRUE(buffer.compare("a\0b", 3));
    EXPECT_FALSE(buffer.compare("a\0c", 3));
    EXPECT_FALSE(buffer.compare("a\0b", 2));
    EXPECT_FALSE(buffer.compare("a\0b\0", 4));
    EXPECT_FALSE(buffer.compare("b\0b", 3));
    EXPECT_FALSE(buffer.compare("", 0));
    EXPECT_FALSE(buffer.compare("a", ULONG_MAX));
}

TEST(ByteBufferCompare, WithNullIsFalseEvenForAnEmptyBuffer) {
    const ByteBuffer empty(0);
    EXPECT_FALSE(empty.compare(nullptr, 0));
    EXPECT_TRUE(empty.compare("", 0));
    EXPECT_FALSE(bufferOf("abc").compare(nullptr, 3));
}

// --- Copy into a buffer -------------------------------------------------------------------------

TEST(ByteBufferCopyInto, FillsAndTerminatesTheTarget) {
    Target target;
    ByteBuffer::copy(target, "a\0b", 3);
    EXPECT_EQ(target.size(), 4u);
    EXPECT_EQ(target.capacity(), 4u);
    EXPECT_EQ(std::memcmp(target.data(), "a\0b\0", 4), 0);
    ByteBuffer::copy(target, "xyz12", 5);
    EXPECT_EQ(target.size(), 6u);
    EXPECT_EQ(target.capacity(), 8u);
    EXPECT_STREQ(target.data(), "xyz12");
}

TEST(ByteBufferCopyInto, OfNothingLeavesATerminator) {
    Target target;
    ByteBuffer::copy(target, "abc", 0);
    EXPECT_EQ(target.size(), 1u);
    EXPECT_EQ(target.data()[0], '\0');
}

TEST(ByteBufferCopyInto, OfNullChangesNothing) {
    Target target;
    ByteBuffer::copy(target, nullptr, 3);
    EXPECT_EQ(target.data(), nullptr);
    EXPECT_EQ(target.size(), 0u);
    ByteBuffer::copy(target, "abc", 3);
    ByteBuffer::copy(target, nullptr, ULONG_MAX);
    EXPECT_STREQ(target.data(), "abc");
    EXPECT_EQ(target.size(), 4u);
}

TEST(ByteBufferCopyInto, TakesBytesFromBelowAndAboveTheTargetsStorage) {
    const char memory[] = "low.............high";
    char storage[sizeof memory];
    std::memcpy(storage, memory, sizeof memory);
    Target target(storage + 4, 8, 0);
    ByteBuffer::copy(target, "....", 4);
    ByteBuffer::copy(target, storage, 3);
    EXPECT_STREQ(target.data(), "low");
    ByteBuffer::copy(target, storage + 16, 4);
    EXPECT_STREQ(target.data(), "high");
    EXPECT_EQ(target.data(), storage + 4);
}

TEST(ByteBufferCopyInto, UsesTheDefaultStorageOfTheTarget) {
    char storage[16];
    Target target(storage, sizeof storage, 0);
    ByteBuffer::copy(target, "abc", 3);
    EXPECT_EQ(target.data(), storage);
    EXPECT_STREQ(storage, "abc");
}

TEST(ByteBufferCopyInto, LeavesATargetWithoutStorageWhenItsMaximumForbidsTheSize) {
    Target target(5);
    ByteBuffer::copy(target, "abcd", 4);
    EXPECT_STREQ(target.data(), "abcd");
    ByteBuffer::copy(target, "12345678", 8);  // capacity 8, 9 needed
    EXPECT_EQ(target.data(), nullptr);
    EXPECT_EQ(target.size(), 0u);
    EXPECT_EQ(target.capacity(), 0u);
}

TEST(ByteBufferCopyInto, TakesBytesOfTheTargetItself) {
    Target target;
    ByteBuffer::copy(target, "abcdefg", 7);
    ByteBuffer::copy(target, target.data() + 2, 3);
    EXPECT_STREQ(target.data(), "cde");
    EXPECT_EQ(target.size(), 4u);
    ByteBuffer::copy(target, "abcdefg", 7);
    ByteBuffer::copy(target, target.data(), 8);  // grows
    EXPECT_EQ(target.size(), 9u);
    EXPECT_EQ(target.capacity(), 16u);
    EXPECT_EQ(std::memcmp(target.data(), "abcdefg\0\0", 9), 0);
}

TEST(ByteBufferCopyInto, BeyondTheLimitThrowsBadAlloc) {
    Target target;
    EXPECT_THROW(ByteBuffer::copy(target, "x", ULONG_MAX), std::bad_alloc);
    EXPECT_THROW(ByteBuffer::copy(target, "x", 1ul << 30), std::bad_alloc);
    EXPECT_EQ(target.data(), nullptr);
}

}  // namespace
}  // namespace nx::oss
