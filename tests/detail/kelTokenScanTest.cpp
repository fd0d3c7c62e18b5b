#include "infra/detail/kelTokenScan.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "infra/detail/kelUnitSet.h"
#include "reference/kelTokenReference.h"
#include "support/kelGuardedMemory.h"
#include "support/kelKernelTables.h"

namespace nx::oss::detail {
namespace {

using ::nx::test::reference::tokensOf;
using test::GuardedMemory;
using test::KernelTable;

constexpr std::size_t LONGEST = 200;
constexpr std::size_t ALIGNMENTS = 16;
constexpr std::uint64_t UNTOUCHED = 0x5A5A5A5A5A5A5A5A;

class SetKernels : public testing::TestWithParam<KernelTable> {
  protected:
    /// The marks as text: '1' for a unit outside the set. Beyond the text there are zeros up to the
    /// end of the last word, and nothing is written behind it.
    std::string marksOf(const std::u16string& text, const UnitSet& set, std::size_t gap = 0) {
        const std::size_t words = (text.size() + 63) / 64;
        char16_t* const source = source_.last<char16_t>(text.size() + gap);
        std::copy(text.begin(), text.end(), source);
        marks_.fill('\x5A');
        auto* const marks = marks_.first<std::uint64_t>();
        GetParam().kernels->markUnitsOutside(source, text.size(), set, marks);
        EXPECT_EQ(marks[words], UNTOUCHED);
        std::string found;
        for (std::size_t i = 0; i < 64 * words; ++i) {
            found += (marks[i / 64] >> i % 64 & 1) != 0 ? '1' : '0';
        }
        EXPECT_EQ(found.find('1', text.size()), std::string::npos) << text.size();
        return found.substr(0, text.size());
    }

  private:
    GuardedMemory source_{4096};
    GuardedMemory marks_{4096};
};

/// Units of which about one in three is a blank, and some lie outside ASCII.
std::u16string someText(std::size_t length, std::size_t seed) {
    constexpr char16_t UNITS[] = {u' ', u'a', u'\u00A0', u'\u0120', u'\uFF20', u'z', u' '};
    std::u16string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += UNITS[(i * i + seed * 5 + i / 7) % std::size(UNITS)];
    }
    return text;
}

std::string expectedMarks(const std::u16string& text, const std::u16string& members) {
    std::string marks;
    for (const char16_t unit : text) {
        marks += members.find(unit) == std::u16string::npos ? '1' : '0';
    }
    return marks;
}

TEST_P(SetKernels, MarkEveryLengthAtEveryAlignment) {
    const std::u16string setsOfUnits[] = {u"", u" ", u" az", u" \u0120", u"\uFF20\u00A0"};
    for (const std::u16string& members : setsOfUnits) {
        const auto set = std::make_unique<UnitSet>(members);
        for (std::size_t length = 0; length <= LONGEST; ++length) {
            const std::u16string text = someText(length, length);
            const std::string expected = expectedMarks(text, members);
            for (std::size_t gap = 0; gap < ALIGNMENTS; ++gap) {
                ASSERT_EQ(marksOf(text, *set, gap), expected) << length << ", " << gap;
            }
        }
    }
}

/// Sets of one member each, in a text of all units.
TEST_P(SetKernels, FindEveryUnitAndNoOther) {
    std::u16string all;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        all += static_cast<char16_t>(unit);
    }
    for (unsigned member = 0; member < 0x10000; member += member < 0x90 ? 1 : 1021) {
        const auto unit = static_cast<char16_t>(member);
        const auto set = std::make_unique<UnitSet>(std::u16string_view(&unit, 1));
        for (std::size_t from = 0; from < all.size(); from += 1024) {
            const std::u16string part = all.substr(from, 1024);
            std::string expected(part.size(), '1');
            if (member >= from && member < from + part.size()) {
                expected[member - from] = '0';
            }
            ASSERT_EQ(marksOf(part, *set), expected) << member << " in " << from;
        }
    }
}

TEST_P(SetKernels, FindMembersAtEveryPosition) {
    for (const char16_t member : {u'\0', u',', u'\x7F', u'\x80', u'\u3001', u'\xD83D', u'\xFFFF'}) {
        const auto set = std::make_unique<UnitSet>(std::u16string_view(&member, 1));
        for (std::size_t position = 0; position < LONGEST; ++position) {
            std::u16string text(LONGEST, u'x');
            text[position] = member;
            std::string expected(LONGEST, '1');
            expected[position] = '0';
            ASSERT_EQ(marksOf(text, *set), expected) << member << " at " << position;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, SetKernels, testing::ValuesIn(test::kernelTables()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(UnitSet, HasItsMembersOnly) {
    const UnitSet none(u"");
    const UnitSet ascii(u" \x7F");
    const UnitSet mixed(u"a\u0080\uFFFF");
    for (unsigned value = 0; value < 0x10000; ++value) {
        const auto unit = static_cast<char16_t>(value);
        ASSERT_FALSE(none.has(unit));
        ASSERT_EQ(ascii.has(unit), value == ' ' || value == 0x7F) << value;
        ASSERT_EQ(mixed.has(unit), value == 'a' || value == 0x80 || value == 0xFFFF) << value;
    }
    EXPECT_FALSE(ascii.hasOthers());
    EXPECT_TRUE(mixed.hasOthers());
}

// --- TokenScan ----------------------------------------------------------------------------------

std::vector<std::u16string> scanned(const std::u16string& text, const std::u16string& delimiters) {
    const UnitSet set(delimiters);
    TokenScan scan(text, set);
    const TokenScan::Sizes sizes = scan.measure();
    std::vector<std::u16string> tokens;
    std::size_t units = 0;
    scan.forEach([&](const char16_t* token, std::size_t length) {
        tokens.emplace_back(token, length);
        units += length;
    });
    EXPECT_EQ(tokens.size(), sizes.tokens);
    EXPECT_EQ(units, sizes.units);
    return tokens;
}

TEST(TokenScan, FindsTheTokensOfEveryShortText) {
    constexpr char16_t UNITS[] = {u'a', u'\r', u'\n', u' '};
    for (std::size_t length = 0; length <= 7; ++length) {
        for (std::size_t number = 0; number < std::size_t{1} << 2 * length; ++number) {
            std::u16string text;
            for (std::size_t i = 0; i < length; ++i) {
                text += UNITS[number >> 2 * i & 3];
            }
            ASSERT_EQ(scanned(text, u" \r\n\t"), tokensOf(text, u"")) << length << ", " << number;
            ASSERT_EQ(scanned(text, u"\r"), tokensOf(text, u"\r")) << length << ", " << number;
        }
    }
}

TEST(TokenScan, FindsATokenAcrossEveryBorderOfItsReading) {
    for (const std::size_t border : {64u, 4096u, 8192u}) {
        for (std::size_t begin = border - 3; begin <= border + 1; ++begin) {
            for (std::size_t end = begin; end <= border + 3; ++end) {
                for (const std::size_t rest : {0u, 1u, 64u, 5000u}) {
                    std::u16string text(begin, u',');
                    text.append(end - begin, u't').append(rest, u',').append(rest / 2, u'u');
                    ASSERT_EQ(scanned(text, u","), tokensOf(text, u",")) << begin << "-" << end;
                }
            }
        }
    }
}

TEST(TokenScan, HandsOutPiecesOfTheTextItself) {
    const std::u16string text = u"ab,c";
    const auto set = std::make_unique<UnitSet>(u",");
    std::vector<std::size_t> starts;
    TokenScan(text, *set).forEach([&](const char16_t* token, std::size_t) {
        starts.push_back(static_cast<std::size_t>(token - text.data()));
    });
    EXPECT_EQ(starts, (std::vector<std::size_t>{0, 3}));
}

}  // namespace
}  // namespace nx::oss::detail
