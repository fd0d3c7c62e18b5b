#pragma once

#include <optional>
#include <string>

#include <unicode/unistr.h>

namespace nx::oss::test {

/// Parses the text in all six ways and compares with the C library, errors included. The first
/// difference in words, nothing when there is none.
std::optional<std::string> differenceInParsing(const icu::UnicodeString& text);

}  // namespace nx::oss::test
