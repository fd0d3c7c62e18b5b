// Readers need no lock: the thread sanitizer finds none missing.
#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"
#include "support/kelTogether.h"

namespace nx::util {
namespace {

using icu::UnicodeString;

/// Whether every reading operation gives what was put in.
bool readsRight(const ExtendedProperties& properties) {
    const UnicodeString def("d");
    int pairs = 0;
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        pairs += properties.get(it).first == it->first ? 1 : 0;
    }
    bool missing = false;
    try {
        properties.requireProperty("absent");
    } catch (const PropertiesException&) {
        missing = true;
    }
    bool wrongType = false;
    try {
        properties.requirePropertyAsUInt32("int");
    } catch (const PropertiesException&) {
        wrongType = true;
    }
    return pairs == 5 && missing && wrongType && properties.getIncludes().size() == 1 &&
           properties.getPropertyAsBoolean("bool", false) &&
           properties.requirePropertyAsInt32("int") == -42 &&
           properties.getPropertyAsInt32("absent", 5) == 5 &&
           properties.getPropertyAsUInt32("unsigned", static_cast<const unsigned*>(nullptr)) == 7 &&
           properties.requirePropertyAsInt64("int") == -42 &&
           properties.getPropertyAsInt64("int", static_cast<const long*>(nullptr)) == -42 &&
           properties.getPropertyAsUInt64("absent", 6UL) == 6 &&
           properties.getPropertyAsDouble("double", 0.0) == 2.5 &&
           properties.requirePropertyAsUInt64("unsigned") == 7 &&
           properties.requirePropertyAsDouble("double") == 2.5 &&
           properties.getProperty("absent", def) == def && properties.hasProperty("long") &&
           properties.getProperty("long", def).length() == 100;
}

/// Whether a copy of the set has the same pairs and include names.
bool copiesRight(const ExtendedProperties& properties) {
    ExtendedProperties copy;
    copy.copy(properties);
    return std::equal(copy.begin(), copy.end(), properties.begin(), properties.end()) &&
           copy.getIncludes() == properties.getIncludes();
}

TEST(ExtendedPropertiesThreads, ReadOneSetWithoutALock) {
    ExtendedProperties properties;
    properties.putProperty("bool", " yes ");
    properties.putProperty("int", " -42 ");
    properties.putProperty("unsigned", "7");
    properties.putProperty("double", "2.5");
    properties.putProperty("long", UnicodeString(100, u'v', 100));
    properties.addInclude("i");
    const auto right = test::together([&](int /*thread*/) {
        int count = 0;
        for (int i = 0; i < 100; ++i) {
            count += readsRight(properties) && copiesRight(properties) ? 1 : 0;
        }
        return count;
    });
    EXPECT_EQ(right, std::vector<int>(16, 100));
}

TEST(ExtendedPropertiesThreads, UseSetsOfTheirOwn) {
    const auto right = test::together([](int /*thread*/) {
        int count = 0;
        for (int i = 0; i < 50; ++i) {
            ExtendedProperties properties;
            properties.loadFromString(u"a=%b%\nb=1\\u00E9\n");
            count += test::stored(properties) ==
                             "#saved by ExtendedProperties on \r\na=1\\u00E9\r\nb=1\\u00E9\r\n"
                         ? 1
                         : 0;
        }
        return count;
    });
    EXPECT_EQ(right, std::vector<int>(16, 50));
}

}  // namespace
}  // namespace nx::util
