#if defined(__x86_64__)

#include <algorithm>

#include "infra/detail/kelAvx2.h"
#include "infra/detail/kelUnitSet.h"

// Kernels that look units up in sets.

namespace nx::oss::detail {
namespace {

constexpr std::size_t WORD = 64;  // units for which a word of the result has bits

/// The ASCII members of a set: the bits of the higher digits, by the lower digit.
struct AsciiTable {
    __m256i higherDigits;
};

[[KELINFRA_AVX2, gnu::always_inline]] inline AsciiTable tableOf(const UnitSet& set) {
    return {_mm256_broadcastsi128_si256(load128(set.ascii()))};
}

/// One bit for each byte that is no ASCII member; bytes from 80 on are none.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t outside(__m256i bytes,
                                                                   AsciiTable table) {
    const __m256i bitOfDigit = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 0, 0, 0, 0, 0, 0, 0, 0));
    // Looked up by the lower digit; bytes from 80 on give 0.
    const __m256i digits = _mm256_shuffle_epi8(table.higherDigits, bytes);
    const __m256i higher = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(15));
    const __m256i found = _mm256_and_si256(digits, _mm256_shuffle_epi8(bitOfDigit, higher));
    return byteMask(_mm256_cmpeq_epi8(found, _mm256_setzero_si256()));
}

/// Units as bytes, those above FF as FF.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i narrowed(__m256i first, __m256i second) {
    const __m256i largest = broadcast16(0xFF);
    return narrow(_mm256_min_epu16(first, largest), _mm256_min_epu16(second, largest));
}

/// The marks of up to 64 units by the ASCII members alone; anything behind them.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint64_t outsideAscii(const char16_t* src,
                                                                        std::size_t length,
                                                                        AsciiTable table) {
    if (length == WORD) {
        const std::uint64_t high = outside(narrowed(load256(src + 32), load256(src + 48)), table);
        return high << 32 | outside(narrowed(load256(src), load256(src + 16)), table);
    }
    std::uint64_t marks = 0;
    for (std::size_t i = 0; i < length; i += 16) {
        const __m256i units = loadUnits(src + i, std::min<std::size_t>(length - i, 16));
        const std::uint32_t part = outside(narrowed(units, units), table) & 0xFFFF;
        marks |= std::uint64_t{part} << i;
    }
    return marks;
}

/// Takes members outside ASCII off the marks of up to 64 units.
[[KELINFRA_AVX2]] std::uint64_t withoutOthers(const char16_t* src, std::uint64_t marks,
                                              const UnitSet& set) {
    for (std::uint64_t left = marks; left != 0; left &= left - 1) {
        const auto i = static_cast<std::size_t>(_tzcnt_u64(left));
        marks ^= std::uint64_t{set.has(src[i])} << i;
    }
    return marks;
}

}  // namespace

namespace avx2 {

[[KELINFRA_AVX2]] void markUnitsOutside(const char16_t* src, std::size_t length, const UnitSet& set,
                                        std::uint64_t* marks) noexcept {
    const AsciiTable table = tableOf(set);
    for (std::size_t from = 0; from < length; from += WORD) {
        const std::size_t count = std::min(length - from, WORD);
        const std::uint64_t valid = ~std::uint64_t{0} >> (WORD - count);
        const std::uint64_t outside = outsideAscii(src + from, count, table) & valid;
        marks[from / WORD] = set.hasOthers() ? withoutOthers(src + from, outside, set) : outside;
    }
}

}  // namespace avx2
}  // namespace nx::oss::detail

#endif
