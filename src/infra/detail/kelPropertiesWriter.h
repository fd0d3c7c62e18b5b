#pragma once

#include <cstddef>

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// What a code unit of a text becomes in a properties file: at most "\u" and four digits.
struct WrittenUnit {
    char bytes[6];
    std::size_t length;
};

/// The form of the unit at `index`. A unit of a surrogate pair is written as the low 16 bits of the
/// whole character. `escapeSpecial` escapes line ends, tabs and the characters of the format,
/// `escapeBlank` blanks.
WrittenUnit writtenForm(const icu::UnicodeString& text, int index, bool escapeBlank,
                        bool escapeSpecial);

}  // namespace nx::oss::detail
