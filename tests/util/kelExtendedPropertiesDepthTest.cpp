// Chains and values far beyond what recursion and searches from the start could do. They run on a
// thread whose stack holds few frames; with quadratic time they would run into the limit of ctest.
#include <infra/util/kelExtendedProperties.h>

#include <pthread.h>

#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::Report;

constexpr std::size_t STACK_SIZE = 256 * 1024;

void* runFunction(void* function) {
    (*static_cast<const std::function<void()>*>(function))();
    return nullptr;
}

void onSmallStack(const std::function<void()>& function) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, STACK_SIZE), 0);
    pthread_t thread;
    auto* const argument = const_cast<std::function<void()>*>(&function);
    ASSERT_EQ(pthread_create(&thread, &attributes, runFunction, argument), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

/// Names whose order is that of their numbers.
UnicodeString name(int number) {
    const std::string digits = std::to_string(10'000'000 + number);
    return UnicodeString::fromUTF8(digits);
}

/// Each property refers to the next; the last one is `last`.
void makeChain(ExtendedProperties& properties, int levels, const UnicodeString& last) {
    for (int i = 0; i + 1 < levels; ++i) {
        properties.putProperty(name(i), u"%" + name(i + 1) + u"%");
    }
    properties.putProperty(name(levels - 1), last);
}

TEST(ExtendedPropertiesDepth, OfAMillionReferencesIsResolved) {
    onSmallStack([] {
        constexpr int LEVELS = 1'000'000;
        ExtendedProperties properties;
        makeChain(properties, LEVELS, "end");
        properties.resolveProperties();
        for (const auto& pair :
             {properties.requireProperty(name(0)), properties.requireProperty(name(LEVELS / 2)),
              properties.requireProperty(name(LEVELS - 1))}) {
            EXPECT_EQ(test::shown(pair), "end");
        }
    });
}

TEST(ExtendedPropertiesDepth, OfTwoHundredThousandEndsInTheRightErrors) {
    onSmallStack([] {
        constexpr int LEVELS = 200'000;
        ExtendedProperties properties;
        makeChain(properties, LEVELS, "%nope%");
        EXPECT_RAISES(PropertiesException, properties.resolveProperties(),
                      Report("ERR_PROPERTIES_BAD_REFERENCE")
                          .at("src/infra/util/kelExtendedProperties", 542)
                          .with({"10199999", "nope"}));
        EXPECT_EQ(test::shown(properties.requireProperty(name(0))), "%10000001%");

        properties.putProperty(name(LEVELS - 1), u"%" + name(7) + u"%");
        std::list<UnicodeString> inProgress;
        UnicodeString value = u"%" + name(0) + u"%";
        EXPECT_RAISES(PropertiesException, properties.resolveProperty(inProgress, "root", value),
                      Report("ERR_PROPERTIES_CYCLIC_REFERENCE").at("<null>", 0).with({"10000007"}));
        EXPECT_EQ(inProgress.size(), static_cast<std::size_t>(LEVELS) + 1);
        EXPECT_EQ(test::shown(inProgress.front()), "root");
        EXPECT_EQ(test::shown(inProgress.back()), "10199999");
        EXPECT_EQ(test::shown(value), "%10000000%");
    });
}

TEST(ExtendedPropertiesDepth, InEveryOrderOfNamesIsLinear) {
    onSmallStack([] {
        constexpr int LEVELS = 200'000;
        ExtendedProperties properties;
        properties.putProperty(name(0), "end");
        for (int i = 1; i < LEVELS; ++i) {
            properties.putProperty(name(i), u"%" + name(i - 1) + u"%");
        }
        properties.resolveProperties();
        EXPECT_EQ(test::shown(properties.requireProperty(name(LEVELS - 1))), "end");
    });
}

TEST(ExtendedPropertiesBreadth, OfAHundredThousandReferencesInOneValueIsResolved) {
    onSmallStack([] {
        constexpr int COUNT = 100'000;
        UnicodeString value;
        for (int i = 0; i < COUNT; ++i) {
            value.append(u"%b%", 3);
        }
        ExtendedProperties properties;
        properties.putProperty("a", value);
        properties.putProperty("b", "xyz");
        properties.resolveProperties();
        const UnicodeString& result = properties.requireProperty("a");
        ASSERT_EQ(result.length(), 3 * COUNT);
        for (int i = 0; i < COUNT; ++i) {
            ASSERT_EQ(result.compare(3 * i, 3, u"xyz"), 0) << i;
        }
    });
}

TEST(ExtendedPropertiesBreadth, KeepsEverySubstitutionBeforeAnErrorAtTheEnd) {
    constexpr int COUNT = 100'000;
    UnicodeString value;
    for (int i = 0; i < COUNT; ++i) {
        value.append(u"%b%", 3);
    }
    value.append(u"%nope%", 6);
    ExtendedProperties properties;
    properties.putProperty("a", value);
    properties.putProperty("b", "x");
    EXPECT_RAISES(PropertiesException, properties.resolveProperties(),
                  Report("ERR_PROPERTIES_BAD_REFERENCE")
                      .at("src/infra/util/kelExtendedProperties", 542)
                      .with({"a", "nope"}));
    EXPECT_EQ(properties.requireProperty("a"), UnicodeString(COUNT, u'x', COUNT) + u"%nope%");
}

/// Each property refers to the next one twice; the last one is `last`.
void makeDoubling(ExtendedProperties& properties, int levels, const UnicodeString& last) {
    for (int i = 0; i < levels; ++i) {
        const UnicodeString next = u"%" + name(i + 1) + u"%";
        properties.putProperty(name(i), next + next);
    }
    properties.putProperty(name(levels), last);
    properties.resolveProperties();
}

TEST(ExtendedPropertiesBreadth, OfManyWaysToOneValueTakesTheTimeOfTheResult) {
    // 2^40 ways lead from the first property to the last, which is empty.
    ExtendedProperties properties;
    makeDoubling(properties, 40, "");
    EXPECT_EQ(test::shown(properties.requireProperty(name(0))), "");
}

TEST(ExtendedPropertiesBreadth, DoublesValuesInEveryLevel) {
    ExtendedProperties properties;
    makeDoubling(properties, 20, "x");
    EXPECT_EQ(properties.requireProperty(name(0)), UnicodeString(1 << 20, u'x', 1 << 20));
}

}  // namespace
}  // namespace nx::util
