#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "emulated/kelEmulatedKernels.h"
#include "infra/detail/kelBase64Text.h"
#include "infra/detail/kelKernels.h"
#include "reference/kelBase64Reference.h"
#include "support/kelGuardedMemory.h"
#include "support/kelKernelTables.h"

namespace nx::oss::detail {
namespace {

using test::GuardedMemory;
using test::KernelTable;

constexpr std::string_view ALPHABETS[] = {
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"};
constexpr std::size_t MOST_GROUPS = 70;
constexpr std::size_t GAPS = 64;
constexpr char UNTOUCHED = '#';

unsigned short unit(bool safe, std::size_t value) {
    return static_cast<unsigned char>(ALPHABETS[safe][value]);
}

std::string someBytes(std::size_t length, std::size_t seed) {
    std::string bytes;
    for (std::size_t i = 0; i < length; ++i) {
        bytes += static_cast<char>(i * 167 + (i >> 6) + seed * 59);
    }
    return bytes;
}

class Base64Kernels : public testing::TestWithParam<std::tuple<KernelTable, bool>> {
  protected:
    const Kernels& kernels() const { return *std::get<0>(GetParam()).kernels; }
    bool safe() const { return std::get<1>(GetParam()); }

    /// Copies elements so that they end `gap` elements before memory that nobody may touch.
    template <class T, class Text>
    const T* copied(const Text& text, std::size_t gap) {
        T* const data = source_.last<T>(text.size() + gap);
        static_assert(sizeof(T) == sizeof text[0]);
        std::memcpy(data, text.data(), sizeof(T) * text.size());
        return data;
    }
    template <class T>
    T* room(std::size_t size, std::size_t gap) {
        dest_.fill(UNTOUCHED);
        return dest_.last<T>(size + gap);
    }
    static bool isUntouched(const void* from, std::size_t bytes) {
        const char* const begin = static_cast<const char*>(from);
        return bytes == 0 || (*begin == UNTOUCHED && std::memcmp(begin, begin + 1, bytes - 1) == 0);
    }

    /// Every unit that is no character of the alphabet stops the decoding before its group. `bytes`
    /// are those of the text without it.
    void expectStops(std::u16string& text, const std::string& bytes, std::size_t position,
                     char16_t foreign) {
        const char16_t original = text[position];
        text[position] = foreign;
        const std::size_t groups = text.size() / 4;
        const std::size_t before = position / 4;
        char* const out = room<char>(3 * groups, 0);
        ASSERT_EQ(kernels().decodeBase64(copied<unsigned short>(text, 0), groups, out, safe()),
                  before)
            << foreign << " at " << position << " of " << text.size();
        ASSERT_TRUE(isUntouched(out + 3 * before, 3 * (groups - before))) << position;
        text[position] = original;
        ASSERT_EQ(std::memcmp(out, bytes.data(), 3 * before), 0) << foreign << " at " << position;
    }

  private:
    GuardedMemory source_{4096};
    GuardedMemory dest_{4096};
};

TEST_P(Base64Kernels, EncodeAndDecodeAllGroupsOfFourCharacters) {
    constexpr std::size_t BATCH = 64 * 64;
    std::vector<unsigned short> units(4 * BATCH);
    std::vector<unsigned short> encoded(4 * BATCH);
    std::string bytes(3 * BATCH, '\0');
    std::string decoded(3 * BATCH, '\0');
    for (std::size_t upper = 0; upper < BATCH; ++upper) {
        for (std::size_t lower = 0; lower < BATCH; ++lower) {
            units[4 * lower] = unit(safe(), upper / 64);
            units[4 * lower + 1] = unit(safe(), upper % 64);
            units[4 * lower + 2] = unit(safe(), lower / 64);
            units[4 * lower + 3] = unit(safe(), lower % 64);
            bytes[3 * lower] = static_cast<char>(upper / 16);
            bytes[3 * lower + 1] = static_cast<char>(upper % 16 * 16 + lower / 256);
            bytes[3 * lower + 2] = static_cast<char>(lower);
        }
        kernels().encodeBase64(bytes.data(), BATCH, encoded.data(), safe());
        ASSERT_EQ(encoded, units) << upper;
        ASSERT_EQ(kernels().decodeBase64(units.data(), BATCH, decoded.data(), safe()), BATCH);
        ASSERT_EQ(decoded, bytes) << upper;
    }
}

TEST_P(Base64Kernels, EncodeEveryNumberOfGroupsAtEveryAlignment) {
    for (std::size_t groups = 0; groups <= MOST_GROUPS; ++groups) {
        const std::string bytes = someBytes(3 * groups, groups);
        const std::u16string expected = reference::base64Of(bytes, safe());
        for (std::size_t gap = 0; gap < GAPS; ++gap) {
            auto* const out = room<unsigned short>(4 * groups, GAPS - 1 - gap);
            kernels().encodeBase64(copied<char>(bytes, gap), groups, out, safe());
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out)) << groups << ", " << gap;
            ASSERT_TRUE(isUntouched(out + 4 * groups, 2 * (GAPS - 1 - gap))) << groups;
            ASSERT_TRUE(isUntouched(out - GAPS, 2 * GAPS)) << groups;
        }
    }
}

TEST_P(Base64Kernels, DecodeEveryNumberOfGroupsAtEveryAlignment) {
    for (std::size_t groups = 0; groups <= MOST_GROUPS; ++groups) {
        const std::string expected = someBytes(3 * groups, groups);
        const std::u16string text = reference::base64Of(expected, safe());
        for (std::size_t gap = 0; gap < GAPS; ++gap) {
            char* const out = room<char>(3 * groups, GAPS - 1 - gap);
            ASSERT_EQ(
                kernels().decodeBase64(copied<unsigned short>(text, gap), groups, out, safe()),
                groups);
            ASSERT_EQ(std::string_view(out, 3 * groups), expected) << groups << ", " << gap;
            ASSERT_TRUE(isUntouched(out + 3 * groups, GAPS - 1 - gap)) << groups;
            ASSERT_TRUE(isUntouched(out - GAPS, GAPS)) << groups;
        }
    }
}

TEST_P(Base64Kernels, TellCharactersFromAllOtherUnitsAtEveryPosition) {
    constexpr std::size_t GROUPS = 25;  // of AVX2 three vectors, of AVX-512 one, and a rest
    const std::string bytes = someBytes(3 * GROUPS, 1);
    std::u16string text = reference::base64Of(bytes, safe());
    for (unsigned candidate = 0; candidate <= 0xFFFF; ++candidate) {
        const bool isCharacter =
            candidate < 0x100 && candidate != 0 &&
            ALPHABETS[safe()].find(static_cast<char>(candidate)) != std::string_view::npos;
        if (!isCharacter) {
            // Each unit at one position, and the interesting ones at all.
            expectStops(text, bytes, candidate % text.size(), static_cast<char16_t>(candidate));
            const unsigned low = candidate & 0xFF;
            for (std::size_t i = 0; i < text.size() && (candidate < 0x100 || low == 'A'); ++i) {
                expectStops(text, bytes, i, static_cast<char16_t>(candidate));
            }
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_P(Base64Kernels, StopAtOneForeignUnitInEveryNumberOfGroups) {
    for (std::size_t groups = 1; groups <= MOST_GROUPS; ++groups) {
        const std::string bytes = someBytes(3 * groups, groups);
        std::u16string text = reference::base64Of(bytes, safe());
        for (std::size_t position = 0; position < text.size(); ++position) {
            expectStops(text, bytes, position, u'=');
            expectStops(text, bytes, position, safe() ? u'+' : u'-');
            expectStops(text, bytes, position, safe() ? u'/' : u'_');
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

/// Those that this processor runs, and those for AVX-512 wherever they run.
std::vector<KernelTable> allTables() {
    static const Kernels emulated = [] {
        Kernels table = scalarKernels();
        table.encodeBase64 = emulatedAvx512::encodeBase64;
        table.decodeBase64 = emulatedAvx512::decodeBase64;
        return table;
    }();
    std::vector<KernelTable> tables = test::kernelTables();
    tables.push_back({"EmulatedAvx512", &emulated});
    return tables;
}

INSTANTIATE_TEST_SUITE_P(Tables, Base64Kernels,
                         testing::Combine(testing::ValuesIn(allTables()), testing::Bool()),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) +
                                    (std::get<1>(test.param) ? "Safe" : "Standard");
                         });

// --- One group ----------------------------------------------------------------------------------

/// What a group of four ends in, from the values of its units; PADDING and FOREIGN are none.
struct Group {
    DecodedBase64::Outcome outcome;
    std::size_t written;
    unsigned char bytes[3];
};

constexpr int FOREIGN = -1;
constexpr int PADDING = -2;

Group groupOf(const int (&v)[4]) {
    using O = DecodedBase64;
    Group group{O::DONE, 0, {}};
    for (std::size_t i = 0; i < 4; ++i) {
        if (v[i] == PADDING) {
            const int stray = i < 2 ? 0 : v[i - 1] & (i == 2 ? 15 : 3);
            group.outcome = i < 2                       ? O::EARLY_PADDING
                            : i == 2 && v[3] != PADDING ? O::MISSING_PADDING
                            : stray != 0                ? O::STRAY_BITS
                                                        : O::DONE;
            return group;
        }
        if (v[i] == FOREIGN) {
            group.outcome = O::FOREIGN_UNIT;
            return group;
        }
        if (i > 0) {
            const unsigned both = static_cast<unsigned>(v[i - 1] * 64 + v[i]);
            group.bytes[group.written++] = static_cast<unsigned char>(both >> (6 - 2 * i));
        }
    }
    return group;
}

bool endsAsExpected(const unsigned short (&units)[4], const int (&values)[4], bool safe) {
    const Group expected = groupOf(values);
    unsigned char bytes[3] = {};
    const DecodedBase64 got = decodeBase64(units, 4, reinterpret_cast<char*>(bytes), 3, safe);
    return got.outcome == expected.outcome && got.written == expected.written &&
           std::equal(bytes, bytes + 3, expected.bytes);
}

class Base64Group : public testing::TestWithParam<bool> {};

TEST_P(Base64Group, EndsAsItsUnitsTellForAllGroupsOfFour) {
    const bool safe = GetParam();
    std::vector<std::pair<unsigned short, int>> all;
    for (std::size_t value = 0; value < 64; ++value) {
        all.emplace_back(unit(safe, value), static_cast<int>(value));
    }
    all.emplace_back(unit(!safe, 62), FOREIGN);
    all.emplace_back(unit(!safe, 63), FOREIGN);
    all.emplace_back('=', PADDING);
    for (const int foreign : {0x0000, 0x0141, 0xFF41, 0x3D00, 0x013D}) {
        all.emplace_back(static_cast<unsigned short>(foreign), FOREIGN);
    }
    unsigned short units[4];
    int values[4];
    const auto choose = [&](std::size_t place, std::size_t which) {
        units[place] = all[which].first;
        values[place] = all[which].second;
    };
    for (std::size_t a = 0; a < all.size(); ++a) {
        choose(0, a);
        for (std::size_t b = 0; b < all.size(); ++b) {
            choose(1, b);
            for (std::size_t c = 0; c < all.size(); ++c) {
                choose(2, c);
                for (std::size_t d = 0; d < all.size(); ++d) {
                    choose(3, d);
                    if (!endsAsExpected(units, values, safe)) {
                        FAIL() << units[0] << " " << units[1] << " " << units[2] << " " << units[3];
                    }
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Alphabets, Base64Group, testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "Safe" : "Standard");
});

}  // namespace
}  // namespace nx::oss::detail
