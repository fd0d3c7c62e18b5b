#include <infra/util/kelExtendedProperties.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::pairsOf;
using test::Report;
using test::shown;
using test::shownList;
using test::ShownList;
using test::ShownPairs;

using Names = std::list<UnicodeString>;

/// A set made of pairs.
class Set : public ExtendedProperties {
  public:
    Set(std::initializer_list<std::pair<const char*, const char*>> pairs) {
        for (const auto& [key, value] : pairs) {
            putProperty(key, value);
        }
    }
    ShownPairs resolved() {
        resolveProperties();
        return pairsOf(*this);
    }
};

Report bad(const char* name, const char* reference) {
    return Report("ERR_PROPERTIES_BAD_REFERENCE")
        .at("src/infra/util/kelExtendedProperties", 542)
        .with({name, reference});
}

// Required: this error names no file and line 0.
Report cyclic(const char* name) {
    return Report("ERR_PROPERTIES_CYCLIC_REFERENCE").at("<null>", 0).with({name});
}

/// Expands the value of a property that is in the set, as resolveProperties() does.
void resolveOne(ExtendedProperties& properties, Names& inProgress, const char* name) {
    auto* const value =
        const_cast<UnicodeString*>(properties.getProperty(name, nullptr, /*required=*/true));
    properties.resolveProperty(inProgress, name, *value);
}

// --- Expansion ----------------------------------------------------------------------------------

TEST(ExtendedPropertiesResolve, ReplacesReferencesByExpandedValues) {
    EXPECT_EQ((Set{{"a", "%b%/x"}, {"b", "%c%"}, {"c", "root"}}.resolved()),
              (ShownPairs{{"a", "root/x"}, {"b", "root"}, {"c", "root"}}));
    EXPECT_EQ((Set{{"z", "%b%/x"}, {"b", "%a%"}, {"a", "root"}}.resolved()),
              (ShownPairs{{"a", "root"}, {"b", "root"}, {"z", "root/x"}}));
}

TEST(ExtendedPropertiesResolve, ReplacesReferencesEverywhereInAValue) {
    EXPECT_EQ((Set{{"a", "1%b%2%c%3"}, {"b", "B"}, {"c", "C"}}.resolved()),
              (ShownPairs{{"a", "1B2C3"}, {"b", "B"}, {"c", "C"}}));
    EXPECT_EQ((Set{{"a", "%b%%b%"}, {"b", "z"}}.resolved()), (ShownPairs{{"a", "zz"}, {"b", "z"}}));
    EXPECT_EQ((Set{{"a", "%b%"}, {"b", ""}}.resolved()), (ShownPairs{{"a", ""}, {"b", ""}}));
    EXPECT_EQ((Set{{"a", "%b%%b%%c%"}, {"b", ""}, {"c", "%b%"}}.resolved()),
              (ShownPairs{{"a", ""}, {"b", ""}, {"c", ""}}));
}

TEST(ExtendedPropertiesResolve, KeepsASinglePercentSign) {
    EXPECT_EQ((Set{{"a", "50% off"}}.resolved()), (ShownPairs{{"a", "50% off"}}));
    EXPECT_EQ((Set{{"a", "%"}, {"b", "%a"}, {"c", "a%"}}.resolved()),
              (ShownPairs{{"a", "%"}, {"b", "%a"}, {"c", "a%"}}));
    EXPECT_EQ((Set{{"a", "%b%%"}, {"b", "x"}}.resolved()), (ShownPairs{{"a", "x%"}, {"b", "x"}}));
    EXPECT_EQ((Set{{"a", "%b% 100%"}, {"b", "x"}}.resolved()),
              (ShownPairs{{"a", "x 100%"}, {"b", "x"}}));
}

TEST(ExtendedPropertiesResolve, TakesAPairOfPercentSignsForTheEmptyName) {
    EXPECT_EQ((Set{{"", "nothing"}, {"a", "<%%>"}}.resolved()),
              (ShownPairs{{"", "nothing"}, {"a", "<nothing>"}}));
    Set none{{"a", "100%%"}};
    EXPECT_RAISES(PropertiesException, none.resolveProperties(), bad("a", ""));
}

TEST(ExtendedPropertiesResolve, LooksNamesUpExactly) {
    EXPECT_EQ((Set{{"a", "% b %"}, {" b ", "x"}, {"b", "y"}}.resolved()),
              (ShownPairs{{" b ", "x"}, {"a", "x"}, {"b", "y"}}));
    Set upper{{"a", "%B%"}, {"b", "x"}};
    EXPECT_RAISES(PropertiesException, upper.resolveProperties(), bad("a", "B"));
}

// Required: there is no escape for a percent sign.
TEST(ExtendedPropertiesResolve, TakesAPercentSignThatAValueBringsAlongForTheStartOfAReference) {
    EXPECT_EQ((Set{{"a", "%b%c%"}, {"b", "1%"}, {"c", "2"}}.resolved()),
              (ShownPairs{{"a", "12"}, {"b", "1%"}, {"c", "2"}}));
    EXPECT_EQ((Set{{"a", "%b%c%"}, {"b", "%d"}, {"dc", "2"}}.resolved()),
              (ShownPairs{{"a", "2"}, {"b", "%d"}, {"dc", "2"}}));
    EXPECT_EQ((Set{{"a", "%b%"}, {"b", "1%"}}.resolved()), (ShownPairs{{"a", "1%"}, {"b", "1%"}}));
    Set properties{{"a", "%b% and 100%"}, {"b", "x%y"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("a", "y and 100"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "x%y and 100%"}, {"b", "x%y"}}));
}

TEST(ExtendedPropertiesResolve, ExpandsReferencedValuesInTheirPlaceToo) {
    Set properties{{"a", "%z%"}, {"y", "1"}, {"z", "%y%"}};
    Names inProgress;
    resolveOne(properties, inProgress, "a");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}, {"y", "1"}, {"z", "1"}}));
}

TEST(ExtendedPropertiesResolve, OfAnEmptySetDoesNothing) {
    ExtendedProperties properties;
    properties.resolveProperties();
    EXPECT_EQ(pairsOf(properties), ShownPairs{});
}

TEST(ExtendedPropertiesResolve, TwiceChangesNothingMore) {
    Set properties{{"a", "%b%%"}, {"b", "x"}};
    properties.resolveProperties();
    EXPECT_EQ(properties.resolved(), (ShownPairs{{"a", "x%"}, {"b", "x"}}));
}

TEST(ExtendedPropertiesResolve, ExpandsAgainWhatIsPutAfterwards) {
    Set properties{{"a", "%b%"}, {"b", "x"}};
    properties.resolveProperties();
    properties.putProperty("b", "y");
    properties.putProperty("c", "%b%%a%");
    EXPECT_EQ(properties.resolved(), (ShownPairs{{"a", "x"}, {"b", "y"}, {"c", "yx"}}));
}

TEST(ExtendedPropertiesResolve, KeepsAddressesAndIteratorsOfPairs) {
    Set properties{{"a", "%b%"}, {"b", "x"}};
    const UnicodeString* const value = properties.getProperty("a", nullptr, true);
    const auto it = properties.begin();
    properties.resolveProperties();
    EXPECT_EQ(properties.getProperty("a", nullptr, true), value);
    EXPECT_EQ(shown(it->second), "x");
}

TEST(ExtendedPropertiesResolve, TakesNamesWithNulsAndSurrogates) {
    ExtendedProperties properties;
    UnicodeString name(u"n\0", 2);
    name.append(static_cast<char16_t>(0xD83D));
    properties.putProperty(name, "x");
    properties.putProperty("a", UnicodeString(u"%") + name + u"%");
    properties.resolveProperties();
    EXPECT_EQ(shown(properties.requireProperty("a")), "x");
}

// --- Errors -------------------------------------------------------------------------------------

TEST(ExtendedPropertiesResolve, RaisesForANameThatIsNoProperty) {
    Set properties{{"a", "%b%"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("a", "b"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "%b%"}}));
}

TEST(ExtendedPropertiesResolve, NamesThePropertyWhoseValueHoldsTheBadReference) {
    Set properties{{"a", "1%b%"}, {"b", "2%nope%3"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("b", "nope"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1%b%"}, {"b", "2%nope%3"}}));
}

TEST(ExtendedPropertiesResolve, KeepsTheSubstitutionsMadeBeforeABadReference) {
    Set properties{{"a", "x%b%-%nope%-%b%"}, {"b", "B"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("a", "nope"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "xB-%nope%-%b%"}, {"b", "B"}}));
}

TEST(ExtendedPropertiesResolve, KeepsTheSubstitutionsOfEveryValueUnderWay) {
    Set properties{{"a", "1%x%2%b%3%x%"}, {"b", "4%x%5%c%6"}, {"c", "7%x%8%nope%9"}, {"x", "X"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("c", "nope"));
    EXPECT_EQ(pairsOf(properties),
              (ShownPairs{{"a", "1X2%b%3%x%"}, {"b", "4X5%c%6"}, {"c", "7X8%nope%9"}, {"x", "X"}}));
}

TEST(ExtendedPropertiesResolve, EndsTheWholePassAtTheFirstErrorInKeyOrder) {
    Set properties{{"a", "%x%"}, {"b", "%no1%"}, {"c", "%no2%"}, {"d", "%x%"}, {"x", "X"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("b", "no1"));
    EXPECT_EQ(pairsOf(properties),
              (ShownPairs{{"a", "X"}, {"b", "%no1%"}, {"c", "%no2%"}, {"d", "%x%"}, {"x", "X"}}));
    // A pass after the mend goes on.
    properties.putProperty("no1", "1");
    properties.putProperty("no2", "2");
    EXPECT_EQ(properties.resolved(), (ShownPairs{{"a", "X"},
                                                 {"b", "1"},
                                                 {"c", "2"},
                                                 {"d", "X"},
                                                 {"no1", "1"},
                                                 {"no2", "2"},
                                                 {"x", "X"}}));
}

TEST(ExtendedPropertiesResolve, RaisesForAReferenceToItself) {
    Set properties{{"a", "x%a%y"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), cyclic("a"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "x%a%y"}}));
}

TEST(ExtendedPropertiesResolve, NamesThePropertyThatACycleComesBackTo) {
    Set two{{"a", "%b%"}, {"b", "%a%"}};
    EXPECT_RAISES(PropertiesException, two.resolveProperties(), cyclic("a"));
    Set tail{{"a", "%b%"}, {"b", "%c%"}, {"c", "%d%"}, {"d", "%b%"}};
    EXPECT_RAISES(PropertiesException, tail.resolveProperties(), cyclic("b"));
    Set empty{{"", "%%"}};
    EXPECT_RAISES(PropertiesException, empty.resolveProperties(), cyclic(""));
}

TEST(ExtendedPropertiesResolve, KeepsTheSubstitutionsMadeBeforeACycle) {
    Set properties{{"a", "%x%%b%"}, {"b", "%x%%x%%a%"}, {"x", "X"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), cyclic("a"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "X%b%"}, {"b", "XX%a%"}, {"x", "X"}}));
}

TEST(ExtendedPropertiesResolve, FindsACycleThatOnlyTheExpansionMakes) {
    Set properties{{"a", "%b%a%"}, {"b", "1%"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), cyclic("a"));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1%a%"}, {"b", "1%"}}));
}

TEST(ExtendedPropertiesResolve, SeesNoCycleInRepeatedReferences) {
    EXPECT_EQ((Set{{"a", "%b%%c%%b%"}, {"b", "%d%"}, {"c", "%d%%b%"}, {"d", "1"}}.resolved()),
              (ShownPairs{{"a", "1111"}, {"b", "1"}, {"c", "11"}, {"d", "1"}}));
}

TEST(ExtendedPropertiesResolve, ReportsABadReferenceBeforeALaterCycle) {
    Set properties{{"a", "%nope%%a%"}};
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(), bad("a", "nope"));
}

// --- The list of names under way ----------------------------------------------------------------

TEST(ExtendedPropertiesResolveProperty, LeavesTheListAsItWasAfterSuccess) {
    Set properties{{"a", "%b%%c%"}, {"b", "%c%"}, {"c", "1"}};
    Names inProgress{"x", "y", "x"};
    resolveOne(properties, inProgress, "a");
    EXPECT_EQ(shownList(inProgress), (ShownList{"x", "y", "x"}));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "11"}, {"b", "1"}, {"c", "1"}}));
}

TEST(ExtendedPropertiesResolveProperty, LeavesEveryNameUnderWayInTheListAfterABadReference) {
    Set properties{{"a", "%b%"}, {"b", "%x%%c%"}, {"c", "%nope%"}, {"x", "1"}};
    Names inProgress{"before"};
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), bad("c", "nope"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"before", "a", "b", "c"}));
}

TEST(ExtendedPropertiesResolveProperty, AppendsNotTheNameThatACycleComesBackTo) {
    Set properties{{"a", "%b%"}, {"b", "%x%%a%"}, {"x", "1"}};
    Names inProgress{"before"};
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), cyclic("a"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"before", "a", "b"}));
}

TEST(ExtendedPropertiesResolveProperty, TakesTheNamesOfTheListForNamesUnderWay) {
    Set properties{{"a", "1%b%"}, {"b", "2%c%"}, {"c", "3"}};
    Names inProgress{"c"};
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), cyclic("c"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"c", "a", "b"}));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1%b%"}, {"b", "2%c%"}, {"c", "3"}}));
}

TEST(ExtendedPropertiesResolveProperty, RaisesForANameOfTheListBeforeItLooksAtTheValue) {
    Set properties{{"a", "no reference"}};
    Names inProgress{"a"};
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), cyclic("a"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"a"}));
}

TEST(ExtendedPropertiesResolveProperty, TakesANameOutOfTheListItself) {
    Set properties{{"a long name that is kept on the heap since it is so long", "1"}};
    Names inProgress{"a long name that is kept on the heap since it is so long"};
    UnicodeString value("%b%");
    EXPECT_RAISES(PropertiesException,
                  properties.resolveProperty(inProgress, inProgress.front(), value),
                  cyclic("a long name that is kept on the heap since it is so long"));
    EXPECT_EQ(inProgress.size(), 1u);
}

TEST(ExtendedPropertiesResolveProperty, KeepsDuplicatesInTheList) {
    Set properties{{"a", "%b%"}, {"b", "%c%"}, {"c", "1"}};
    Names inProgress{"c", "c"};
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), cyclic("c"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"c", "c", "a", "b"}));
}

TEST(ExtendedPropertiesResolveProperty, ExpandsAValueThatIsInNoSet) {
    Set properties{{"a", "old"}, {"b", "%c%"}, {"c", "1"}};
    Names inProgress;
    UnicodeString value("<%b%>");
    properties.resolveProperty(inProgress, "a", value);
    EXPECT_EQ(shown(value), "<1>");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "old"}, {"b", "1"}, {"c", "1"}}));
    UnicodeString itself("%self%");
    EXPECT_RAISES(PropertiesException, properties.resolveProperty(inProgress, "self", itself),
                  bad("self", "self"));
    EXPECT_EQ(shown(itself), "%self%");
}

TEST(ExtendedPropertiesResolveProperty, ExpandsAStoredValueUnderAnotherName) {
    Set properties{{"a", "%c%%d%"}, {"c", "1"}, {"d", "<%a%>"}};
    Names inProgress;
    auto* const value = const_cast<UnicodeString*>(properties.getProperty("a", nullptr, true));
    EXPECT_RAISES(PropertiesException, properties.resolveProperty(inProgress, "x", *value),
                  cyclic("d"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"x", "d", "a"}));
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1%d%"}, {"c", "1"}, {"d", "<%a%>"}}));
}

TEST(ExtendedPropertiesResolveProperty, TakesANameOutOfTheValueItself) {
    Set properties{{"b", "1"}};
    Names inProgress;
    UnicodeString both("%b%%nope%");
    EXPECT_RAISES(PropertiesException, properties.resolveProperty(inProgress, both, both),
                  bad("%b%%nope%", "nope"));
    EXPECT_EQ(shown(both), "1%nope%");
    EXPECT_EQ(shownList(inProgress), (ShownList{"%b%%nope%"}));
}

TEST(ExtendedPropertiesResolveProperty, TellsTheNullNameFromTheEmptyOne) {
    UnicodeString null;
    null.setToBogus();
    ExtendedProperties properties;
    properties.putProperty(null, "<%%>");
    properties.putProperty("", "1");
    properties.resolveProperties();
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"<null>", "<1>"}, {"", "1"}}));
    Names inProgress{null};
    UnicodeString value("%%");
    properties.resolveProperty(inProgress, "a", value);
    EXPECT_EQ(shown(value), "1");
    EXPECT_RAISES(PropertiesException, properties.resolveProperty(inProgress, null, value),
                  cyclic("<null>"));
    EXPECT_EQ(shownList(inProgress), (ShownList{"<null>"}));
}

TEST(ExtendedPropertiesResolveProperty, LeavesASetThatCanBeUsedAfterAnError) {
    Set properties{{"a", "%b%"}};
    Names inProgress;
    EXPECT_RAISES(PropertiesException, resolveOne(properties, inProgress, "a"), bad("a", "b"));
    properties.putProperty("b", "1");
    inProgress.clear();
    resolveOne(properties, inProgress, "a");
    EXPECT_EQ(pairsOf(properties), (ShownPairs{{"a", "1"}, {"b", "1"}}));
}

}  // namespace
}  // namespace nx::util
