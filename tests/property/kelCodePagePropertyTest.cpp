#include <cstdint>
#include <deque>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include "infra/detail/kelCodePageTable.h"
#include "infra/detail/kelConverterCache.h"
#include "infra/detail/kelTranscode.h"

#include "support/kelRandomRun.h"

namespace nx::oss::detail {
namespace {

constexpr std::size_t LONGEST = 60;
constexpr int ROUNDS = 200;
// Enough for a code page to be given its tables.
constexpr std::size_t MUCH = 20'000;

// ICU's own string class never returns for some byte strings in these.
bool icuMayHang(const std::string& name) { return name == "SCSU" || name == "BOCU-1"; }

std::string encodeByIcu(const std::u16string& text, const char* name) {
    std::string bytes(16 * text.size() + 16, '\0');
    const icu::UnicodeString string(text.data(), static_cast<int32_t>(text.size()));
    bytes.resize(static_cast<std::size_t>(string.extract(
        0, string.length(), bytes.data(), static_cast<uint32_t>(bytes.size()), name)));
    return bytes;
}

std::string encodeByUs(const std::u16string& text, const char* name) {
    std::string bytes(encode(nullptr, 0, name, text.data(), text.size()), '\0');
    const std::size_t size = encode(bytes.data(), bytes.size(), name, text.data(), text.size());
    EXPECT_EQ(size, bytes.size());
    return bytes;
}

class EveryCodePage : public testing::Test {
  protected:
    /// Units of every sort: ASCII, CJK, marks that combine, ignorable and private ones, halves of
    /// pairs.
    std::u16string randomText() {
        static constexpr char16_t STARTS[] = {0x0,    0x41,   0xA0,   0x300,  0x3A0,  0x200B,
                                              0x3041, 0x309A, 0x4E00, 0x9F00, 0xAC00, 0xD7F0,
                                              0xD800, 0xDC00, 0xE000, 0xFE00, 0xFF00};
        std::u16string text(1 + random_() % LONGEST, u'\0');
        const bool anyUnit = random_() % 4 == 0;
        for (char16_t& unit : text) {
            unit = anyUnit ? static_cast<char16_t>(random_())
                           : static_cast<char16_t>(STARTS[random_() % std::size(STARTS)] +
                                                   random_() % 0x90);
        }
        return text;
    }

    std::string randomBytes() {
        std::string bytes(1 + random_() % LONGEST, '\0');
        const unsigned lowest = random_() % 2 == 0 ? 0x80 : 0;
        for (char& byte : bytes) {
            byte = static_cast<char>(lowest + random_() % (256 - lowest));
        }
        return bytes;
    }

    /// Compares one text and one run of bytes in both directions.
    void compare(const char* name) {
        const std::u16string text = randomText();
        ASSERT_EQ(encodeByUs(text, name), encodeByIcu(text, name)) << name;
        const std::string bytes = random_() % 2 == 0 ? randomBytes() : encodeByIcu(text, name);
        if (icuMayHang(name)) {
            return;
        }
        const icu::UnicodeString wanted(bytes.data(), static_cast<int32_t>(bytes.size()), name);
        const icu::UnicodeString got = decode(bytes.data(), bytes.size(), name);
        ASSERT_TRUE(got == wanted && got.isBogus() == wanted.isBogus())
            << name << ": " << testing::PrintToString(bytes);
    }

    /// Makes the code page carry so much that its tables are made, if it can have any.
    static void carryMuch(const char* name) {
        ConverterLease lease(name);
        lease.table(MUCH);
    }

    std::mt19937_64 random_{test::RandomRun::printedSeed()};
};

TEST_F(EveryCodePage, ConvertsLikeIcuBeforeAndAfterItHasTables) {
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const char* const name = ucnv_getAvailableName(i);
        for (int round = 0; round < ROUNDS; ++round) {
            compare(name);
        }
        carryMuch(name);
        for (int round = 0; round < ROUNDS; ++round) {
            compare(name);
        }
    }
}

/// Some aliases stand for a name with options.
TEST_F(EveryCodePage, ConvertsLikeIcuByEachOfItsNames) {
    int names = 0;
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const char* const name = ucnv_getAvailableName(i);
        UErrorCode status = U_ZERO_ERROR;
        const std::uint16_t count = ucnv_countAliases(name, &status);
        for (std::uint16_t alias = 0; alias < count && !icuMayHang(name); ++alias, ++names) {
            for (int round = 0; round < 20; ++round) {
                ASSERT_NO_FATAL_FAILURE(compare(ucnv_getAlias(name, alias, &status)));
            }
        }
    }
    EXPECT_GT(names, 1000);
}

TEST_F(EveryCodePage, ConvertsLikeIcuWithOptionsInItsName) {
    for (const char* const name :
         {"UTF-16LE,version=1", "UTF-16BE,version=1", "UTF-16,version=2", "ibm-37,swaplfnl",
          "ibm-1047,swaplfnl", "ISO-2022-JP,version=2", "UTF-7,version=1"}) {
        carryMuch(name);
        for (int round = 0; round < ROUNDS; ++round) {
            compare(name);
        }
    }
}

// Long enough for several pieces, where code pages that look ahead or remember would show the
// seams.
TEST_F(EveryCodePage, ConvertsLongTextsLikeIcu) {
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const char* const name = ucnv_getAvailableName(i);
        std::u16string text;
        while (text.size() < 6'000) {
            text += randomText();
        }
        const std::string wanted = encodeByIcu(text, name);
        ASSERT_EQ(encodeByUs(text, name), wanted) << name;
        // The same from UTF-8; halves of pairs do not survive that way.
        std::string utf8 = encodeByIcu(text, "UTF-8");
        const icu::UnicodeString sound = icu::UnicodeString::fromUTF8(utf8);
        std::string bytes(16 * text.size(), '\0');
        bytes.resize(
            transcode(bytes.data(), bytes.size(), name, utf8.data(), utf8.size(), "UTF-8"));
        const std::u16string soundText(sound.getBuffer(), static_cast<std::size_t>(sound.length()));
        ASSERT_EQ(bytes, encodeByIcu(soundText, name)) << name;
    }
}

TEST(Transcode, ConvertsBytesWhereTheyStand) {
    for (const int shift : {0, 1, 3}) {
        std::string bytes(40'000, '\xE9');
        std::string room(100'000, '\0');
        bytes.copy(room.data() + shift, bytes.size());
        const std::size_t size = transcode(room.data(), room.size(), "UTF-8", room.data() + shift,
                                           bytes.size(), "ISO-8859-1");
        ASSERT_EQ(size, 80'000u);
        for (std::size_t i = 0; i < size; i += 2) {
            ASSERT_EQ(room.substr(i, 2), "\xC3\xA9") << i;
        }
    }
}

TEST_F(EveryCodePage, DecodesEveryPairOfBytesLikeIcu) {
    for (const char* const name : {"Shift_JIS", "EUC-JP", "GBK", "Big5", "EUC-KR", "GB18030",
                                   "windows-1252", "ISO-8859-15", "KOI8-R", "ibm-37", "ibm-930"}) {
        carryMuch(name);
        for (unsigned pair = 0; pair < 0x10000; ++pair) {
            // A letter behind it shows what the pair leaves waiting.
            const char bytes[] = {static_cast<char>(pair >> 8), static_cast<char>(pair), 'A'};
            const icu::UnicodeString wanted(bytes, sizeof bytes, name);
            ASSERT_TRUE(decode(bytes, sizeof bytes, name) == wanted) << name << ' ' << pair;
        }
    }
}

TEST_F(EveryCodePage, EncodesEveryUnitLikeIcu) {
    for (const char* const name : {"Shift_JIS", "EUC-JP", "GBK", "Big5", "EUC-KR", "GB18030",
                                   "windows-1252", "ISO-8859-15", "KOI8-R", "ibm-37", "ibm-930",
                                   "US-ASCII", "ISO-8859-1", "UTF-16LE", "UTF-16BE", "UTF-16"}) {
        carryMuch(name);
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            const std::u16string text = {static_cast<char16_t>(unit), u'A'};
            ASSERT_EQ(encodeByUs(text, name), encodeByIcu(text, name)) << name << ' ' << unit;
        }
    }
}

TEST(CodePageTable, IsMadeOncePerCodePageAndSharedByAllItsNames) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open("Shift_JIS", &status);
    UConverter* const alias = ucnv_open("sjis", &status);
    ASSERT_TRUE(U_SUCCESS(status));
    const CodePageTable* const table = CodePageTable::of(converter).value();
    EXPECT_NE(table, nullptr);
    EXPECT_EQ(CodePageTable::of(alias).value(), table);
    ucnv_close(converter);
    ucnv_close(alias);
}

TEST(CodePageTable, IsRefusedToCodePagesWithStates) {
    for (const char* const name : {"ibm-930", "ISO-2022-JP", "HZ", "UTF-7", "UTF-8"}) {
        UErrorCode status = U_ZERO_ERROR;
        UConverter* const converter = ucnv_open(name, &status);
        ASSERT_TRUE(U_SUCCESS(status)) << name;
        EXPECT_EQ(CodePageTable::of(converter).value(), nullptr) << name;
        ucnv_close(converter);
    }
}

TEST(CodePageTable, StopsAtTheFirstCharacterThatItDoesNotHold) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open("Shift_JIS", &status);
    ASSERT_TRUE(U_SUCCESS(status));
    const CodePageTable* const table = CodePageTable::of(converter).value();
    ASSERT_NE(table, nullptr);
    ucnv_close(converter);

    char16_t units[8];
    const char bytes[] = "a\x82\xA0\x85\x00z";
    const Progress decoded = table->decode(bytes, 5, units, std::size(units));
    EXPECT_EQ(decoded.read, 3u);
    EXPECT_EQ(std::u16string(units, decoded.written), u"a\u3042");
    EXPECT_EQ(table->decode("\x82", 1, units, std::size(units)).read, 0u);

    char out[8];
    const std::u16string text = u"a\u3042\u00E9z";
    const Progress encoded = table->encode(text.data(), text.size(), out, sizeof out);
    EXPECT_EQ(encoded.read, 2u);
    EXPECT_EQ(std::string(out, encoded.written), "a\x82\xA0");
    EXPECT_EQ(table->encode(text.data(), text.size(), out, 2).written, 1u);
}

TEST(ConverterLease, KeepsTheConverterOfANameOpen) {
    UConverter* first = nullptr;
    {
        const ConverterLease lease("windows-1251");
        first = lease.get();
        ASSERT_NE(first, nullptr);
    }
    const ConverterLease again("windows-1251");
    EXPECT_EQ(again.get(), first);
}

TEST(ConverterLease, GivesASecondConverterWhileTheFirstIsOut) {
    const ConverterLease first("windows-1251");
    const ConverterLease second("windows-1251");
    ASSERT_NE(second.get(), nullptr);
    EXPECT_NE(second.get(), first.get());
}

TEST(ConverterLease, HoldsNothingForAnUnknownName) {
    const ConverterLease lease("no-such-code-page");
    EXPECT_EQ(lease.get(), nullptr);
}

TEST(ConverterLease, HasNoTableForAnUnknownName) {
    ConverterLease lease("no-such-code-page");
    EXPECT_EQ(lease.table(MUCH), nullptr);
}

TEST(ConverterLease, TakesNullAndEmptyNamesForTheDefaultConverter) {
    for (const char* const name : {static_cast<const char*>(nullptr), ""}) {
        const ConverterLease lease(name);
        ASSERT_NE(lease.get(), nullptr);
        EXPECT_EQ(lease.kind(), CodePageKind::UTF_8);
        EXPECT_TRUE(lease.isSimple());
    }
}

TEST(ConverterLease, GivesAConverterAsNewAfterOneThatReplacedACharacter) {
    for (const char* const name : {"", "windows-1252"}) {
        char bytes[8];
        UErrorCode status = U_ZERO_ERROR;
        {
            const ConverterLease lease(name);
            EXPECT_GT(ucnv_fromUChars(lease.get(), bytes, sizeof bytes, u"\xD800", 1, &status), 0);
        }
        const ConverterLease again(name);
        ASSERT_NE(again.get(), nullptr);
        EXPECT_EQ(ucnv_fromUChars(again.get(), bytes, sizeof bytes, u"a", 1, &status), 1);
        EXPECT_EQ(bytes[0], 'a');
        EXPECT_TRUE(U_SUCCESS(status)) << name;
    }
}

TEST(ConverterLease, GivesMoreConvertersAtATimeThanItKeeps) {
    std::deque<ConverterLease> leases;
    for (const char* const name :
         {"windows-1250", "windows-1251", "windows-1252", "windows-1253", "windows-1254",
          "windows-1255", "windows-1256", "windows-1257", "windows-1258", "KOI8-R"}) {
        leases.emplace_back(name);
        ASSERT_NE(leases.back().get(), nullptr) << name;
        UErrorCode status = U_ZERO_ERROR;
        char bytes[8];
        EXPECT_EQ(ucnv_fromUChars(leases.back().get(), bytes, sizeof bytes, u"ab", 2, &status), 2);
    }
}

TEST(ConverterLease, LearnsTheKindFromTheConverterForUncommonSpellings) {
    EXPECT_EQ(ConverterLease("Utf_8").kind(), CodePageKind::UTF_8);
    EXPECT_EQ(ConverterLease("ibm-819").kind(), CodePageKind::LATIN_1);
    EXPECT_EQ(ConverterLease("utf-16le").kind(), CodePageKind::UTF_16_LE);
    EXPECT_EQ(ConverterLease("utf-16be").kind(), CodePageKind::UTF_16_BE);
    EXPECT_EQ(ConverterLease("windows-1252").kind(), CodePageKind::OTHER);
}

}  // namespace
}  // namespace nx::oss::detail
