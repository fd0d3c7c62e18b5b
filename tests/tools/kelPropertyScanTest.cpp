// The scanner of lines against the library's own reading.

#include <gtest/gtest.h>

#include <infra/util/kelExtendedProperties.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "kelprops/kelPropertyScan.h"

namespace {

using nx::util::ExtendedProperties;
using tools::OddEscape;
using tools::PropertyScan;
using tools::ScannedLine;

std::string utf8(const icu::UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

bool isPair(const ScannedLine& line) {
    return line.kind == ScannedLine::PAIR || line.kind == ScannedLine::UNENDED_COMMENT;
}

/// Line by line: the same ends, and the same pair or none.
void expectSameReading(const std::string& text) {
    PropertyScan scan(text);
    ScannedLine line;
    std::size_t pos = 0;
    for (;;) {
        ExtendedProperties one;
        const bool goesOn = one.loadLine(pos, text.data(), text.size());
        ASSERT_EQ(scan.next(line), goesOn) << text;
        if (!goesOn) {
            return;
        }
        ASSERT_EQ(line.end, pos) << text;
        ASSERT_EQ(isPair(line), one.begin() != one.end()) << text;
        if (isPair(line)) {
            ASSERT_EQ(utf8(line.key), utf8(one.begin()->first)) << text;
            ASSERT_EQ(utf8(line.value), utf8(one.begin()->second)) << text;
        }
    }
}

TEST(PropertyScan, ReadsEveryShortTextAsTheLibraryDoes) {
    static constexpr char BYTES[] = {'a', 'u', '0', ' ', '\t', '\n', '\r', '\\', '=', '#'};
    for (std::size_t length = 0; length <= 4; ++length) {
        std::size_t count = 1;
        for (std::size_t i = 0; i < length; ++i) {
            count *= sizeof BYTES;
        }
        for (std::size_t number = 0; number < count; ++number) {
            std::string text;
            for (std::size_t i = 0, rest = number; i < length; ++i, rest /= sizeof BYTES) {
                text += BYTES[rest % sizeof BYTES];
            }
            expectSameReading(text);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(PropertyScan, ReadsRandomTextAsTheLibraryDoes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string bytes = "ab:= \t\n\r\\\\\\#!u00e9nrt%\xE9";
    for (int i = 0; i < 2000 && !HasFatalFailure(); ++i) {
        std::string text(random() % 60, ' ');
        for (char& c : text) {
            c = bytes[random() % bytes.size()];
        }
        expectSameReading(text);
    }
}

TEST(PropertyScan, ReadsTheCorpusOfTheFuzzerAsTheLibraryDoes) {
    std::size_t files = 0;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(KELINFRA_CORPUS_FOLDER)) {
        if (entry.is_regular_file()) {
            std::ifstream stream(entry.path(), std::ios::binary);
            expectSameReading(
                {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()});
            ++files;
        }
    }
    EXPECT_GT(files, 5U);
}

TEST(PropertyScan, TellsLinesAndPlaces) {
    const std::vector<ScannedLine> lines =
        tools::scanProperties("# c\r\n\r\n k\\\r\n  ey = v\\\n  w \nlast");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0].kind, ScannedLine::COMMENT);
    EXPECT_EQ(lines[0].number, 1U);
    EXPECT_EQ(lines[1].kind, ScannedLine::BLANK);
    EXPECT_EQ(lines[1].number, 2U);
    EXPECT_EQ(lines[2].kind, ScannedLine::PAIR);
    EXPECT_EQ(lines[2].number, 3U);
    EXPECT_EQ(utf8(lines[2].key), "key");
    EXPECT_EQ(utf8(lines[2].value), "vw ");
    EXPECT_EQ(lines[2].keyBegin, 8U);
    EXPECT_EQ(lines[2].valueBegin, 19U);
    EXPECT_EQ(lines[2].valueEnd, 26U);
    EXPECT_EQ(lines[2].end, 27U);
    EXPECT_EQ(lines[3].number, 6U);
    EXPECT_EQ(lines[3].end, 31U);
}

TEST(PropertyScan, FindsEachKindOfOddEscapeWithItsLine) {
    const std::vector<ScannedLine> lines =
        tools::scanProperties("a=\\u12\\\n \\uD800\\q\\n\\ \\=\nb=\\uFFFF\\u0041\nc\\d=\\u0041");
    ASSERT_EQ(lines.size(), 3U);
    ASSERT_EQ(lines[0].oddEscapes.size(), 3U);
    EXPECT_EQ(lines[0].oddEscapes[0].kind, OddEscape::NO_DIGITS);
    EXPECT_EQ(lines[0].oddEscapes[0].text, "\\u12\\");
    EXPECT_EQ(lines[0].oddEscapes[0].line, 1U);
    EXPECT_EQ(lines[0].oddEscapes[1].kind, OddEscape::NO_CHARACTER);
    EXPECT_EQ(lines[0].oddEscapes[1].text, "\\uD800");
    EXPECT_EQ(lines[0].oddEscapes[1].line, 2U);
    EXPECT_EQ(lines[0].oddEscapes[2].kind, OddEscape::UNKNOWN);
    EXPECT_EQ(lines[0].oddEscapes[2].text, "\\q");
    ASSERT_EQ(lines[1].oddEscapes.size(), 1U);
    EXPECT_EQ(lines[1].oddEscapes[0].kind, OddEscape::NO_CHARACTER);
    ASSERT_EQ(lines[2].oddEscapes.size(), 2U);
    EXPECT_EQ(lines[2].oddEscapes[0].kind, OddEscape::UNKNOWN);
    EXPECT_EQ(lines[2].oddEscapes[1].kind, OddEscape::AT_END);
    EXPECT_EQ(tools::scanProperties("k=v\\")[0].oddEscapes[0].kind, OddEscape::NOTHING);
}

}  // namespace
