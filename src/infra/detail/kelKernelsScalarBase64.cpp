#include "infra/detail/kelBase64Steps.h"

namespace nx::oss::detail {
namespace {

/// Eight bytes as a number, the first one highest.
inline std::uint64_t loadBigEndian(const char* src) {
    std::uint64_t bits;
    std::memcpy(&bits, src, sizeof bits);
    return BASE64_LITTLE_ENDIAN ? __builtin_bswap64(bits) : bits;
}

/// Six bytes in the same places, and zeros.
inline std::uint64_t loadTwoGroups(const char* src) {
    std::uint32_t first;
    std::uint16_t last;
    std::memcpy(&first, src, sizeof first);
    std::memcpy(&last, src + sizeof first, sizeof last);
    const std::uint64_t high = BASE64_LITTLE_ENDIAN ? __builtin_bswap32(first) : first;
    const std::uint64_t low = BASE64_LITTLE_ENDIAN ? __builtin_bswap16(last) : last;
    return high << 32 | low << 16;
}

/// The text of the highest 48 bits.
inline void encodeTwoGroups(const Base64Pairs& pairs, std::uint64_t bits, unsigned short* dest) {
    encodeBase64Pair(pairs, bits >> 52, dest);
    encodeBase64Pair(pairs, bits >> 40, dest + 2);
    encodeBase64Pair(pairs, bits >> 28, dest + 4);
    encodeBase64Pair(pairs, bits >> 16, dest + 6);
}

/// The six bytes of two groups.
inline void storeTwoGroups(std::uint32_t first, std::uint32_t second, char* dest) {
    const std::uint64_t bits = (static_cast<std::uint64_t>(first) << 24 | second) << 16;
    const std::uint64_t ordered = BASE64_LITTLE_ENDIAN ? __builtin_bswap64(bits) : bits;
    std::memcpy(dest, &ordered, 6);
}

}  // namespace

void encodeBase64Groups(const char* src, std::size_t groups, unsigned short* dest,
                        bool safe) noexcept {
    const Base64Pairs& pairs = safe ? BASE64_SAFE_PAIRS : BASE64_PAIRS;
    // Two groups at a time are read with two bytes of the third, so that one must be there.
    for (; groups > 2; groups -= 2, src += 6, dest += 8) {
        encodeTwoGroups(pairs, loadBigEndian(src), dest);
    }
    if (groups == 2) {
        encodeTwoGroups(pairs, loadTwoGroups(src), dest);
    } else if (groups == 1) {
        encodeBase64Group(pairs, src, dest);
    }
}

std::size_t decodeBase64Groups(const unsigned short* src, std::size_t groups, char* dest,
                               bool safe) noexcept {
    const Base64Places& places = safe ? BASE64_SAFE_PLACES : BASE64_PLACES;
    std::size_t done = 0;
    for (; groups - done >= 2; done += 2) {
        const std::uint32_t first = base64GroupOf(places, loadFourUnits(src + 4 * done));
        const std::uint32_t second = base64GroupOf(places, loadFourUnits(src + 4 * done + 4));
        if (((first | second) & Base64Places::FOREIGN) != 0) {
            break;
        }
        storeTwoGroups(first, second, dest + 3 * done);
    }
    for (; done < groups; ++done) {
        const std::uint32_t bits = base64GroupOf(places, loadFourUnits(src + 4 * done));
        if ((bits & Base64Places::FOREIGN) != 0) {
            break;
        }
        storeBase64Group(bits, dest + 3 * done);
    }
    return done;
}

}  // namespace nx::oss::detail
