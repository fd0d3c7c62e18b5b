#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelCodePages.h"
#include "support/kelConverterOracle.h"
#include "support/kelTogether.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::ConverterOracle;

std::vector<ConverterOracle> samples() {
    const UnicodeString text(u"plain \u00E9\u044F\u3042\u4E2D\uAC00\U0001F600\u200D!");
    std::vector<ConverterOracle> result;
    for (const char* codePage : test::CODE_PAGES) {
        result.emplace_back(text, codePage);
        result.emplace_back("plain \xC3\xA9 \x82\xA0\xFF", codePage, "UTF-16BE");
    }
    return result;
}

TEST(ConverterThreads, ConvertTheSameCodePagesAtTheSameTime) {
    const auto oracles = samples();
    const auto results = test::together([&](int) {
        std::string difference;
        for (int round = 0; round < 40 && difference.empty(); ++round) {
            for (const auto& oracle : oracles) {
                difference += oracle.checkAll();
            }
        }
        return difference;
    });
    EXPECT_EQ(results, std::vector<std::string>(16));
}

TEST(ConverterThreads, ConvertDifferentCodePagesAtTheSameTime) {
    const auto oracles = samples();
    const auto results = test::together([&](int thread) {
        const auto& oracle = oracles[static_cast<std::size_t>(thread) * 2];
        std::string difference;
        for (int round = 0; round < 1000 && difference.empty(); ++round) {
            difference = oracle.checkAll();
        }
        return difference;
    });
    EXPECT_EQ(results, std::vector<std::string>(16));
}

TEST(ConverterThreads, FillTheirOwnBuffers) {
    const auto results = test::together([](int thread) {
        const UnicodeString text(2000 + thread, u'x', 2000 + thread);
        for (int round = 0; round < 200; ++round) {
            SizeableBuffer<char, 512> buffer(0);
            const std::string converted = Converter::convert(buffer, "ISO-8859-1", text);
            if (converted != std::string(static_cast<std::size_t>(2000 + thread), 'x')) {
                return converted;
            }
        }
        return std::string();
    });
    EXPECT_EQ(results, std::vector<std::string>(16));
}

TEST(ConverterThreads, StartOneAfterTheOtherWithoutAnythingLeftOver) {
    const auto oracles = samples();
    for (int i = 0; i < 50; ++i) {
        std::string difference = "not run";
        std::thread([&] {
            difference = oracles[static_cast<std::size_t>(i) % oracles.size()].checkAll();
        }).join();
        EXPECT_EQ(difference, "");
    }
}

std::string japanese() {
    char dest[8] = "";
    Converter::convert(dest, 8, "Shift_JIS", u"\u3042");
    return dest;
}

// The destructor of a thread's own object that was made before the thread's first conversion runs
// after everything that the converter keeps for the thread is gone.
struct ConvertsWhenItsThreadEnds {
    ~ConvertsWhenItsThreadEnds() {
        if (result != nullptr) {
            *result = japanese() + japanese();
        }
    }
    std::string* result = nullptr;
};

thread_local ConvertsWhenItsThreadEnds atThreadEnd;

TEST(ConverterLifetime, ConvertsInADestructorAtTheEndOfTheThread) {
    std::string before;
    std::string after;
    std::thread([&] {
        atThreadEnd.result = &after;
        before = japanese();
    }).join();
    EXPECT_EQ(before, "\x82\xA0");
    EXPECT_EQ(after, "\x82\xA0\x82\xA0");
}

TEST(ConverterLifetime, ConvertsInAThreadThatUsesItOnlyAtItsEnd) {
    std::string after;
    std::thread([&] { atThreadEnd.result = &after; }).join();
    EXPECT_EQ(after, "\x82\xA0\x82\xA0");
}

struct ConvertsAtExit {
    ~ConvertsAtExit() {
        if (wanted) {
            std::fprintf(stderr, "%s", japanese() == "\x82\xA0" ? "converted at exit" : "wrong");
        }
    }
    bool wanted = false;
};

// Made before the first conversion of the program, so destroyed after what the converter keeps.
__attribute__((init_priority(101))) ConvertsAtExit atProgramEnd;

TEST(ConverterExitDeathTest, ConvertsInADestructorAtTheEndOfTheProgram) {
    EXPECT_EXIT(
        {
            static ConvertsAtExit atExit;
            atExit.wanted = true;
            japanese();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "converted at exit");
}

TEST(ConverterExitDeathTest, ConvertsAfterAllThatItKeepsIsGone) {
    EXPECT_EXIT(
        {
            atProgramEnd.wanted = true;
            japanese();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "converted at exit");
}

// Runs before main() when static objects of other sources may not have been made yet.
const std::string beforeMain = japanese();

TEST(ConverterLifetime, ConvertsInAStaticInitialiser) { EXPECT_EQ(beforeMain, "\x82\xA0"); }

}  // namespace
}  // namespace nx::oss
