#if defined(__x86_64__)

#include <algorithm>

#include "infra/detail/kelAvx2Utf8.h"
#include "infra/detail/kelUtf8Scan.h"

// Checking, copying and counting UTF-8.

namespace nx::oss::detail {
namespace {

constexpr std::size_t LINE = 2 * BLOCK;

[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i continuations(__m256i bytes) {
    return _mm256_cmpgt_epi8(broadcast(0xC0), bytes);  // 80 to BF are the smallest when signed
}

struct Line {
    __m256i low;
    __m256i high;

    [[KELINFRA_AVX2, gnu::always_inline]] static Line at(const char* src) {
        return {load256(src), load256(src + BLOCK)};
    }
    [[KELINFRA_AVX2, gnu::always_inline]] void storeTo(char* dest) const {
        store256(dest, low);
        store256(dest + BLOCK, high);
    }
    [[KELINFRA_AVX2, gnu::always_inline]] bool isAscii() const {
        return byteMask(_mm256_or_si256(low, high)) == 0;
    }
};

/// Well-formedness of a text that comes in pieces, and the continuation bytes in it.
class WellFormedCount {
  public:
    [[KELINFRA_AVX2, gnu::always_inline]] void add(__m256i bytes) {
        errors_ = _mm256_or_si256(errors_, errorsOf(follow(previous_, bytes)));
        continuations_ += countBits(byteMask(continuations(bytes)));
        previous_ = bytes;
    }
    [[KELINFRA_AVX2, gnu::always_inline]] void add(const Line& line) {
        add(line.low);
        add(line.high);
    }
    /// A block whose last `size` bytes are new.
    [[KELINFRA_AVX2, gnu::always_inline]] void add(const Block& block, std::size_t size) {
        errors_ = _mm256_or_si256(errors_, errorsOf(block));
        const std::uint64_t bits = byteMask(continuations(block.here));
        continuations_ += countBits(static_cast<std::uint32_t>(bits >> (BLOCK - size)));
        previous_ = block.here;
    }
    /// ASCII follows.
    [[KELINFRA_AVX2, gnu::always_inline]] void addPlain() {
        errors_ = _mm256_or_si256(errors_, unfinished(previous_));
        previous_ = _mm256_setzero_si256();
    }
    [[KELINFRA_AVX2, gnu::always_inline]] std::size_t charactersIn(std::size_t length) const {
        const __m256i errors = _mm256_or_si256(errors_, unfinished(previous_));
        return hasNone(errors, errors) ? length - continuations_ : NO_COUNT;
    }

  private:
    __m256i previous_{};
    __m256i errors_{};
    std::size_t continuations_ = 0;
};

/// A block with at least three bytes of the text before it.
[[KELINFRA_AVX2, gnu::always_inline]] inline Block blockAt(const char* src) {
    return {load256(src), load256(src - 1), load256(src - 2), load256(src - 3)};
}

[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t countShortest(const char* src,
                                                                       std::size_t length) {
    WellFormedCount count;
    if (length >= BLOCK) {
        count.add(load256(src));
    }
    count.add(loadPart(src + length / BLOCK * BLOCK, length % BLOCK));
    return count.charactersIn(length);
}

/// Characters of less than 128 bytes, or NO_COUNT unless they are well-formed.
[[KELINFRA_AVX2]] std::size_t countShort(const char* src, std::size_t length) {
    if (length < BLOCK + 3) {
        return countShortest(src, length);
    }
    WellFormedCount count;
    count.add(load256(src));
    std::size_t done = BLOCK;
    for (; length - done >= BLOCK; done += BLOCK) {
        count.add(blockAt(src + done), BLOCK);
    }
    // The last block overlaps the one before.
    count.add(blockAt(src + length - BLOCK), length - done);
    return count.charactersIn(length);
}

/// Copies the first and the last bytes of `size`, as many as a word has, which may overlap. True
/// for ASCII.
template <class Word>
bool copyEnds(const char* src, std::size_t size, char* dest) {
    const auto first = loadWord<Word>(src);
    const auto last = loadWord<Word>(src + size - sizeof(Word));
    storeWord<Word>(dest, first);
    storeWord<Word>(dest + size - sizeof(Word), last);
    return ((first | last) & static_cast<Word>(0x8080808080808080)) == 0;
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyEnds128(const char* src, std::size_t size,
                                                              char* dest) {
    const __m128i first = load128(src);
    const __m128i last = load128(src + size - 16);
    store128(dest, first);
    store128(dest + size - 16, last);
    return _mm_movemask_epi8(_mm_or_si128(first, last)) == 0;
}

[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyEnds256(const char* src, std::size_t size,
                                                              char* dest) {
    const Line ends{load256(src), load256(src + size - BLOCK)};
    store256(dest, ends.low);
    store256(dest + size - BLOCK, ends.high);
    return ends.isAscii();
}

/// Copies 1 to 128 bytes. True for ASCII.
[[KELINFRA_AVX2, gnu::always_inline]] inline bool copyShort(const char* src, std::size_t size,
                                                            char* dest) {
    if (size > LINE) {
        const bool isAscii = copyEnds256(src, LINE, dest);
        return copyEnds256(src + size - LINE, LINE, dest + size - LINE) && isAscii;
    }
    if (size >= BLOCK) {
        return copyEnds256(src, size, dest);
    }
    if (size >= 16) {
        return copyEnds128(src, size, dest);
    }
    return size >= 8   ? copyEnds<std::uint64_t>(src, size, dest)
           : size >= 4 ? copyEnds<std::uint32_t>(src, size, dest)
           : size >= 2 ? copyEnds<std::uint16_t>(src, size, dest)
                       : copyEnds<std::uint8_t>(src, size, dest);
}

/// Copies from `done` on, in pairs of lines, as long as they are ASCII. Returns what is done then.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t copyAscii(const char* src,
                                                                   std::size_t length, char* dest,
                                                                   std::size_t done) {
    for (; length - done >= 2 * LINE; done += 2 * LINE) {
        const Line first = Line::at(src + done);
        const Line second = Line::at(src + done + LINE);
        const Line both{_mm256_or_si256(first.low, second.low),
                        _mm256_or_si256(first.high, second.high)};
        if (!both.isAscii()) {
            break;
        }
        first.storeTo(dest + done);
        second.storeTo(dest + done + LINE);
    }
    return done;
}

/// A text of at least 128 bytes.
[[KELINFRA_AVX2]] std::size_t copyLong(const char* src, std::size_t length, char* dest) {
    WellFormedCount count;
    std::size_t done = 0;
    while (length - done >= LINE) {
        const Line here = Line::at(src + done);
        here.storeTo(dest + done);
        done += LINE;
        if (here.isAscii()) {
            count.addPlain();
            done = copyAscii(src, length, dest, done);
        } else {
            count.add(here);
        }
    }
    if (length - done >= BLOCK) {
        count.add(load256(src + done));
        done += BLOCK;
    }
    // The last block overlaps the one before.
    count.add(blockAt(src + length - BLOCK), length - done);
    Line::at(src + length + 1 - LINE).storeTo(dest + length + 1 - LINE);
    return count.charactersIn(length);
}

/// The bytes that a vector examination found to be characters.
struct Run {
    std::size_t length;
    std::size_t characters;
};

/// Bytes examined at a time: few enough for counters of one byte.
constexpr std::size_t CHUNK = 32 * BLOCK;

/// Where continuation bytes are not exactly what the lead bytes before announce (bit 80), when no
/// character is longer than LONGEST bytes.
template <int LONGEST>
[[KELINFRA_AVX2, gnu::always_inline]] inline __m256i misplaced(__m256i continuation,
                                                               const Block& block) {
    __m256i announced = _mm256_subs_epu8(block.before1, broadcast(0xC0 - 0x80));
    if constexpr (LONGEST >= 3) {
        announced =
            _mm256_or_si256(announced, _mm256_subs_epu8(block.before2, broadcast(0xE0 - 0x80)));
    }
    if constexpr (LONGEST >= 4) {
        announced =
            _mm256_or_si256(announced, _mm256_subs_epu8(block.before3, broadcast(0xF0 - 0x80)));
    }
    return _mm256_xor_si256(continuation, announced);
}

/// What came of a chunk.
struct Chunk {
    __m256i errors{};   // bit 80: misplaced bytes
    __m256i largest{};  // of the bytes and the three before them
    __m256i counts{};   // continuation bytes
};

[[KELINFRA_AVX2, gnu::always_inline]] inline bool hasAtLeast(__m256i bytes, int least) {
    return byteMask(_mm256_subs_epu8(bytes, broadcast(least - 0x80))) != 0;
}

template <int LONGEST>
[[KELINFRA_AVX2, gnu::always_inline]] inline void examine(const char* src, Chunk& chunk) {
    chunk.largest = _mm256_max_epu8(chunk.largest, load256(src));
    if constexpr (LONGEST == 1) {
        return;
    }
    const Block block = blockAt(src);
    const __m256i continuation = continuations(block.here);
    chunk.errors = _mm256_or_si256(chunk.errors, misplaced<LONGEST>(continuation, block));
    chunk.counts = _mm256_sub_epi8(chunk.counts, continuation);
}

/// Whole blocks, with at least three bytes of the text before them.
template <int LONGEST>
[[KELINFRA_AVX2, gnu::always_inline]] inline void examine(const char* src, std::size_t size,
                                                          Chunk& chunk) {
    chunk.largest = load256(src - 3);
    std::size_t done = 0;
    for (; size - done >= 2 * BLOCK; done += 2 * BLOCK) {
        examine<LONGEST>(src + done, chunk);
        examine<LONGEST>(src + done + BLOCK, chunk);
    }
    if (done != size) {
        examine<LONGEST>(src + done, chunk);
    }
}

/// Bytes of the longest character that one of these may begin.
[[KELINFRA_AVX2, gnu::always_inline]] inline int longestOf(__m256i largest) {
    return !hasAtLeast(largest, 0x80)   ? 1
           : !hasAtLeast(largest, 0xE0) ? 2
           : !hasAtLeast(largest, 0xF0) ? 3
                                        : 4;
}

[[KELINFRA_AVX2, gnu::always_inline]] inline void examine(const char* src, std::size_t size,
                                                          int longest, Chunk& chunk) {
    if (longest == 1) {
        examine<1>(src, size, chunk);
    } else if (longest == 2) {
        examine<2>(src, size, chunk);
    } else if (longest == 3) {
        examine<3>(src, size, chunk);
    } else {
        examine<4>(src, size, chunk);
    }
}

[[KELINFRA_AVX2, gnu::always_inline]] inline std::size_t sumOfBytes(__m256i bytes) {
    const __m256i sums = _mm256_sad_epu8(bytes, _mm256_setzero_si256());
    const __m128i two =
        _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<std::size_t>(_mm_cvtsi128_si64(two) + _mm_extract_epi64(two, 1));
}

/// Bits of the bytes from `least` on, those of `bytes` from bit `at` on.
[[KELINFRA_AVX2, gnu::always_inline]] inline std::uint64_t bitsFrom(__m256i bytes, std::size_t at,
                                                                    int least) {
    return std::uint64_t{byteMask(_mm256_subs_epu8(bytes, broadcast(least - 0x80)))} << at;
}

/// What can be told of 64 bytes or less from the bits of their classes.
struct Classes {
    std::uint64_t continuations = 0;
    std::uint64_t leads = 0;
    std::uint64_t leadsOfThree = 0;  // or more
    std::uint64_t leadsOfFour = 0;   // or more
    std::uint64_t impossible = 0;

    /// Bytes from place `at` on.
    [[KELINFRA_AVX2, gnu::always_inline]] void add(__m256i bytes, std::size_t at) {
        const std::uint64_t aboveAscii = std::uint64_t{byteMask(bytes)} << at;
        const std::uint64_t allLeads = bitsFrom(bytes, at, 0xC0);
        continuations |= aboveAscii & ~allLeads;
        leads |= allLeads;
        leadsOfThree |= bitsFrom(bytes, at, 0xE0);
        leadsOfFour |= bitsFrom(bytes, at, 0xF0);
        impossible |= bitsFrom(bytes, at, 0xF8);
    }
    /// Whether continuation bytes stand exactly where the lead bytes announce them.
    bool isSound(std::uint64_t places) const {
        const std::uint64_t announced = leads << 1 | leadsOfThree << 2 | leadsOfFour << 3;
        return (announced & places) == continuations && impossible == 0;
    }
};

[[KELINFRA_AVX2, gnu::always_inline]] inline Run countShortRun(const char* src,
                                                               std::size_t length) {
    Classes classes;
    if (length < BLOCK) {
        classes.add(loadPart(src, length), 0);
    } else {
        const __m256i first = load256(src);
        const __m256i last = load256(src + length - BLOCK);
        if (byteMask(_mm256_or_si256(first, last)) == 0) {
            return {length, length};
        }
        classes.add(first, 0);
        classes.add(last, length - BLOCK);
    }
    if (!classes.isSound(_bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(length)))) {
        return {0, 0};
    }
    return {length, length - static_cast<std::size_t>(_mm_popcnt_u64(classes.continuations))};
}

/// Counts characters from the beginning of one, as long as continuation bytes stand exactly where
/// the lead bytes announce them. Then every other byte begins a character, and whoever skips by
/// lead bytes alone comes to the same number.
class RunCounter {
  public:
    /// At least a line.
    RunCounter(const char* src, std::size_t length) : src_(src), length_(length) {}

    [[KELINFRA_AVX2, gnu::always_inline]] Run run() {
        const __m256i first = load256(src_);
        const bool sound = addBlock(follow(_mm256_setzero_si256(), first), BLOCK) &&
                           addChunks(longestOf(first)) &&
                           // The last block overlaps the one before.
                           addBlock(blockAt(src_ + length_ - BLOCK), length_ - done_);
        return sound ? Run{done_, done_ - continuations_} : wholeCharacters();
    }

  private:
    /// A block whose last `size` bytes are new. False for misplaced bytes.
    [[KELINFRA_AVX2, gnu::always_inline]] bool addBlock(const Block& block, std::size_t size) {
        const __m256i continuation = continuations(block.here);
        const __m256i errors =
            _mm256_or_si256(misplaced<4>(continuation, block),
                            _mm256_subs_epu8(block.here, broadcast(0xF8 - 0x80)));
        if (byteMask(errors) != 0) {
            return false;
        }
        const std::uint64_t bits = byteMask(continuation);
        continuations_ += countBits(static_cast<std::uint32_t>(bits >> (BLOCK - size)));
        done_ += size;
        return true;
    }

    /// All further whole blocks, as long as characters are expected to be. False for misplaced
    /// bytes.
    [[KELINFRA_AVX2, gnu::always_inline]] bool addChunks(int longest) {
        while (length_ - done_ >= BLOCK) {
            if (longest == 1) {
                skipAscii();
            }
            const std::size_t size = std::min(CHUNK, (length_ - done_) / BLOCK * BLOCK);
            Chunk chunk;
            examine(src_ + done_, size, longest, chunk);
            const int found = longestOf(chunk.largest);
            if (found > longest) {
                longest = found;
                continue;
            }
            longest = found;
            if (byteMask(chunk.errors) != 0 || hasAtLeast(chunk.largest, 0xF8)) {
                return false;
            }
            continuations_ += sumOfBytes(chunk.counts);
            done_ += size;
        }
        return true;
    }

    /// Behind ASCII.
    [[KELINFRA_AVX2, gnu::always_inline]] void skipAscii() {
        while (length_ - done_ >= 2 * LINE + BLOCK) {
            const Line first = Line::at(src_ + done_);
            const Line second = Line::at(src_ + done_ + LINE);
            const __m256i all = _mm256_or_si256(_mm256_or_si256(first.low, first.high),
                                                _mm256_or_si256(second.low, second.high));
            if (byteMask(all) != 0) {
                return;
            }
            done_ += 2 * LINE;
        }
    }

    /// Without the character at the end that what follows belongs to.
    Run wholeCharacters() const {
        const std::size_t characters = done_ - continuations_;
        for (std::size_t back = 1; back <= 3 && back <= done_; ++back) {
            const auto byte = static_cast<unsigned char>(src_[done_ - back]);
            if (announcedLength(byte) > static_cast<int>(back)) {
                return {done_ - back, characters - 1};
            }
        }
        return {done_, characters};
    }

    const char* src_;
    std::size_t length_;
    std::size_t done_ = 0;
    std::size_t continuations_ = 0;
};

[[KELINFRA_AVX2, gnu::always_inline]] inline Run countRun(const char* src, std::size_t length) {
    return length < LINE ? countShortRun(src, length) : RunCounter(src, length).run();
}

[[KELINFRA_AVX2, gnu::noinline]] std::size_t countInRuns(const char* src, std::size_t length) {
    std::size_t done = 0;
    std::size_t characters = 0;
    for (;;) {
        const Run run = countRun(src + done, length - done);
        done += run.length;
        characters += run.characters;
        if (done >= length) {
            return characters;
        }
        // One by one past what stopped the vectors.
        for (const std::size_t stop = std::min(length, done + CHUNK); done < stop; ++characters) {
            const int size = announcedLength(static_cast<unsigned char>(src[done]));
            if (size == 0) {
                return NO_COUNT;
            }
            done += static_cast<std::size_t>(size);
        }
        if (done >= length) {
            return characters;
        }
    }
}

}  // namespace

[[KELINFRA_AVX2]] std::size_t avx2::copyUtf8Text(const char* src, std::size_t length,
                                                 char* dest) noexcept {
    if (length >= 2 * LINE) {
        return copyLong(src, length, dest);
    }
    return copyShort(src, length + 1, dest) ? length : countShort(src, length);
}

[[KELINFRA_AVX2]] std::size_t avx2::countUtf8Characters(const char* src,
                                                        std::size_t length) noexcept {
    if (length < LINE) {
        const Run run = countShortRun(src, length);
        if (run.length == length) {
            return run.characters;
        }
    }
    return countInRuns(src, length);
}

}  // namespace nx::oss::detail

#endif
