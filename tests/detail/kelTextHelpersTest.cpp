#include <algorithm>
#include <climits>
#include <limits>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "infra/detail/kelCheckedSize.h"
#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelShortText.h"
#include "infra/detail/kelUnicodeBuffer.h"
#include "infra/detail/kelUnitText.h"

namespace nx::oss::detail {
namespace {

icu::UnicodeString nullText() {
    icu::UnicodeString text;
    text.setToBogus();
    return text;
}

TEST(SizeSum, AddsUpToTheLargestSizeAndThrowsBeyond) {
    EXPECT_EQ(sizeSum(0, 0), 0u);
    EXPECT_EQ(sizeSum(ULONG_MAX, 0), 18446744073709551615u);
    EXPECT_EQ(sizeSum(ULONG_MAX - 1, 1), 18446744073709551615u);
    EXPECT_THROW(sizeSum(ULONG_MAX, 1), std::bad_alloc);
    EXPECT_THROW(sizeSum(1, ULONG_MAX), std::bad_alloc);
    EXPECT_THROW(sizeSum(1ul << 63, 1ul << 63), std::bad_alloc);
}

TEST(SizeProduct, MultipliesUpToTheLargestSizeAndThrowsBeyond) {
    EXPECT_EQ(sizeProduct(0, ULONG_MAX), 0u);
    EXPECT_EQ(sizeProduct(ULONG_MAX, 1), 18446744073709551615u);
    EXPECT_EQ(sizeProduct(4294967295u, 4294967297u), 18446744073709551615u);
    EXPECT_THROW(sizeProduct(4294967296u, 4294967296u), std::bad_alloc);
    EXPECT_THROW(sizeProduct(ULONG_MAX, 2), std::bad_alloc);
}

TEST(ToUnicodeString, RefusesMoreUnitsThanAnIntCountsBeforeItReadsThem) {
    const char16_t unit = u'a';
    EXPECT_TRUE(toUnicodeString({&unit, 1}) == icu::UnicodeString(u"a"));
    EXPECT_THROW(toUnicodeString({&unit, std::size_t{INT_MAX} + 1}), std::bad_alloc);
}

TEST(KindOfName, TakesNullAndEmptyNamesForTheDefaultWhichIsUtf8) {
    EXPECT_TRUE(isDefaultCodePage(nullptr));
    EXPECT_TRUE(isDefaultCodePage(""));
    EXPECT_FALSE(isDefaultCodePage(" "));
    EXPECT_EQ(kindOfName(nullptr), CodePageKind::UTF_8);
    EXPECT_EQ(kindOfName(""), CodePageKind::UTF_8);
}

TEST(KindOfName, KnowsTheCommonSpellingsAndLeavesTheOthersToIcu) {
    for (const char* const name : {"UTF-8", "UTF8", "utf-8", "utf8", "Utf_8"}) {
        EXPECT_EQ(kindOfName(name), CodePageKind::UTF_8) << name;
    }
    for (const char* const name : {"ISO-8859-1", "ISO8859_1", "ISO_8859-1", "iso-8859-1",
                                   "ISO88591", "LATIN1", "Latin1", "latin1"}) {
        EXPECT_EQ(kindOfName(name), CodePageKind::LATIN_1) << name;
    }
    EXPECT_EQ(kindOfName("UTF-16LE"), CodePageKind::UTF_16_LE);
    EXPECT_EQ(kindOfName("utf16be"), CodePageKind::UTF_16_BE);
    for (const char* const name :
         {" ", "U", "UTF", "UTF-", "UTF--8", "UTF-16", "UTF-8 ", "UTF-8,version=1", "UTF-32",
          "ISO-8859-15", "ISO-8859-", "ISO", "latin10", "Shift_JIS", "no-such-code-page"}) {
        EXPECT_EQ(kindOfName(name), CodePageKind::OTHER) << name;
    }
}

TEST(KindOfName, LooksAtEveryLetter) {
    for (const std::string known :
         {"UTF-8", "utf-8", "utf8", "UTF-16LE", "utf16be", "ISO-8859-1", "iso_88591", "latin1"}) {
        for (std::size_t place = 0; place < known.size(); ++place) {
            std::string other = known;
            other[place] = 'x';
            EXPECT_EQ(kindOfName(other.c_str()), CodePageKind::OTHER) << other;
            EXPECT_EQ(kindOfName(known.substr(0, place + 1).c_str()) == CodePageKind::OTHER,
                      place + 1 < known.size())
                << known << ' ' << place;
        }
        EXPECT_EQ(kindOfName((known + "x").c_str()), CodePageKind::OTHER) << known;
    }
}

TEST(CopyShortAscii, CopiesAsciiOfItsLengthsAndRefusesTheRest) {
    for (std::size_t length = 0; length <= 80; ++length) {
        EXPECT_EQ(isShort(length), length >= 16 && length <= 64) << length;
    }
    for (std::size_t length = 16; length <= 64; ++length) {
        std::u16string text(length, u'a');
        text.back() = u'\x7F';
        std::string bytes(length + 1, '#');
        EXPECT_TRUE(copyShortAscii(text.data(), length, bytes.data()));
        EXPECT_EQ(bytes, std::string(length - 1, 'a') + "\x7F#");
        for (std::size_t i = 0; i < length; ++i) {
            for (const char16_t unit : {u'\x80', u'\u0161', u'\uFF61'}) {
                std::u16string other = text;
                other[i] = unit;
                EXPECT_FALSE(copyShortAscii(other.data(), length, bytes.data())) << i;
            }
        }
    }
}

TEST(CopyAsciiToBlock, CopiesAsciiWithNulsBehindItAndRefusesTheRest) {
    for (std::size_t length = 0; length <= SHORT_BLOCK; ++length) {
        std::u16string text(SHORT_BLOCK, u'\u3001');
        std::fill_n(text.begin(), length, u'\x7F');
        std::string bytes(SHORT_BLOCK + 1, '#');
        EXPECT_TRUE(copyAsciiToBlock(text.data(), length, bytes.data()));
        EXPECT_EQ(bytes,
                  std::string(length, '\x7F') + std::string(SHORT_BLOCK - length, '\0') + '#');
        for (std::size_t i = 0; i < length; ++i) {
            for (const char16_t unit : {u'\x80', u'\u0161', u'\uFF61'}) {
                std::u16string other = text;
                other[i] = unit;
                std::string untouched(SHORT_BLOCK, '#');
                EXPECT_FALSE(copyAsciiToBlock(other.data(), length, untouched.data())) << i;
                EXPECT_EQ(untouched, std::string(SHORT_BLOCK, '#'));
            }
        }
    }
}

TEST(WritableBuffer, HoldsTheLengthAskedFor) {
    for (const std::size_t length : {0u, 1u, 27u, 28u, 100000u}) {
        icu::UnicodeString text;
        char16_t* const buffer = writableBuffer(text, length);
        std::fill(buffer, buffer + length, u'x');
        text.releaseBuffer(static_cast<int32_t>(length));
        EXPECT_EQ(text.length(), static_cast<int32_t>(length));
        EXPECT_EQ(text.countChar32(), static_cast<int32_t>(length));
    }
}

TEST(WritableBuffer, RefusesMoreThanATextCanHold) {
    icu::UnicodeString text("abc");
    EXPECT_THROW(writableBuffer(text, std::numeric_limits<int32_t>::max()), std::bad_alloc);
    EXPECT_THROW(writableBuffer(text, std::numeric_limits<std::size_t>::max()), std::bad_alloc);
    EXPECT_EQ(text, icu::UnicodeString("abc"));
}

TEST(RequireText, PassesTextAndTurnsNullIntoBadAlloc) {
    EXPECT_EQ(requireText(icu::UnicodeString("abc")), icu::UnicodeString("abc"));
    EXPECT_FALSE(requireText(icu::UnicodeString()).isBogus());
    EXPECT_THROW(requireText(nullText()), std::bad_alloc);
}

TEST(CopyOf, KeepsNullNullAndTextText) {
    EXPECT_EQ(copyOf(icu::UnicodeString("abc")), icu::UnicodeString("abc"));
    EXPECT_TRUE(copyOf(nullText()).isBogus());
    const icu::UnicodeString empty;
    EXPECT_FALSE(copyOf(empty).isBogus());
}

}  // namespace
}  // namespace nx::oss::detail
