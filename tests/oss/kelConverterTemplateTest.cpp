#include <stdexcept>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {

// Sizes that no other code uses, so that growing can fail in ways the allocator does not offer.
template <>
bool SizeableBuffer<char, 7>::resize(unsigned long) {
    throw IOException();
}

template <>
bool SizeableBuffer<char, 9>::resize(unsigned long) {
    throw std::bad_alloc();
}

template <>
bool SizeableBuffer<char, 11>::resize(unsigned long) {
    throw std::runtime_error("no room");
}

namespace {

using icu::UnicodeString;
using test::Report;

UnicodeString letters(int32_t count) { return {count, U'x', count}; }

template <unsigned long N>
bool onHeap(const SizeableBuffer<char, N>& buffer) {
    const auto* const object = reinterpret_cast<const char*>(&buffer);
    return buffer.data() < object || buffer.data() >= object + sizeof buffer;
}

TEST(ConverterTemplate, ReturnsTheBuffersDataAsATerminatedString) {
    SizeableBuffer<char, 1026> buffer(0);
    char* const text = Converter::convert(buffer, "UTF-8", u"a\u00E9");
    EXPECT_EQ(text, buffer.data());
    EXPECT_STREQ(text, "a\xC3\xA9");
    EXPECT_FALSE(onHeap(buffer));
    EXPECT_STREQ(Converter::convert<1026>(buffer, "ISO-8859-1", u"a\u00E9"), "a\xE9");
}

TEST(ConverterTemplate, StaysInlineUpToOneByteBelowTheInlineSize) {
    SizeableBuffer<char, 1026> buffer(0);
    const char* const text = Converter::convert(buffer, "UTF-8", letters(1025));
    EXPECT_EQ(text, buffer.data());
    EXPECT_EQ(std::string(text), std::string(1025, 'x'));
    EXPECT_FALSE(onHeap(buffer));
    EXPECT_EQ(buffer.capacity(), 1026u);
}

TEST(ConverterTemplate, MovesToTheHeapWhenTheZeroByteHasNoRoomInline) {
    SizeableBuffer<char, 1026> buffer(0);
    const char* const text = Converter::convert(buffer, "UTF-8", letters(1026));
    EXPECT_EQ(text, buffer.data());
    EXPECT_EQ(std::string(text), std::string(1026, 'x'));
    EXPECT_TRUE(onHeap(buffer));
    EXPECT_EQ(buffer.capacity(), 2048u);
}

TEST(ConverterTemplate, EveryLengthAroundTheBordersIsComplete) {
    for (const char* codePage : {"UTF-8", "ISO-8859-1", "Shift_JIS", ""}) {
        for (const int border : {16, 1024, 2048, 4096}) {
            for (int length = border - 3; length <= border + 3; ++length) {
                SizeableBuffer<char, 16> buffer(0);
                const char* const text = Converter::convert(buffer, codePage, letters(length));
                ASSERT_EQ(std::string(text), std::string(static_cast<std::size_t>(length), 'x'))
                    << codePage;
                ASSERT_EQ(onHeap(buffer), length > 15);
            }
        }
    }
}

TEST(ConverterTemplate, CharactersOfSeveralBytesAreNeverCutAtTheBorder) {
    for (const char* codePage : {"UTF-8", "utf-8", "GB18030", ""}) {
        for (int lead = 0; lead < 8; ++lead) {
            SizeableBuffer<char, 8> buffer(0);
            UnicodeString text = letters(lead);
            text.append(static_cast<UChar32>(0x1F600)).append(u'y');
            std::string wanted;
            text.toUTF8String(wanted);
            const std::string converted = Converter::convert(buffer, codePage, text);
            if (std::string(codePage) != "GB18030") {
                EXPECT_EQ(converted, wanted);
            } else {
                EXPECT_EQ(converted,
                          std::string(static_cast<std::size_t>(lead), 'x') + "\x94\x39\xFC\x36y");
            }
        }
    }
}

TEST(ConverterTemplate, AHeapArrayIsUsedAgainWhereTheTextFits) {
    SizeableBuffer<char, 16> buffer(0);
    const char* const first = Converter::convert(buffer, "UTF-8", letters(100));
    EXPECT_EQ(buffer.capacity(), 128u);
    EXPECT_EQ(Converter::convert(buffer, "UTF-8", letters(127)), first);
    EXPECT_EQ(buffer.capacity(), 128u);
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", u"ab"), "ab");
    EXPECT_EQ(buffer.capacity(), 128u);
    EXPECT_EQ(std::string(Converter::convert(buffer, "UTF-8", letters(128))),
              std::string(128, 'x'));
    EXPECT_EQ(buffer.capacity(), 256u);
}

TEST(ConverterTemplate, EveryInlineSizeWorksDownToOneByte) {
    SizeableBuffer<char, 1> one(0);
    EXPECT_STREQ(Converter::convert(one, "UTF-8", UnicodeString()), "");
    EXPECT_EQ(one.capacity(), 1u);
    EXPECT_STREQ(Converter::convert(one, "UTF-8", u"a"), "a");
    EXPECT_EQ(one.capacity(), 4u);
    SizeableBuffer<char, 1> latin(0);
    EXPECT_STREQ(Converter::convert(latin, "ISO-8859-1", u"abc\u00E9"), "abc\xE9");
    SizeableBuffer<char, 2> two(0);
    EXPECT_STREQ(Converter::convert(two, "UTF-8", u"a"), "a");
    EXPECT_EQ(two.capacity(), 2u);
    EXPECT_STREQ(Converter::convert(two, "UTF-8", u"ab"), "ab");
    SizeableBuffer<char, 512> plain(0);
    EXPECT_STREQ(Converter::convert(plain, nullptr, u"\u3042"), "\xE3\x81\x82");
}

TEST(ConverterTemplate, AnythingThatDoesNotConvertIsAnEmptyString) {
    UnicodeString bogus;
    bogus.setToBogus();
    SizeableBuffer<char, 16> buffer(0);
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "no-such", u"abc"), "");
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "no-such", letters(5000)), "");
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", UnicodeString()), "");
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", bogus), "");
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "no-such", UnicodeString()), "");
    buffer.data()[0] = 'x';
    EXPECT_STREQ(Converter::convert(buffer, "US-ASCII", u"\u200D"), "");
    EXPECT_FALSE(onHeap(buffer));
}

TEST(ConverterTemplate, AUnicodeFormEndsWithOneZeroByteBehindItsLastUnit) {
    SizeableBuffer<char, 4> buffer(0);
    const char* const text = Converter::convert(buffer, "UTF-16BE", u"ab");
    EXPECT_EQ(std::string(text, 5), std::string("\0a\0b\0", 5));
    EXPECT_EQ(buffer.capacity(), 8u);
}

TEST(ConverterTemplate, AnythingBehindAZeroUnitIsThereButHidden) {
    SizeableBuffer<char, 16> buffer(0);
    const char* const text = Converter::convert(buffer, "UTF-8", UnicodeString(u"a\0b", 3));
    EXPECT_STREQ(text, "a");
    EXPECT_EQ(std::string(text, 4), std::string("a\0b\0", 4));
}

// A cut host name would name another host.
TEST(ConverterTemplate, ATextBeyondTheMaximumIsEmptyNotTruncated) {
    SizeableBuffer<char, 16> buffer(20);
    const char* const text = Converter::convert(buffer, "UTF-8", letters(20));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(text, buffer.data());
    EXPECT_FALSE(onHeap(buffer));
    EXPECT_EQ(buffer.capacity(), 16u);
    EXPECT_EQ(buffer.maximumSize(), 20u);
    EXPECT_EQ(buffer.inlineCapacity(), 16u);
}

TEST(ConverterTemplate, ATextUpToTheMaximumIsComplete) {
    SizeableBuffer<char, 16> buffer(20);
    EXPECT_EQ(std::string(Converter::convert(buffer, "UTF-8", letters(19))), std::string(19, 'x'));
    EXPECT_EQ(buffer.capacity(), 32u);
    // Required: the heap array of 32 bytes is there already, although only 20 may be asked for.
    EXPECT_EQ(std::string(Converter::convert(buffer, "UTF-8", letters(31))), std::string(31, 'x'));
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", letters(32)), "");
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", u"usable"), "usable");
}

TEST(ConverterTemplate, ALibraryErrorWhileGrowingIsReportedAsOutOfMemory) {
    SizeableBuffer<char, 7> buffer(0);
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", u"sixsix"), "sixsix");
    EXPECT_RAISES(NLSException, Converter::convert(buffer, "UTF-8", u"sevenxx"),
                  Report("NX_ERR_OUT_OF_MEMORY")
                      .in("include/infra/oss/kelConverter")
                      .with({"Converter::convert()"}));
}

TEST(ConverterTemplate, OtherErrorsWhileGrowingPassThrough) {
    SizeableBuffer<char, 9> noMemory(0);
    EXPECT_STREQ(Converter::convert(noMemory, "UTF-8", u"eighteig"), "eighteig");
    EXPECT_THROW(Converter::convert(noMemory, "UTF-8", u"ninenine-"), std::bad_alloc);
    SizeableBuffer<char, 11> strange(0);
    EXPECT_THROW(Converter::convert(strange, "UTF-8", u"twelvetwelve"), std::runtime_error);
}

TEST(ConverterTemplate, AFailedAllocationLeavesAUsableBuffer) {
    SizeableBuffer<char, 16> buffer(0);
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", u"warm"), "warm");
    const UnicodeString text = letters(100);
    test::AllocationFaults faults(1);
    faults.arm();
    EXPECT_THROW(Converter::convert(buffer, "UTF-8", text), std::bad_alloc);
    faults.disarm();
    EXPECT_EQ(buffer.capacity(), 16u);
    EXPECT_STREQ(Converter::convert(buffer, "UTF-8", u"again"), "again");
    EXPECT_EQ(std::string(Converter::convert(buffer, "UTF-8", text)), std::string(100, 'x'));
}

TEST(ConverterTemplate, AShortTextAllocatesNothing) {
    SizeableBuffer<char, 1026> buffer(0);
    Converter::convert(buffer, "UTF-8", u"warm");
    const UnicodeString text = letters(1025);
    test::AllocationFaults faults(1);
    faults.arm();
    Converter::convert(buffer, "UTF-8", text);
    faults.disarm();
    EXPECT_FALSE(test::allocationFailed());
}

}  // namespace
}  // namespace nx::oss
