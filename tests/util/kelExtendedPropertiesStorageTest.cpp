#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "support/kelPropertiesSupport.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::pairsOf;
using test::shown;
using test::shownList;
using test::ShownList;
using test::ShownPairs;

static_assert(!std::is_copy_constructible_v<ExtendedProperties>);
static_assert(!std::is_copy_assignable_v<ExtendedProperties>);
static_assert(std::has_virtual_destructor_v<ExtendedProperties>);
static_assert(std::is_polymorphic_v<ExtendedProperties>);
static_assert(std::is_default_constructible_v<ExtendedProperties>);
static_assert(std::is_same_v<ExtendedProperties::const_iterator,
                             std::map<UnicodeString, UnicodeString>::const_iterator>);

// The types of the operations that return more than a number.
using Lookup = const UnicodeString* (ExtendedProperties::*)(const UnicodeString&,
                                                            const UnicodeString*, bool) const;
using LookupOrDefault = UnicodeString (ExtendedProperties::*)(const UnicodeString&,
                                                              const UnicodeString&) const;
[[maybe_unused]] constexpr Lookup LOOKUP = &ExtendedProperties::getProperty;
[[maybe_unused]] constexpr LookupOrDefault LOOKUP_OR_DEFAULT = &ExtendedProperties::getProperty;
static_assert(
    std::is_same_v<decltype(&ExtendedProperties::requireProperty),
                   const UnicodeString& (ExtendedProperties::*)(const UnicodeString&) const>);
static_assert(std::is_same_v<decltype(&ExtendedProperties::get),
                             std::pair<UnicodeString, UnicodeString> (ExtendedProperties::*)(
                                 const ExtendedProperties::const_iterator&) const>);

TEST(ExtendedPropertiesConstants, HaveTheirValues) {
    EXPECT_EQ(ExtendedProperties::charTab, 9);
    EXPECT_EQ(ExtendedProperties::charLineFeed, 10);
    EXPECT_EQ(ExtendedProperties::charReturn, 13);
    EXPECT_EQ(ExtendedProperties::charBlank, 32);
    EXPECT_EQ(ExtendedProperties::charExclMark, 33);
    EXPECT_EQ(ExtendedProperties::charPound, 35);
    EXPECT_EQ(ExtendedProperties::charPercent, 37);
    EXPECT_EQ(ExtendedProperties::charColon, 58);
    EXPECT_EQ(ExtendedProperties::charEquals, 61);
    EXPECT_EQ(ExtendedProperties::charEscape, 92);
    EXPECT_EQ(ExtendedProperties::charN, 110);
    EXPECT_EQ(ExtendedProperties::charR, 114);
    EXPECT_EQ(ExtendedProperties::charT, 116);
    EXPECT_EQ(ExtendedProperties::charU, 117);
    EXPECT_EQ(sizeof(ExtendedProperties::charTab), 1u);
    EXPECT_EQ(std::string(ExtendedProperties::EncodingISOLatin1), "ISO8859_1");
    EXPECT_EQ(std::string(ExtendedProperties::backupFileSuffix), ".kvbk");
}

TEST(ExtendedPropertiesObject, IsEmptyAfterConstruction) {
    const ExtendedProperties properties;
    EXPECT_TRUE(properties.begin() == properties.end());
    EXPECT_TRUE(properties.getIncludes().empty());
    EXPECT_FALSE(properties.hasProperty(""));
}

TEST(ExtendedPropertiesObject, CanBeDeletedThroughADerivedClass) {
    struct Derived : ExtendedProperties {
        explicit Derived(bool& deleted) : deleted_(deleted) {}
        ~Derived() override { deleted_ = true; }
        bool& deleted_;
    };
    bool deleted = false;
    ExtendedProperties* const properties = new Derived(deleted);
    properties->putProperty("a", "b");
    delete properties;
    EXPECT_TRUE(deleted);
}

TEST(ExtendedPropertiesPut, KeepsTheLastValueOfAKey) {
    ExtendedProperties properties;
    properties.putProperty("k", "v");
    properties.putProperty("k", "w");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"k", "w"}}));
}

TEST(ExtendedPropertiesPut, StoresKeysAndValuesAsGiven) {
    ExtendedProperties properties;
    properties.putProperty(" K ", "  v\t");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{" K ", "  v{0009}"}}));
    EXPECT_FALSE(properties.hasProperty("K"));
    EXPECT_FALSE(properties.hasProperty(" k "));
    EXPECT_TRUE(properties.hasProperty(" K "));
}

TEST(ExtendedPropertiesPut, ExpandsNoReference) {
    ExtendedProperties properties;
    properties.putProperty("b", "x");
    properties.putProperty("a", "%b%");
    EXPECT_EQ(shown(properties.requireProperty("a")), "%b%");
}

TEST(ExtendedPropertiesPut, TakesTheEmptyStringAsKeyAndAsValue) {
    ExtendedProperties properties;
    properties.putProperty("", "");
    EXPECT_TRUE(properties.hasProperty(""));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"", ""}}));
}

TEST(ExtendedPropertiesPut, TellsKeysApartByCaseAndByNul) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.putProperty("A", "2");
    properties.putProperty(UnicodeString(u"a\0", 2), "3");
    properties.putProperty(UnicodeString(u"a\0b", 3), "4");
    EXPECT_EQ(pairsOf(properties),
              (ShownPairs{{"A", "2"}, {"a", "1"}, {"a{0000}", "3"}, {"a{0000}b", "4"}}));
}

TEST(ExtendedPropertiesPut, TellsTheNullKeyFromTheEmptyOne) {
    UnicodeString null;
    null.setToBogus();
    ExtendedProperties properties;
    properties.putProperty("", "empty");
    EXPECT_FALSE(properties.hasProperty(null));
    properties.putProperty(null, "null");
    properties.putProperty(null, "null again");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"<null>", "null again"}, {"", "empty"}}));
    properties.removeProperty(null);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"", "empty"}}));
}

TEST(ExtendedPropertiesPut, TakesAValueOutOfTheSetItself) {
    const UnicodeString longText("a value that is kept on the heap since it is this long");
    ExtendedProperties properties;
    properties.putProperty("k", longText);
    properties.putProperty("other", longText);
    properties.putProperty("k", properties.requireProperty("k"));
    EXPECT_EQ(properties.requireProperty("k"), longText);
    properties.putProperty("copy", properties.requireProperty("k"));
    EXPECT_EQ(properties.requireProperty("copy"), longText);
}

TEST(ExtendedPropertiesPut, TakesAKeyOutOfTheSetItself) {
    const UnicodeString key("a key that is kept on the heap since it is this long");
    ExtendedProperties properties;
    properties.putProperty(key, "v");
    properties.putProperty(properties.begin()->first, "w");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{shown(key), "w"}}));
    properties.putProperty(properties.begin()->first, properties.begin()->first);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{shown(key), shown(key)}}));
    properties.putProperty(properties.begin()->second, properties.begin()->first);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{shown(key), shown(key)}}));
}

TEST(ExtendedPropertiesPut, OwnsItsStrings) {
    ExtendedProperties properties;
    {
        char16_t characters[] = u"borrowed characters, more than fit into the string object";
        const UnicodeString borrowed(false, characters, 57);
        properties.putProperty(borrowed, borrowed);
        std::fill(std::begin(characters), std::end(characters), u'x');
    }
    const std::string text = "borrowed characters, more than fit into the string object";
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{text, text}}));
}

TEST(ExtendedPropertiesPut, OfAKeyThatIsThereKeepsIterators) {
    ExtendedProperties properties;
    properties.putProperty("k", "v");
    const auto it = properties.begin();
    const UnicodeString* const value = properties.getProperty("k", nullptr, true);
    properties.putProperty("k", "w");
    properties.putProperty("a", "1");
    EXPECT_EQ(shown(it->second), "w");
    EXPECT_EQ(value, &it->second);
}

TEST(ExtendedPropertiesPutNumbers, StoreTheDecimalText) {
    ExtendedProperties properties;
    properties.putPropertyAsInt32("a", -2147483647 - 1);
    properties.putPropertyAsInt32("b", 2147483647);
    properties.putPropertyAsUint32("c", 4294967295u);
    properties.putPropertyAsUint32("d", 0u);
    properties.putPropertyAsInt64("e", -9223372036854775807L - 1);
    properties.putPropertyAsInt64("f", 9223372036854775807L);
    properties.putPropertyAsUint64("g", 18446744073709551615UL);
    properties.putPropertyAsUint64("h", 0UL);
    properties.putPropertyAsInt64("k", -5);
    properties.putPropertyAsInt32("z", 0);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "-2147483648"},
                                               {"b", "2147483647"},
                                               {"c", "4294967295"},
                                               {"d", "0"},
                                               {"e", "-9223372036854775808"},
                                               {"f", "9223372036854775807"},
                                               {"g", "18446744073709551615"},
                                               {"h", "0"},
                                               {"k", "-5"},
                                               {"z", "0"}}));
}

TEST(ExtendedPropertiesPutNumbers, ReplaceEarlierValues) {
    ExtendedProperties properties;
    properties.putProperty("k", "text");
    properties.putPropertyAsInt32("k", 1);
    properties.putPropertyAsUint32("k", 2u);
    properties.putPropertyAsInt64("k", 3L);
    properties.putPropertyAsUint64("k", 4UL);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"k", "4"}}));
}

// Required: the putters say Uint, the getters UInt.
TEST(ExtendedPropertiesPutNumbers, AreSpelledUintWhereTheGettersAreSpelledUInt) {
    ExtendedProperties properties;
    properties.putPropertyAsUint32("a", 7u);
    properties.putPropertyAsUint64("b", 8UL);
    EXPECT_EQ(properties.getPropertyAsUInt32("a", 1u), 7u);
    EXPECT_EQ(properties.getPropertyAsUInt64("b", 1UL), 8UL);
}

TEST(ExtendedPropertiesRemove, TakesThePairAway) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.putProperty("b", "2");
    properties.removeProperty("a");
    EXPECT_FALSE(properties.hasProperty("a"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"b", "2"}}));
}

TEST(ExtendedPropertiesRemove, OfAnAbsentKeyIsNoError) {
    ExtendedProperties properties;
    properties.removeProperty("a");
    properties.putProperty("a", "1");
    properties.removeProperty("A");
    properties.removeProperty("");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}}));
}

TEST(ExtendedPropertiesRemove, TakesAKeyOutOfTheSetItself) {
    ExtendedProperties properties;
    properties.putProperty("a key that is kept on the heap since it is this long", "v");
    properties.removeProperty(properties.begin()->first);
    EXPECT_EQ(pairsOf(properties), ShownPairs{});
}

TEST(ExtendedPropertiesRemove, LeavesAllOtherPairsToBeFound) {
    ExtendedProperties properties;
    for (int i = 0; i < 1000; ++i) {
        properties.putPropertyAsInt32(UnicodeString(static_cast<char16_t>(0x4E00 + i)), i);
    }
    for (int i = 0; i < 1000; i += 3) {
        properties.removeProperty(UnicodeString(static_cast<char16_t>(0x4E00 + i)));
    }
    for (int i = 0; i < 1000; ++i) {
        const UnicodeString key(static_cast<char16_t>(0x4E00 + i));
        ASSERT_EQ(properties.hasProperty(key), i % 3 != 0) << i;
        ASSERT_EQ(properties.getPropertyAsInt32(key, -1), i % 3 == 0 ? -1 : i);
    }
}

TEST(ExtendedPropertiesIteration, GoesByCodeUnits) {
    ExtendedProperties properties;
    properties.putProperty(UnicodeString(static_cast<char16_t>(0xFF61)), "3");
    properties.putProperty(UnicodeString(static_cast<UChar32>(0x1F600)), "2");
    properties.putProperty("b", "1");
    properties.putProperty("B", "0");
    properties.putProperty("ab", "ab");
    properties.putProperty("a", "a");
    properties.putProperty("", "");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"", ""},
                                               {"B", "0"},
                                               {"a", "a"},
                                               {"ab", "ab"},
                                               {"b", "1"},
                                               {"{D83D}{DE00}", "2"},
                                               {"{FF61}", "3"}}));
}

TEST(ExtendedPropertiesIteration, GivesThePairOfAnIterator) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.putProperty("b", "2");
    ExtendedProperties::const_iterator it = properties.begin();
    EXPECT_EQ(shown(properties.get(it).first), "a");
    EXPECT_EQ(shown(properties.get(it).second), "1");
    ++it;
    const auto pair = properties.get(it);
    EXPECT_EQ(shown(pair.first), "b");
    EXPECT_EQ(shown(pair.second), "2");
    EXPECT_TRUE(++it == properties.end());
    EXPECT_EQ(std::distance(properties.begin(), properties.end()), 2);
}

TEST(ExtendedPropertiesIncludes, AreKeptInOrderWithDuplicates) {
    ExtendedProperties properties;
    properties.addInclude("b");
    properties.addInclude("a");
    properties.addInclude("b");
    properties.addInclude("");
    EXPECT_EQ(shownList(properties.getIncludes()), (ShownList{"b", "a", "b", ""}));
    EXPECT_EQ(pairsOf(properties), ShownPairs{});
}

TEST(ExtendedPropertiesIncludes, AreNoProperties) {
    ExtendedProperties properties;
    properties.addInclude("a");
    EXPECT_FALSE(properties.hasProperty("a"));
    properties.removeProperty("a");
    EXPECT_EQ(shownList(properties.getIncludes()), (ShownList{"a"}));
}

TEST(ExtendedPropertiesCopy, MakesASetEqualToTheOther) {
    ExtendedProperties source;
    source.putProperty("a", "1");
    source.putProperty("b", "2");
    source.addInclude("x");
    source.addInclude("y");
    ExtendedProperties target;
    target.putProperty("a", "old");
    target.putProperty("z", "gone");
    target.addInclude("i");
    target.addInclude("j");
    target.addInclude("k");
    target.copy(source);
    EXPECT_EQ(pairsOf(target), (ShownPairs{{"a", "1"}, {"b", "2"}}));
    EXPECT_EQ(shownList(target.getIncludes()), (ShownList{"x", "y"}));
    EXPECT_FALSE(target.hasProperty("z"));
    EXPECT_EQ(shown(target.requireProperty("b")), "2");
}

TEST(ExtendedPropertiesCopy, AppendsIncludesThatAreMissing) {
    ExtendedProperties source;
    source.addInclude("x");
    source.addInclude("y");
    source.addInclude("x");
    ExtendedProperties target;
    target.addInclude("i");
    target.copy(source);
    EXPECT_EQ(shownList(target.getIncludes()), (ShownList{"x", "y", "x"}));
}

TEST(ExtendedPropertiesCopy, IsDeep) {
    ExtendedProperties source;
    source.putProperty("a", "1");
    ExtendedProperties target;
    target.copy(source);
    source.putProperty("a", "2");
    source.putProperty("b", "3");
    source.addInclude("x");
    EXPECT_EQ(pairsOf(target), (ShownPairs{{"a", "1"}}));
    EXPECT_TRUE(target.getIncludes().empty());
    target.putProperty("c", "4");
    EXPECT_FALSE(source.hasProperty("c"));
}

TEST(ExtendedPropertiesCopy, OutlivesItsSource) {
    ExtendedProperties target;
    {
        ExtendedProperties source;
        source.putProperty("a key that does not fit into the string object itself", "1");
        target.copy(source);
    }
    target.putProperty("b", "2");
    EXPECT_EQ(
        shown(target.requireProperty("a key that does not fit into the string object itself")),
        "1");
    target.removeProperty("b");
    EXPECT_FALSE(target.hasProperty("b"));
}

TEST(ExtendedPropertiesCopy, OntoItselfChangesNothing) {
    ExtendedProperties properties;
    properties.putProperty("a", "1");
    properties.addInclude("x");
    const UnicodeString* const value = properties.getProperty("a", nullptr, true);
    properties.copy(properties);
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}}));
    EXPECT_EQ(shownList(properties.getIncludes()), (ShownList{"x"}));
    EXPECT_EQ(properties.getProperty("a", nullptr, true), value);
}

TEST(ExtendedPropertiesCopy, OfAnEmptySetEmptiesTheTarget) {
    const ExtendedProperties source;
    ExtendedProperties target;
    target.putProperty("a", "1");
    target.addInclude("x");
    target.copy(source);
    EXPECT_EQ(pairsOf(target), ShownPairs{});
    EXPECT_TRUE(target.getIncludes().empty());
    EXPECT_FALSE(target.hasProperty("a"));
}

}  // namespace
}  // namespace nx::util
