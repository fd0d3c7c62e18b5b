#if defined(__x86_64__)

#include <algorithm>

#include "infra/detail/kelAvx2Utf8.h"
#include "infra/detail/kelShuffleTables.h"
#include "infra/detail/kelUtfSteps.h"

// UTF-8 to UTF-16, 32 bytes at a time. Each byte that ends a character yields the unit of that
// character, computed from this byte and the two before; the third byte of four yields the high
// surrogate, the fourth the low one. The other positions are squeezed out by a shuffle. Characters
// may therefore cross from one block to the next.

namespace nx::oss::detail {
namespace {

/// Fast blocks are stored in vectors of 8 units, up to 8 units too long. What follows overwrites
/// the excess: at least a block of source, and at least 16 units unless the destination ends.
constexpr std::size_t FAST_LENGTH = 2 * BLOCK;
constexpr std::size_t FAST_CAPACITY = BLOCK + 16;

/// Bytes decoded one character at a time after an error, before vectors are tried again.
constexpr std::size_t RECOVERY = 2 * BLOCK;

/// Bit i is set where byte i yields a unit: not at lead bytes, nor behind a lead of three or four.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint32_t unitBits(const Block& block) {
    const __m256i leads = _mm256_subs_epu8(block.here, broadcast(0xBF));
    const __m256i seconds = _mm256_subs_epu8(block.before1, broadcast(0xDF));
    const __m256i yields =
        _mm256_cmpeq_epi8(_mm256_or_si256(leads, seconds), _mm256_setzero_si256());
    return byteMask(yields);
}

/// The two bytes of the unit that each byte yields.
struct Units {
    __m256i low;
    __m256i high;
};

template <int COUNT>
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i shiftedLeft(__m256i bytes) {
    return _mm256_and_si256(_mm256_slli_epi16(bytes, COUNT), broadcast(0xFF << COUNT & 0xFF));
}

/// Characters of one to three bytes:
///     0aaaaaaa                    ->  00000000 0aaaaaaa
///     110bbbbb 10aaaaaa           ->  00000bbb bbaaaaaa
///     1110cccc 10bbbbbb 10aaaaaa  ->  ccccbbbb bbaaaaaa
[[KELINFRA_AVX2, gnu::always_inline]] inline Units unitsOf(const Block& block) {
    const __m256i low = _mm256_or_si256(shiftedLeft<6>(block.before1),
                                        _mm256_and_si256(block.here, broadcast(0x3F)));
    const __m256i cccc = shiftedLeft<4>(_mm256_subs_epu8(block.before2, broadcast(0xE0)));
    const __m256i bbbb = _mm256_and_si256(_mm256_srli_epi16(block.before1, 2), broadcast(0x0F));
    const __m256i isLong = _mm256_cmpgt_epi8(_mm256_setzero_si256(), block.here);
    return {_mm256_blendv_epi8(block.here, low, block.here),
            _mm256_and_si256(_mm256_or_si256(cccc, bbbb), isLong)};
}

/// Third and fourth bytes of characters of four:
///     11110eee 10ddcccc 10ccbbbb           ->  110110DD DDcccccc  with DDDD = eeedd - 1
///              10ddcccc 10ccbbbb 10aaaaaa  ->  110111bb bbaaaaaa
[[KELINFRA_AVX2, gnu::always_inline]] inline Units withSurrogates(const Block& block, Units units,
                                                                  __m256i third, __m256i fourth) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i notThird = _mm256_cmpeq_epi8(third, zero);
    const __m256i notFourth = _mm256_cmpeq_epi8(fourth, zero);

    // ddcccccc - 40: taking 1 from dd borrows from eee where dd is 00.
    const __m256i ddcccc = shiftedLeft<2>(block.before1);
    const __m256i cc = _mm256_and_si256(_mm256_srli_epi16(block.here, 4), broadcast(0x03));
    const __m256i low = _mm256_sub_epi8(_mm256_or_si256(ddcccc, cc), broadcast(0x40));
    const __m256i borrow =
        _mm256_cmpeq_epi8(_mm256_and_si256(block.before1, broadcast(0x30)), zero);
    const __m256i eee =
        _mm256_or_si256(_mm256_and_si256(block.before2, broadcast(0x07)), broadcast(0xD8));
    const __m256i high = _mm256_add_epi8(eee, borrow);

    const __m256i bb = _mm256_or_si256(
        _mm256_and_si256(_mm256_srli_epi16(block.before1, 2), broadcast(0x03)), broadcast(0xDC));
    units.high = _mm256_blendv_epi8(bb, units.high, notFourth);
    return {_mm256_blendv_epi8(low, units.low, notThird),
            _mm256_blendv_epi8(high, units.high, notThird)};
}

[[KELINFRA_AVX2, gnu::always_inline]] inline Units decode(const Block& block) {
    const Units units = unitsOf(block);
    const __m256i third = _mm256_subs_epu8(block.before2, broadcast(0xEF));
    const __m256i fourth = _mm256_subs_epu8(block.before3, broadcast(0xEF));
    const __m256i either = _mm256_or_si256(third, fourth);
    return hasNone(either, either) ? units : withSurrogates(block, units, third, fourth);
}

/// Stores the units of eight positions that `mask` selects, and others behind them: EXACT nothing
/// from `end` on.
template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void put(char16_t*& dest, const char16_t* end,
                                                      __m128i units, std::uint32_t mask) {
    const __m128i kept = _mm_shuffle_epi8(units, load128(KEEP_LANES.rows[mask]));
    if (!EXACT || end - dest >= 8) {
        store128(dest, kept);
    } else {
        storeBytes(dest, kept, 2 * static_cast<std::size_t>(end - dest));
    }
    dest += countBits(mask);
}

template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void putBlock(char16_t*& dest, const Units& units,
                                                           std::uint32_t mask) {
    const char16_t* const end = dest + countBits(mask);
    const __m256i even = _mm256_unpacklo_epi8(units.low, units.high);  // places 0-7, 16-23
    const __m256i odd = _mm256_unpackhi_epi8(units.low, units.high);   // places 8-15, 24-31
    put<EXACT>(dest, end, _mm256_castsi256_si128(even), mask & 0xFF);
    put<EXACT>(dest, end, _mm256_castsi256_si128(odd), mask >> 8 & 0xFF);
    put<EXACT>(dest, end, _mm256_extracti128_si256(even, 1), mask >> 16 & 0xFF);
    put<EXACT>(dest, end, _mm256_extracti128_si256(odd, 1), mask >> 24);
}

/// One conversion under way.
class Decoder {
  public:
    Decoder(const char* src, std::size_t length, char16_t* dest, std::size_t capacity)
        : src_(src), srcEnd_(src + length), clean_(src), dest_(dest), destEnd_(dest + capacity) {}

    [[KELINFRA_AVX2, gnu::always_inline]] void run() {
        __m256i previous = _mm256_setzero_si256();
        for (;;) {
            if (!runFast(previous) && !runExact(previous)) {
                return;
            }
            if (!recover()) {
                return;
            }
            previous = _mm256_setzero_si256();
        }
    }

    const char* source() const { return src_; }
    const char16_t* destination() const { return dest_; }

  private:
    std::size_t left() const { return static_cast<std::size_t>(srcEnd_ - src_); }
    std::size_t room() const { return static_cast<std::size_t>(destEnd_ - dest_); }

    /// Widens the ASCII that the source begins with in steps of 64 bytes.
    [[KELINFRA_AVX2, gnu::always_inline]] void widenAscii() {
        while (left() >= 2 * BLOCK && room() >= 2 * BLOCK) {
            const __m256i both = _mm256_or_si256(load256(src_), load256(src_ + BLOCK));
            if (byteMask(both) != 0) {
                return;
            }
            widen(src_, 2 * BLOCK, dest_);
            src_ += 2 * BLOCK;
            dest_ += 2 * BLOCK;
        }
    }

    /// Decodes whole blocks while the stores may run over. True at an error.
    [[KELINFRA_AVX2, gnu::always_inline]] bool runFast(__m256i& previous) {
        while (left() >= FAST_LENGTH && room() >= FAST_CAPACITY) {
            const __m256i here = load256(src_);
            if (byteMask(here) == 0) {
                if (endsInside(previous)) {
                    return true;
                }
                widen(src_, BLOCK, dest_);
                src_ += BLOCK;
                dest_ += BLOCK;
                widenAscii();
                previous = _mm256_setzero_si256();
                continue;
            }
            const Block block = follow(previous, here);
            if (isIllFormed(block)) {
                return true;
            }
            putBlock<false>(dest_, decode(block), unitBits(block));
            src_ += BLOCK;
            previous = here;
        }
        return false;
    }

    /// Decodes the last blocks. True at an error or when a block does not fit.
    [[KELINFRA_AVX2, gnu::always_inline]] bool runExact(__m256i& previous) {
        while (src_ != srcEnd_) {
            const std::size_t length = std::min(left(), BLOCK);
            const __m256i here = loadPart(src_, length);
            if (byteMask(here) == 0) {
                if (endsInside(previous) || length > room()) {
                    return true;
                }
                widen(src_, length, dest_);
                dest_ += length;
            } else {
                const Block block = follow(previous, here);
                const std::uint32_t mask =
                    _bzhi_u32(unitBits(block), static_cast<unsigned>(length));
                const auto size = countBits(mask);
                // Without room to spare, a high surrogate at the end of the block could lack its
                // low one.
                const bool fits = size < room() || (size == room() && length == left());
                if (isIllFormed(block) || !fits) {
                    return true;
                }
                putBlock<true>(dest_, decode(block), mask);
            }
            src_ += length;
            previous = here;
        }
        // A source of full blocks may end in a truncated sequence.
        return endsInside(previous);
    }

    /// Goes back to the beginning of the character that the vectors are inside of.
    [[gnu::always_inline]] void backUp() {
        for (std::ptrdiff_t back = 1; back <= 3 && back <= src_ - clean_; ++back) {
            const auto byte = static_cast<std::uint8_t>(src_[-back]);
            if (byte < 0x80) {
                return;
            }
            if (byte >= 0xC0) {
                // What the lead announces; impossible leads have yielded no unit either.
                const std::ptrdiff_t size = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
                if (size > back) {
                    src_ -= back;
                    dest_ -= back == 3 ? 1 : 0;  // the high surrogate is written already
                }
                return;
            }
        }
    }

    /// Decodes some characters one by one, the ill-formed sequence among them. False at the end of
    /// the source or of the destination.
    [[gnu::always_inline]] bool recover() {
        backUp();
        const char* const stop = src_ + std::min(left(), RECOVERY);
        while (src_ < stop) {
            const Character next = firstOfUtf8(src_, left());
            const std::size_t size = utf16Size(next.value);
            if (size > room()) {
                return false;
            }
            writeUtf16(next.value, dest_);
            src_ += next.size;
            dest_ += size;
        }
        clean_ = src_;
        return src_ != srcEnd_;
    }

    const char* src_;
    const char* srcEnd_;
    const char* clean_;  // the vectors started here, between characters
    char16_t* dest_;
    char16_t* destEnd_;
};

[[KELINFRA_AVX2, gnu::noinline]] Progress decodeVectors(const char* src, std::size_t length,
                                                        char16_t* dest, std::size_t capacity) {
    Decoder decoder(src, length, dest, capacity);
    decoder.run();
    return {static_cast<std::size_t>(decoder.source() - src),
            static_cast<std::size_t>(decoder.destination() - dest)};
}

/// Widens 16 bytes or less, in two parts that overlap, if all are ASCII. False, and nothing
/// written, for less than four bytes.
[[KELINFRA_AVX2, gnu::always_inline]] inline bool widenShortAscii(const char* src,
                                                                  std::size_t length,
                                                                  char16_t* dest) {
    if (length >= 8) {
        const auto first = loadWord<std::uint64_t>(src);
        const auto last = loadWord<std::uint64_t>(src + length - 8);
        if (((first | last) & 0x8080808080808080) != 0) {
            return false;
        }
        store128(dest, _mm_cvtepu8_epi16(_mm_cvtsi64_si128(static_cast<long long>(first))));
        store128(dest + length - 8,
                 _mm_cvtepu8_epi16(_mm_cvtsi64_si128(static_cast<long long>(last))));
        return true;
    }
    if (length < 4) {
        return false;
    }
    const auto first = loadWord<std::uint32_t>(src);
    const auto last = loadWord<std::uint32_t>(src + length - 4);
    if (((first | last) & 0x80808080) != 0) {
        return false;
    }
    const auto both = static_cast<long long>(first | std::uint64_t{last} << 32);
    const __m128i units = _mm_cvtepu8_epi16(_mm_cvtsi64_si128(both));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dest), units);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dest + length - 4),
                     _mm_unpackhi_epi64(units, units));
    return true;
}

}  // namespace

[[KELINFRA_AVX2]] Progress avx2::utf8ToUtf16(const char* src, std::size_t length, char16_t* dest,
                                             std::size_t capacity) noexcept {
    // Why first: the rest needs registers that it has to save.
    if (length <= BLOCK / 2) {
        if (length <= capacity && widenShortAscii(src, length, dest)) {
            return {length, length};
        }
        if (length < BLOCK / 4) {
            return scalarKernels().utf8ToUtf16(src, length, dest, capacity);
        }
    }
    return decodeVectors(src, length, dest, capacity);
}

}  // namespace nx::oss::detail

#endif
