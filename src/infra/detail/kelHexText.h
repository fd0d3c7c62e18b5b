#pragma once

#include <cstddef>

namespace nx::oss::detail {

/// Writes two hexadecimal digits for each of `count` bytes at `out` and returns the end; no
/// terminator. The ranges do not overlap.
char* encodeHex(char* out, const char* bytes, std::size_t count, bool upperCase);

/// Decodes 2 * `count` digits of either case into `count` bytes; false at the first character that
/// is no digit, with part of `out` written then. The ranges do not overlap.
bool decodeHex(char* out, const char* digits, std::size_t count);

/// Whether all `length` characters are hexadecimal digits.
bool isHex(const char* text, std::size_t length);

/// Room for the longest hexadecimal literal: "X'", sixteen digits, "'".
constexpr std::size_t LONGEST_HEX_LITERAL = 2 + 16 + 1;

/// Writes `value` as "X'FF'" or "X'ff'", without leading zeros and terminator, and returns the end.
char* writeHexLiteral(char* out, unsigned long value, bool upperCase);

}  // namespace nx::oss::detail
