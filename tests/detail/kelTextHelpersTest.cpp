#include <algorithm>
#include <climits>
#include <limits>
#include <new>

#include <gtest/gtest.h>

#include "infra/detail/kelCheckedSize.h"
#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelUnicodeBuffer.h"

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

TEST(IcuCodePage, TurnsAnEmptyNameIntoTheDefault) {
    const char* const name = "ISO8859_1";
    EXPECT_EQ(icuCodePage(nullptr), nullptr);
    EXPECT_EQ(icuCodePage(""), nullptr);
    EXPECT_EQ(icuCodePage(name), name);
    EXPECT_STREQ(icuCodePage(" "), " ");
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
