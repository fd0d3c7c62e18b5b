#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <unicode/unistr.h>

/// Numbers as the C library reads and writes them, whatever the process locale.
namespace nx::oss::reference {

/// The text without white space at its ends.
icu::UnicodeString trimmed(const icu::UnicodeString& text);

/// Nothing for a text that is refused.
std::optional<std::int32_t> int32Of(const icu::UnicodeString& text);
std::optional<std::uint32_t> uint32Of(const icu::UnicodeString& text);
std::optional<std::int64_t> int64Of(const icu::UnicodeString& text);
std::optional<std::uint64_t> uint64Of(const icu::UnicodeString& text);
std::optional<double> doubleOf(const icu::UnicodeString& text);

std::string textOf(std::int64_t value);
std::string textOf(std::uint64_t value);
std::string textOf(double value);
std::string hexTextOf(std::uint64_t value, bool upperCase);

}  // namespace nx::oss::reference
