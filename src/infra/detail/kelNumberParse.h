#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace nx::oss::detail {

/// Parse a text that must be a number from end to end; no white space is skipped. Nothing for
/// anything else.

/// At most `mostDigits` (up to 20) ASCII digits, leading zeros counted. Values beyond 64 bits
/// saturate.
std::optional<std::uint64_t> parseUnsigned(std::u16string_view text, unsigned mostDigits);
/// The same after an optional sign.
std::optional<std::int64_t> parseSigned(std::u16string_view text, unsigned mostDigits);
/// What strtod takes in the "C" locale; overflow gives an infinity, underflow what strtod gives.
std::optional<double> parseDouble(std::u16string_view text);

}  // namespace nx::oss::detail
