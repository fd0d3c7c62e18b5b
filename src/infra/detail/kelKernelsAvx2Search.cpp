#if defined(__x86_64__)

#include <cstring>

#include "infra/detail/kelAvx2.h"

// Search in text: places where the first and the last byte of the needle match are compared.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 64;

struct Needle {
    const char* text;
    std::size_t size;
    __m256i first;
    __m256i last;
};

/// Not zero where the needle may begin, and where the text ends.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i candidates(const char* src,
                                                                const Needle& needle) {
    const __m256i begins = load256(src);
    const __m256i ends = load256(src + needle.size - 1);
    const __m256i fits = _mm256_and_si256(_mm256_cmpeq_epi8(begins, needle.first),
                                          _mm256_cmpeq_epi8(ends, needle.last));
    return _mm256_or_si256(fits, _mm256_cmpeq_epi8(begins, _mm256_setzero_si256()));
}

/// One bit for each of 64 places.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint64_t placesOf(const char* src,
                                                                    const Needle& needle) {
    const __m256i low = candidates(src, needle);
    const __m256i high = candidates(src + BLOCK / 2, needle);
    const __m256i both = _mm256_or_si256(low, high);
    if (hasNone(both, both)) {
        return 0;
    }
    return byteMask(low) | std::uint64_t{byteMask(high)} << (BLOCK / 2);
}

/// What the comparison of some places came to.
struct Verdict {
    enum Outcome { GO_ON, MATCH, END, TOO_COSTLY };

    Outcome outcome;
    const char* place;
};

/// Compares in an order that a text can only delay so long: many places that begin and end as the
/// needle does are left to a search that is linear for any text.
class Comparison {
  public:
    explicit Comparison(const Needle& needle) : needle_(needle) {}

    [[KELINFRA_AVX2]] Verdict examine(const char* src, std::uint64_t places) {
        for (; places != 0; places = _blsr_u64(places)) {
            const char* const place = src + _tzcnt_u64(places);
            if (*place == '\0') {
                return {Verdict::END, nullptr};
            }
            if (std::memcmp(place, needle_.text, needle_.size) == 0) {
                return {Verdict::MATCH, place};
            }
            if (needle_.size > allowance_) {
                return {Verdict::TOO_COSTLY, place};
            }
            allowance_ -= needle_.size;
        }
        allowance_ += BLOCK;
        return {Verdict::GO_ON, nullptr};
    }

  private:
    const Needle& needle_;
    std::size_t allowance_ = 4096;  // bytes that may be compared in vain
};

[[KELINFRA_AVX2, gnu::always_inline]] inline const char* resultOf(const Verdict& verdict,
                                                                  const Needle& needle) {
    return verdict.outcome == Verdict::TOO_COSTLY ? std::strstr(verdict.place, needle.text)
                                                  : verdict.place;
}

}  // namespace

[[KELINFRA_AVX2]] const char* avx2::findText(const char* text, std::size_t length,
                                             const char* needle,
                                             std::size_t needleLength) noexcept {
    const std::size_t reach = BLOCK + needleLength - 1;
    if (length < reach || needleLength == 1) {
        return std::strstr(text, needle);
    }
    const Needle wanted{needle, needleLength, _mm256_set1_epi8(needle[0]),
                        _mm256_set1_epi8(needle[needleLength - 1])};
    Comparison comparison(wanted);
    const char* const lastBlock = text + (length - reach);
    const char* block = text;
    for (; block < lastBlock; block += BLOCK) {
        const std::uint64_t places = placesOf(block, wanted);
        if (places != 0) {
            const Verdict verdict = comparison.examine(block, places);
            if (verdict.outcome != Verdict::GO_ON) {
                return resultOf(verdict, wanted);
            }
        }
    }
    // The last block overlaps the one before; what that one has seen is left out.
    const std::uint64_t unseen = ~std::uint64_t{0} << (block - lastBlock);
    return resultOf(comparison.examine(lastBlock, placesOf(lastBlock, wanted) & unseen), wanted);
}

}  // namespace nx::oss::detail

#endif
