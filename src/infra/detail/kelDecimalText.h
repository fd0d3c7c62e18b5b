#pragma once

#include <cstddef>

namespace nx::oss::detail {

/// Room that every text of an integer fits into: "-" and 19 digits, or 20 digits.
constexpr std::size_t LONGEST_INTEGER_TEXT = 20;

/// Room that every text of this header fits into, terminator not counted: "-" and the 309 digits of
/// the largest double, the point and six decimals.
constexpr std::size_t LONGEST_DECIMAL_TEXT = 1 + 309 + 1 + 6;

/// Each writes the text of `value` at `out`, without a terminator, and returns its end. `out` has
/// room for LONGEST_INTEGER_TEXT characters; what lies behind the text may have been overwritten
/// with NULs as far as that room goes.
char* writeDecimal(char* out, long value);
char* writeDecimal(char* out, unsigned long value);
char16_t* writeDecimal(char16_t* out, long value);
char16_t* writeDecimal(char16_t* out, unsigned long value);
/// As printf("%lf") in the "C" locale and the default rounding mode, whatever the process locale:
/// six decimals, correctly rounded, ties to even; "inf" and "nan" with a sign when it is set.
/// The room is LONGEST_DECIMAL_TEXT bytes.
char* writeDecimal(char* out, double value);

}  // namespace nx::oss::detail
