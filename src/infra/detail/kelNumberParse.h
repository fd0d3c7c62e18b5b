#pragma once

#include <cstdint>
#include <string_view>

namespace nx::oss::detail {

/// Parse a text that must be a number from end to end; no white space is skipped. False, and
/// `value` without a meaning, for anything else.
///
/// Why: no std::optional, which compilers hand over through memory, at the cost of the parsing.

/// At most `mostDigits` (up to 20) ASCII digits, leading zeros counted. Values beyond 64 bits
/// saturate.
bool parseUnsigned(std::uint64_t& value, std::u16string_view text, unsigned mostDigits);
/// The same after an optional sign.
bool parseSigned(std::int64_t& value, std::u16string_view text, unsigned mostDigits);
/// What strtod takes in the "C" locale; overflow gives an infinity, underflow what strtod gives.
bool parseDouble(double& value, std::u16string_view text);

}  // namespace nx::oss::detail
