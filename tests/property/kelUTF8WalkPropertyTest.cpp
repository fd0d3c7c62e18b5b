#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "reference/kelUtf8Reference.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

constexpr std::string_view PIECES[] = {"a",    "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80",
                                       "\x80", "\xC3",     "\xE4\xB8",     "\xF0\x9F",
                                       "\xFF", "\xF7",     "\xF8",         "\xC0\x80"};
constexpr std::size_t WELL_FORMED_PIECES = 4;

std::string randomText(std::mt19937_64& random, std::size_t pieces, std::size_t length) {
    std::string text;
    while (text.size() < length) {
        text += PIECES[random() % pieces];
    }
    return text;
}

/// Every character of a text that is set, up to one that is never stepped over.
void checkWalk(UTF8Iterator& it, const std::string& text) {
    std::size_t position = 0;
    const char* next = it.getFirstChar();
    while (position < text.size()) {
        const std::string expected = reference::characterAt(text, position);
        ASSERT_NE(next, nullptr) << position;
        ASSERT_EQ(next, expected) << position;
        for (std::size_t i = expected.size(); i < 5; ++i) {
            ASSERT_EQ(next[i], '\0') << position;
        }
        if (expected.empty()) {
            ASSERT_TRUE(it.hasMoreChars());
            ASSERT_STREQ(it.getNextChar(), "");
            return;
        }
        position += expected.size();
        ASSERT_EQ(it.hasMoreChars(), position < text.size());
        next = it.getNextChar();
    }
    ASSERT_EQ(next, nullptr);
    ASSERT_EQ(it.getNextChar(), nullptr);
}

TEST(UTF8IteratorProperty, WalksEveryCharacterOfAWellFormedText) {
    const ::nx::test::RandomRun run(3000);
    std::mt19937_64 random(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        const std::string text =
            randomText(random, WELL_FORMED_PIECES, random() % (round % 10 == 0 ? 9000 : 200));
        UTF8Iterator it(text.c_str());
        ASSERT_EQ(it.length(), static_cast<int>(text.size()));
        ASSERT_EQ(static_cast<std::size_t>(it.numChars()),
                  reference::wellFormedCharacters(text).value());
        ASSERT_EQ(it.getString(), text);
        ASSERT_NO_FATAL_FAILURE(checkWalk(it, text)) << "seed " << run.seed();
        ASSERT_NO_FATAL_FAILURE(checkWalk(it, text)) << "seed " << run.seed();
    }
}

TEST(UTF8IteratorProperty, WalksAMalformedShortTextByItsFirstBytes) {
    const ::nx::test::RandomRun run(20000);
    std::mt19937_64 random(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        const std::string text = randomText(random, std::size(PIECES), random() % 100);
        UTF8Iterator it;
        if (reference::wellFormedCharacters(text)) {
            ASSERT_TRUE(it.setString(text.c_str()));
        } else {
            ASSERT_THROW(it.setString(text.c_str()), NLSException);
            ASSERT_EQ(it.numChars(), 0);
        }
        ASSERT_EQ(it.length(), static_cast<int>(text.size()));
        ASSERT_NO_FATAL_FAILURE(checkWalk(it, text)) << "seed " << run.seed();
    }
}

/// The last character of a full inline storage is not completed from what lies behind it.
TEST(UTF8IteratorProperty, EndsAMalformedTextThatFillsTheObjectInside) {
    for (const std::string_view end :
         {"\xC3", "\xE4", "\xE4\xB8", "\xF0", "\xF0\x9F", "\xF0\x9F\x98"}) {
        const std::string text = std::string(4096 - end.size(), 'a') + std::string(end);
        UTF8Iterator it;
        ASSERT_THROW(it.setString(text.c_str()), NLSException);
        ASSERT_NO_FATAL_FAILURE(checkWalk(it, text)) << end.size();
    }
}

TEST(UTF8IteratorProperty, TakesUnicodeStringsAsTheirUtf8) {
    const ::nx::test::RandomRun run(2000);
    std::mt19937_64 random(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        const std::string text =
            randomText(random, WELL_FORMED_PIECES, 4000 * (random() % 2) + random() % 200);
        icu::UnicodeString source = icu::UnicodeString::fromUTF8(text);
        UTF8Iterator it(source);
        ASSERT_EQ(it.getString(), text);
        ASSERT_EQ(it.length(), static_cast<int>(text.size()));
        ASSERT_EQ(it.numChars(), source.countChar32());
        ASSERT_NO_FATAL_FAILURE(checkWalk(it, text)) << "seed " << run.seed();
    }
}

TEST(UTF8IteratorProperty, EndsAUnicodeStringAtItsFirstNul) {
    for (const int length : {3, 5000}) {
        icu::UnicodeString source(length, u'a', length);
        source.setCharAt(2, u'\0');
        UTF8Iterator it(source);
        EXPECT_STREQ(it.getString(), "aa");
        EXPECT_EQ(it.length(), 2);
        EXPECT_EQ(it.numChars(), 2);
    }
}

}  // namespace
}  // namespace nx::oss
