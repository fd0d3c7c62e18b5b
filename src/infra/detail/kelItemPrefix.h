#pragma once

#include <array>
#include <cstdint>

namespace nx::oss::detail {

/// The four bytes in front of an item: its length, most significant byte first.
using ItemPrefix = std::array<char, 4>;

/// Takes the low 32 bits of `length`.
constexpr ItemPrefix encodeItemPrefix(unsigned long length) {
    return {static_cast<char>(length >> 24), static_cast<char>(length >> 16),
            static_cast<char>(length >> 8), static_cast<char>(length)};
}

constexpr std::uint32_t decodeItemPrefix(const ItemPrefix& prefix) {
    std::uint32_t length = 0;
    for (const char byte : prefix) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    return length;
}

}  // namespace nx::oss::detail
