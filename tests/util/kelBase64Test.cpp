#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "reference/kelBase64Reference.h"
#include "support/kelBase64Oracle.h"
#include "support/kelGuardedMemory.h"
#include "support/kelRaises.h"
#include "support/kelTogether.h"

namespace nx::util {
namespace {

using nx::test::differenceInDecoding;
using nx::test::differenceInEncoding;
using nx::test::Report;
using oss::test::GuardedMemory;

constexpr const char* FILE_NAME = "src/infra/util/kelBase64";
constexpr std::size_t LARGEST = std::numeric_limits<std::size_t>::max();
constexpr unsigned short UNTOUCHED = 0x5A5A;

const unsigned short* unitsOf(const char16_t* text) {
    return reinterpret_cast<const unsigned short*>(text);
}

std::u16string encoded(const std::string& bytes, bool safe = false) {
    std::vector<unsigned short> units(Base64::encodeSize(bytes.size()));
    const std::size_t count =
        Base64::encode(units.data(), units.size(), bytes.data(), bytes.size(), safe);
    EXPECT_EQ(count, units.size());
    return {units.begin(), units.end()};
}

std::string decoded(const std::u16string& text, bool safe = false) {
    std::string bytes(Base64::decodeSize(text.size()), '\0');
    bytes.resize(
        Base64::decode(bytes.data(), bytes.size(), unitsOf(text.c_str()), text.size(), safe));
    return bytes;
}

Report tooSmall(unsigned long line, const std::string& capacity) {
    return Report("ERR_BUFFER_SIZE_TOO_SMALL").at(FILE_NAME, line).with({capacity});
}
Report invalid(const std::string& character) {
    return Report("ERR_BASE64_INVALID_DATA").at(FILE_NAME, 112).with({character});
}
Report misaligned(unsigned long line, const std::string& source) {
    return Report("ERR_BASE64_MISALIGNED_DATA").at(FILE_NAME, line).with({source});
}

// --- The class ----------------------------------------------------------------------------------

static_assert(!std::is_default_constructible_v<Base64> && std::is_empty_v<Base64>);
static_assert(Base64::fillChar == 61);

TEST(Base64EncodeSize, IsFourUnitsForEachThreeBytesBegun) {
    EXPECT_EQ(Base64::encodeSize(0), 0u);
    EXPECT_EQ(Base64::encodeSize(1), 4u);
    EXPECT_EQ(Base64::encodeSize(2), 4u);
    EXPECT_EQ(Base64::encodeSize(3), 4u);
    EXPECT_EQ(Base64::encodeSize(4), 8u);
    EXPECT_EQ(Base64::encodeSize(3000000), 4000000u);
}

TEST(Base64EncodeSize, WrapsAroundForSizesThatNoBufferHas) {
    EXPECT_EQ(Base64::encodeSize(LARGEST / 4 * 3), LARGEST - 3);
    EXPECT_EQ(Base64::encodeSize(LARGEST / 4 * 3 + 1), 0u);
    EXPECT_EQ(Base64::encodeSize(LARGEST), 0u);
}

TEST(Base64DecodeSize, IsThreeBytesForEachFourUnitsBegun) {
    EXPECT_EQ(Base64::decodeSize(0), 0u);
    EXPECT_EQ(Base64::decodeSize(1), 3u);
    EXPECT_EQ(Base64::decodeSize(4), 3u);
    EXPECT_EQ(Base64::decodeSize(5), 6u);
    EXPECT_EQ(Base64::decodeSize(4000000), 3000000u);
}

// --- Encoding -----------------------------------------------------------------------------------

TEST(Base64Encode, PadsOneAndTwoLastBytes) {
    EXPECT_EQ(encoded(""), u"");
    EXPECT_EQ(encoded("\x41"), u"QQ==");
    EXPECT_EQ(encoded("\x41\x42"), u"QUI=");
    EXPECT_EQ(encoded("\x41\x42\x43"), u"QUJD");
    EXPECT_EQ(encoded("\x41\x42\x43\x44"), u"QUJDRA==");
    EXPECT_EQ(encoded("\xFF"), u"/w==");
    EXPECT_EQ(encoded("\xFF\xFF"), u"//8=");
}

TEST(Base64Encode, HasTwoAlphabets) {
    EXPECT_EQ(encoded("\xFB\xFF\xBF", false), u"+/+/");
    EXPECT_EQ(encoded("\xFB\xFF\xBF", true), u"-_-_");
    EXPECT_EQ(encoded("\xFF", true), u"_w==");
}

TEST(Base64Encode, WritesTheTextsOfTheStandard) {
    EXPECT_EQ(encoded("f"), u"Zg==");
    EXPECT_EQ(encoded("fo"), u"Zm8=");
    EXPECT_EQ(encoded("foo"), u"Zm9v");
    EXPECT_EQ(encoded("foob"), u"Zm9vYg==");
    EXPECT_EQ(encoded("fooba"), u"Zm9vYmE=");
    EXPECT_EQ(encoded("foobar"), u"Zm9vYmFy");
}

TEST(Base64Encode, BreaksNoLines) {
    const std::u16string text = encoded(std::string(3000, 'x'));
    EXPECT_EQ(text.size(), 4000u);
    EXPECT_EQ(text.find_first_not_of(u"eHh4"), std::u16string::npos);
}

TEST(Base64Encode, HasFormsForEachAlphabet) {
    unsigned short units[4];
    ASSERT_EQ(Base64::encode(units, 4, "\xFB\xFF\xBF", 3), 4u);
    EXPECT_EQ(std::u16string(units, units + 4), u"+/+/");
    ASSERT_EQ(Base64::encodeSafe(units, 4, "\xFB\xFF\xBF", 3), 4u);
    EXPECT_EQ(std::u16string(units, units + 4), u"-_-_");
}

TEST(Base64Encode, WritesNoTerminator) {
    unsigned short units[] = {UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED};
    EXPECT_EQ(Base64::encode(units, 5, "A", 1), 4u);
    EXPECT_EQ(units[4], UNTOUCHED);
}

TEST(Base64Encode, OfNothingNeedsNoBuffers) {
    EXPECT_EQ(Base64::encode(nullptr, 0, nullptr, 0), 0u);
    EXPECT_EQ(Base64::encodeSafe(nullptr, 0, nullptr, 0), 0u);
}

TEST(Base64Encode, IntoTooFewUnitsWritesNothing) {
    unsigned short units[] = {UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED};
    EXPECT_RAISES(Base64Exception, Base64::encode(units, 3, "A", 1), tooSmall(153, "3"));
    EXPECT_RAISES(Base64Exception, Base64::encodeSafe(units, 0, "ABC", 3), tooSmall(153, "0"));
    EXPECT_RAISES(Base64Exception, Base64::encode(units, 4, "ABCD", 4, true), tooSmall(153, "4"));
    EXPECT_TRUE(std::all_of(units, units + 4, [](unsigned short u) { return u == UNTOUCHED; }));
}

TEST(Base64Encode, RefusesSizesWhoseTextHasNoSize) {
    unsigned short unit = UNTOUCHED;
    for (const std::size_t size : {LARGEST, LARGEST - 1, LARGEST - 2, LARGEST / 4 * 3 + 1}) {
        EXPECT_RAISES(Base64Exception, Base64::encode(&unit, 0, "A", size), tooSmall(153, "0"));
    }
    EXPECT_RAISES(Base64Exception, Base64::encode(&unit, 1, "A", LARGEST / 4 * 3),
                  tooSmall(153, "1"));
    EXPECT_EQ(unit, UNTOUCHED);
}

TEST(Base64Encode, ShowsTheLow32BitsOfTheCapacityAsASignedNumber) {
    EXPECT_RAISES(Base64Exception, Base64::encode(nullptr, 3000000000, "A", LARGEST),
                  tooSmall(153, "-1294967296"));
    EXPECT_RAISES(Base64Exception, Base64::encode(nullptr, 0x100000005, "A", LARGEST),
                  tooSmall(153, "5"));
}

TEST(Base64Encode, IsRightForAllStringsOfOneAndTwoBytes) {
    for (int first = 0; first < 256; ++first) {
        std::string bytes(1, static_cast<char>(first));
        ASSERT_EQ(encoded(bytes), reference::base64Of(bytes, false));
        bytes += '\0';
        for (int second = 0; second < 256; ++second) {
            bytes[1] = static_cast<char>(second);
            ASSERT_EQ(encoded(bytes), reference::base64Of(bytes, false));
            ASSERT_EQ(encoded(bytes, true), reference::base64Of(bytes, true));
            ASSERT_EQ(decoded(encoded(bytes)), bytes);
        }
        ASSERT_EQ(decoded(encoded(bytes.substr(0, 1), true), true), bytes.substr(0, 1));
    }
}

TEST(Base64Encode, IsUndoneForAllStringsOfThreeBytes) {
    unsigned short units[4];
    char bytes[3];
    char again[3];
    for (unsigned all = 0; all <= 0xFFFFFF; ++all) {
        bytes[0] = static_cast<char>(all >> 16);
        bytes[1] = static_cast<char>(all >> 8);
        bytes[2] = static_cast<char>(all);
        const bool safe = (all & 1) != 0;
        if (Base64::encode(units, 4, bytes, 3, safe) != 4 ||
            Base64::decode(again, 3, units, 4, safe) != 3 || !std::equal(bytes, bytes + 3, again)) {
            FAIL() << all;
        }
    }
}

TEST(Base64Encode, TakesEveryCapacityForEverySize) {
    for (std::size_t size = 0; size <= 100; ++size) {
        const std::string bytes(size, '\xA7');
        const std::size_t needed = (size + 2) / 3 * 4;
        for (std::size_t capacity = needed - std::min<std::size_t>(needed, 5);
             capacity <= needed + 5; ++capacity) {
            ASSERT_EQ(differenceInEncoding(bytes, capacity, size % 2 == 0), std::nullopt)
                << size << " into " << capacity;
        }
    }
}

// --- One character ------------------------------------------------------------------------------

TEST(Base64Character, OfAValueIsThatOfTheAlphabet) {
    const std::wstring shared = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (std::size_t value = 0; value < 62; ++value) {
        EXPECT_EQ(Base64::encode(static_cast<char>(value), false), shared[value]);
        EXPECT_EQ(Base64::encode(static_cast<char>(value), true), shared[value]);
    }
    EXPECT_EQ(Base64::encode(62, false), L'+');
    EXPECT_EQ(Base64::encode(63, false), L'/');
    EXPECT_EQ(Base64::encode(62, true), L'-');
    EXPECT_EQ(Base64::encode(63, true), L'_');
}

TEST(Base64Character, IsTakenFromTheLowSixBitsOfAnyValue) {
    EXPECT_EQ(Base64::encode(64, false), L'A');
    EXPECT_EQ(Base64::encode(static_cast<char>(-1), false), L'/');
    EXPECT_EQ(Base64::encode(static_cast<char>(-128), true), L'A');
    EXPECT_EQ(Base64::encode(127, true), L'_');
}

TEST(Base64Character, HasItsValueAndEveryOtherUnitNone) {
    for (const bool safe : {false, true}) {
        std::vector<int> values(0x10000, -1);
        for (int value = 0; value < 64; ++value) {
            const wchar_t character = Base64::encode(static_cast<char>(value), safe);
            values[static_cast<std::size_t>(character)] = value;
        }
        for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
            int value = -1;
            try {
                value = Base64::decode(static_cast<unsigned short>(unit), safe);
            } catch (const Base64Exception&) {
            }
            ASSERT_EQ(value, values[unit]) << unit;
        }
    }
}

TEST(Base64Character, ThatIsForeignIsTheArgumentOfTheError) {
    const auto refuse = [](char16_t unit, bool safe) { Base64::decode(unit, safe); };
    EXPECT_RAISES(Base64Exception, refuse(u'-', false), invalid("-"));
    EXPECT_RAISES(Base64Exception, refuse(u'_', false), invalid("_"));
    EXPECT_RAISES(Base64Exception, refuse(u'+', true), invalid("+"));
    EXPECT_RAISES(Base64Exception, refuse(u'/', true), invalid("/"));
    for (const char* const other : {" ", "\r", "\n", "\t", "=", "!", "@", "[", "`", "{"}) {
        EXPECT_RAISES(Base64Exception, refuse(static_cast<char16_t>(*other), false),
                      invalid(other));
        EXPECT_RAISES(Base64Exception, refuse(static_cast<char16_t>(*other), true), invalid(other));
    }
    EXPECT_RAISES(Base64Exception, refuse(0, false), invalid(std::string(1, '\0')));
    EXPECT_RAISES(Base64Exception, refuse(0x0141, false), invalid("\xC5\x81"));
    EXPECT_RAISES(Base64Exception, refuse(0x4E00, true), invalid("\xE4\xB8\x80"));
}

TEST(Base64Character, ThatIsALoneSurrogateIsKeptInTheError) {
    try {
        Base64::decode(0xD800, false);
        FAIL() << "nothing was thrown";
    } catch (const Base64Exception& failure) {
        const auto& argument = failure.messages.getFirstMessage().getMessageArgs().front();
        ASSERT_EQ(argument.length(), 1);
        EXPECT_EQ(argument.charAt(0), 0xD800);
    }
}

// --- Decoding -----------------------------------------------------------------------------------

TEST(Base64Decode, ReadsPaddedGroups) {
    EXPECT_EQ(decoded(u""), "");
    EXPECT_EQ(decoded(u"QQ=="), "\x41");
    EXPECT_EQ(decoded(u"QUI="), "\x41\x42");
    EXPECT_EQ(decoded(u"QUJD"), "\x41\x42\x43");
    EXPECT_EQ(decoded(u"QUJDRA=="), "\x41\x42\x43\x44");
    EXPECT_EQ(decoded(u"QQA="), std::string("\x41\0", 2));
    EXPECT_EQ(decoded(u"AA=="), std::string(1, '\0'));
}

TEST(Base64Decode, HasFormsForEachAlphabet) {
    char bytes[3];
    ASSERT_EQ(Base64::decode(bytes, 3, unitsOf(u"+/+/"), 4), 3u);
    EXPECT_EQ(std::string(bytes, 3), "\xFB\xFF\xBF");
    ASSERT_EQ(Base64::decodeSafe(bytes, 3, unitsOf(u"-_-_"), 4), 3u);
    EXPECT_EQ(std::string(bytes, 3), "\xFB\xFF\xBF");
    EXPECT_RAISES(Base64Exception, Base64::decodeSafe(bytes, 3, unitsOf(u"+/+/"), 4), invalid("+"));
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes, 3, unitsOf(u"-_-_"), 4), invalid("-"));
}

TEST(Base64Decode, OfNothingNeedsNoBuffers) {
    EXPECT_EQ(Base64::decode(nullptr, 0, nullptr, 0), 0u);
    EXPECT_EQ(Base64::decodeSafe(nullptr, 0, nullptr, 0), 0u);
}

TEST(Base64Decode, TakesABufferOfExactlyTheBytesThatThereAre) {
    char bytes[2] = {'#', '#'};
    EXPECT_EQ(Base64::decode(bytes, 1, unitsOf(u"QQ=="), 4), 1u);
    EXPECT_EQ(std::string(bytes, 2), "A#");
}

struct Wrong {
    const char* name;
    const char16_t* text;
    unsigned long line;
    const char* argument;
};

void PrintTo(const Wrong& wrong, std::ostream* out) { *out << wrong.name; }

class Base64Misaligned : public testing::TestWithParam<Wrong> {};

TEST_P(Base64Misaligned, IsReportedWithItsPlaceAndTheSource) {
    const std::u16string text = GetParam().text;
    EXPECT_RAISES(Base64Exception, decoded(text), misaligned(GetParam().line, GetParam().argument));
    EXPECT_RAISES(Base64Exception, decoded(text, true),
                  misaligned(GetParam().line, GetParam().argument));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Base64Misaligned,
    testing::Values(Wrong{"OnlyPadding", u"=", 289, "="},
                    Wrong{"PaddingAsSecond", u"Q===", 289, "Q==="},
                    Wrong{"FourPaddings", u"====", 289, "===="},
                    Wrong{"PaddingBehindAGroup", u"QUJD=", 289, "QUJD="},
                    Wrong{"PaddingAsSecondOfTheSecond", u"QUJDQ===", 289, "QUJDQ==="},
                    Wrong{"OnePaddingOfTwo", u"QQ=", 298, "QQ="},
                    Wrong{"AnotherUnitForTheSecondPadding", u"QQ=x", 298, "QQ=x"},
                    Wrong{"AForeignUnitForTheSecondPadding", u"QQ=!", 298, "QQ=!"},
                    Wrong{"StrayBitsBehindOneByte", u"QR==", 313, "QR=="},
                    Wrong{"StrayBitsBehindTwoBytes", u"QUJ=", 313, "QUJ="},
                    Wrong{"StrayBitsBeforeData", u"QR==QUJD", 313, "QR==QUJD"},
                    Wrong{"AGroupBehindPadding", u"QQ==QQ==", 321, "QQ==QQ=="},
                    Wrong{"ALineEndBehindPadding", u"QQ==\n", 321, "QQ==\n"},
                    Wrong{"AUnitBehindPadding", u"QUI=x", 321, "QUI=x"},
                    Wrong{"APaddingTooMany", u"QQ===", 321, "QQ==="},
                    Wrong{"OneCharacter", u"Q", 372, "Q"}, Wrong{"TwoCharacters", u"QQ", 372, "QQ"},
                    Wrong{"ThreeCharacters", u"QUI", 372, "QUI"},
                    Wrong{"OneCharacterTooMany", u"QUJDQ", 372, "QUJDQ"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(Base64Decode, RefusesWhiteSpace) {
    EXPECT_RAISES(Base64Exception, decoded(u"QUJD\n"), invalid("\n"));
    EXPECT_RAISES(Base64Exception, decoded(u"QU JD"), invalid(" "));
    EXPECT_RAISES(Base64Exception, decoded(u"QUJD\r\nQUJD"), invalid("\r"));
    EXPECT_RAISES(Base64Exception, decoded(u"\tQUJD", true), invalid("\t"));
}

TEST(Base64Decode, RefusesUnitsWhoseLowByteIsInTheAlphabet) {
    EXPECT_RAISES(Base64Exception, decoded(u"QUJ\u0144"), invalid("\xC5\x84"));
    EXPECT_RAISES(Base64Exception, decoded(u"\uFF21UJD"), invalid("\xEF\xBC\xA1"));
}

TEST(Base64Decode, ReportsTheFirstProblemFromCharacterToCharacter) {
    char bytes[3] = {'#', '#', '#'};
    const auto decode = [&](std::size_t capacity, const std::u16string& text) {
        Base64::decode(bytes, capacity, unitsOf(text.c_str()), text.size());
    };
    EXPECT_RAISES(Base64Exception, decode(0, u"QU!D"), tooSmall(252, "0"));
    EXPECT_RAISES(Base64Exception, decode(1, u"QU!D"), invalid("!"));
    EXPECT_RAISES(Base64Exception, decode(3, u"Q!=="), invalid("!"));
    EXPECT_RAISES(Base64Exception, decode(3, u"!==="), invalid("!"));
    EXPECT_RAISES(Base64Exception, decode(0, u"QQ=="), tooSmall(252, "0"));
    EXPECT_RAISES(Base64Exception, decode(0, u"Q==="), misaligned(289, "Q==="));
    EXPECT_RAISES(Base64Exception, decode(0, u"Q"), misaligned(372, "Q"));
}

TEST(Base64Decode, WritesWhatFitsBeforeItRefusesTheNextByte) {
    char bytes[] = {'#', '#', '#'};
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes, 2, unitsOf(u"QUJD"), 4),
                  tooSmall(252, "2"));
    EXPECT_EQ(std::string(bytes, 3), "\x41\x42#");
}

TEST(Base64Decode, LeavesTheBytesBeforeAnErrorAndTouchesNoOther) {
    std::string bytes(8, '#');
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes.data(), 8, unitsOf(u"QUJDQU?D"), 8),
                  invalid("?"));
    EXPECT_EQ(bytes, "ABCA####");
    bytes.assign(8, '#');
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes.data(), 8, unitsOf(u"QUJDQR=="), 8),
                  misaligned(313, "QUJDQR=="));
    EXPECT_EQ(bytes, "ABCA####");
}

TEST(Base64Decode, ShowsTheSourceUpToAZeroUnitBehindItsLength) {
    char bytes[3];
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes, 3, unitsOf(u"QR==XYZ"), 4),
                  misaligned(313, "QR==XYZ"));
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes, 3, unitsOf(u"QQ \u00E9"), 2),
                  misaligned(372, "QQ \xC3\xA9"));
    EXPECT_RAISES(Base64Exception, Base64::decode(bytes, 3, unitsOf(u"QQ==\0QQ=="), 9),
                  misaligned(321, "QQ=="));
}

TEST(Base64Decode, ShowsTheLow32BitsOfTheCapacityAsASignedNumber) {
    // No memory is so large; the first byte that has no room is asked for by setDestValue().
    std::size_t position = 0x100000005;
    EXPECT_RAISES(Base64Exception, Base64::setDestValue(nullptr, position, 0x100000005, 'x'),
                  tooSmall(252, "5"));
    position = LARGEST;
    EXPECT_RAISES(Base64Exception, Base64::setDestValue(nullptr, position, 4294967295, 'x'),
                  tooSmall(252, "-1"));
}

TEST(Base64Decode, TakesEveryCapacityForEverySize) {
    for (std::size_t size = 0; size <= 70; ++size) {
        const std::u16string text = reference::base64Of(std::string(size, '\xA7'), size % 2 == 0);
        for (std::size_t capacity = 0; capacity <= size + 4; ++capacity) {
            ASSERT_EQ(differenceInDecoding(text, text.size(), capacity, size % 2 == 0),
                      std::nullopt)
                << size << " into " << capacity;
        }
    }
}

TEST(Base64Decode, SeesAWrongUnitAtEveryPositionOfEveryLength) {
    constexpr char16_t WRONG[] = {u'=', u'!', 0, 0x0141, 0xFF41, u'-', u'+'};
    for (std::size_t length = 0; length <= 64; ++length) {
        for (const bool safe : {false, true}) {
            std::u16string text = reference::base64Of(std::string(48, '\x9B'), safe);
            text.resize(length);
            for (std::size_t position = 0; position < length; ++position) {
                std::u16string wrong = text;
                for (const char16_t unit : WRONG) {
                    wrong[position] = unit;
                    ASSERT_EQ(differenceInDecoding(wrong, length, 48, safe), std::nullopt)
                        << position << " of " << length;
                    ASSERT_EQ(differenceInDecoding(wrong, length, position / 4 * 3 + 1, safe),
                              std::nullopt)
                        << position << " of " << length;
                }
            }
        }
    }
}

TEST(Base64Decode, SeesPaddingFromEveryPositionToTheEnd) {
    for (std::size_t length = 1; length <= 64; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            for (const char16_t last : {u'A', u'Q', u'R'}) {
                std::u16string text(length, u'=');
                std::fill_n(text.begin(), position, last);
                ASSERT_EQ(differenceInDecoding(text, length, 48, length % 2 == 0), std::nullopt)
                    << position << " of " << length;
            }
        }
    }
}

TEST(Base64SetDestValue, StoresAndCounts) {
    char bytes[] = {'#', '#'};
    std::size_t position = 0;
    Base64::setDestValue(bytes, position, 2, 'a');
    EXPECT_EQ(position, 1u);
    Base64::setDestValue(bytes, position, 2, 'b');
    EXPECT_EQ(position, 2u);
    EXPECT_EQ(std::string(bytes, 2), "ab");
    EXPECT_RAISES(Base64Exception, Base64::setDestValue(bytes, position, 2, 'c'),
                  tooSmall(252, "2"));
    EXPECT_EQ(position, 2u);
    EXPECT_EQ(std::string(bytes, 2), "ab");
}

// --- Memory and threads -------------------------------------------------------------------------

TEST(Base64Memory, NothingIsReadOrWrittenOutsideTheBuffers) {
    GuardedMemory source(4096);
    GuardedMemory dest(4096);
    for (std::size_t size = 0; size <= 200; ++size) {
        const std::string bytes(size, '\xB5');
        const std::u16string text = reference::base64Of(bytes, false);
        for (const bool atTheEnd : {false, true}) {
            char* const from = atTheEnd ? source.last<char>(size) : source.first<char>();
            auto* const to =
                atTheEnd ? dest.last<unsigned short>(text.size()) : dest.first<unsigned short>();
            std::copy(bytes.begin(), bytes.end(), from);
            ASSERT_EQ(Base64::encode(to, text.size(), from, size), text.size());
            ASSERT_TRUE(std::equal(text.begin(), text.end(), to)) << size;
        }
        for (const bool atTheEnd : {false, true}) {
            auto* const from = atTheEnd ? source.last<unsigned short>(text.size())
                                        : source.first<unsigned short>();
            char* const to = atTheEnd ? dest.last<char>(size) : dest.first<char>();
            std::copy(text.begin(), text.end(), from);
            ASSERT_EQ(Base64::decode(to, size, from, text.size()), size);
            ASSERT_EQ(std::string_view(to, size), bytes);
            if (size > 0) {
                ASSERT_THROW(Base64::decode(to, size - 1, from, text.size()), Base64Exception);
                from[text.find_last_not_of(u'=')] = '!';
                ASSERT_THROW(Base64::decode(to, size, from, text.size()), Base64Exception);
            }
        }
    }
}

TEST(Base64Memory, UnitsOfAUnicodeStringAreRead) {
    const std::string bytes(300, '\x3E');
    std::vector<char16_t> text(Base64::encodeSize(bytes.size()));
    ASSERT_EQ(Base64::encode(reinterpret_cast<unsigned short*>(text.data()), text.size(),
                             bytes.data(), bytes.size()),
              text.size());
    EXPECT_EQ(std::u16string(text.begin(), text.end()), reference::base64Of(bytes, false));
    text[7] = u'\u20AC';
    EXPECT_RAISES(Base64Exception, decoded({text.begin(), text.end()}), invalid("\xE2\x82\xAC"));
}

TEST(Base64Threads, CodeAtTheSameTime) {
    const auto right = test::together([](int thread) {
        const bool safe = thread % 2 == 0;
        int count = 0;
        for (int round = 0; round < 300; ++round) {
            const std::string bytes(static_cast<std::size_t>(round),
                                    static_cast<char>(thread * 31 + round));
            count += decoded(encoded(bytes, safe), safe) == bytes ? 1 : 0;
        }
        return count;
    });
    EXPECT_EQ(right, std::vector<int>(16, 300));
}

}  // namespace
}  // namespace nx::util
