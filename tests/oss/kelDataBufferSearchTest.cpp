#include <infra/oss/kelDataBuffer.h>

#include <climits>
#include <string>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

std::string contentOf(const DataBuffer& buffer) {
    return {buffer.getString(), static_cast<std::size_t>(buffer.length())};
}

// --- indexOf ------------------------------------------------------------------------------------

TEST(DataBufferIndexOf, FindsTheFirstMatchAtOrBehindTheStart) {
    const DataBuffer buffer("abcabc");
    EXPECT_EQ(buffer.indexOf(0, "abc"), 0);
    EXPECT_EQ(buffer.indexOf(1, "abc"), 3);
    EXPECT_EQ(buffer.indexOf(3, "abc"), 3);
    EXPECT_EQ(buffer.indexOf(4, "abc"), -1);
    EXPECT_EQ(buffer.indexOf(0, "c"), 2);
    EXPECT_EQ(buffer.indexOf(5, "c"), 5);
    EXPECT_EQ(buffer.indexOf(0, "abcabc"), 0);
    EXPECT_EQ(buffer.indexOf(0, "abcabca"), -1);
}

TEST(DataBufferIndexOf, TakesANegativeStartForTheBeginning) {
    const DataBuffer buffer("abc");
    EXPECT_EQ(buffer.indexOf(-1, "a"), 0);
    EXPECT_EQ(buffer.indexOf(INT_MIN, "bc"), 1);
}

TEST(DataBufferIndexOf, FindsNothingForNoTextOrAStartAtTheEnd) {
    const DataBuffer buffer("abc");
    EXPECT_EQ(buffer.indexOf(0, nullptr), -1);
    EXPECT_EQ(buffer.indexOf(0, ""), -1);
    EXPECT_EQ(buffer.indexOf(3, "c"), -1);
    EXPECT_EQ(buffer.indexOf(INT_MAX, "c"), -1);
    EXPECT_EQ(DataBuffer().indexOf(0, "a"), -1);
}

TEST(DataBufferIndexOf, EndsAtTheFirstNulBehindTheStart) {
    DataBuffer buffer;
    buffer.saveString(0, "ab\0cab", 6);
    EXPECT_EQ(buffer.indexOf(0, "c"), -1);
    EXPECT_EQ(buffer.indexOf(1, "ab"), -1);
    EXPECT_EQ(buffer.indexOf(3, "ab"), 4);
}

TEST(DataBufferIndexOfWithEnd, FindsAMatchThatEndsAtOrBeforeTheEnd) {
    const DataBuffer buffer("xxabcxx");
    EXPECT_EQ(buffer.indexOf(0, 2, "xx"), 0);
    EXPECT_EQ(buffer.indexOf(0, 5, "abc"), 2);
    EXPECT_EQ(buffer.indexOf(0, 6, "abc"), 2);
    EXPECT_EQ(buffer.indexOf(0, 4, "abc"), -1);
    EXPECT_EQ(buffer.indexOf(3, 7, "abc"), -1);
    EXPECT_EQ(buffer.indexOf(0, INT_MAX, "abc"), 2);
    EXPECT_EQ(buffer.indexOf(-3, 5, "abc"), 2);
}

TEST(DataBufferIndexOfWithEnd, FindsNothingForANegativeEndOrNoText) {
    const DataBuffer buffer("abc");
    EXPECT_EQ(buffer.indexOf(0, -1, "a"), -1);
    EXPECT_EQ(buffer.indexOf(0, INT_MIN, "a"), -1);
    EXPECT_EQ(buffer.indexOf(0, 0, "a"), -1);
    EXPECT_EQ(buffer.indexOf(0, 3, nullptr), -1);
    EXPECT_EQ(buffer.indexOf(0, 3, ""), -1);
}

TEST(DataBufferIndexOfWithEnd, LooksAtTheFirstMatchOnly) {
    const DataBuffer buffer("aXa");
    EXPECT_EQ(buffer.indexOf(1, 2, "a"), -1);
}

// --- occurrences --------------------------------------------------------------------------------

TEST(DataBufferOccurrences, CountsMatchesThatDoNotOverlap) {
    EXPECT_EQ(DataBuffer("aaaa").occurrences("aa"), 2);
    EXPECT_EQ(DataBuffer("aaaaa").occurrences("aa"), 2);
    EXPECT_EQ(DataBuffer("abababa").occurrences("aba"), 2);
    EXPECT_EQ(DataBuffer("a-a-a").occurrences("a"), 3);
    EXPECT_EQ(DataBuffer("a-a-a").occurrences("b"), 0);
}

TEST(DataBufferOccurrences, CountsNothingForNoText) {
    EXPECT_EQ(DataBuffer("aaa").occurrences(nullptr), 0);
    EXPECT_EQ(DataBuffer("aaa").occurrences(""), 0);
    EXPECT_EQ(DataBuffer().occurrences("a"), 0);
}

TEST(DataBufferOccurrences, EndsAtTheFirstNul) {
    DataBuffer buffer;
    buffer.saveString(0, "a\0a", 3);
    EXPECT_EQ(buffer.occurrences("a"), 1);
}

// --- replace ------------------------------------------------------------------------------------

struct ReplaceCase {
    const char* name;
    const char* content;
    const char* text;
    const char* replacement;
    int n;
    int count;
    int made;
    const char* result;
};

void PrintTo(const ReplaceCase& c, std::ostream* out) { *out << c.name; }

class DataBufferReplaceWindow : public testing::TestWithParam<ReplaceCase> {};

TEST_P(DataBufferReplaceWindow, ReplacesTheMatchesOfTheWindowThatExist) {
    const ReplaceCase& c = GetParam();
    DataBuffer buffer(c.content);
    EXPECT_EQ(buffer.replace(c.text, c.replacement, c.n, c.count), c.made);
    EXPECT_EQ(contentOf(buffer), c.result);
    EXPECT_EQ(buffer.getString()[buffer.length()], '\0');
    EXPECT_EQ(buffer.capacity(), 4096);
}

INSTANTIATE_TEST_SUITE_P(
    All, DataBufferReplaceWindow,
    testing::Values(ReplaceCase{"Longer", "a-a-a-a", "a", "XY", 3, 2, 2, "a-XY-XY-a"},
                    ReplaceCase{"Shorter", "aaaa", "aa", "b", 2, 1, 1, "aab"},
                    ReplaceCase{"EqualLength", "a-a-a", "a", "b", 2, 1, 1, "a-b-a"},
                    ReplaceCase{"AllOfThem", "a-a-a", "a", "bb", 3, 3, 3, "bb-bb-bb"},
                    ReplaceCase{"CountAboveN", "a-a-a", "a", "b", 2, 5, 2, "b-b-a"},
                    ReplaceCase{"CountFarAboveN", "a-a", "a", "b", 2, INT_MAX, 2, "b-b"},
                    ReplaceCase{"NAboveTheMatches", "a-a", "a", "b", 5, 4, 1, "a-b"},
                    ReplaceCase{"WindowBehindTheMatches", "a-a", "a", "b", 9, 2, 0, "a-a"},
                    ReplaceCase{"LargestN", "a-a", "a", "b", INT_MAX, INT_MAX, 2, "b-b"},
                    ReplaceCase{"NOfZero", "a-a", "a", "b", 0, 1, 0, "a-a"},
                    ReplaceCase{"NegativeN", "a-a", "a", "b", INT_MIN, 1, 0, "a-a"},
                    ReplaceCase{"CountOfZero", "a-a", "a", "b", 2, 0, 0, "a-a"},
                    ReplaceCase{"NegativeCount", "a-a", "a", "b", 2, -1, 0, "a-a"},
                    ReplaceCase{"NullText", "a-a", nullptr, "b", 1, 1, 0, "a-a"},
                    ReplaceCase{"EmptyText", "a-a", "", "b", 1, 1, 0, "a-a"},
                    ReplaceCase{"NullReplacement", "a-a", "a", nullptr, 2, 2, 2, "-"},
                    ReplaceCase{"EmptyReplacement", "a-a", "a", "", 1, 1, 1, "-a"},
                    ReplaceCase{"NothingLeft", "aaa", "a", nullptr, 3, 3, 3, ""},
                    ReplaceCase{"WholeContent", "abc", "abc", "xyz123", 1, 1, 1, "xyz123"},
                    ReplaceCase{"NotFound", "abc", "d", "xyz", 1, 1, 0, "abc"},
                    ReplaceCase{"ReplacementIsNotSearched", "aa", "a", "aa", 2, 2, 2, "aaaa"}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(DataBufferReplace, ReplacesTheNthMatchOnly) {
    DataBuffer buffer("a-a-a");
    EXPECT_EQ(buffer.replace("a", "bb", 2), 1);
    EXPECT_EQ(contentOf(buffer), "a-bb-a");
    EXPECT_EQ(buffer.replace("a", "", 2), 1);
    EXPECT_EQ(contentOf(buffer), "a-bb-");
}

TEST(DataBufferReplace, ChangesNothingWhenTheNthMatchDoesNotExist) {
    for (const int n : {4, INT_MAX, 0, -1, INT_MIN}) {
        DataBuffer buffer("a-a-a");
        EXPECT_EQ(buffer.replace("a", "b", n), 0) << n;
        EXPECT_EQ(contentOf(buffer), "a-a-a") << n;
    }
}

TEST(DataBufferReplace, ChangesNothingForNoText) {
    DataBuffer buffer("a-a-a");
    EXPECT_EQ(buffer.replace(nullptr, "b", 1), 0);
    EXPECT_EQ(buffer.replace("", "b", 1), 0);
    EXPECT_EQ(buffer.replaceAll(nullptr, "b"), 0);
    EXPECT_EQ(buffer.replaceAll("", "b"), 0);
    EXPECT_EQ(DataBuffer().replaceAll("a", "b"), 0);
    EXPECT_EQ(contentOf(buffer), "a-a-a");
}

TEST(DataBufferReplaceAll, ReplacesEveryMatchOfTheOriginalText) {
    DataBuffer buffer("aaa");
    EXPECT_EQ(buffer.replaceAll("a", "aa"), 3);
    EXPECT_EQ(contentOf(buffer), "aaaaaa");
    EXPECT_EQ(buffer.replaceAll("aa", "a"), 3);
    EXPECT_EQ(contentOf(buffer), "aaa");
    EXPECT_EQ(buffer.replaceAll("a", nullptr), 3);
    EXPECT_EQ(contentOf(buffer), "");
    EXPECT_EQ(buffer.replaceAll("a", "b"), 0);
}

TEST(DataBufferReplaceAll, LeavesATerminatorForLaterAppends) {
    DataBuffer buffer("long-long-long");
    EXPECT_EQ(buffer.replaceAll("long", "s"), 3);
    buffer.appendString("!");
    EXPECT_STREQ(buffer.getString(), "s-s-s!");
    EXPECT_EQ(buffer.length(), 6);
}

TEST(DataBufferReplaceAll, GrowsInPlaceUpToTheCapacity) {
    DataBuffer buffer(std::string(2048, 'a').c_str());
    EXPECT_EQ(buffer.replaceAll("a", "bc"), 2048);
    EXPECT_EQ(buffer.capacity(), 4096);
    EXPECT_EQ(buffer.length(), 4096);
    EXPECT_EQ(buffer.occurrences("bc"), 2048);
}

TEST(DataBufferReplaceAll, GrowsByTheGrowthAndTheLengthAnd4096) {
    DataBuffer buffer(std::string(2049, 'a').c_str());
    EXPECT_EQ(buffer.replaceAll("a", "bc"), 2049);
    EXPECT_EQ(buffer.capacity(), 2049 + 2049 + 4096);
    EXPECT_EQ(buffer.length(), 4098);
    EXPECT_EQ(buffer.occurrences("bc"), 2049);
}

TEST(DataBufferReplaceAll, CountsTheReplacementsMadeForTheGrowth) {
    DataBuffer buffer(std::string(4096, 'a').c_str());
    EXPECT_EQ(buffer.replace("a", "bcd", 3, 2), 2);
    EXPECT_EQ(buffer.capacity(), 4 + 4096 + 4096);
    EXPECT_EQ(contentOf(buffer).substr(0, 9), "abcdbcdaa");
    EXPECT_EQ(buffer.length(), 4100);
}

TEST(DataBufferReplaceAll, StaysOnTheHeapWhenItShrinks) {
    DataBuffer buffer(std::string(5000, 'a').c_str());
    const int capacity = buffer.capacity();
    EXPECT_EQ(buffer.replaceAll("aa", nullptr), 2500);
    EXPECT_EQ(buffer.length(), 0);
    EXPECT_EQ(buffer.capacity(), capacity);
    EXPECT_STREQ(buffer.getString(), "");
}

TEST(DataBufferReplaceAll, MovesNulsBehindTheLastMatchAlongInPlace) {
    DataBuffer buffer;
    buffer.saveString(0, "a-b\0a-", 6);
    EXPECT_EQ(buffer.replaceAll("a", "XYZ"), 1);
    EXPECT_EQ(contentOf(buffer), std::string("XYZ-b\0a-", 8));
    EXPECT_EQ(buffer.replaceAll("XYZ-", ""), 1);
    EXPECT_EQ(contentOf(buffer), std::string("b\0a-", 4));
}

TEST(DataBufferReplaceAll, DropsWhatFollowsANulWhenItGrows) {
    DataBuffer buffer;
    std::string content(4096, 'a');
    content[100] = '\0';
    buffer.saveString(0, content.data(), 4096);
    EXPECT_EQ(buffer.replaceAll("a", "bc"), 100);
    EXPECT_EQ(buffer.length(), 200);
    EXPECT_EQ(buffer.capacity(), 100 + 4096 + 4096);
}

TEST(DataBufferReplaceAll, InsideTheInlineStorageForgetsItWhenItGrows) {
    DataBuffer buffer(std::string(4096, 'a').c_str());
    EXPECT_EQ(buffer.replace("a", "bc", 1), 1);
    buffer.clear(/*keepBytes=*/true);
    EXPECT_STREQ(buffer.getString(), "");
}

}  // namespace
}  // namespace nx::oss
