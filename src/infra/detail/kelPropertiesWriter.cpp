#include "infra/detail/kelPropertiesWriter.h"

#include <algorithm>
#include <string_view>

#include "infra/detail/kelUnitText.h"

namespace nx::oss::detail {

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";
constexpr UChar32 LAST_PLAIN = 127;

/// What stands behind the backslash.
char escapeLetter(char c) {
    switch (c) {
        case '\r':
            return 'r';
        case '\n':
            return 'n';
        case '\t':
            return 't';
        default:
            return c;
    }
}

}  // namespace

constexpr EscapedUnits::Table EscapedUnits::TABLE;

WrittenUnit escapedForm(const icu::UnicodeString& text, int index) {
    const UChar32 character = text.char32At(index);
    if (character <= LAST_PLAIN) {
        return {{'\\', escapeLetter(static_cast<char>(character))}, 2};
    }
    // Required: four digits also for characters above U+FFFF, which do not survive that.
    return {{'\\', 'u', DIGITS[character >> 12 & 15], DIGITS[character >> 8 & 15],
             DIGITS[character >> 4 & 15], DIGITS[character & 15]},
            6};
}

char* writeEscaped(char* dest, const icu::UnicodeString& text, const EscapedUnits& escaped) {
    const std::u16string_view units = viewOf(text);
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (escaped.contains(units[i])) {
            const WrittenUnit written = escapedForm(text, static_cast<int>(i));
            dest = std::copy_n(written.bytes, written.length, dest);
        } else {
            *dest++ = static_cast<char>(units[i]);
        }
    }
    return dest;
}

}  // namespace nx::oss::detail
