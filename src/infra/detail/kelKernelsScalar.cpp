#include <algorithm>
#include <cstring>

#include "infra/detail/kelBase64Steps.h"
#include "infra/detail/kelKernels.h"
#include "infra/detail/kelUnitSet.h"
#include "infra/detail/kelUtf8Scan.h"
#include "infra/detail/kelUtfSteps.h"

namespace nx::oss::detail {
namespace {

constexpr std::size_t WORD = sizeof(std::uint64_t);

Progress utf16ToUtf8(const char16_t* src, std::size_t length, char* dest,
                     std::size_t capacity) noexcept {
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < length) {
        const Character next = firstOfUtf16(src + read, length - read);
        const std::size_t size = utf8Size(next.value);
        if (size > capacity - written) {
            break;
        }
        writeUtf8(next.value, dest + written);
        read += next.size;
        written += size;
    }
    return {read, written};
}

std::size_t utf8LengthOfUtf16(const char16_t* src, std::size_t length) noexcept {
    std::size_t size = 0;
    for (std::size_t read = 0; read < length;) {
        const Character next = firstOfUtf16(src + read, length - read);
        size += utf8Size(next.value);
        read += next.size;
    }
    return size;
}

/// Widens whole words of ASCII, as far as both sides reach; returns the number of bytes.
std::size_t widenAsciiWords(const char* src, std::size_t limit, char16_t* dest) {
    std::size_t done = 0;
    for (; limit - done >= WORD; done += WORD) {
        std::uint64_t word;
        std::memcpy(&word, src + done, WORD);
        if ((word & 0x8080808080808080) != 0) {
            break;
        }
        for (std::size_t i = 0; i < WORD; ++i) {
            dest[done + i] = static_cast<std::uint8_t>(src[done + i]);
        }
    }
    return done;
}

Progress utf8ToUtf16(const char* src, std::size_t length, char16_t* dest,
                     std::size_t capacity) noexcept {
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < length) {
        if (static_cast<std::uint8_t>(src[read]) < 0x80) {
            if (written == capacity) {
                break;
            }
            const std::size_t limit = std::min(length - read, capacity - written);
            const std::size_t words = widenAsciiWords(src + read, limit, dest + written);
            if (words == 0) {
                dest[written] = static_cast<std::uint8_t>(src[read]);
            }
            read += std::max<std::size_t>(words, 1);
            written += std::max<std::size_t>(words, 1);
            continue;
        }
        const Character next = firstOfUtf8(src + read, length - read);
        const std::size_t size = utf16Size(next.value);
        if (size > capacity - written) {
            break;
        }
        writeUtf16(next.value, dest + written);
        read += next.size;
        written += size;
    }
    return {read, written};
}

std::size_t utf16ToLatin1(const char16_t* src, std::size_t length, char* dest) noexcept {
    std::size_t done = 0;
    for (; done < length && src[done] <= 0xFF; ++done) {
        dest[done] = static_cast<char>(src[done]);
    }
    return done;
}

std::size_t latin1PrefixLength(const char16_t* src, std::size_t length) noexcept {
    std::size_t done = 0;
    while (done < length && src[done] <= 0xFF) {
        ++done;
    }
    return done;
}

void latin1ToUtf16(const char* src, std::size_t length, char16_t* dest) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        dest[i] = static_cast<std::uint8_t>(src[i]);
    }
}

Progress latin1ToUtf8(const char* src, std::size_t length, char* dest,
                      std::size_t capacity) noexcept {
    std::size_t read = 0;
    std::size_t written = 0;
    for (; read < length; ++read) {
        const char32_t value = static_cast<std::uint8_t>(src[read]);
        const std::size_t size = utf8Size(value);
        if (size > capacity - written) {
            break;
        }
        writeUtf8(value, dest + written);
        written += size;
    }
    return {read, written};
}

std::size_t utf8LengthOfLatin1(const char* src, std::size_t length) noexcept {
    std::size_t size = length;
    for (std::size_t i = 0; i < length; ++i) {
        size += static_cast<std::uint8_t>(src[i]) >> 7;
    }
    return size;
}

std::size_t wellFormedUtf16Prefix(const char16_t* src, std::size_t length) noexcept {
    std::size_t done = 0;
    while (done < length) {
        const Character next = firstOfUtf16(src + done, length - done);
        if (next.value == REPLACEMENT && src[done] != REPLACEMENT) {
            break;
        }
        done += next.size;
    }
    return done;
}

void swapUtf16(const char16_t* src, std::size_t length, char* dest) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint16_t swapped = __builtin_bswap16(src[i]);
        std::memcpy(dest + 2 * i, &swapped, sizeof swapped);
    }
}

std::size_t copyUtf8Text(const char* src, std::size_t length, char* dest) noexcept {
    std::memcpy(dest, src, length + 1);
    return countWellFormedUtf8(src, length).value_or(NO_COUNT);
}

std::size_t countCharacters(const char* src, std::size_t length) noexcept {
    return countUtf8Characters(src, length).value_or(NO_COUNT);
}

constexpr unsigned char NO_DIGIT = 0xFF;

constexpr unsigned char valueOfDigit(unsigned character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned char>(character - '0');
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<unsigned char>(character - 'a' + 10);
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<unsigned char>(character - 'A' + 10);
    }
    return NO_DIGIT;
}

struct DigitValues {
    constexpr DigitValues() {
        for (unsigned i = 0; i < 256; ++i) {
            values[i] = valueOfDigit(i);
        }
    }
    unsigned of(char digit) const { return values[static_cast<unsigned char>(digit)]; }

    unsigned char values[256] = {};
};

constexpr DigitValues DIGIT_VALUES;

void encodeHex(const char* src, std::size_t length, char* dest, bool upperCase) noexcept {
    const char* const digits = upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
    for (std::size_t i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(src[i]);
        dest[2 * i] = digits[byte >> 4];
        dest[2 * i + 1] = digits[byte & 15];
    }
}

bool isHex(const char* src, std::size_t length) noexcept {
    unsigned seen = 0;
    for (std::size_t i = 0; i < length; ++i) {
        seen |= DIGIT_VALUES.of(src[i]);
    }
    return seen <= 15;
}

void decodeHex(const char* src, std::size_t count, char* dest) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned high = DIGIT_VALUES.of(src[2 * i]);
        const unsigned low = DIGIT_VALUES.of(src[2 * i + 1]);
        dest[i] = static_cast<char>(high << 4 | low);
    }
}

const char* findText(const char* text, std::size_t /*length*/, const char* needle,
                     std::size_t /*needleLength*/) noexcept {
    return std::strstr(text, needle);
}

void markUnitsOutside(const char16_t* src, std::size_t length, const UnitSet& set,
                      std::uint64_t* marks) noexcept {
    for (std::size_t from = 0; from < length; from += 64) {
        std::uint64_t outside = 0;
        for (std::size_t i = from; i < std::min(length, from + 64); ++i) {
            outside |= std::uint64_t{!set.has(src[i])} << (i - from);
        }
        marks[from / 64] = outside;
    }
}

}  // namespace

constexpr Kernels SCALAR_TABLE{utf16ToUtf8,
                               utf8LengthOfUtf16,
                               utf8ToUtf16,
                               utf16ToLatin1,
                               latin1PrefixLength,
                               latin1ToUtf16,
                               latin1ToUtf8,
                               utf8LengthOfLatin1,
                               wellFormedUtf16Prefix,
                               swapUtf16,
                               copyUtf8Text,
                               countCharacters,
                               encodeHex,
                               isHex,
                               decodeHex,
                               findText,
                               encodeBase64Groups,
                               decodeBase64Groups,
                               markUnitsOutside};

}  // namespace nx::oss::detail
