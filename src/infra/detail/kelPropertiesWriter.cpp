#include "infra/detail/kelPropertiesWriter.h"

namespace nx::oss::detail {

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";
constexpr UChar32 LAST_PLAIN = 127;

/// The letter behind the backslash for a character that has one, else 0.
char escapeLetter(char c, bool escapeBlank, bool escapeSpecial) {
    if (escapeSpecial) {
        switch (c) {
            case '\r':
                return 'r';
            case '\n':
                return 'n';
            case '\t':
                return 't';
            case '!':
            case '#':
            case '\\':
            case ':':
            case '=':
                return c;
            default:
                break;
        }
    }
    return escapeBlank && c == ' ' ? c : '\0';
}

}  // namespace

WrittenUnit writtenForm(const icu::UnicodeString& text, int index, bool escapeBlank,
                        bool escapeSpecial) {
    const UChar32 character = text.char32At(index);
    if (character > LAST_PLAIN) {
        // Required: four digits also for characters above U+FFFF, which do not survive that.
        return {{'\\', 'u', DIGITS[character >> 12 & 15], DIGITS[character >> 8 & 15],
                 DIGITS[character >> 4 & 15], DIGITS[character & 15]},
                6};
    }
    const char c = static_cast<char>(character);
    const char letter = escapeLetter(c, escapeBlank, escapeSpecial);
    return letter == '\0' ? WrittenUnit{{c}, 1} : WrittenUnit{{'\\', letter}, 2};
}

}  // namespace nx::oss::detail
