#if defined(__x86_64__)

#include <algorithm>

#include "infra/detail/kelAvx2.h"
#include "infra/detail/kelShuffleTables.h"

// UTF-16 and Latin-1 to UTF-8, 16 units at a time: the bytes of each unit are computed in a lane of
// fixed width, and a shuffle chosen by the sizes of the units moves them together.

namespace nx::oss::detail {
namespace {

constexpr std::size_t BLOCK = 16;
constexpr std::size_t LARGEST = 3 * BLOCK;  // bytes of a block: a surrogate makes two, others three

/// Fast blocks are stored in vectors of 16 bytes, up to 14 bytes too long. What follows overwrites
/// the excess: at least a block of source and, unless the destination ends, at least 16 bytes.
constexpr std::size_t FAST_LENGTH = 2 * BLOCK;
constexpr std::size_t FAST_CAPACITY = LARGEST + 32;
constexpr std::size_t FAST_CAPACITY_SHORT = 2 * BLOCK + 16;  // units below 800

/// Where bytes go. `end` is the end of the text to write, for exact stores.
struct Output {
    char* at;
    const char* end;
};

/// The `length` <= 16 units at `src`, then zeros.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadBlock(const char16_t* src,
                                                               std::size_t length) {
    return loadUnits(src, length);
}
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i loadBlock(const char* src,
                                                               std::size_t length) {
    return _mm256_cvtepu8_epi16(length == BLOCK ? load128(src) : loadBytes(src, length));
}

/// Copies 32 units if all are ASCII.
[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyAscii32(const char16_t* src, char* dest) {
    const __m256i first = load256(src);
    const __m256i second = load256(src + 16);
    if (!hasNone(_mm256_or_si256(first, second), broadcast16(0xFF80))) {
        return false;
    }
    store256(dest, narrow(first, second));
    return true;
}
[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyAscii32(const char* src, char* dest) {
    const __m256i bytes = load256(src);
    if (_mm256_movemask_epi8(bytes) != 0) {
        return false;
    }
    store256(dest, bytes);
    return true;
}

/// Copies the ASCII that `src` begins with, in steps of 32 units; returns the number of units.
template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t copyAscii(const Unit* src,
                                                                   std::size_t limit, char* dest) {
    std::size_t done = 0;
    for (; limit - done >= 64; done += 64) {
        if (!copyAscii32(src + done, dest + done)) {
            return done;
        }
        if (!copyAscii32(src + done + 32, dest + done + 32)) {
            return done + 32;
        }
    }
    if (limit - done >= 32 && copyAscii32(src + done, dest + done)) {
        done += 32;
    }
    return done;
}

/// Stores what a shuffle has moved together, of which `size` bytes count.
template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void put(Output& out, __m128i bytes,
                                                      std::size_t size) {
    if (!EXACT || out.end - out.at >= 16) {
        store128(out.at, bytes);
    } else if (out.at < out.end) {
        storeBytes(out.at, bytes, static_cast<std::size_t>(out.end - out.at));
    }
    out.at += size;
}

template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void putLanes(Output& out, __m128i lanes,
                                                           const ShuffleTable& table,
                                                           std::uint32_t mask, std::size_t least) {
    const __m128i bytes = _mm_shuffle_epi8(lanes, load128(table.rows[mask]));
    put<EXACT>(out, bytes, least + countBits(mask));
}

/// 16 units and what is known of them.
struct Block {
    __m256i units;
    __m256i isLong;       // at least 80
    __m256i isThree;      // at least 800
    std::uint32_t sizes;  // see sizeBits
};

[[KELINFRA_AVX2, gnu::always_inline]] inline Block classify(__m256i units) {
    const __m256i isLong = isAtLeast(units, 0x80);
    const __m256i isThree = isAtLeast(units, 0x800);
    return {units, isLong, isThree, sizeBits(isLong, isThree)};
}

constexpr std::uint32_t EVEN_BITS = 0x55555555;

/// Units below 800, bit i of `mask` set for those of two bytes. Lanes of two bytes, low byte first:
///     00000000 0aaaaaaa  ->  0aaaaaaa --------
///     00000bbb bbaaaaaa  ->  110bbbbb 10aaaaaa
template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void putOneOrTwo(Output& out, __m256i units,
                                                              __m256i isLong, std::uint32_t mask) {
    const __m256i first = _mm256_srli_epi16(units, 6);
    const __m256i second = _mm256_and_si256(_mm256_slli_epi16(units, 8), broadcast16(0x3F00));
    const __m256i both = _mm256_or_si256(_mm256_or_si256(first, second), broadcast16(0x80C0));
    const __m256i lanes = _mm256_blendv_epi8(units, both, isLong);
    putLanes<EXACT>(out, _mm256_castsi256_si128(lanes), KEEP_ONE_OR_TWO, mask & 0xFF, 8);
    putLanes<EXACT>(out, _mm256_extracti128_si256(lanes, 1), KEEP_ONE_OR_TWO, mask >> 8, 8);
}

/// The bytes of each unit as 16-bit halves of a lane of four bytes: lead and middle, last and zero.
struct Lanes {
    __m256i leadMiddle;
    __m256i last;
};

/// Lanes of four bytes, of which the sizes select the last one, two or three of the first three:
///     00000000 0aaaaaaa  ->  -------- -------- 0aaaaaaa
///     00000bbb bbaaaaaa  ->  -------- 110bbbbb 10aaaaaa
///     ccccbbbb bbaaaaaa  ->  1110cccc 10bbbbbb 10aaaaaa
[[KELINFRA_AVX2, gnu::always_inline]] inline Lanes spread(const Block& block) {
    const __m256i lead = _mm256_srli_epi16(block.units, 12);
    const __m256i middle = _mm256_and_si256(_mm256_slli_epi16(block.units, 2), broadcast16(0x3F00));
    const __m256i marks = _mm256_or_si256(broadcast16(0x80E0),
                                          _mm256_andnot_si256(block.isThree, broadcast16(0x4000)));
    const __m256i last =
        _mm256_or_si256(_mm256_and_si256(block.units, broadcast16(0x3F)), broadcast16(0x80));
    return {_mm256_or_si256(_mm256_or_si256(lead, middle), marks),
            _mm256_blendv_epi8(block.units, last, block.isLong)};
}

template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline void putOneToThree(Output& out, const Lanes& lanes,
                                                                std::uint32_t sizes) {
    const __m256i even = _mm256_unpacklo_epi16(lanes.leadMiddle, lanes.last);  // units 0-3, 8-11
    const __m256i odd = _mm256_unpackhi_epi16(lanes.leadMiddle, lanes.last);   // units 4-7, 12-15
    const ShuffleTable& table = KEEP_ONE_TO_THREE;
    putLanes<EXACT>(out, _mm256_castsi256_si128(even), table, sizes & 0xFF, 4);
    putLanes<EXACT>(out, _mm256_castsi256_si128(odd), table, sizes >> 8 & 0xFF, 4);
    putLanes<EXACT>(out, _mm256_extracti128_si256(even, 1), table, sizes >> 16 & 0xFF, 4);
    putLanes<EXACT>(out, _mm256_extracti128_si256(odd, 1), table, sizes >> 24, 4);
}

/// Each unit moved to the next lane up; lane 0 becomes zero.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i fromPrevious(__m256i units) {
    return _mm256_alignr_epi8(units, _mm256_permute2x128_si256(units, units, 0x08), 14);
}

/// Each unit moved to the next lane down; lane 15 becomes `last`.
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i fromNext(__m256i units, int last) {
    const __m256i upper = _mm256_zextsi128_si256(_mm_cvtsi32_si128(last));
    return _mm256_alignr_epi8(_mm256_permute2x128_si256(units, upper, 0x21), units, 2);
}

/// Surrogates of a block: replaces the lone ones by U+FFFD and computes the bytes of pairs. Each
/// half of a pair makes two bytes, so the shuffle for two bytes serves:
///     110110pp pphhhhhh  ->  -------- 11110qqq 10qqhhhh      with qqqqq = pppp + 1
///     110111ll llaaaaaa  ->  -------- 10hhllll 10aaaaaa      with hh from the unit before
/// Sets `sizes` too. `next` is the unit after the block, or 0.
[[KELINFRA_AVX2, gnu::always_inline]] inline Lanes spreadSurrogates(__m256i given, char16_t next,
                                                                    std::uint32_t& sizes) {
    const __m256i isHigh = hasBits(given, 0xFC00, 0xD800);
    const __m256i isLow = hasBits(given, 0xFC00, 0xDC00);
    const int nextIsLow = (next & 0xFC00) == 0xDC00 ? 0xFFFF : 0;
    const __m256i first = _mm256_and_si256(isHigh, fromNext(isLow, nextIsLow));
    const __m256i second = _mm256_and_si256(isLow, fromPrevious(isHigh));
    const __m256i paired = _mm256_or_si256(first, second);
    const __m256i lone = _mm256_andnot_si256(paired, _mm256_or_si256(isHigh, isLow));

    const Block block = classify(_mm256_blendv_epi8(given, broadcast16(0xFFFD), lone));
    sizes = sizeBits(block.isLong, _mm256_andnot_si256(paired, block.isThree));
    const Lanes lanes = spread(block);

    const __m256i six = broadcast16(0x3F);
    const __m256i raised = _mm256_add_epi16(_mm256_and_si256(block.units, broadcast16(0x3FF)),
                                            broadcast16(0x40));  // qq qqqhhhhhh
    const __m256i firstMiddle =
        _mm256_or_si256(_mm256_and_si256(raised, broadcast16(0x700)), broadcast16(0xF000));
    const __m256i firstLast =
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(raised, 2), six), broadcast16(0x80));
    const __m256i hh =
        _mm256_slli_epi16(_mm256_and_si256(fromPrevious(block.units), broadcast16(3)), 12);
    const __m256i llll = _mm256_and_si256(_mm256_slli_epi16(block.units, 2), broadcast16(0x0F00));
    const __m256i secondMiddle = _mm256_or_si256(_mm256_or_si256(hh, llll), broadcast16(0x8000));
    return {_mm256_blendv_epi8(_mm256_blendv_epi8(lanes.leadMiddle, firstMiddle, first),
                               secondMiddle, second),
            _mm256_blendv_epi8(lanes.last, firstLast, first)};
}

constexpr bool splitsPair(char16_t last, char16_t next) {
    return (last & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00;
}

/// Encodes the `length` <= 16 units of a block that begins `left` units; the bytes of ill-formed
/// text count as three. When the last unit and the one behind the block are a pair, that unit is
/// left for the next block. {0, 0} if the bytes do not fit.
template <bool EXACT>
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encodeSurrogates(const char16_t* src,
                                                                       std::size_t length,
                                                                       std::size_t left, char* dest,
                                                                       std::size_t room) {
    const char16_t next = left > BLOCK ? src[BLOCK] : char16_t{0};
    std::uint32_t sizes = 0;
    const Lanes lanes = spreadSurrogates(loadBlock(src, length), next, sizes);
    const bool split = length == BLOCK && splitsPair(src[BLOCK - 1], next);
    const std::size_t size = length + countBits(sizes) - (split ? 2 : 0);
    if (size > room) {
        return {0, 0};
    }
    Output out{dest, dest + size};
    putOneToThree<EXACT>(out, lanes, sizes);
    return {length - (split ? 1 : 0), size};
}

/// Why: out of line, since the loop below runs much faster with its constants in registers.
[[KELINFRA_AVX2, gnu::noinline]] Progress encodeSurrogatesFast(const char16_t* src,
                                                               std::size_t left, char* dest) {
    return encodeSurrogates<false>(src, BLOCK, left, dest, FAST_CAPACITY);
}

/// Stores the bytes of a block without surrogates, `size` in all, and nothing behind them.
[[KELINFRA_AVX2, gnu::always_inline]] inline void storeExact(const Block& block, char* dest,
                                                             std::size_t size) {
    Output out{dest, dest + size};
    if (block.sizes == 0) {
        put<true>(out, narrow(block.units), BLOCK);
    } else if ((block.sizes & ~EVEN_BITS) == 0) {
        putOneOrTwo<true>(out, block.units, block.isLong, _pext_u32(block.sizes, EVEN_BITS));
    } else {
        putOneToThree<true>(out, spread(block), block.sizes);
    }
}

template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline bool hasSurrogates(const Block& block) {
    return sizeof(Unit) == 2 && (block.sizes & ~EVEN_BITS) != 0 &&
           byteMask(hasBits(block.units, 0xF800, 0xD800)) != 0;
}

template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline bool isShort(__m256i units) {
    return sizeof(Unit) == 1 || hasNone(units, broadcast16(0xF800));
}

/// Goes on behind `done` with blocks of units below 800 while the stores may run over, up to two
/// blocks of ASCII.
template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encodeShort(const Unit* src,
                                                                  std::size_t length, char* dest,
                                                                  std::size_t capacity,
                                                                  Progress done) {
    if (length - done.read < FAST_LENGTH || capacity - done.written < FAST_CAPACITY_SHORT) {
        return done;
    }
    const Unit* from = src + done.read;
    const Unit* const lastFrom = src + (length - FAST_LENGTH);
    Output out{dest + done.written, nullptr};
    const char* const lastTo = dest + (capacity - FAST_CAPACITY_SHORT);
    std::uint32_t previous = 1;
    while (from <= lastFrom && out.at <= lastTo) {
        const __m256i units = loadBlock(from, BLOCK);
        const __m256i isLong = _mm256_cmpgt_epi16(units, broadcast16(0x7F));
        const std::uint32_t mask = _pext_u32(byteMask(isLong), EVEN_BITS);
        if (!isShort<Unit>(units)) {
            break;
        }
        putOneOrTwo<false>(out, units, isLong, mask);
        from += BLOCK;
        if ((mask | previous) == 0) {
            break;
        }
        previous = mask;
    }
    return {static_cast<std::size_t>(from - src), static_cast<std::size_t>(out.at - dest)};
}

/// Goes on behind `done` with blocks that contain longer units while the stores may run over.
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encodeLong(const char16_t* src,
                                                                 std::size_t length, char* dest,
                                                                 std::size_t capacity,
                                                                 Progress done) {
    while (length - done.read >= FAST_LENGTH && capacity - done.written >= FAST_CAPACITY) {
        const char16_t* const from = src + done.read;
        char* const to = dest + done.written;
        const Block block = classify(loadBlock(from, BLOCK));
        if ((block.sizes & ~EVEN_BITS) == 0) {
            break;
        }
        if (hasSurrogates<char16_t>(block)) {
            const Progress step = encodeSurrogatesFast(from, length - done.read, to);
            done.read += step.read;
            done.written += step.written;
            continue;
        }
        Output out{to, nullptr};
        putOneToThree<false>(out, spread(block), block.sizes);
        done.read += BLOCK;
        done.written += BLOCK + countBits(block.sizes);
    }
    return done;
}
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encodeLong(const char*, std::size_t, char*,
                                                                 std::size_t, Progress done) {
    return done;
}

/// Encodes the `length` <= 16 units of a block that begins `left` units and stores nothing behind
/// them. {0, 0} if the bytes do not fit.
template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encodeBlock(const Unit* src,
                                                                  std::size_t length,
                                                                  std::size_t left, char* dest,
                                                                  std::size_t room) {
    const Block block = classify(loadBlock(src, length));
    if constexpr (sizeof(Unit) == 2) {
        if (hasSurrogates<Unit>(block)) {
            return encodeSurrogates<true>(src, length, left, dest, room);
        }
    }
    const std::size_t size = length + countBits(block.sizes);
    if (size > room) {
        return {0, 0};
    }
    storeExact(block, dest, size);
    return {length, size};
}

Progress encodePlain(const char16_t* src, std::size_t length, char* dest, std::size_t capacity) {
    return scalarKernels().utf16ToUtf8(src, length, dest, capacity);
}
Progress encodePlain(const char* src, std::size_t length, char* dest, std::size_t capacity) {
    return scalarKernels().latin1ToUtf8(src, length, dest, capacity);
}

/// Copies BLOCK units or less, two words that overlap, if all are ASCII. False, and nothing
/// written, for less than four units.
[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyShortAscii(const char16_t* src,
                                                                 std::size_t length, char* dest) {
    if (length >= 8) {
        const __m128i first = load128(src);
        const __m128i last = load128(src + length - 8);
        const __m128i high = _mm_set1_epi16(~0x7F);
        if (_mm_testz_si128(_mm_or_si128(first, last), high) == 0) {
            return false;
        }
        const __m128i bytes = _mm_packus_epi16(first, last);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dest), bytes);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dest + length - 8),
                         _mm_unpackhi_epi64(bytes, bytes));
        return true;
    }
    if (length < 4) {
        return false;
    }
    const auto first = loadWord<std::uint64_t>(reinterpret_cast<const char*>(src));
    const auto last = loadWord<std::uint64_t>(reinterpret_cast<const char*>(src + length - 4));
    if (((first | last) & 0xFF80FF80FF80FF80) != 0) {
        return false;
    }
    const __m128i both =
        _mm_set_epi64x(static_cast<long long>(last), static_cast<long long>(first));
    const auto bytes = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(both, both)));
    storeWord<std::uint32_t>(dest, bytes);
    storeWord<std::uint32_t>(dest + length - 4, bytes >> 32);
    return true;
}

template <class Word>
[[gnu::always_inline]] inline bool copyAsciiWords(const char* src, std::size_t length, char* dest) {
    const Word first = loadWord<Word>(src);
    const Word last = loadWord<Word>(src + length - sizeof(Word));
    if (((first | last) & static_cast<Word>(0x8080808080808080)) != 0) {
        return false;
    }
    storeWord<Word>(dest, first);
    storeWord<Word>(dest + length - sizeof(Word), last);
    return true;
}
[[gnu::always_inline]] inline bool copyShortAscii(const char* src, std::size_t length, char* dest) {
    return length >= 8   ? copyAsciiWords<std::uint64_t>(src, length, dest)
           : length >= 4 ? copyAsciiWords<std::uint32_t>(src, length, dest)
                         : false;
}

/// Goes on behind `done` with short texts and the last blocks of others, to the end.
///
/// Why: the stages take and return what is done in two registers. Adding up their results instead
/// passes them through memory, which costs more than a block.
template <class Unit>
[[KELINFRA_AVX2, gnu::noinline]] Progress encodeExact(const Unit* src, std::size_t length,
                                                      char* dest, std::size_t capacity,
                                                      Progress done) {
    while (done.read < length) {
        const std::size_t left = length - done.read;
        const std::size_t room = capacity - done.written;
        const Progress step =
            encodeBlock(src + done.read, std::min(left, BLOCK), left, dest + done.written, room);
        if (step.read == 0) {
            // Some characters of a block that does not fit as a whole may do so.
            const Progress rest = encodePlain(src + done.read, left, dest + done.written, room);
            return {done.read + rest.read, done.written + rest.written};
        }
        done.read += step.read;
        done.written += step.written;
    }
    return done;
}

/// Goes on behind `done` until the stores may run over no more.
template <class Unit>
[[KELINFRA_AVX2, gnu::noinline]] Progress encodeFast(const Unit* src, std::size_t length,
                                                     char* dest, std::size_t capacity,
                                                     Progress done) {
    for (std::size_t before = length; done.read != before;) {
        before = done.read;
        done = encodeShort(src, length, dest, capacity, done);
        done = encodeLong(src, length, dest, capacity, done);
        const std::size_t limit = std::min(length - done.read, capacity - done.written);
        const std::size_t ascii = copyAscii(src + done.read, limit, dest + done.written);
        done.read += ascii;
        done.written += ascii;
    }
    return done;
}

template <class Unit>
[[KELINFRA_AVX2, gnu::noinline]] Progress encodeVectors(const Unit* src, std::size_t length,
                                                        char* dest, std::size_t capacity) {
    const std::size_t ascii = copyAscii(src, std::min(length, capacity), dest);
    Progress done{ascii, ascii};
    if (ascii == length) {
        return done;
    }
    if (length - ascii >= FAST_LENGTH) {
        done = encodeFast(src, length, dest, capacity, done);
    }
    return encodeExact(src, length, dest, capacity, done);
}

/// Why: tests first what is short, since the rest needs registers that it has to save.
template <class Unit>
[[KELINFRA_AVX2, gnu::always_inline]] inline Progress encode(const Unit* src, std::size_t length,
                                                             char* dest, std::size_t capacity) {
    if (length <= BLOCK) {
        if (length <= capacity && copyShortAscii(src, length, dest)) {
            return {length, length};
        }
        if (length < BLOCK / 2) {
            return encodePlain(src, length, dest, capacity);
        }
    }
    return encodeVectors(src, length, dest, capacity);
}

}  // namespace

[[KELINFRA_AVX2]] Progress avx2::utf16ToUtf8(const char16_t* src, std::size_t length, char* dest,
                                             std::size_t capacity) noexcept {
    return encode(src, length, dest, capacity);
}

[[KELINFRA_AVX2]] Progress avx2::latin1ToUtf8(const char* src, std::size_t length, char* dest,
                                              std::size_t capacity) noexcept {
    return encode(src, length, dest, capacity);
}

}  // namespace nx::oss::detail

#endif
