#include <climits>
#include <cstdint>
#include <cstring>
#include <list>
#include <map>
#include <new>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "infra/detail/kelPropertiesReader.h"
#include "infra/detail/kelPropertyIndex.h"
#include "infra/detail/kelReferenceResolver.h"
#include "infra/detail/kelTextHash.h"
#include "support/kelPropertiesSupport.h"
#include "support/kelRepeatedText.h"

namespace nx::oss::detail {
namespace {

using icu::UnicodeString;
using test::shown;
using test::shownList;
using test::ShownList;

// --- Hash ---------------------------------------------------------------------------------------

/// The hash of a copy that ends where its block ends.
std::uint64_t hashOf(const std::string& text) {
    const std::vector<char> exact(text.begin(), text.end());
    return hashText(exact.data(), exact.size());
}

TEST(TextHash, OfEqualTextsIsEqualWhereverTheyStand) {
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string text(length, 'x');
        const std::string padded = "abcdefgh" + text;
        for (std::size_t shift = 1; shift < 8; ++shift) {
            const std::string moved = padded.substr(shift);
            ASSERT_EQ(hashText(moved.data() + 8 - shift, length), hashOf(text)) << length;
        }
    }
}

TEST(TextHash, IsNeverZeroAndTellsTextsApart) {
    std::set<std::uint64_t> hashes;
    std::size_t count = 0;
    for (std::size_t length = 0; length < 70; ++length) {
        hashes.insert(hashOf(std::string(length, '\0')));
        ++count;
        for (std::size_t place = 0; place < length; ++place) {
            for (const int bit : {1, 16, 128}) {
                std::string text(length, '\0');
                text[place] = static_cast<char>(bit);
                hashes.insert(hashOf(text));
                ++count;
            }
        }
    }
    EXPECT_EQ(hashes.count(0), 0u);
    EXPECT_EQ(hashes.size(), count);
}

// A factor that is 0 makes a product forget the other factor, and all that was read before with it.
// Which text makes it 0 must not be known to who writes the texts.
TEST(TextHash, TellsTextsApartThatHoldTheNumbersOfItsSource) {
    for (const std::uint64_t number : {0x9E3779B97F4A7C15, 0xD1B54A32D192ED03}) {
        std::string word(sizeof number, '\0');
        std::memcpy(word.data(), &number, sizeof number);
        for (const std::size_t behind : {0u, 8u, 16u}) {
            std::set<std::uint64_t> hashes;
            for (char varied = 'a'; varied <= 'z'; ++varied) {
                hashes.insert(hashOf(word + std::string(8, varied) + std::string(behind, 'x')));
                hashes.insert(hashOf(std::string(16, varied) + word + std::string(behind, 'x')));
            }
            EXPECT_EQ(hashes.size(), 52u) << number << ' ' << behind;
        }
    }
}

TEST(TextHash, OfNoBytesNeedsNoAddress) { EXPECT_EQ(hashText(nullptr, 0), hashOf("")); }

// --- Index --------------------------------------------------------------------------------------

class PropertyIndexTest : public testing::Test {
  protected:
    void add(const UnicodeString& key) {
        index_.reserveOne();
        index_.insert(map_.emplace(key, key).first);
    }
    void remove(const UnicodeString& key) {
        const auto pair = index_.find(key);
        index_.erase(pair);
        map_.erase(pair);
    }
    bool agrees() {
        for (int i = 0; i < 200; ++i) {
            if (index_.find(name(i)) != map_.find(name(i))) {
                return false;
            }
        }
        return true;
    }
    static UnicodeString name(int i) { return UnicodeString(static_cast<char16_t>(i)); }

    util::detail::PropertyIndex::Map map_;
    util::detail::PropertyIndex index_{map_};
};

TEST_F(PropertyIndexTest, FindsNothingWhenItIsEmpty) {
    EXPECT_TRUE(index_.find("") == map_.end());
    EXPECT_TRUE(index_.find("a") == map_.end());
}

TEST_F(PropertyIndexTest, FindsWhatWasInsertedAtEverySize) {
    for (int i = 0; i < 200; ++i) {
        add(name(i));
        ASSERT_TRUE(agrees()) << i;
    }
}

TEST_F(PropertyIndexTest, FindsTheRestAfterEveryRemoval) {
    for (int order = 1; order < 200; order += 2) {
        for (int i = 0; i < 64; ++i) {
            add(name(i));
        }
        for (int i = 0; i < 64; ++i) {
            remove(name(i * order % 64));
            ASSERT_TRUE(agrees()) << order << " " << i;
        }
        ASSERT_TRUE(map_.empty());
    }
}

TEST_F(PropertyIndexTest, FindsNothingInASetThatBecameEmpty) {
    add("a");
    remove("a");
    EXPECT_TRUE(index_.find("a") == map_.end());
    add("a");
    EXPECT_TRUE(index_.find("a") == map_.begin());
}

TEST_F(PropertyIndexTest, TellsKeysOfTheSameHashApart) {
    constexpr std::uint64_t HASH = 42;
    UnicodeString null;
    null.setToBogus();
    const UnicodeString keys[] = {u"", u"a", u"b", u"ab", null};
    index_.reserve(5);
    for (const UnicodeString& key : keys) {
        index_.insert(map_.emplace(key, key).first, HASH);
        for (const UnicodeString& wanted : keys) {
            util::detail::PropertyKey asked(wanted);
            asked.hash = HASH;
            EXPECT_TRUE(index_.find(asked) == map_.find(wanted)) << shown(key) << shown(wanted);
        }
    }
}

TEST_F(PropertyIndexTest, IsExchangedTogetherWithItsMap) {
    add("a");
    util::detail::PropertyIndex::Map otherMap;
    util::detail::PropertyIndex other(otherMap);
    map_.swap(otherMap);
    index_.swap(other);
    EXPECT_TRUE(index_.find("a") == map_.end());
    EXPECT_TRUE(other.find("a") == otherMap.begin());
    EXPECT_TRUE(other.find("b") == otherMap.end());
}

// --- Reading ------------------------------------------------------------------------------------

TEST(PropertyLine, TellsPairsFromOtherLinesAndReplacesWhatTheLastOneHeld) {
    const std::string text = "a=1\n#c\n\nb\n";
    UnicodeString key("old");
    UnicodeString value("old");
    std::size_t pos = 0;
    const auto line = [&] {
        const PropertyLine found = readPropertyLine(key, value, pos, {text.data(), text.size()});
        return std::to_string(static_cast<int>(found)) + " " + shown(key) + "=" + shown(value);
    };
    EXPECT_EQ(line(), "2 a=1");
    EXPECT_EQ(line().front(), '1');
    EXPECT_EQ(line().front(), '1');
    EXPECT_EQ(line(), "2 b=");
    EXPECT_EQ(line().front(), '0');
    EXPECT_EQ(pos, text.size());
}

// --- References ---------------------------------------------------------------------------------

TEST(HoldsReference, AsksForTwoPercentSigns) {
    EXPECT_FALSE(holdsReference(""));
    EXPECT_FALSE(holdsReference("a%b"));
    EXPECT_TRUE(holdsReference("%%"));
    EXPECT_TRUE(holdsReference("a%b%c%"));
}

TEST(ReferenceResolver, AsksTheLookupForEveryNameInTheOrderOfTheText) {
    std::map<UnicodeString, UnicodeString> values{{"b", "1%c%"}, {"c", "2"}};
    ShownList asked;
    std::list<UnicodeString> inProgress;
    ReferenceResolver resolver(inProgress, [&](const UnicodeString& name) {
        asked.push_back(shown(name));
        const auto found = values.find(name);
        return found == values.end() ? nullptr : &found->second;
    });
    UnicodeString value("%b%-%c%-%d%");
    const ReferenceResult result = resolver.resolve("a", value);
    EXPECT_EQ(result.error, ReferenceError::BAD_REFERENCE);
    EXPECT_EQ(shown(result.name), "a");
    EXPECT_EQ(shown(result.reference), "d");
    EXPECT_EQ(asked, (ShownList{"b", "c", "c", "d"}));
    EXPECT_EQ(shown(value), "12-2-%d%");
    EXPECT_EQ(shownList(inProgress), (ShownList{"a"}));
}

TEST(ReferenceResolver, LeavesAValueWithoutReferencesAsItIs) {
    for (const char* const text : {"", "plain", "100 %"}) {
        std::list<UnicodeString> inProgress;
        ReferenceResolver resolver(inProgress, [](const UnicodeString&) { return nullptr; });
        UnicodeString value(text);
        EXPECT_EQ(resolver.resolve("a", value).error, ReferenceError::NONE);
        EXPECT_EQ(shown(value), text);
        EXPECT_TRUE(inProgress.empty());
    }
}

// Of the longest text there is, only one piece is kept.
TEST(ReferenceResolver, RefusesATextThatOutgrowsEveryLength) {
    const test::RepeatedText longest("aa", INT_MAX * sizeof(char16_t));
    longest.units()[0] = u'%';  // found at once
    UnicodeString referred(/*isTerminated=*/false, longest.units(), INT_MAX);
    std::list<UnicodeString> inProgress;
    ReferenceResolver resolver(inProgress, [&](const UnicodeString&) { return &referred; });
    UnicodeString value("x%b%");
    EXPECT_THROW(resolver.resolve("a", value), std::bad_alloc);
    EXPECT_EQ(shown(value), "x%b%");
}

}  // namespace
}  // namespace nx::oss::detail
