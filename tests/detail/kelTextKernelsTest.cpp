#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelUtf8Scan.h"
#include "reference/kelUtf8Reference.h"
#include "support/kelGuardedMemory.h"
#include "support/kelRandomRun.h"

namespace nx::oss::detail {
namespace {

using namespace std::string_view_literals;
using test::GuardedMemory;

constexpr std::size_t LINE = 64;

/// Characters of one to four bytes, alone and mixed, and sequences that are not well-formed. Their
/// lengths make characters cross the ends of blocks at every place.
const std::string PATTERNS[] = {
    "plain text!",
    "caf\xC3\xA9 na\xC3\xAFve",
    "\xC3\xA9\xDF\xBF\xC2\x80",
    "\xE4\xB8\xAD\xEF\xBF\xBF\xE0\xA0\x80\xED\x9F\xBF",
    "\xE4\xB8\xAD a \xC3\xA9",
    "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF\xF0\x90\x80\x80",
    "x\xF0\x9F\x98\x80",
    "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z",
    "\x80",
    "ab\xFF",
    "\xF0\x9F\x98",
    "\xED\xA0\x80\xED\xB0\x80",
    "\xC0\x80",
    "\xF5\x80\x80\x80",
};

/// Bytes at both ends of every class.
constexpr std::string_view BYTES_OF_INTEREST =
    "\x01\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4"
    "\xF5\xF7\xF8\xFF"sv;

/// All bytes where the compiler optimises; vector code is slow where it does not.
const std::string THIRD_BYTES = [] {
    std::string bytes(BYTES_OF_INTEREST);
#ifdef __OPTIMIZE__
    bytes.clear();
    for (int byte = 0; byte <= 0xFF; ++byte) {
        bytes += static_cast<char>(byte);
    }
#endif
    return bytes;
}();

constexpr std::string_view FILLERS[] = {"a", "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"};

std::string repeated(std::string_view pattern, std::size_t length) {
    std::string text;
    while (text.size() < length) {
        text += pattern;
    }
    text.resize(length);
    return text;
}

/// Whole characters of a filler, then letters, up to a length.
std::string filledUpTo(std::string_view filler, std::size_t length) {
    std::string text = repeated(filler, length / filler.size() * filler.size());
    text.resize(length, 'a');
    return text;
}

class TextKernelsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        kernels_ = GetParam() == "Scalar"sv ? &scalarKernels() : avx2Kernels();
        if (kernels_ == nullptr) {
            GTEST_SKIP() << "not for this processor";
        }
    }

    /// Copies the text at `src` with its terminator into memory that ends with it, and compares.
    void checkCopyFrom(const char* src, std::size_t length) {
        char* const dest = dest_.last<char>(length + 1);
        const std::size_t characters = kernels_->copyUtf8Text(src, length, dest);
        ASSERT_EQ(characters, reference::wellFormedCharacters({src, length}).value_or(NO_COUNT))
            << "length " << length;
        ASSERT_EQ(std::memcmp(dest, src, length + 1), 0) << "length " << length;
    }

    /// The terminator is the last byte before a page that nobody may read, or the text the first
    /// one behind such a page.
    void checkCopy(std::string_view text) {
        for (char* const src :
             {source_.last<char>(text.size() + 1), source_.first<char>() + placeInLine_}) {
            std::copy(text.begin(), text.end(), src);
            src[text.size()] = '\0';
            checkCopyFrom(src, text.size());
        }
        placeInLine_ = (placeInLine_ + 1) % LINE;
    }

    /// At either end of the guarded memory.
    void checkCount(std::string_view text) {
        const std::size_t expected = reference::charactersByFirstBytes(text).value_or(NO_COUNT);
        for (char* const src : {source_.last<char>(text.size()), source_.first<char>()}) {
            std::copy(text.begin(), text.end(), src);
            ASSERT_EQ(kernels_->countUtf8Characters(src, text.size()), expected)
                << "length " << text.size();
        }
    }

    void check(std::string_view text) {
        checkCopy(text);
        checkCount(text);
    }

    const Kernels* kernels_ = nullptr;
    GuardedMemory source_{1 << 16};
    GuardedMemory dest_{1 << 16};

  private:
    std::size_t placeInLine_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Tables, TextKernelsTest, testing::Values("Scalar", "Avx2"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(TextKernelsTest, CopyAndCountTheExampleOfTheManual) {
    char copy[6];
    EXPECT_EQ(kernels_->copyUtf8Text("caf\xC3\xA9", 5, copy), 4u);
    EXPECT_STREQ(copy, "caf\xC3\xA9");
    EXPECT_EQ(kernels_->countUtf8Characters("caf\xC3\xA9", 5), 4u);
}

TEST_P(TextKernelsTest, CountNothingInNoText) {
    EXPECT_EQ(kernels_->countUtf8Characters(nullptr, 0), 0u);
}

TEST_P(TextKernelsTest, HandleEveryLength) {
    for (const std::string& pattern : PATTERNS) {
        for (std::size_t length = 0; length <= 300; ++length) {
            check(repeated(pattern, length));
        }
    }
}

/// Foreign bytes stand before the text and behind its terminator.
TEST_P(TextKernelsTest, CopyFromEveryAlignment) {
    for (const std::string& pattern : PATTERNS) {
        for (std::size_t length = 0; length <= 200; ++length) {
            const std::string text = repeated(pattern, length);
            for (std::size_t place = 0; place < LINE; ++place) {
                std::fill_n(source_.first<char>(), 5 * LINE + 10, '\xE4');
                char* const src = source_.first<char>() + LINE + place;
                std::copy(text.begin(), text.end(), src);
                src[length] = '\0';
                ASSERT_NO_FATAL_FAILURE(checkCopyFrom(src, length));
            }
        }
    }
}

/// A page ends with the terminator of the text, at each alignment of the copy.
TEST_P(TextKernelsTest, CopyFromTheEndOfMemoryToEveryAlignment) {
    for (const std::string& pattern : PATTERNS) {
        for (std::size_t length = 0; length <= 200; ++length) {
            const std::string text = repeated(pattern, length);
            char* const src = source_.last<char>(length + 1);
            std::memcpy(src, text.c_str(), length + 1);
            const std::size_t expected = reference::wellFormedCharacters(text).value_or(NO_COUNT);
            for (std::size_t place = 0; place < LINE; ++place) {
                char* const dest = dest_.first<char>() + place;
                dest[length + 1] = '#';
                ASSERT_EQ(kernels_->copyUtf8Text(src, length, dest), expected) << length;
                ASSERT_EQ(std::memcmp(dest, src, length + 1), 0) << length;
                ASSERT_EQ(dest[length + 1], '#') << length;
            }
        }
    }
}

/// A sanitizer, and valgrind, see every byte that is read or written outside.
TEST_P(TextKernelsTest, CopyAndCountInBlocksOfExactlyTheSize) {
    for (const std::string& pattern : PATTERNS) {
        for (std::size_t length = 0; length <= 200; ++length) {
            const std::string text = repeated(pattern, length);
            const std::vector<char> src(text.c_str(), text.c_str() + length + 1);
            std::vector<char> dest(length + 1);
            const std::vector<char> bare(text.begin(), text.end());
            ASSERT_EQ(kernels_->copyUtf8Text(src.data(), length, dest.data()),
                      reference::wellFormedCharacters(text).value_or(NO_COUNT))
                << length;
            ASSERT_EQ(dest, src) << length;
            ASSERT_EQ(kernels_->countUtf8Characters(bare.data(), length),
                      reference::charactersByFirstBytes(text).value_or(NO_COUNT))
                << length;
        }
    }
}

TEST_P(TextKernelsTest, CountFromEveryAlignment) {
    for (const std::string& pattern : PATTERNS) {
        const std::string text = repeated(pattern, 600);
        for (std::size_t start = 0; start < 8; ++start) {
            for (std::size_t length = 0; length <= 500; length += 7) {
                checkCount(std::string_view(text).substr(start, length));
            }
        }
    }
}

TEST_P(TextKernelsTest, HandleAllTextsOfThreeBytesAndLess) {
    char text[4] = {};
    char copy[4];
    for (unsigned number = 0; number < 1u << 16; ++number) {
        text[0] = static_cast<char>(number >> 8);
        text[1] = static_cast<char>(number);
        check({text, std::strlen(text)});
        checkCount({text, 1});
        checkCount({text, 2});
    }
    // Behind ASCII, all texts of two bytes: one first byte stands for the others.
    for (unsigned number = 0x7F00; number < 1u << 16; ++number) {
        text[0] = static_cast<char>(number >> 8);
        text[1] = static_cast<char>(number);
        for (const char third : THIRD_BYTES) {
            text[2] = third;
            const std::size_t length = std::strlen(text);
            ASSERT_EQ(kernels_->copyUtf8Text(text, length, copy),
                      reference::wellFormedCharacters({text, length}).value_or(NO_COUNT))
                << number;
            ASSERT_EQ(kernels_->countUtf8Characters(text, 3),
                      reference::charactersByFirstBytes({text, 3}).value_or(NO_COUNT))
                << number;
        }
    }
}

TEST_P(TextKernelsTest, HandleThreeBytesOfInterestAtEveryBorderOfBlocks) {
    for (const std::size_t border : {16u, 32u, 64u}) {
        for (std::size_t place = border - 3; place < border; ++place) {
            const std::string_view filler = FILLERS[place % std::size(FILLERS)];
            std::string text = filledUpTo(filler, place) + "???" + filledUpTo(filler, 90);
            for (const char first : BYTES_OF_INTEREST) {
                for (const char second : BYTES_OF_INTEREST) {
                    for (const char third : BYTES_OF_INTEREST) {
                        text[place] = first;
                        text[place + 1] = second;
                        text[place + 2] = third;
                        check(text);
                    }
                }
            }
        }
    }
}

TEST_P(TextKernelsTest, HandleFourBytesOfInterestAtEveryPlaceOfABlock) {
    std::size_t place = 0;
    for (const char first : BYTES_OF_INTEREST) {
        for (const char second : BYTES_OF_INTEREST) {
            for (const char third : BYTES_OF_INTEREST) {
                for (const char fourth : BYTES_OF_INTEREST) {
                    std::string text(place + 6, 'a');
                    text[place] = first;
                    text[place + 1] = second;
                    text[place + 2] = third;
                    text[place + 3] = fourth;
                    check(text);
                    place = (place + 1) % 131;
                }
            }
        }
    }
}

TEST_P(TextKernelsTest, CopyTextsAroundTheCapacityOfAnIterator) {
    for (const std::string& pattern : PATTERNS) {
        for (std::size_t length = 4090; length < 4230; ++length) {
            checkCopy(repeated(pattern, length));
        }
    }
}

/// Texts whose longest characters change, which the counting adapts to.
TEST_P(TextKernelsTest, CountAcrossChangesOfScript) {
    for (const std::string_view first : FILLERS) {
        for (const std::string_view second : FILLERS) {
            for (std::size_t length = 1000; length < 1100; ++length) {
                check(filledUpTo(first, length) + filledUpTo(second, 1300));
            }
        }
    }
}

TEST_P(TextKernelsTest, CountBytesThatALeadSkipsWithoutALook) {
    for (const std::string_view filler : FILLERS) {
        for (std::size_t place = 0; place < 1200; place += 5) {
            for (const std::string_view skipped :
                 {"\xC3\xC3"sv, "\xE4\xFF\xFF"sv, "\xF7xy\xF8"sv, "\xC0\x00"sv, "\xE4\x80z"sv}) {
                checkCount(filledUpTo(filler, place) + std::string(skipped) +
                           filledUpTo(filler, 200));
            }
            checkCount(filledUpTo(filler, place) + "\xF8" + filledUpTo(filler, 200));
            checkCount(filledUpTo(filler, place) + "\x80" + filledUpTo(filler, 200));
        }
    }
}

TEST_P(TextKernelsTest, CountMoreContinuationBytesThanALaneHolds) {
    const std::string text = repeated("\xE4\xB8\xAD", 300000);
    EXPECT_EQ(kernels_->countUtf8Characters(text.data(), text.size()), 100000u);
    std::vector<char> copy(text.size() + 1);
    EXPECT_EQ(kernels_->copyUtf8Text(text.c_str(), text.size(), copy.data()), 100000u);
}

std::string randomText(std::mt19937_64& random, std::size_t length) {
    const std::size_t scripts = random() % std::size(FILLERS) + 1;
    std::string text;
    while (text.size() < length) {
        text += FILLERS[random() % scripts];
    }
    return text;
}

TEST_P(TextKernelsTest, HandleRandomTextsWithRandomErrors) {
    const ::nx::test::RandomRun run(20000);
    std::mt19937_64 random(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        std::string text = randomText(random, random() % (round % 16 == 0 ? 6000 : 400));
        for (std::size_t errors = random() % 4; errors > 0 && !text.empty(); --errors) {
            const char wrong = BYTES_OF_INTEREST[random() % BYTES_OF_INTEREST.size()];
            text[random() % text.size()] = wrong;
        }
        check(text);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << run.seed();
    }
}

TEST(Utf8ScanCountWellFormedUtf8, AgreesWithTheTableOfTheStandard) {
    EXPECT_EQ(countWellFormedUtf8("", 0), std::size_t{0});
    EXPECT_EQ(countWellFormedUtf8("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", 10), std::size_t{4});
    EXPECT_EQ(countWellFormedUtf8("\xC0\x80", 2), std::nullopt);
    EXPECT_EQ(countWellFormedUtf8("\xE0\x9F\xBF", 3), std::nullopt);
    EXPECT_EQ(countWellFormedUtf8("\xED\xA0\x80", 3), std::nullopt);
    EXPECT_EQ(countWellFormedUtf8("\xF0\x8F\xBF\xBF", 4), std::nullopt);
    EXPECT_EQ(countWellFormedUtf8("\xF4\x90\x80\x80", 4), std::nullopt);
    EXPECT_EQ(countWellFormedUtf8("\xE2\x82", 2), std::nullopt);
}

TEST(Utf8ScanCountUtf8Characters, LooksAtFirstBytesOnly) {
    EXPECT_EQ(countUtf8Characters("\xC0\x80", 2), std::size_t{1});
    EXPECT_EQ(countUtf8Characters("\xF7zzz\xE4zz", 7), std::size_t{2});
    EXPECT_EQ(countUtf8Characters("ab\xE2\x82", 4), std::size_t{3});
    EXPECT_EQ(countUtf8Characters("a\x80", 2), std::nullopt);
    EXPECT_EQ(countUtf8Characters("\xF8", 1), std::nullopt);
}

}  // namespace
}  // namespace nx::oss::detail
