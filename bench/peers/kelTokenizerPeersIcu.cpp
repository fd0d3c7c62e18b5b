#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

namespace {

std::u16string_view viewOf(const icu::UnicodeString& text) {
    return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

bool isDelimiter(char16_t unit) { return u_strchr(DELIMITERS16, unit) != nullptr && unit != u'\0'; }

template <class Take>
void scan(const icu::UnicodeString& text, Take take) {
    std::vector<icu::UnicodeString> tokens;
    for (int at = 0; at < text.length();) {
        const int begin = at;
        while (at < text.length() && !isDelimiter(text.charAt(at))) {
            ++at;
        }
        if (at > begin) {
            tokens.emplace_back(text, begin, at - begin);
        }
        while (at < text.length() && isDelimiter(text.charAt(at))) {
            ++at;
        }
    }
    for (const icu::UnicodeString& token : tokens) {
        take(viewOf(token));
    }
}

}  // namespace

void addIcu(const TokenSample& sample) {
    addSplit<char16_t>(
        sample, "ICU u_strtok_r on a copy", [](const std::u16string& text, auto take) {
            std::u16string copy = text;
            char16_t* state = nullptr;
            for (const char16_t* token = u_strtok_r(copy.data(), DELIMITERS16, &state);
                 token != nullptr; token = u_strtok_r(nullptr, DELIMITERS16, &state)) {
                take(token);
            }
        });
    addSplit<char16_t>(
        sample, "ICU scan to vector<UnicodeString>",
        [text = icu::UnicodeString(sample.units.data(), static_cast<int>(sample.units.size()))](
            const std::u16string&, auto take) { scan(text, take); });
}

}  // namespace nx::oss::bench
