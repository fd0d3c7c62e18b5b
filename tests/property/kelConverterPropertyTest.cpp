#include <vector>

#include <gtest/gtest.h>

#include "support/kelCodePages.h"
#include "support/kelConverterOracle.h"
#include "support/kelRandomRun.h"
#include "support/kelRandomText.h"

namespace nx::oss {
namespace {

using test::ConverterOracle;
using test::RandomText;

std::vector<const char*> allNames() {
    std::vector<const char*> names(std::begin(test::CODE_PAGES), std::end(test::CODE_PAGES));
    names.insert(names.end(), std::begin(test::CODE_PAGE_ALIASES),
                 std::end(test::CODE_PAGE_ALIASES));
    return names;
}

std::string encoded(const icu::UnicodeString& text, const char* codePage) {
    std::string bytes(static_cast<std::size_t>(text.length()) * 16 + 16, '\0');
    bytes.resize(static_cast<std::size_t>(text.extract(
        0, text.length(), bytes.data(), static_cast<uint32_t>(bytes.size()), codePage)));
    return bytes;
}

class ConverterProperty : public testing::Test {
  protected:
    unsigned shortLength() { return random_.oneIn(3) ? random_.number(300) : random_.number(24); }

    // Bytes that mean something in the code page, bytes that nearly do, and any bytes.
    std::string bytesFor(const char* codePage, unsigned length) {
        const char* const name = codePage == nullptr || *codePage == '\0' ? "UTF-8" : codePage;
        switch (random_.number(3)) {
            case 0:
                return random_.bytes(length);
            case 1:
                return encoded(random_.text(length), name);
            default:
                return random_.damaged(encoded(random_.text(length), name));
        }
    }

    // Pairs of surrogates behind 0 to 3 single units, so that whatever border a conversion in
    // pieces has, some text has a pair across it.
    icu::UnicodeString longText(unsigned length) {
        icu::UnicodeString text(static_cast<int32_t>(random_.number(3)), U'a',
                                static_cast<int32_t>(random_.number(3)));
        const icu::UnicodeString piece = random_.text(1 + random_.number(7));
        while (static_cast<unsigned>(text.length()) < length) {
            text.append(static_cast<UChar32>(0x1F600));
            if (random_.oneIn(200)) {
                text.append(piece);
            }
        }
        return text;
    }

    /// Rounds over `names` that make up the cases of the run.
    long rounds(const std::vector<const char*>& names) const {
        return run_.cases() / static_cast<long>(names.size()) + 1;
    }

    test::RandomRun run_{100'000};
    RandomText random_{run_.seed()};
};

TEST_F(ConverterProperty, TextBecomesWhatIcuMakesOfIt) {
    const auto names = allNames();
    for (long left = rounds(names); left > 0; --left) {
        for (const char* to : names) {
            const ConverterOracle oracle(random_.text(shortLength()), to);
            ASSERT_EQ(oracle.checkAll(), "");
        }
    }
}

TEST_F(ConverterProperty, BytesBecomeWhatIcuMakesOfThem) {
    const auto names = allNames();
    for (long left = rounds(names); left > 0; --left) {
        for (const char* from : names) {
            const char* const to = names[random_.number(static_cast<unsigned>(names.size() - 1))];
            const ConverterOracle oracle(bytesFor(from, shortLength()), from, to);
            ASSERT_EQ(oracle.checkAll(), "");
        }
    }
}

TEST_F(ConverterProperty, EveryPairOfCodePagesConvertsLikeIcu) {
    const auto names = allNames();
    for (const char* from : names) {
        for (const char* to : names) {
            const ConverterOracle oracle(bytesFor(from, 40), from, to);
            ASSERT_EQ(oracle.checkAll(), "");
        }
    }
}

// One name for a whole series, short inputs of few different characters: whatever is remembered
// between calls is used again at once.
TEST_F(ConverterProperty, RepeatedUseOfOneCodePageChangesNothing) {
    constexpr int INPUTS = 12;
    constexpr int REPEATS = 25;
    for (const char* codePage : allNames()) {
        std::vector<ConverterOracle> oracles;
        for (int i = 0; i < INPUTS; ++i) {
            oracles.emplace_back(random_.text(shortLength()), codePage);
            oracles.emplace_back(bytesFor(codePage, shortLength()), codePage, "UTF-16BE");
        }
        for (int i = 0; i < INPUTS * REPEATS; ++i) {
            const auto& oracle = oracles[random_.number(static_cast<unsigned>(oracles.size() - 1))];
            ASSERT_EQ(oracle.checkAll(), "");
        }
    }
}

TEST_F(ConverterProperty, LongTextsConvertLikeIcu) {
    for (const char* codePage : allNames()) {
        for (const unsigned length : {random_.number(4200), 30'000 + random_.number(70'000)}) {
            ASSERT_EQ(ConverterOracle(longText(length), codePage).checkAll(), "");
            ASSERT_EQ(ConverterOracle(random_.text(length), codePage).checkAll(), "");
        }
    }
}

TEST_F(ConverterProperty, LongBytesConvertLikeIcu) {
    for (const char* from : allNames()) {
        const char* const name = from == nullptr || *from == '\0' ? "UTF-8" : from;
        for (const unsigned length : {random_.number(4200), 10'000 + random_.number(20'000)}) {
            const std::string bytes = encoded(longText(length), name);
            ASSERT_EQ(ConverterOracle(bytes, from, "UTF-16LE").checkAll(), "");
            ASSERT_EQ(ConverterOracle(random_.damaged(bytes), from, "UTF-32").checkAll(), "");
            ASSERT_EQ(ConverterOracle(random_.bytes(length), from, "GB18030").checkAll(), "");
        }
    }
}

// Every piece border of a power of two, and the units beside it, meets the middle of a pair.
TEST_F(ConverterProperty, PairsAcrossEveryPowerOfTwoStayWhole) {
    for (const char* codePage : {"UTF-8", "utf-8", "UTF-16BE", "GB18030", "CESU-8", "ISO-8859-1"}) {
        for (int32_t border = 16; border <= 65'536; border *= 2) {
            for (int32_t lead = border - 3; lead <= border; ++lead) {
                icu::UnicodeString text(lead, U'a', lead);
                text.append(static_cast<UChar32>(0x1F600)).append(u'b');
                ASSERT_EQ(ConverterOracle(text, codePage).checkAll(), "");
                ASSERT_EQ(ConverterOracle(encoded(text, "UTF-8"), "UTF-8", codePage).checkAll(),
                          "");
            }
        }
    }
}

}  // namespace
}  // namespace nx::oss
