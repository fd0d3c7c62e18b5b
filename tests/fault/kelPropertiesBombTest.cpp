// Values that double in every level outgrow memory. ICU's allocator grants no large blocks here, so
// that the end of memory is near; ICU itself would tell of it by an empty text only.
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>
#include <unicode/uclean.h>

#include <infra/util/kelExtendedProperties.h>

#include "support/kelPropertiesSupport.h"

namespace nx::util {
namespace {

using icu::UnicodeString;

constexpr std::size_t LARGEST_BLOCK = 4 * 1024 * 1024;

void* U_CALLCONV allocate(const void*, std::size_t size) {
    return size > LARGEST_BLOCK ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* U_CALLCONV reallocate(const void*, void* old, std::size_t size) {
    return size > LARGEST_BLOCK ? nullptr : std::realloc(old, size == 0 ? 1 : size);
}

void U_CALLCONV release(const void*, void* block) { std::free(block); }

// Before any use of ICU, also before that of other static objects.
__attribute__((constructor)) void limitIcu() {
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, allocate, reallocate, release, &status);
    if (U_FAILURE(status)) {
        std::abort();
    }
}

UnicodeString name(int level) { return UnicodeString(static_cast<char16_t>(0x4E00 + level)); }

/// Level 0 is 16 units long; every level holds the one below twice.
void makeBomb(ExtendedProperties& properties, int levels) {
    properties.putProperty(name(0), "0123456789ABCDEF");
    for (int level = 1; level <= levels; ++level) {
        const UnicodeString lower = u"%" + name(level - 1) + u"%";
        properties.putProperty(name(level), lower + lower);
    }
}

TEST(ExtendedPropertiesBomb, EndsInStdBadAllocAndLosesNoValue) {
    constexpr int LEVELS = 60;
    ExtendedProperties properties;
    makeBomb(properties, LEVELS);
    EXPECT_THROW(properties.resolveProperties(), std::bad_alloc);
    for (int level = 1; level <= LEVELS; ++level) {
        const UnicodeString& value = properties.requireProperty(name(level));
        const UnicodeString lower = u"%" + name(level - 1) + u"%";
        const bool isExpanded = level < 27 && value.length() == 16 << level;
        ASSERT_TRUE(isExpanded || value == lower + lower) << level << ": " << value.length();
    }
    EXPECT_EQ(properties.requireProperty(name(10)).length(), 16 << 10);
    properties.removeProperty(name(LEVELS));
    properties.putProperty(name(LEVELS), "harmless");
    EXPECT_EQ(test::shown(properties.requireProperty(name(LEVELS))), "harmless");
}

TEST(ExtendedPropertiesBomb, FromTopToBottomEndsInStdBadAllocToo) {
    ExtendedProperties properties;
    makeBomb(properties, 60);
    std::list<UnicodeString> inProgress;
    UnicodeString value = u"%" + name(60) + u"%";
    EXPECT_THROW(properties.resolveProperty(inProgress, "top", value), std::bad_alloc);
    EXPECT_EQ(value, u"%" + name(60) + u"%");
}

TEST(ExtendedPropertiesBomb, BelowTheLimitIsExpanded) {
    ExtendedProperties properties;
    makeBomb(properties, 14);
    properties.resolveProperties();
    EXPECT_EQ(properties.requireProperty(name(14)).length(), 16 << 14);
    EXPECT_EQ(properties.requireProperty(name(14)).indexOf(u'%'), -1);
}

TEST(ExtendedPropertiesLargeText, ThatMemoryDoesNotHoldIsNotCutShort) {
    const std::string text = "a=1\nk=" + std::string(LARGEST_BLOCK, 'v') + "\nb=2\n";
    ExtendedProperties properties;
    EXPECT_THROW(test::load(properties, text), std::bad_alloc);
    EXPECT_EQ(test::pairsOf(properties), (test::ShownPairs{{"a", "1"}}));
}

}  // namespace
}  // namespace nx::util
