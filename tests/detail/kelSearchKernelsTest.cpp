#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "infra/detail/kelKernels.h"
#include "support/kelGuardedMemory.h"
#include "support/kelKernelTables.h"

namespace nx::oss::detail {
namespace {

using test::GuardedMemory;
using test::KernelTable;

constexpr std::size_t NOWHERE = std::string_view::npos;

/// What the standard library finds in front of the first NUL.
std::size_t expectedPlace(std::string_view text, std::string_view needle) {
    return text.substr(0, text.find('\0')).find(needle);
}

class SearchKernels : public testing::TestWithParam<KernelTable> {
  protected:
    /// Both texts end, terminator included, where memory that cannot be read begins.
    std::size_t placeOf(const std::string& text, const std::string& needle) {
        const char* const guardedText = atTheEndOf(text_, text);
        const char* const guardedNeedle = atTheEndOf(needle_, needle);
        const char* const match =
            GetParam().kernels->findText(guardedText, text.size(), guardedNeedle, needle.size());
        return match == nullptr ? NOWHERE : static_cast<std::size_t>(match - guardedText);
    }

  private:
    static const char* atTheEndOf(GuardedMemory& memory, const std::string& text) {
        char* const copy = memory.last<char>(text.size() + 1);
        std::memcpy(copy, text.c_str(), text.size() + 1);
        return copy;
    }

    GuardedMemory text_{1 << 20};
    GuardedMemory needle_{1 << 20};
};

TEST_P(SearchKernels, FindANeedleOfEveryLengthAtEveryPlace) {
    for (std::size_t size = 1; size <= 70; ++size) {
        const std::string needle = "n" + std::string(size - 1, 'd');
        for (std::size_t place = 0; place <= 140; ++place) {
            const std::string before(place, '-');
            ASSERT_EQ(placeOf(before + needle, needle), place) << size;
            ASSERT_EQ(placeOf(before + needle + std::string(99, '-'), needle), place) << size;
        }
    }
}

TEST_P(SearchKernels, FindTheFirstOfSeveral) {
    for (std::size_t gap = 0; gap < 130; ++gap) {
        const std::string text = "...." + std::string("one") + std::string(gap, ' ') + "one";
        ASSERT_EQ(placeOf(text, "one"), 4u) << gap;
        ASSERT_EQ(placeOf(text.substr(5), "one"), gap + 2) << gap;
    }
}

TEST_P(SearchKernels, FindNothingThatIsLongerThanTheText) {
    for (std::size_t length = 0; length < 200; ++length) {
        ASSERT_EQ(placeOf(std::string(length, 'x'), std::string(length + 1, 'x')), NOWHERE);
    }
}

TEST_P(SearchKernels, FindNothingBehindTheFirstNul) {
    for (std::size_t nul = 0; nul < 200; ++nul) {
        std::string text(300, '-');
        text.replace(290, 6, "needle");
        ASSERT_EQ(placeOf(text, "needle"), 290u);
        text[nul] = '\0';
        ASSERT_EQ(placeOf(text, "needle"), NOWHERE) << nul;
    }
}

TEST_P(SearchKernels, FindNothingAcrossANul) {
    for (std::size_t place = 0; place < 150; ++place) {
        std::string text(300, '-');
        text.replace(place, 6, std::string("nee\0le", 6));
        ASSERT_EQ(placeOf(text, "needle"), NOWHERE) << place;
    }
}

TEST_P(SearchKernels, FindWhatTheStandardLibraryFindsInTextsOfFewLetters) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 20'000; ++i) {
        const auto letters = 1 + random() % 3;
        const auto letter = [&] { return static_cast<char>('a' + random() % letters); };
        std::string text(random() % 400, '\0');
        for (char& c : text) {
            c = random() % 500 == 0 ? '\0' : letter();
        }
        std::string needle(1 + random() % (random() % 3 == 0 ? 90 : 8), '\0');
        for (char& c : needle) {
            c = letter();
        }
        ASSERT_EQ(placeOf(text, needle), expectedPlace(text, needle)) << text << "\n" << needle;
    }
}

TEST_P(SearchKernels, FindTheNeedleBehindManyPlacesThatNearlyMatch) {
    for (const std::size_t half : {5u, 50u, 1'000u}) {
        const std::string needle = std::string(half, 'a') + "b" + std::string(half, 'a');
        const std::string text = std::string(200'000, 'a') + needle + std::string(100, 'a');
        ASSERT_EQ(placeOf(text, needle), 200'000u) << half;
        ASSERT_EQ(placeOf(text.substr(0, 200'000), needle), NOWHERE) << half;
    }
}

INSTANTIATE_TEST_SUITE_P(All, SearchKernels, testing::ValuesIn(test::kernelTables()),
                         [](const auto& table) { return table.param.name; });

}  // namespace
}  // namespace nx::oss::detail
