#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "reference/kelBase64Reference.h"
#include "support/kelBase64Oracle.h"
#include "support/kelRandomRun.h"

namespace nx::util {
namespace {

using nx::test::differenceInDecoding;
using nx::test::differenceInEncoding;
using nx::test::RandomRun;

constexpr long CASES = 100000;
constexpr std::string_view FIRST_LETTERS = "A+-=";
// Units that are no characters, among them some whose low byte is one.
constexpr char16_t FOREIGN[] = {0,    u'\n',  u' ',   u'!',   u',',   u'.',   u':',
                                u'@', u'[',   u'^',   u'`',   u'{',   0x80,   0xC1,
                                0xFF, 0x0141, 0x4100, 0x7F41, 0x8041, 0xD841, 0xFF41};

using Random = std::mt19937_64;

/// Mostly short; every size around that of a vector is frequent.
std::size_t randomSize(Random& random) { return random() % (random() % 20 == 0 ? 600 : 70); }

std::string randomBytes(Random& random) {
    std::string bytes(randomSize(random), '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

char16_t randomUnit(Random& random) {
    switch (random() % 4) {
        case 0:
            return u'=';
        case 1:
            return static_cast<unsigned char>(FIRST_LETTERS[random() % FIRST_LETTERS.size()]);
        case 2:
            return FOREIGN[random() % std::size(FOREIGN)];
        default:
            return static_cast<char16_t>(random());
    }
}

/// A text with up to three units replaced, put in or taken out.
std::u16string damaged(Random& random, std::u16string text) {
    for (std::size_t times = random() % 4; times > 0; --times) {
        // The end is where padding is looked at.
        const std::size_t last = text.size() - (random() % 2 == 0 ? 0 : text.size() * 3 / 4);
        const std::size_t at = text.size() - random() % (last + 1);
        if (at < text.size() && random() % 3 != 0) {
            text[at] = randomUnit(random);
        } else if (at < text.size() && random() % 2 == 0) {
            text.erase(at, 1);
        } else {
            text.insert(at, 1, randomUnit(random));
        }
    }
    return text;
}

/// Usually enough, otherwise anything below.
std::size_t randomCapacity(Random& random, std::size_t enough) {
    return random() % 3 == 0 ? random() % (enough + 1) : enough + random() % 4;
}

TEST(Base64Property, DecodesAsTheReferenceDoes) {
    const RandomRun run(CASES);
    Random random(run.seed());
    long faultless = 0;
    for (long round = 0; round < run.cases(); ++round) {
        const bool safe = random() % 2 == 0;
        const std::string bytes = randomBytes(random);
        const bool otherAlphabet = random() % 16 == 0;
        const std::u16string text =
            damaged(random, reference::base64Of(bytes, safe != otherAlphabet));
        const std::size_t length =
            text.size() - (random() % 8 == 0 ? random() % 4 : 0) % (text.size() + 1);
        const std::size_t capacity = randomCapacity(random, length / 4 * 3);
        faultless += text == reference::base64Of(bytes, safe) ? 1 : 0;
        ASSERT_EQ(differenceInDecoding(text, length, capacity, safe), std::nullopt)
            << "seed " << run.seed() << ", round " << round;
    }
    EXPECT_TRUE(run.cases() < 100 || (faultless > 0 && faultless < run.cases()));
}

TEST(Base64Property, EncodesAsTheReferenceDoesAndDecodesThatAgain) {
    const RandomRun run(CASES);
    Random random(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        const std::string bytes = randomBytes(random);
        const std::size_t capacity = randomCapacity(random, (bytes.size() + 2) / 3 * 4);
        ASSERT_EQ(differenceInEncoding(bytes, capacity, random() % 2 == 0), std::nullopt)
            << "seed " << run.seed() << ", round " << round;
    }
}

}  // namespace
}  // namespace nx::util
