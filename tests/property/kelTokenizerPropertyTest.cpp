#include <infra/oss/kelStringTokenizer.h>

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/kelTokenReference.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;

constexpr char16_t UNITS[] = {u'a',      u'b',      u' ',      u'\r',     u'\n',     u'\t',
                              u',',      u'\0',     u'\u00E9', u'\u0120', u'\u3001', u'\xD83D',
                              u'\xDE00', u'\xFFFF', u'\u00A0', u'-'};

/// Units of a part of the alphabet, so that now most and now few of them are delimiters; runs of
/// one unit occur.
std::u16string randomText(std::mt19937_64& random, std::size_t length) {
    const std::size_t kinds = 1 + random() % std::size(UNITS);
    std::u16string text;
    while (text.size() < length) {
        text.append(random() % 8 == 0 ? 1 + random() % 70 : 1, UNITS[random() % kinds]);
    }
    text.resize(length);
    return text;
}

UnicodeString textOf(const std::u16string& units) {
    return UnicodeString(units.data(), static_cast<int>(units.size()));
}

std::string utf8Of(const std::u16string& units) {
    std::string bytes;
    textOf(units).toUTF8String(bytes);
    return bytes;
}

void checkStrings(StringTokenizer& tokenizer, const std::vector<std::u16string>& expected) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_TRUE(i == 0 || tokenizer.hasMoreTokens());
        ASSERT_EQ(i == 0 ? tokenizer.getFirstTokenString() : tokenizer.getNextTokenString(),
                  textOf(expected[i]))
            << i;
    }
    ASSERT_FALSE(tokenizer.hasMoreTokens());
    ASSERT_TRUE(tokenizer.getNextTokenString().isEmpty());
}

/// What a text buffer keeps: bytes above 4,096 end at their first NUL.
std::string keptBytes(const std::u16string& token) {
    const std::string bytes = utf8Of(token);
    return bytes.size() > 4096 ? bytes.c_str() : bytes;
}

void checkBytes(StringTokenizer& tokenizer, const std::vector<std::u16string>& expected) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const char* const bytes = i == 0 ? tokenizer.getFirstToken() : tokenizer.getNextToken();
        const std::string token = keptBytes(expected[i]);
        ASSERT_EQ(std::string(bytes, token.size() + 1), token + '\0') << i;
    }
    ASSERT_FALSE(tokenizer.hasMoreTokens());
    ASSERT_STREQ(tokenizer.getNextToken(), "");
}

TEST(StringTokenizerProperty, AgreesWithTheSlowWayOnRandomTexts) {
    const ::nx::test::RandomRun run(100'000);
    std::mt19937_64 random(run.seed());
    StringTokenizer tokenizer("");
    for (long round = 0; round < run.cases(); ++round) {
        const std::u16string text =
            randomText(random, random() % (round % 100 == 0 ? 10'000 : 150));
        const std::u16string delimiters = randomText(random, random() % 6);
        const auto expected = ::nx::test::reference::tokensOf(text, delimiters);
        tokenizer.parseString(textOf(text), textOf(delimiters));
        ASSERT_EQ(tokenizer.countTokens(), static_cast<int>(expected.size()));
        ASSERT_NO_FATAL_FAILURE(checkStrings(tokenizer, expected)) << "round " << round;
        ASSERT_NO_FATAL_FAILURE(checkBytes(tokenizer, expected)) << "round " << round;
    }
}

/// Bytes and delimiters are decoded, and end at their first NUL.
TEST(StringTokenizerProperty, SplitsBytesAsTheTextThatTheyAre) {
    const ::nx::test::RandomRun run(20'000);
    std::mt19937_64 random(run.seed());
    const auto decoded = [](const std::string& bytes) {
        const UnicodeString text = UnicodeString::fromUTF8(bytes.c_str());
        return std::u16string(text.getBuffer(), static_cast<std::size_t>(text.length()));
    };
    for (long round = 0; round < run.cases(); ++round) {
        // Texts below 256 bytes are decoded in another way.
        const std::string text = utf8Of(randomText(random, random() % 300));
        const std::string delimiters = utf8Of(randomText(random, random() % 6));
        const auto expected = ::nx::test::reference::tokensOf(decoded(text), decoded(delimiters));
        StringTokenizer tokenizer(text.c_str(), delimiters.c_str());
        ASSERT_EQ(tokenizer.countTokens(), static_cast<int>(expected.size()));
        ASSERT_NO_FATAL_FAILURE(checkBytes(tokenizer, expected)) << "round " << round;
        ASSERT_NO_FATAL_FAILURE(checkStrings(tokenizer, expected)) << "round " << round;
    }
}

}  // namespace
}  // namespace nx::oss
