#include "infra/detail/kelBase64Steps.h"

namespace nx::oss::detail {
namespace {

/// Eight bytes as a number, the first one highest.
inline std::uint64_t loadBigEndian(const char* src) {
    std::uint64_t bits;
    std::memcpy(&bits, src, sizeof bits);
    return BASE64_LITTLE_ENDIAN ? __builtin_bswap64(bits) : bits;
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
        const std::uint64_t bits = loadBigEndian(src);
        encodeBase64Pair(pairs, bits >> 52, dest);
        encodeBase64Pair(pairs, bits >> 40, dest + 2);
        encodeBase64Pair(pairs, bits >> 28, dest + 4);
        encodeBase64Pair(pairs, bits >> 16, dest + 6);
    }
    for (; groups > 0; --groups, src += 3, dest += 4) {
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
