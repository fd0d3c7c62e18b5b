#include "infra/detail/kelUtf8Scan.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "infra/detail/kelUtfSteps.h"

namespace nx::oss::detail {

namespace {

constexpr std::size_t WORD = sizeof(std::uint64_t);

/// Bytes of the leading words that are ASCII.
std::size_t asciiWords(const char* bytes, std::size_t length) {
    std::size_t done = 0;
    for (; length - done >= WORD; done += WORD) {
        std::uint64_t word;
        std::memcpy(&word, bytes + done, WORD);
        if ((word & 0x8080808080808080) != 0) {
            break;
        }
    }
    return done;
}

/// Length of the character above ASCII at `bytes`; 0 when it is not well-formed.
std::size_t wellFormedLength(const char* bytes, std::size_t available) {
    const LeadByte lead = leadByte(static_cast<std::uint8_t>(bytes[0]));
    if (lead.size == 1 || lead.size > available) {
        return 0;
    }
    const auto second = static_cast<std::uint8_t>(bytes[1]);
    if (second < lead.firstSecond || second > lead.lastSecond) {
        return 0;
    }
    for (std::size_t i = 2; i < lead.size; ++i) {
        if ((static_cast<std::uint8_t>(bytes[i]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return lead.size;
}

}  // namespace

std::optional<std::size_t> countWellFormedUtf8(const char* bytes, std::size_t length) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length;) {
        if (static_cast<std::uint8_t>(bytes[i]) < 0x80) {
            const std::size_t step = std::max<std::size_t>(asciiWords(bytes + i, length - i), 1);
            i += step;
            count += step;
            continue;
        }
        const std::size_t step = wellFormedLength(bytes + i, length - i);
        if (step == 0) {
            return std::nullopt;
        }
        i += step;
        ++count;
    }
    return count;
}

std::optional<std::size_t> countUtf8Characters(const char* bytes, std::size_t length) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++count) {
        const int step = announcedLength(static_cast<unsigned char>(bytes[i]));
        if (step == 0) {
            return std::nullopt;
        }
        i += static_cast<std::size_t>(step);
    }
    return count;
}

}  // namespace nx::oss::detail
