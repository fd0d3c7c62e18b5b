#include <boost/locale/utf.hpp>

#include "kelTextBench.h"

namespace nx::oss::bench {

namespace {

using Traits = boost::locale::utf::utf_traits<char>;

std::size_t count(const std::string& text) {
    std::size_t characters = 0;
    const char* const end = text.data() + text.size();
    for (const char* c = text.data(); c < end; ++characters) {
        c += Traits::trail_length(*c) + 1;
    }
    return characters;
}

/// Calls `take` for each code point; false as soon as the text is not well-formed.
template <class Take>
bool decode(const std::string& text, Take take) {
    const char* c = text.data();
    const char* const end = c + text.size();
    while (c != end) {
        const boost::locale::utf::code_point value = Traits::decode(c, end);
        if (value == boost::locale::utf::illegal || value == boost::locale::utf::incomplete) {
            return false;
        }
        take(value);
    }
    return true;
}

}  // namespace

void addBoost(const TextSample& sample) {
    addValidate(sample, "Boost.Locale utf", [](const std::string& text) {
        return decode(text, [](boost::locale::utf::code_point) {});
    });
    addCount(sample, "Boost.Locale utf", [](const std::string& text) { return count(text); });
    addWalk(sample, "Boost.Locale utf", [](const std::string& text) {
        std::uint64_t sum = 0;
        const bool valid =
            decode(text, [&sum](boost::locale::utf::code_point value) { sum += value; });
        return valid ? sum : 0;
    });
}

}  // namespace nx::oss::bench
