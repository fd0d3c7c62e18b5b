#include <algorithm>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "infra/detail/kelUtf8Scan.h"
#include "reference/kelUtf8Table.h"
#include "support/kelGuardedMemory.h"
#include "support/kelRandomRun.h"
#include "support/kelRandomText.h"
#include "support/kelUtf8Oracle.h"

namespace nx::oss {
namespace {

using nx::test::RandomRun;
using nx::test::RandomText;

constexpr long CASES = 100000;

std::string utf8Of(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

/// Well-formed text, damaged text, or bytes without any order; now and then around the size of the
/// iterator's inline storage.
std::string randomBytes(RandomText& random) {
    std::string bytes = utf8Of(random.text(random.number(40)));
    if (random.oneIn(200)) {
        const std::size_t size = 4080 + random.number(32);
        while (!bytes.empty() && bytes.size() < size) {
            bytes += bytes;
        }
        bytes.resize(bytes.empty() ? 0 : size);
    }
    switch (random.number(3)) {
        case 0:
            return bytes;
        case 1:
            return random.bytes(random.number(12));
        default:
            return random.damaged(bytes);
    }
}

TEST(Utf8Property, ScanCountAndWalkAgreeWithTheTableAndIcu) {
    const RandomRun run(CASES);
    RandomText random(run.seed());
    long wellFormed = 0;
    for (long i = 0; i < run.cases(); ++i) {
        const std::string bytes = randomBytes(random);
        const auto difference = test::differenceInUtf8(bytes);
        ASSERT_FALSE(difference) << *difference << ": " << testing::PrintToString(bytes);
        wellFormed += reference::charactersOf(bytes).has_value();
    }
    EXPECT_GT(wellFormed, run.cases() / 4);
    EXPECT_LT(wellFormed, run.cases());
}

TEST(Utf8Property, ScanAndCountReadNothingAroundTheText) {
    constexpr std::size_t LONGEST = 200;
    const RandomRun run(CASES / 10);
    RandomText random(run.seed());
    test::GuardedMemory memory(LONGEST);
    for (long i = 0; i < run.cases(); ++i) {
        std::string bytes = randomBytes(random);
        bytes.resize(std::min(bytes.size(), LONGEST));
        const auto characters = reference::charactersOf(bytes);
        const auto count = characters ? std::make_optional(characters->size()) : std::nullopt;
        for (char* const place : {memory.first<char>(), memory.last<char>(bytes.size())}) {
            bytes.copy(place, bytes.size());
            ASSERT_EQ(detail::countWellFormedUtf8(place, bytes.size()), count);
            ASSERT_EQ(detail::countUtf8Characters(place, bytes.size()),
                      reference::countByFirstBytes(bytes));
        }
    }
}

TEST(Utf8Property, ScanFollowsTheTableWhereverTheCharacterStands) {
    const std::string characters[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                      "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                      "\x80",     "\xFF"};
    for (const std::string& character : characters) {
        for (std::size_t length = character.size(); length < 150; ++length) {
            for (std::size_t at = 0; at + character.size() <= length; ++at) {
                std::string text(length, 'x');
                text.replace(at, character.size(), character);
                const auto expected = reference::charactersOf(text);
                const auto count = detail::countWellFormedUtf8(text.data(), text.size());
                ASSERT_EQ(count.has_value(), expected.has_value()) << at << " of " << length;
                ASSERT_EQ(count.value_or(0), expected ? expected->size() : 0) << at;
                ASSERT_EQ(detail::countUtf8Characters(text.data(), text.size()),
                          reference::countByFirstBytes(text));
            }
        }
    }
}

}  // namespace
}  // namespace nx::oss
