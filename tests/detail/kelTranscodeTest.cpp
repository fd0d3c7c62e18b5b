#include "infra/detail/kelTranscode.h"

#include <string>
#include <vector>

#include <climits>

#include <sys/mman.h>

#include <gtest/gtest.h>

#include "support/kelIcuReference.h"
#include "support/kelRepeatedText.h"

namespace nx::oss::detail {
namespace {

using test::IcuReference;

// Longer than the pieces in which text is passed on, so that all seams are met.
constexpr std::size_t LONG_TEXT = 4500;

std::string encoded(const std::string& name, const std::u16string& text) {
    std::string bytes(text.size() * 10 + 64, '\0');
    bytes.resize(encode(bytes.data(), bytes.size(), name.c_str(), text.data(), text.size()));
    return bytes;
}

std::size_t encodedSize(const char* name, const char16_t* text, std::size_t length) {
    return encode(nullptr, 0, name, text, length);
}

std::u16string decoded(const std::string& name, const std::string& bytes) {
    const icu::UnicodeString text = decode(bytes.data(), bytes.size(), name.c_str());
    return text.isBogus()
               ? u"(bogus)"
               : std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

std::string transcoded(const std::string& to, const std::string& bytes, const std::string& from) {
    std::string result(bytes.size() * 20 + 64, '\0');
    result.resize(transcode(result.data(), result.size(), to.c_str(), bytes.data(), bytes.size(),
                            from.c_str()));
    return result;
}

class EveryConverter : public ::testing::TestWithParam<std::string> {
  protected:
    std::size_t randomLength(int round) { return round % 20 == 0 ? LONG_TEXT : random_() % 80 + 1; }

    const unsigned seed_ = static_cast<unsigned>(std::hash<std::string>()(GetParam()));
    std::mt19937 random_{seed_};
    const IcuReference icu_{GetParam()};
    const std::u16string units_ = test::unitsOf(random_, icu_);
    const ::testing::ScopedTrace trace_{__FILE__, __LINE__, "seed " + std::to_string(seed_)};
};

TEST_P(EveryConverter, EncodesAsIcuDoes) {
    for (int round = 0; round < 100; ++round) {
        const std::u16string text = test::randomText(random_, randomLength(round), units_);
        const std::string expected = icu_.encode(text);
        ASSERT_EQ(encoded(GetParam(), text), expected) << ::testing::PrintToString(text);
    }
}

TEST_P(EveryConverter, CountsWhatItWouldWrite) {
    for (int round = 0; round < 60; ++round) {
        const std::u16string text = test::randomText(random_, randomLength(round), units_);
        ASSERT_EQ(encodedSize(GetParam().c_str(), text.data(), text.size()),
                  icu_.encode(text).size())
            << ::testing::PrintToString(text);
    }
}

TEST_P(EveryConverter, StaysWithinItsCapacityAndCountsOn) {
    for (int round = 0; round < 60; ++round) {
        const std::u16string text = test::randomText(random_, random_() % 60 + 1, units_);
        const std::string expected = icu_.encode(text);
        const std::size_t capacity = random_() % (expected.size() + 3);
        std::string room(capacity + 16, '#');
        ASSERT_EQ(encode(room.data(), capacity, GetParam().c_str(), text.data(), text.size()),
                  expected.size())
            << ::testing::PrintToString(text);
        const std::size_t used = std::min(capacity, expected.size());
        ASSERT_EQ(room.substr(used), std::string(room.size() - used, '#'))
            << ::testing::PrintToString(text);
        if (capacity >= expected.size()) {
            ASSERT_EQ(room.substr(0, used), expected);
        }
    }
}

TEST_P(EveryConverter, DecodesAsIcuDoes) {
    for (int round = 0; round < 100; ++round) {
        const std::string bytes = test::randomBytes(random_, randomLength(round), icu_, units_);
        bool failed = false;
        const std::u16string expected = icu_.decode(bytes, &failed);
        ASSERT_EQ(decoded(GetParam(), bytes), failed ? u"(bogus)" : expected)
            << ::testing::PrintToString(bytes);
    }
}

TEST_P(EveryConverter, ReadsBytesForAllOtherConvertersAsThroughWholeText) {
    const std::vector<std::string> others{"UTF-8",    "utf8,",      "ISO-8859-1", "UTF-16",
                                          "UTF-16BE", "UTF-16LE",   "SCSU",       "Shift_JIS",
                                          "UTF-7",    "ISO-2022-KR"};
    for (int round = 0; round < 60; ++round) {
        const std::string bytes = test::randomBytes(random_, randomLength(round), icu_, units_);
        bool failed = false;
        const std::u16string text = icu_.decode(bytes, &failed);
        const std::string& other = others[static_cast<std::size_t>(round) % others.size()];
        const std::string expected = failed || text.empty() ? "" : IcuReference(other).encode(text);
        ASSERT_EQ(transcoded(other, bytes, GetParam()), expected)
            << other << ::testing::PrintToString(bytes);
    }
}

TEST_P(EveryConverter, WritesBytesFromAllOtherConvertersAsThroughWholeText) {
    const IcuReference utf8("UTF-8");
    const IcuReference utf16("UTF-16");
    for (int round = 0; round < 60; ++round) {
        const std::u16string text = test::randomText(random_, randomLength(round), units_);
        const std::string bytes = utf8.encode(text);
        ASSERT_EQ(transcoded(GetParam(), bytes, "UTF-8"), icu_.encode(utf8.decode(bytes)))
            << ::testing::PrintToString(bytes);
        const std::string wide = utf16.encode(text);
        ASSERT_EQ(transcoded(GetParam(), wide, "UTF-16"), icu_.encode(utf16.decode(wide)))
            << ::testing::PrintToString(wide);
    }
}

TEST_P(EveryConverter, ReadsAllSequencesOfOneByteAndSomeOfTwo) {
    for (int first = 0; first < 256; ++first) {
        const std::string one(1, static_cast<char>(first));
        ASSERT_EQ(decoded(GetParam(), one), icu_.decode(one)) << first;
    }
    for (int both = 0; both < 0x10000; both += 7) {
        const std::string two{static_cast<char>(both >> 8), static_cast<char>(both)};
        ASSERT_EQ(decoded(GetParam(), two), icu_.decode(two)) << both;
    }
}

INSTANTIATE_TEST_SUITE_P(AllOfIcu, EveryConverter, ::testing::ValuesIn(test::icuConverterNames()),
                         test::nameOfCodePageTest);

TEST(Transcode, KnowsNoResultForAnUnknownCodePage) {
    char room[8] = "#######";
    EXPECT_EQ(encode(room, 8, "no-such", u"abc", 3), 0u);
    EXPECT_EQ(encodedSize("no-such", u"abc", 3), 0u);
    EXPECT_EQ(transcode(room, 8, "UTF-8", "abc", 3, "no-such"), 0u);
    EXPECT_EQ(transcode(room, 8, "no-such", "abc", 3, "UTF-8"), 0u);
    EXPECT_TRUE(decode("abc", 3, "no-such").isBogus());
    EXPECT_STREQ(room, "#######");
}

TEST(Transcode, TakesAnEmptyNameForTheDefault) {
    char room[8];
    EXPECT_EQ(encode(room, 8, "", u"\u00E9", 1), 2u);
    EXPECT_EQ(encode(room, 8, nullptr, u"\u00E9", 1), 2u);
    EXPECT_EQ(decoded("", "a\xC3\xA9"), u"a\u00E9");
}

TEST(Transcode, ConvertsInPlace) {
    std::string bytes = "\xE4\xF6\xFC";
    bytes.resize(6);
    EXPECT_EQ(transcode(bytes.data(), 6, "UTF-8", bytes.data(), 3, "ISO-8859-1"), 6u);
    EXPECT_EQ(bytes, "\xC3\xA4\xC3\xB6\xC3\xBC");
}

TEST(Transcode, HasNoResultForTextThatDecodesToNothing) {
    char room[8];
    EXPECT_EQ(transcode(room, 8, "ISO-2022-KR", "\xFF\xFE", 2, "UTF-16"), 0u);
    EXPECT_EQ(transcode(room, 8, "UTF-16LE", "\xFE\xFF", 2, "UTF-16"), 0u);
}

TEST(Transcode, WritesUtf16WhereUnitsMayNotStand) {
    alignas(char16_t) char room[] = "########";
    EXPECT_EQ(transcode(room + 1, 6, "UTF-16LE", "a\xC3\xA9", 3, "UTF-8"), 4u);
    EXPECT_EQ(std::string(room, 8), std::string("#a\0\xE9\0###", 8));
}

TEST(Transcode, CountsUtf16ThatHasNoRoom) {
    alignas(char16_t) char room[] = "####";
    EXPECT_EQ(transcode(nullptr, 0, "UTF-16LE", "a\xC3\xA9", 3, "UTF-8"), 4u);
    EXPECT_EQ(transcode(room, 2, "UTF-16LE", "a\xC3\xA9", 3, "UTF-8"), 4u);
    EXPECT_EQ(std::string(room, 4), std::string("a\0##", 4));
}

// Bytes that stand for nothing are left when the text so far just fills the array in between.
TEST(Transcode, EndsWithBytesThatStandForNothing) {
    constexpr std::size_t ARRAY_UNITS = 4096;
    const std::string end = "\x1B(B";
    const std::string plain(ARRAY_UNITS, 'a');
    EXPECT_EQ(transcoded("ISO-8859-1", plain + end, "ISO-2022-JP"), plain);
    const std::string rest(ARRAY_UNITS - 1, 'a');
    EXPECT_EQ(transcoded("ISO-8859-1", "\x1B$B$\"" + end + rest + end, "ISO-2022-JP"),
              "\x1A" + rest);
}

TEST(Transcode, HasNoResultForMoreBytesThanIcuTakes) {
    constexpr std::size_t SIZE = std::size_t{1} << 31;
    void* const zeros =
        mmap(nullptr, SIZE, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    const char* const bytes = static_cast<const char*>(zeros);
    char room[8];
    EXPECT_TRUE(decode(bytes, SIZE, "UTF-7").isBogus());
    EXPECT_EQ(transcode(room, sizeof room, "UTF-8", bytes, SIZE, "UTF-7"), 0u);
    munmap(zeros, SIZE);
}

TEST(Transcode, HasNoResultThatAnIntDoesNotCount) {
    constexpr std::size_t UNIT_BYTES = 3;
    constexpr std::size_t TOO_MANY = INT_MAX / UNIT_BYTES + 1;
    const ::nx::test::RepeatedText text("\x42\x30", TOO_MANY * sizeof(char16_t));  // U+3042
    char room[8];
    EXPECT_EQ(encodedSize("UTF-8", text.units(), TOO_MANY), 0u);
    EXPECT_EQ(encode(room, sizeof room, "UTF-8", text.units(), TOO_MANY), 0u);
}

TEST(TryEncode, ServesOnlyWhatNeedsNoSecondLook) {
    char room[8];
    EXPECT_EQ(tryEncode(room, 3, CodePageKind::UTF_8, u"abc", 3), 3u);
    EXPECT_EQ(tryEncode(room, 2, CodePageKind::UTF_8, u"abc", 3), 0u);
    EXPECT_EQ(tryEncode(room, 1, CodePageKind::LATIN_1, u"\u00E9", 1), 1u);
    EXPECT_EQ(tryEncode(room, 8, CodePageKind::LATIN_1, u"\u20AC", 1), 0u);
    EXPECT_EQ(tryEncode(room, 8, CodePageKind::OTHER, u"a", 1), 0u);
}

TEST(TryEncodeShort, ServesAsciiOf16To64UnitsAndNothingElse) {
    for (std::size_t length = 0; length <= 80; ++length) {
        EXPECT_EQ(isShort(length), length >= 16 && length <= 64) << length;
    }
    for (std::size_t length = 16; length <= 64; ++length) {
        std::u16string text;
        std::string expected;
        for (std::size_t i = 0; i < length; ++i) {
            expected += static_cast<char>('!' + i % 90);
            text += static_cast<char16_t>(expected.back());
        }
        std::string room(length + 8, '#');
        ASSERT_TRUE(tryEncodeShort(room.data(), CodePageKind::LATIN_1, text.data(), length));
        EXPECT_EQ(room, expected + "########");
        for (std::size_t i = 0; i < length; ++i) {
            for (const char16_t unit : {u'\u0080', u'\u0100', u'\u7F00', u'\u8000', u'\uFF41'}) {
                std::u16string other = text;
                other[i] = unit;
                EXPECT_FALSE(tryEncodeShort(room.data(), CodePageKind::UTF_8, other.data(), length))
                    << length << ' ' << i;
            }
        }
    }
}

TEST(TryEncodeShort, ServesCodePagesThatHoldAscii) {
    const std::u16string text(20, u'a');
    char room[32];
    EXPECT_TRUE(tryEncodeShort(room, CodePageKind::UTF_8, text.data(), 20));
    EXPECT_TRUE(tryEncodeShort(room, CodePageKind::LATIN_1, text.data(), 20));
    EXPECT_FALSE(tryEncodeShort(room, CodePageKind::UTF_16_LE, text.data(), 20));
    EXPECT_FALSE(tryEncodeShort(room, CodePageKind::OTHER, text.data(), 20));
}

}  // namespace
}  // namespace nx::oss::detail
