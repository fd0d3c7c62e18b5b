// Readers need no lock: the thread sanitizer finds none missing.
#include <infra/util/kelExtendedProperties.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelPropertiesSupport.h"

namespace nx::util {
namespace {

using icu::UnicodeString;

/// Runs `read` in four threads that start together.
template <class Read>
void inFourThreads(const Read& read) {
    constexpr int THREADS = 4;
    std::atomic<int> waiting{THREADS};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            read();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

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
           properties.requirePropertyAsInt64("int") == -42 &&
           properties.requirePropertyAsUInt64("unsigned") == 7 &&
           properties.requirePropertyAsDouble("double") == 2.5 &&
           properties.getProperty("absent", def) == def && properties.hasProperty("long") &&
           properties.getProperty("long", def).length() == 100;
}

TEST(ExtendedPropertiesThreads, ReadOneSetWithoutALock) {
    ExtendedProperties properties;
    properties.putProperty("bool", " yes ");
    properties.putProperty("int", " -42 ");
    properties.putProperty("unsigned", "7");
    properties.putProperty("double", "2.5");
    properties.putProperty("long", UnicodeString(100, u'v', 100));
    properties.addInclude("i");
    std::atomic<int> right{0};
    inFourThreads([&] {
        for (int i = 0; i < 200; ++i) {
            right += readsRight(properties) ? 1 : 0;
        }
    });
    EXPECT_EQ(right, 800);
}

TEST(ExtendedPropertiesThreads, UseSetsOfTheirOwn) {
    std::atomic<int> right{0};
    inFourThreads([&] {
        for (int i = 0; i < 100; ++i) {
            ExtendedProperties properties;
            properties.loadFromString(u"a=%b%\nb=1\\u00E9\n");
            right += test::stored(properties) ==
                             "#saved by ExtendedProperties on \r\na=1\\u00E9\r\nb=1\\u00E9\r\n"
                         ? 1
                         : 0;
        }
    });
    EXPECT_EQ(right, 400);
}

}  // namespace
}  // namespace nx::util
