#include <unicode/utf8.h>

#include "kelTextBench.h"

// What the macros expand to narrows integers.
#pragma GCC diagnostic ignored "-Wconversion"

namespace nx::oss::bench {

namespace {

/// Calls `take` for each code point; false as soon as the text is not well-formed.
template <class Take>
bool decode(const std::string& text, Take take) {
    const char* const bytes = text.data();
    const auto length = static_cast<std::int32_t>(text.size());
    for (std::int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            return false;
        }
        take(c);
    }
    return true;
}

std::size_t count(const std::string& text) {
    const char* const bytes = text.data();
    const auto length = static_cast<std::int32_t>(text.size());
    std::size_t characters = 0;
    for (std::int32_t i = 0; i < length; ++characters) {
        U8_FWD_1(bytes, i, length);
    }
    return characters;
}

}  // namespace

void addIcu(const TextSample& sample) {
    addValidate(sample, "ICU U8_NEXT",
                [](const std::string& text) { return decode(text, [](UChar32) {}); });
    addCount(sample, "ICU U8_FWD_1", [](const std::string& text) { return count(text); });
    addWalk(sample, "ICU U8_NEXT", [](const std::string& text) {
        std::uint64_t sum = 0;
        const bool valid =
            decode(text, [&sum](UChar32 value) { sum += static_cast<std::uint32_t>(value); });
        return valid ? sum : 0;
    });
}

}  // namespace nx::oss::bench
