#include "infra/detail/kelUtf8Scan.h"

#include <cstdint>

namespace nx::oss::detail {

namespace {

constexpr std::uint8_t MALFORMED = 0;

/// What may follow a first byte: the length of the sequence, and the range of its second byte. The
/// other bytes are 80 to BF.
struct Sequence {
    std::uint8_t length;
    std::uint8_t lowestSecond;
    std::uint8_t highestSecond;
};

constexpr Sequence sequenceOf(unsigned char first) {
    if (first < 0x80) {
        return {1, 0, 0};
    }
    if (first < 0xC2 || first > 0xF4) {
        return {MALFORMED, 0, 0};
    }
    if (first < 0xE0) {
        return {2, 0x80, 0xBF};
    }
    if (first < 0xF0) {
        // No overlong forms below E0 A0, no surrogates from ED A0 on.
        return {3, static_cast<std::uint8_t>(first == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(first == 0xED ? 0x9F : 0xBF)};
    }
    // No overlong forms below F0 90, nothing above U+10FFFF.
    return {4, static_cast<std::uint8_t>(first == 0xF0 ? 0x90 : 0x80),
            static_cast<std::uint8_t>(first == 0xF4 ? 0x8F : 0xBF)};
}

/// Length of the character at `bytes`, MALFORMED when it is not well-formed.
std::size_t wellFormedLength(const unsigned char* bytes, std::size_t available) {
    const Sequence sequence = sequenceOf(bytes[0]);
    if (sequence.length == 1) {
        return 1;
    }
    if (sequence.length > available || sequence.length == MALFORMED ||
        bytes[1] < sequence.lowestSecond || bytes[1] > sequence.highestSecond) {
        return MALFORMED;
    }
    for (std::size_t i = 2; i < sequence.length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80) {
            return MALFORMED;
        }
    }
    return sequence.length;
}

}  // namespace

std::optional<std::size_t> countWellFormedUtf8(const char* bytes, std::size_t length) {
    const auto* const text = reinterpret_cast<const unsigned char*>(bytes);
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++count) {
        const std::size_t step = wellFormedLength(text + i, length - i);
        if (step == MALFORMED) {
            return std::nullopt;
        }
        i += step;
    }
    return count;
}

std::optional<std::size_t> countUtf8Characters(const char* bytes, std::size_t length) {
    const auto* const text = reinterpret_cast<const unsigned char*>(bytes);
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++count) {
        const int step = announcedLength(text[i]);
        if (step == 0) {
            return std::nullopt;
        }
        i += static_cast<std::size_t>(step);
    }
    return count;
}

}  // namespace nx::oss::detail
