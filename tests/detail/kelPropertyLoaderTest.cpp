#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "infra/detail/kelPropertiesReader.h"
#include "infra/detail/kelPropertyIndex.h"
#include "infra/detail/kelPropertyLoader.h"

namespace nx::util::detail {
namespace {

using icu::UnicodeString;
using oss::detail::PropertyLine;
using oss::detail::readPropertyLine;
using Map = PropertyIndex::Map;

/// A map, its index, and the loader's way and the slow way into them.
class Loaded {
  public:
    void load(const std::string& text) {
        PropertyLoader(map_, index_).load({text.data(), text.size()});
    }
    void loadSlowly(const std::string& text) {
        std::size_t pos = 0;
        UnicodeString key;
        UnicodeString value;
        for (;;) {
            const PropertyLine line = readPropertyLine(key, value, pos, {text.data(), text.size()});
            if (line == PropertyLine::NONE) {
                return;
            }
            if (line == PropertyLine::PAIR) {
                map_[key] = value;
            }
        }
    }
    const Map& map() const { return map_; }
    std::size_t indexed() const { return index_.size(); }
    /// Whether the index leads to every pair of the map and to nothing else.
    bool isIndexed() {
        for (auto pair = map_.begin(); pair != map_.end(); ++pair) {
            if (index_.find(pair->first) != pair) {
                return false;
            }
        }
        return index_.size() == map_.size();
    }

  private:
    Map map_;
    PropertyIndex index_{map_};
};

TEST(PropertyLoader, LinksKeysOfAnyOrder) {
    Loaded set;
    set.load("m=1\na=2\nz=3\nb=4\nma=5\nm=6\n=7\n");
    const Map expected{{"", "7"}, {"a", "2"}, {"b", "4"}, {"m", "6"}, {"ma", "5"}, {"z", "3"}};
    EXPECT_EQ(set.map(), expected);
    EXPECT_TRUE(set.isIndexed());
}

TEST(PropertyLoader, ReplacesAValueThatIsNotLinkedYet) {
    Loaded set;
    set.load("b=1\na=2\na=3\nb=4\n");
    const Map expected{{"a", "3"}, {"b", "4"}};
    EXPECT_EQ(set.map(), expected);
    EXPECT_TRUE(set.isIndexed());
}

TEST(PropertyLoader, AddsToWhatIsThere) {
    Loaded set;
    set.load("d=1\nb=2\n");
    set.load("c=3\nb=4\ne=5\na=6\n");
    const Map expected{{"a", "6"}, {"b", "4"}, {"c", "3"}, {"d", "1"}, {"e", "5"}};
    EXPECT_EQ(set.map(), expected);
    EXPECT_TRUE(set.isIndexed());
}

TEST(PropertyLoader, OrdersKeysThatDifferInTheirLengthOrInNulsOnly) {
    Loaded set;
    const char text[] = "b=0\na\0\0\0\0=5\na\0=2\na=1\na\0\0=3\na\0\0\0=4\naaaaaaaaa=7\naaaa=6\n";
    set.load(std::string(text, sizeof text - 1));
    std::string values;
    for (const auto& [key, value] : set.map()) {
        value.toUTF8String(values);
    }
    EXPECT_EQ(values, "12345670");
    EXPECT_TRUE(set.isIndexed());
}

TEST(PropertyLoader, OrdersKeysThatDifferBehindAVeryLongCommonStart) {
    Loaded set;
    const std::string start(100, 'x');
    set.load(start + "c=3\n" + start + "a=1\n" + start + "b=2\n" + start + "=0\n");
    std::string values;
    for (const auto& [key, value] : set.map()) {
        value.toUTF8String(values);
    }
    EXPECT_EQ(values, "0123");
    EXPECT_TRUE(set.isIndexed());
}

// Keys of few letters, so that they repeat, share starts and arrive in any order.
std::string randomText(std::mt19937& random) {
    static const std::string LETTERS("aaab\0\xE9", 6);
    std::string text;
    const std::size_t lines = random() % 60;
    for (std::size_t i = 0; i < lines; ++i) {
        for (std::size_t length = random() % 40; length > 0; --length) {
            text += random() % 8 == 0 ? LETTERS[random() % LETTERS.size()] : 'a';
        }
        text += "=" + std::to_string(i) + "\n";
    }
    return text;
}

TEST(PropertyLoader, DoesWhatPuttingOneAfterTheOtherDoes) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    for (int round = 0; round < 2000; ++round) {
        Loaded fast;
        Loaded slow;
        for (std::size_t loads = 1 + random() % 3; loads > 0; --loads) {
            const std::string text = randomText(random);
            fast.load(text);
            slow.loadSlowly(text);
        }
        ASSERT_EQ(fast.map(), slow.map()) << "seed " << seed << ", round " << round;
        ASSERT_TRUE(fast.isIndexed()) << "seed " << seed << ", round " << round;
    }
}

TEST(PropertyIndex, AgreesWithTheMapUnderRandomChanges) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    Map map;
    PropertyIndex index(map);
    for (int step = 0; step < 200'000; ++step) {
        const UnicodeString key(static_cast<char16_t>(random() % 500));
        const auto found = index.find(key);
        ASSERT_TRUE(found == map.find(key)) << "seed " << seed << ", step " << step;
        // Times of growth and times of loss take turns.
        const bool adding = random() % 8 < (step / 5000 % 2 == 0 ? 6U : 2U);
        if (adding && found == map.end()) {
            index.reserveOne();
            index.insert(map.emplace(key, "").first);
        } else if (!adding && found != map.end()) {
            index.erase(found);
            map.erase(found);
        }
        ASSERT_EQ(index.size(), map.size()) << "seed " << seed << ", step " << step;
    }
}

/// Memory between two pages that must not be touched.
class GuardedPage {
  public:
    GuardedPage()
        : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          pages_(static_cast<char*>(
              mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        EXPECT_EQ(mprotect(pages_ + size_, size_, PROT_READ | PROT_WRITE), 0);
    }
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;
    ~GuardedPage() { munmap(pages_, 3 * size_); }

    /// A copy that ends where the page ends, or starts where it starts.
    const char* copy(const std::string& text, bool atTheEnd) {
        char* const begin = pages_ + size_ + (atTheEnd ? size_ - text.size() : 0);
        std::memcpy(begin, text.data(), text.size());
        return begin;
    }

  private:
    std::size_t size_;
    char* pages_;
};

TEST(PropertyLine, IsReadAtEveryLengthWithoutTouchingWhatIsAround) {
    GuardedPage page;
    for (const bool atTheEnd : {true, false}) {
        for (std::size_t keyLength = 0; keyLength < 70; ++keyLength) {
            for (std::size_t valueLength = 0; valueLength < 70; ++valueLength) {
                const std::string key(keyLength, 'k');
                const std::string value(valueLength, '\xE9');
                const std::string text = key + "=" + value;
                std::size_t pos = 0;
                UnicodeString readKey;
                UnicodeString readValue;
                ASSERT_EQ(readPropertyLine(readKey, readValue, pos,
                                           {page.copy(text, atTheEnd), text.size()}),
                          PropertyLine::PAIR);
                ASSERT_EQ(readKey, UnicodeString(static_cast<int32_t>(keyLength), u'k',
                                                 static_cast<int32_t>(keyLength)));
                ASSERT_EQ(readValue, UnicodeString(static_cast<int32_t>(valueLength), u'\u00E9',
                                                   static_cast<int32_t>(valueLength)));
                ASSERT_EQ(pos, text.size());
            }
        }
    }
}

TEST(PropertyLine, EndsItsKeyAtEveryByteThatEndsOneWhereverItStands) {
    for (const char end : {'=', ':', ' ', '\t', '\r', '\n'}) {
        for (std::size_t length = 0; length < 70; ++length) {
            const std::string text = std::string(length, 'k') + end + "#behind the key#########\n";
            std::size_t pos = 0;
            oss::detail::UnitText key;
            oss::detail::UnitText value;
            const PropertyLine line = readPropertyLine(key, value, pos, {text.data(), text.size()});
            const bool isBlankLine = length == 0 && (end == '\r' || end == '\n');
            const bool isComment = length == 0 && (end == ' ' || end == '\t');
            ASSERT_EQ(line, isBlankLine || isComment ? PropertyLine::NO_PAIR : PropertyLine::PAIR);
            if (line == PropertyLine::PAIR) {
                ASSERT_EQ(key.view(), std::u16string(length, u'k')) << int{end};
            }
        }
    }
}

TEST(PropertyLine, SkipsACommentOfEveryLengthWithoutTouchingWhatIsAround) {
    GuardedPage page;
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string text = "#" + std::string(length, '=') + "\n";
        std::size_t pos = 0;
        oss::detail::UnitText key;
        oss::detail::UnitText value;
        ASSERT_EQ(readPropertyLine(key, value, pos, {page.copy(text, true), text.size()}),
                  PropertyLine::NO_PAIR);
        ASSERT_EQ(pos, text.size());
    }
}

}  // namespace
}  // namespace nx::util::detail
