// All texts of up to four bytes. The kernels take every one of them; the classes, which take a
// thousand times as long because malformed text makes them throw, take those of up to three bytes
// and every character of four.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelUTF8String.h>

#include "infra/detail/kelUtf8Scan.h"
#include "reference/kelUtf8Machine.h"
#include "reference/kelUtfReference.h"
#include "support/kelExhaustiveRun.h"
#include "support/kelKernelTables.h"
#include "support/kelUtf8Oracle.h"

namespace nx::oss {
namespace {

using detail::Kernels;
using nx::test::ExhaustiveRun;
using nx::test::TextsOf;
using reference::CharacterCount;
using reference::ShortUtf16;
using reference::SkippingCounter;
using reference::Utf8Machine;

constexpr std::uint64_t BEGINNINGS = 1U << 24;
constexpr std::size_t SIZE = 4;

/// Calls `look` with every text of four bytes that begins with the three of the number, terminated,
/// and a machine of each kind that has read it, until it returns false.
template <class... Machines, class Look>
bool forEachText(std::uint64_t beginning, const Look& look) {
    char text[SIZE + 1] = {};
    std::tuple<Machines...> begun;
    const auto take = [](std::tuple<Machines...>& machines, unsigned byte) {
        std::apply([byte](auto&... each) { (each.take(byte), ...); }, machines);
    };
    for (std::size_t i = 0; i + 1 < SIZE; ++i) {
        const unsigned byte = static_cast<unsigned>(beginning >> (8 * i)) & 0xFF;
        text[i] = static_cast<char>(byte);
        take(begun, byte);
    }
    for (unsigned last = 0; last < 256; ++last) {
        text[SIZE - 1] = static_cast<char>(last);
        std::tuple<Machines...> machines = begun;
        take(machines, last);
        if (!std::apply([&](auto&... each) { return look(text, each...); }, machines)) {
            ADD_FAILURE() << testing::PrintToString(std::string(text, SIZE));
            return false;
        }
    }
    return true;
}

/// Characters up to the first NUL; nothing for malformed ones.
std::optional<std::size_t> charactersOf(const char* text, std::size_t length) {
    Utf8Machine<CharacterCount> machine;
    for (std::size_t i = 0; i < length; ++i) {
        machine.take(static_cast<unsigned char>(text[i]));
    }
    return machine.finished().count();
}

/// Whether the terminated text is copied, and counted or refused.
bool copiesRight(const Kernels& kernels, const char* text, std::size_t length,
                 std::optional<std::size_t> characters) {
    char copy[SIZE + 1];
    return kernels.copyUtf8Text(text, length, copy) == characters.value_or(detail::NO_COUNT) &&
           std::memcmp(copy, text, length + 1) == 0;
}

class ExhaustiveUtf8 : public testing::TestWithParam<test::KernelTable> {
  protected:
    const Kernels& kernels() const { return *GetParam().kernels; }
};

TEST_P(ExhaustiveUtf8, EveryTextOfFourBytesIsCheckedAndCountedAsByTheSlowDecoder) {
    const auto look = [this](const char* text, const Utf8Machine<CharacterCount>& machine,
                             const SkippingCounter& skipping) {
        const auto characters = machine.finished().count();
        const std::size_t length = std::strlen(text);
        return copiesRight(kernels(), text, length,
                           length == SIZE ? characters : charactersOf(text, length)) &&
               kernels().countUtf8Characters(text, SIZE) ==
                   skipping.count().value_or(detail::NO_COUNT) &&
               detail::countWellFormedUtf8(text, SIZE) == characters &&
               detail::countUtf8Characters(text, SIZE) == skipping.count();
    };
    ExhaustiveRun(BEGINNINGS, 4000).forEach([&](std::uint64_t beginning) {
        return forEachText<Utf8Machine<CharacterCount>, SkippingCounter>(beginning, look);
    });
}

/// In long texts, with a letter behind each, so that they stand at every place of a vector.
TEST_P(ExhaustiveUtf8, EveryTextOfFourBytesIsConvertedAsByTheSlowDecoder) {
    constexpr std::size_t LENGTH = 256 * (SIZE + 1);
    char source[LENGTH];
    char16_t wanted[LENGTH + 8];
    char16_t units[LENGTH];
    ExhaustiveRun(BEGINNINGS, 4000).forEach([&](std::uint64_t beginning) {
        char* sourceEnd = source;
        char16_t* wantedEnd = wanted;
        forEachText<Utf8Machine<ShortUtf16>>(
            beginning, [&](const char* text, const Utf8Machine<ShortUtf16>& machine) {
                std::memcpy(sourceEnd, text, SIZE);
                sourceEnd[SIZE] = 'x';
                sourceEnd += SIZE + 1;
                const ShortUtf16 output = machine.finished();
                wantedEnd = std::copy_n(output.units(), output.count(), wantedEnd);
                *wantedEnd++ = u'x';
                return true;
            });
        const auto progress = kernels().utf8ToUtf16(source, LENGTH, units, LENGTH);
        const bool same = progress.read == LENGTH &&
                          std::equal(units, units + progress.written, wanted, wantedEnd);
        EXPECT_TRUE(same) << testing::PrintToString(std::string(source, SIZE - 1));
        return same;
    });
}

INSTANTIATE_TEST_SUITE_P(Tables, ExhaustiveUtf8, testing::ValuesIn(test::kernelTables()),
                         [](const auto& test) { return std::string(test.param.name); });

/// The text in UTF-16 as the converter and the string hand it out.
bool isConvertedTo(const std::string& text, const std::u16string& wanted) {
    std::string bytes(4 * text.size() + 4, '?');
    const int size =
        Converter::convertToBytes(bytes.data(), static_cast<int>(bytes.size()), "UTF-16LE",
                                  text.data(), static_cast<int>(text.size()), "UTF-8");
    UTF8String string;
    string.appendString(text.data(), static_cast<int>(text.size()));
    icu::UnicodeString decoded;
    string.getString(decoded);
    std::string expected;
    for (const char16_t unit : wanted) {
        expected += static_cast<char>(unit & 0xFF);
        expected += static_cast<char>(unit >> 8);
    }
    return bytes.substr(0, static_cast<std::size_t>(size)) == expected &&
           decoded == icu::UnicodeString(wanted.data(), static_cast<int>(wanted.size()));
}

bool classesAgree(const std::string& text) {
    const auto difference = test::differenceInUtf8(text);
    EXPECT_FALSE(difference) << *difference << ": " << testing::PrintToString(text);
    const bool same = isConvertedTo(text, reference::utf16FromUtf8(text, text.size()).text);
    EXPECT_TRUE(same) << testing::PrintToString(text);
    return !difference && same;
}

TEST(ExhaustiveUtf8Classes, AgreeWithTheTableAndIcuOnEveryTextOfUpToThreeBytes) {
    const TextsOf texts(nx::test::allBytes(), 3);
    ExhaustiveRun(texts.count(), 50'000).forEach([&](std::uint64_t number) {
        return classesAgree(texts.text(number));
    });
}

TEST(ExhaustiveUtf8Classes, AgreeWithTheTableAndIcuOnEveryCharacterOfFourBytes) {
    ExhaustiveRun(0x100000, 20'000).forEach([&](std::uint64_t number) {
        const std::uint64_t value = 0x10000 + number;
        std::string text;
        text += static_cast<char>(0xF0 | value >> 18);
        text += static_cast<char>(0x80 | (value >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (value >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (value & 0x3F));
        return classesAgree(text);
    });
}

}  // namespace
}  // namespace nx::oss
