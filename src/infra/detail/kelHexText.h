#pragma once

#include <cstddef>

#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

/// Writes two hexadecimal digits for each of `count` bytes at `out` and returns the end; no
/// terminator. The ranges do not overlap.
inline char* encodeHex(char* out, const char* bytes, std::size_t count, bool upperCase) {
    kernels().encodeHex(bytes, count, out, upperCase);
    return out + 2 * count;
}

/// Whether all `length` characters are hexadecimal digits.
inline bool isHex(const char* text, std::size_t length) { return kernels().isHex(text, length); }

/// Decodes 2 * `count` digits of either case into `count` bytes. isHex() of the digits holds; the
/// ranges do not overlap.
inline void decodeHex(char* out, const char* digits, std::size_t count) {
    kernels().decodeHex(digits, count, out);
}

/// Room for the longest hexadecimal literal: "X'", sixteen digits, "'".
constexpr std::size_t LONGEST_HEX_LITERAL = 2 + 16 + 1;

/// Writes `value` as "X'FF'" or "X'ff'", without leading zeros and terminator, and returns the end.
char* writeHexLiteral(char* out, unsigned long value, bool upperCase);

}  // namespace nx::oss::detail
