#pragma once

#include <optional>
#include <string>

#include <unicode/numfmt.h>
#include <unicode/unistr.h>

namespace nx::oss {
class Formatter;
}

namespace nx::oss::test {

/// Parses the text in all six ways and compares with the C library, errors included. The first
/// difference in words, nothing when there is none.
std::optional<std::string> differenceInParsing(const icu::UnicodeString& text);

/// Parses the text by the conventions of a locale as an int, a long and a double and compares with
/// what ICU's format of the same locale makes of it: a value, and of which type.
std::optional<std::string> differenceInParsing(const Formatter& formatter,
                                               const icu::NumberFormat& wanted,
                                               const icu::UnicodeString& text);

}  // namespace nx::oss::test
