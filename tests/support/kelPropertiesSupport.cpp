#include "support/kelPropertiesSupport.h"

#include <infra/oss/kelByteArrayOutputStream.h>

namespace nx::test {

std::string hex4(unsigned unit) {
    const char* const digits = "0123456789ABCDEF";
    return {digits[unit >> 12 & 15], digits[unit >> 8 & 15], digits[unit >> 4 & 15],
            digits[unit & 15]};
}

std::string shown(const icu::UnicodeString& text) {
    if (text.isBogus()) {
        return "<null>";
    }
    std::string result;
    for (int i = 0; i < text.length(); ++i) {
        const char16_t unit = text.charAt(i);
        if (unit >= 0x20 && unit < 0x7F) {
            result += static_cast<char>(unit);
        } else {
            result += "{" + hex4(unit) + "}";
        }
    }
    return result;
}

ShownPairs pairsOf(const util::ExtendedProperties& properties) {
    ShownPairs pairs;
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        pairs.emplace_back(shown(it->first), shown(it->second));
    }
    return pairs;
}

ShownList shownList(const std::list<icu::UnicodeString>& list) {
    ShownList result;
    for (const icu::UnicodeString& element : list) {
        result.push_back(shown(element));
    }
    return result;
}

ShownPairs readPairs(const std::string& text) {
    util::ExtendedProperties properties;
    load(properties, text);
    return pairsOf(properties);
}

void load(util::ExtendedProperties& properties, const std::string& text) {
    const std::vector<char> bytes(text.begin(), text.end());
    properties.load(bytes.data(), bytes.size());
}

std::string stored(util::ExtendedProperties& properties) {
    RecordingStream stream;
    properties.store(stream);
    // Arrays are written in a way of their own.
    std::string array(stream.written.size(), '?');
    oss::ByteArrayOutputStream out(array.data(), array.size());
    properties.store(out);
    return array == stream.written ? array : "array: " + array + "\nstream: " + stream.written;
}

}  // namespace nx::test
