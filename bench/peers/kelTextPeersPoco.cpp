#include <Poco/TextIterator.h>
#include <Poco/UTF8Encoding.h>

#include "kelTextBench.h"

namespace nx::oss::bench {

namespace {

std::size_t count(const std::string& text) {
    static const Poco::UTF8Encoding ENCODING;
    std::size_t characters = 0;
    const Poco::TextIterator end(text);
    for (Poco::TextIterator it(text, ENCODING); it != end; ++it) {
        ++characters;
    }
    return characters;
}

/// Calls `take` for each code point; false as soon as the text is not well-formed.
template <class Take>
bool decode(const std::string& text, Take take) {
    static const Poco::UTF8Encoding ENCODING;
    const Poco::TextIterator end(text);
    for (Poco::TextIterator it(text, ENCODING); it != end; ++it) {
        const int value = *it;
        if (value < 0) {
            return false;
        }
        take(static_cast<std::uint32_t>(value));
    }
    return true;
}

}  // namespace

void addPoco(const TextSample& sample) {
    addValidate(sample, "POCO TextIterator",
                [](const std::string& text) { return decode(text, [](std::uint32_t) {}); });
    addCount(sample, "POCO TextIterator", [](const std::string& text) { return count(text); });
    addWalk(sample, "POCO TextIterator", [](const std::string& text) {
        std::uint64_t sum = 0;
        const bool valid = decode(text, [&sum](std::uint32_t value) { sum += value; });
        return valid ? sum : 0;
    });
}

}  // namespace nx::oss::bench
