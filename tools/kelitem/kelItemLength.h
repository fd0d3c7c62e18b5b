#pragma once

#include <array>
#include <cstddef>

namespace tools {

/// Bytes of the length in front of an item, the most significant first.
constexpr std::size_t PREFIX_SIZE = 4;

using LengthPrefix = std::array<char, PREFIX_SIZE>;

inline LengthPrefix prefixOf(unsigned long length) {
    return {static_cast<char>(length >> 24U), static_cast<char>(length >> 16U),
            static_cast<char>(length >> 8U), static_cast<char>(length)};
}

inline unsigned long lengthIn(const LengthPrefix& prefix) {
    unsigned long length = 0;
    for (const char byte : prefix) {
        length = length << 8U | static_cast<unsigned char>(byte);
    }
    return length;
}

}  // namespace tools
