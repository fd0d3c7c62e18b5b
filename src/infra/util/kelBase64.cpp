#include <infra/util/kelBase64.h>

#include <infra/util/kelBase64Exception.h>

#include <cstring>
#include <limits>

#include <unicode/unistr.h>

#include "infra/detail/kelBase64Text.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::util {

namespace {

using oss::detail::DecodedBase64;
using oss::detail::ErrorSite;

constexpr const char* FILE_NAME = "src/infra/util/kelBase64";
constexpr const char* TOO_SMALL = "ERR_BUFFER_SIZE_TOO_SMALL";
constexpr const char* MISALIGNED = "ERR_BASE64_MISALIGNED_DATA";

constexpr ErrorSite INVALID_DATA{"ERR_BASE64_INVALID_DATA", FILE_NAME, 112};
constexpr ErrorSite NO_ROOM_FOR_TEXT{TOO_SMALL, FILE_NAME, 153};
constexpr ErrorSite NO_ROOM_FOR_BYTE{TOO_SMALL, FILE_NAME, 252};
constexpr ErrorSite EARLY_PADDING{MISALIGNED, FILE_NAME, 289};
constexpr ErrorSite MISSING_PADDING{MISALIGNED, FILE_NAME, 298};
constexpr ErrorSite STRAY_BITS{MISALIGNED, FILE_NAME, 313};
constexpr ErrorSite DATA_BEHIND{MISALIGNED, FILE_NAME, 321};
constexpr ErrorSite INCOMPLETE_GROUP{MISALIGNED, FILE_NAME, 372};

/// More bytes than this have no text whose size can be told.
constexpr std::size_t MOST_BYTES = std::numeric_limits<std::size_t>::max() / 4 * 3;

[[noreturn, gnu::cold, gnu::noinline]] void raiseTooSmall(const ErrorSite& site,
                                                          std::size_t destLen) {
    // Required: the low 32 bits only.
    oss::detail::raise<Base64Exception>(site, static_cast<unsigned int>(destLen));
}

[[noreturn, gnu::cold, gnu::noinline]] void raiseInvalid(unsigned short unit) {
    oss::detail::raise<Base64Exception>(INVALID_DATA,
                                        icu::UnicodeString(static_cast<char16_t>(unit)));
}

std::size_t lengthToZero(const unsigned short* units) {
    std::size_t length = 0;
    for (unsigned short unit = 1; unit != 0; ++length) {
        std::memcpy(&unit, units + length, sizeof unit);
    }
    return length - 1;
}

[[noreturn]] void raiseMisaligned(const ErrorSite& site, const unsigned short* src) {
    // Required: the source up to a zero unit, also where that lies behind its length.
    const std::size_t length = lengthToZero(src);
    icu::UnicodeString text;
    char16_t* const units = oss::detail::writableBuffer(text, length);
    std::memcpy(units, src, length * sizeof *src);
    text.releaseBuffer(static_cast<int32_t>(length));
    oss::detail::raise<Base64Exception>(site, text);
}

/// Throws what tells why decoding stopped.
[[noreturn, gnu::cold, gnu::noinline]] void raiseOutcome(const DecodedBase64& decoded,
                                                         std::size_t destLen,
                                                         const unsigned short* src) {
    switch (decoded.outcome) {
        case DecodedBase64::NO_ROOM:
            raiseTooSmall(NO_ROOM_FOR_BYTE, destLen);
        case DecodedBase64::EARLY_PADDING:
            raiseMisaligned(EARLY_PADDING, src);
        case DecodedBase64::MISSING_PADDING:
            raiseMisaligned(MISSING_PADDING, src);
        case DecodedBase64::STRAY_BITS:
            raiseMisaligned(STRAY_BITS, src);
        case DecodedBase64::DATA_BEHIND:
            raiseMisaligned(DATA_BEHIND, src);
        case DecodedBase64::INCOMPLETE_GROUP:
            raiseMisaligned(INCOMPLETE_GROUP, src);
        case DecodedBase64::DONE:
        case DecodedBase64::FOREIGN_UNIT:
            break;
    }
    unsigned short unit;
    std::memcpy(&unit, src + decoded.read, sizeof unit);
    raiseInvalid(unit);
}

}  // namespace

std::size_t Base64::encodeSize(std::size_t srcLen) {
    return oss::detail::base64EncodedSize(srcLen);
}

std::size_t Base64::decodeSize(std::size_t srcLen) { return (srcLen + 3) / 4 * 3; }

std::size_t Base64::encode(unsigned short* dest, std::size_t destLen, const char* src,
                           std::size_t srcLen, bool safe) {
    const std::size_t size = encodeSize(srcLen);
    if (srcLen > MOST_BYTES || size > destLen) {
        raiseTooSmall(NO_ROOM_FOR_TEXT, destLen);
    }
    if (srcLen != 0) {
        oss::detail::encodeBase64(src, srcLen, dest, safe);
    }
    return size;
}

std::size_t Base64::encode(unsigned short* dest, std::size_t destLen, const char* src,
                           std::size_t srcLen) {
    return encode(dest, destLen, src, srcLen, /*safe=*/false);
}

std::size_t Base64::encodeSafe(unsigned short* dest, std::size_t destLen, const char* src,
                               std::size_t srcLen) {
    return encode(dest, destLen, src, srcLen, /*safe=*/true);
}

std::size_t Base64::decode(char* dest, std::size_t destLen, const unsigned short* src,
                           std::size_t srcLen, bool safe) {
    const DecodedBase64 decoded = oss::detail::decodeBase64(src, srcLen, dest, destLen, safe);
    if (decoded.outcome != DecodedBase64::DONE) {
        raiseOutcome(decoded, destLen, src);
    }
    return decoded.written;
}

std::size_t Base64::decode(char* dest, std::size_t destLen, const unsigned short* src,
                           std::size_t srcLen) {
    return decode(dest, destLen, src, srcLen, /*safe=*/false);
}

std::size_t Base64::decodeSafe(char* dest, std::size_t destLen, const unsigned short* src,
                               std::size_t srcLen) {
    return decode(dest, destLen, src, srcLen, /*safe=*/true);
}

wchar_t Base64::encode(char value, bool safe) {
    static constexpr wchar_t alphabet[] =
        L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    static constexpr wchar_t alphabetSafe[] =
        L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    return (safe ? alphabetSafe : alphabet)[value & 63];
}

char Base64::decode(unsigned short c, bool safe) {
    const int value = oss::detail::base64Value(c, safe);
    if (value == oss::detail::NO_BASE64_VALUE) {
        raiseInvalid(c);
    }
    return static_cast<char>(value);
}

void Base64::setDestValue(char* dest, std::size_t& pos, std::size_t destLen, char value) {
    if (pos >= destLen) {
        raiseTooSmall(NO_ROOM_FOR_BYTE, destLen);
    }
    dest[pos++] = value;
}

}  // namespace nx::util
