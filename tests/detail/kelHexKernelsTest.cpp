#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "infra/detail/kelHexText.h"
#include "infra/detail/kelKernels.h"
#include "support/kelGuardedMemory.h"
#include "support/kelKernelTables.h"

namespace nx::oss::detail {
namespace {

using test::GuardedMemory;
using test::KernelTable;

constexpr std::size_t LONGEST = 300;
constexpr std::size_t ALIGNMENTS = 32;
constexpr char UNTOUCHED = '#';

/// What printf makes of each byte.
std::string printedHex(std::string_view bytes, const char* format) {
    std::string digits;
    for (const char byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof pair, format, static_cast<unsigned char>(byte));
        digits += pair;
    }
    return digits;
}

/// What strtol reads from each pair of digits.
std::string readHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    }
    return bytes;
}

bool isDigit(int character) {
    return character != 0 &&
           std::string_view("0123456789abcdefABCDEF").find(static_cast<char>(character)) !=
               std::string_view::npos;
}

/// Bytes in which every value occurs, other ones for other seeds.
std::string someBytes(std::size_t length, unsigned seed) {
    std::string bytes;
    for (std::size_t i = 0; i < length; ++i) {
        bytes += static_cast<char>(i * 167 + seed * 59);
    }
    return bytes;
}

/// Digits of both cases in turn.
std::string someDigits(std::size_t length, unsigned seed) {
    std::string digits = printedHex(someBytes(length / 2 + 1, seed), "%02x");
    for (std::size_t i = seed % 2; i < digits.size(); i += 2) {
        digits[i] = static_cast<char>(digits[i] >= 'a' ? digits[i] - 'a' + 'A' : digits[i]);
    }
    return digits.substr(0, length);
}

class HexKernels : public testing::TestWithParam<KernelTable> {
  protected:
    const Kernels& kernels() const { return *GetParam().kernels; }

    /// Copies text so that it ends `gap` bytes before memory that nobody may touch.
    const char* copied(const std::string& text, std::size_t gap) {
        char* const data = source_.last<char>(text.size() + gap);
        std::copy(text.begin(), text.end(), data);
        return data;
    }
    /// Room for `size` bytes; the same gap behind it.
    char* room(std::size_t size, std::size_t gap) {
        dest_.fill(UNTOUCHED);
        return dest_.last<char>(size + gap);
    }
    static bool isUntouched(const char* from, std::size_t size) {
        return std::all_of(from, from + size, [](char byte) { return byte == UNTOUCHED; });
    }

  private:
    GuardedMemory source_{4096};
    GuardedMemory dest_{4096};
};

TEST_P(HexKernels, EncodeEveryLengthAtEveryAlignmentInBothCases) {
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        const std::string bytes = someBytes(length, static_cast<unsigned>(length));
        for (const bool upperCase : {false, true}) {
            const std::string expected = printedHex(bytes, upperCase ? "%02X" : "%02x");
            for (std::size_t gap = 0; gap < ALIGNMENTS; ++gap) {
                char* const out = room(2 * length, ALIGNMENTS - 1 - gap);
                kernels().encodeHex(copied(bytes, gap), length, out, upperCase);
                ASSERT_EQ(std::string_view(out, 2 * length), expected) << length << ", " << gap;
                ASSERT_TRUE(isUntouched(out + 2 * length, ALIGNMENTS - 1 - gap)) << length;
                ASSERT_TRUE(isUntouched(out - ALIGNMENTS, ALIGNMENTS)) << length;
            }
        }
    }
}

TEST_P(HexKernels, DecodeEveryLengthAtEveryAlignment) {
    for (std::size_t count = 0; count <= LONGEST; ++count) {
        const std::string digits = someDigits(2 * count, static_cast<unsigned>(count));
        const std::string expected = readHex(digits);
        for (std::size_t gap = 0; gap < ALIGNMENTS; ++gap) {
            char* const out = room(count, ALIGNMENTS - 1 - gap);
            kernels().decodeHex(copied(digits, gap), count, out);
            ASSERT_EQ(std::string_view(out, count), expected) << count << ", " << gap;
            ASSERT_TRUE(isUntouched(out + count, ALIGNMENTS - 1 - gap)) << count;
            ASSERT_TRUE(isUntouched(out - ALIGNMENTS, ALIGNMENTS)) << count;
        }
    }
}

TEST_P(HexKernels, DecodeUndoesEncodeForEveryPairOfBytes) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
            char digits[4];
            char again[2];
            kernels().encodeHex(bytes, 2, digits, (first & 1) != 0);
            kernels().decodeHex(digits, 2, again);
            ASSERT_EQ(std::string_view(again, 2), std::string_view(bytes, 2));
        }
    }
}

TEST_P(HexKernels, AcceptDigitsOfEveryLengthAtEveryAlignment) {
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        const std::string digits = someDigits(length, static_cast<unsigned>(length));
        for (std::size_t gap = 0; gap < ALIGNMENTS; ++gap) {
            ASSERT_TRUE(kernels().isHex(copied(digits, gap), length)) << length << ", " << gap;
        }
    }
}

TEST_P(HexKernels, TellDigitsFromEveryOtherByteAtEveryPosition) {
    for (const std::size_t length :
         {1u, 2u, 7u, 15u, 16u, 17u, 31u, 32u, 33u, 63u, 64u, 65u, 127u, 128u, 130u}) {
        std::string text = someDigits(length, 1);
        for (std::size_t position = 0; position < length; ++position) {
            const char digit = text[position];
            for (int character = 0; character < 256; ++character) {
                text[position] = static_cast<char>(character);
                ASSERT_EQ(kernels().isHex(copied(text, 0), length), isDigit(character))
                    << character << " at " << position << " of " << length;
            }
            text[position] = digit;
        }
    }
}

TEST_P(HexKernels, SeeOneWrongCharacterInEveryLength) {
    for (std::size_t length = 1; length <= LONGEST; ++length) {
        const std::string digits = someDigits(length, 2);
        for (std::size_t position = 0; position < length; ++position) {
            std::string text = digits;
            text[position] = 'g';
            ASSERT_FALSE(kernels().isHex(copied(text, 0), length)) << position << " of " << length;
        }
    }
}

TEST_P(HexKernels, IgnoreWhatLiesBehindTheText) {
    for (std::size_t length = 0; length <= 100; ++length) {
        const std::string text = someDigits(length, 3) + std::string(64, '/');
        ASSERT_TRUE(kernels().isHex(copied(text, 0), length)) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, HexKernels, testing::ValuesIn(test::kernelTables()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(HexText, EncodingReturnsTheEndOfTheDigits) {
    char out[6] = {};
    EXPECT_EQ(encodeHex(out, "\x01\xAB\xFF", 3, /*upperCase=*/true), out + 6);
    EXPECT_EQ(std::string_view(out, 6), "01ABFF");
}

TEST(HexText, ALiteralHasNoLeadingZeros) {
    const auto literal = [](unsigned long value, bool upperCase) {
        char text[LONGEST_HEX_LITERAL];
        return std::string(text, writeHexLiteral(text, value, upperCase));
    };
    EXPECT_EQ(literal(0, true), "X'0'");
    EXPECT_EQ(literal(0xF, false), "X'f'");
    EXPECT_EQ(literal(0x10, true), "X'10'");
    EXPECT_EQ(literal(0x0123456789ABCDEF, true), "X'123456789ABCDEF'");
    EXPECT_EQ(literal(0xFEDCBA9876543210, false), "X'fedcba9876543210'");
}

}  // namespace
}  // namespace nx::oss::detail
