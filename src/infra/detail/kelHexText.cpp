#include "infra/detail/kelHexText.h"

namespace nx::oss::detail {

namespace {

constexpr char LOWER_DIGITS[] = "0123456789abcdef";
constexpr char UPPER_DIGITS[] = "0123456789ABCDEF";

}  // namespace

char* writeHexLiteral(char* out, unsigned long value, bool upperCase) {
    const char* const digits = upperCase ? UPPER_DIGITS : LOWER_DIGITS;
    constexpr int BITS = 64;
    const int leadingZeros = value == 0 ? BITS - 4 : __builtin_clzl(value) / 4 * 4;
    *out++ = 'X';
    *out++ = '\'';
    for (int shift = BITS - 4 - leadingZeros; shift >= 0; shift -= 4) {
        *out++ = digits[value >> shift & 15];
    }
    *out++ = '\'';
    return out;
}

}  // namespace nx::oss::detail
