#pragma once

#include <cstddef>
#include <cstdint>

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// Which code units of a text do not stand for themselves in a properties file. `escapeSpecial`
/// adds line ends, tabs and the characters of the format, `escapeBlank` blanks.
class EscapedUnits {
  public:
    constexpr EscapedUnits(bool escapeBlank, bool escapeSpecial)
        : wanted_(static_cast<std::uint8_t>((escapeBlank ? BLANK : 0) |
                                            (escapeSpecial ? SPECIAL : 0))) {}

    bool contains(char16_t unit) const {
        return unit >= TABLE_SIZE || (TABLE.classes[unit] & wanted_) != 0;
    }

  private:
    static constexpr std::size_t TABLE_SIZE = 128;
    static constexpr std::uint8_t BLANK = 1;
    static constexpr std::uint8_t SPECIAL = 2;

    struct Table {
        constexpr Table() {
            classes[static_cast<unsigned char>(' ')] = BLANK;
            for (const char c : {'\r', '\n', '\t', '!', '#', '\\', ':', '='}) {
                classes[static_cast<unsigned char>(c)] = SPECIAL;
            }
        }
        std::uint8_t classes[TABLE_SIZE] = {};
    };
    static const Table TABLE;

    std::uint8_t wanted_;
};

/// What a code unit becomes: at most "\u" and four digits.
struct WrittenUnit {
    char bytes[6];
    std::size_t length;
};

/// The form of the unit at `index`, which is one of EscapedUnits. A unit of a surrogate pair is
/// written as the low 16 bits of the whole character.
WrittenUnit escapedForm(const icu::UnicodeString& text, int index);

constexpr std::size_t LONGEST_WRITTEN_UNIT = sizeof WrittenUnit::bytes;

/// Puts `text` at `dest`, where LONGEST_WRITTEN_UNIT bytes for each of its units have room; returns
/// the end of what was written.
char* writeEscaped(char* dest, const icu::UnicodeString& text, const EscapedUnits& escaped);

}  // namespace nx::oss::detail
