#include "reference/kelTokenReference.h"

#include <algorithm>

namespace nx::test::reference {

namespace {

bool contains(const std::u16string& text, char16_t unit) {
    return text.find(unit) != std::u16string::npos;
}

/// Every carriage return with a line feed as the line feed alone.
std::u16string withoutPairs(std::u16string text) {
    for (std::size_t at = 0; (at = text.find(u"\r\n", at)) != std::u16string::npos; ++at) {
        text.erase(at, 1);
    }
    return text;
}

}  // namespace

std::vector<std::u16string> tokensOf(std::u16string text, const std::u16string& given) {
    const std::u16string delimiters = given.empty() ? u" \r\n\t" : given;
    if (text.empty()) {
        return {};
    }
    if (contains(delimiters, u'\r') && contains(delimiters, u'\n')) {
        text = withoutPairs(text);
    }
    const auto isDelimiter = [&](char16_t unit) { return contains(delimiters, unit); };
    std::vector<std::u16string> slots(
        1 + static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isDelimiter)));
    std::size_t slot = 0;
    bool delimiterSeen = false;
    for (const char16_t unit : text) {
        if (isDelimiter(unit)) {
            delimiterSeen = true;
            continue;
        }
        if (delimiterSeen && slot + 1 < slots.size()) {
            ++slot;
            delimiterSeen = false;
        }
        slots[slot] += unit;
    }
    slots.resize(slot + 1);
    return slots;
}

}  // namespace nx::test::reference
