#pragma once

namespace nx::oss::detail {

// Character classes of ASCII. The C functions of these names depend on the process locale.

constexpr bool isAsciiDigit(int c) { return c >= '0' && c <= '9'; }

constexpr bool isAsciiAlphanumeric(int c) {
    return isAsciiDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr char toAsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace nx::oss::detail
