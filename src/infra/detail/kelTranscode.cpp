#include "infra/detail/kelTranscode.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>

#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelCodePageTable.h"
#include "infra/detail/kelConverterCache.h"
#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss::detail {

namespace {

// Units of text between the two halves of a conversion from bytes to bytes: half of a first-level
// cache.
constexpr std::size_t PIVOT_UNITS = 4096;
constexpr std::size_t SCRATCH_BYTES = 1024;
// More than any converter makes of a unit, escapes included.
constexpr std::size_t MOST_BYTES_PER_UNIT = 16;

/// Where bytes go: into the destination while there is room, then they are only counted.
class ByteSink {
  public:
    ByteSink(char* dest, std::size_t capacity) : dest_(dest), capacity_(capacity) {}

    char* next() const { return dest_ + used_; }
    std::size_t room() const { return capacity_ - used_; }
    std::size_t size() const { return used_ + counted_; }

    void wrote(std::size_t bytes) { used_ += bytes; }
    /// Copies the bytes as far as they fit.
    void put(const char* bytes, std::size_t length) {
        const std::size_t fitting = std::min(length, room());
        if (fitting > 0) {
            std::memcpy(next(), bytes, fitting);
            wrote(fitting);
        }
        if (fitting < length) {
            count(length - fitting);
        }
    }
    /// The next bytes do not fit; nothing is written any more.
    void count(std::size_t bytes) {
        capacity_ = used_;
        counted_ += bytes;
    }

  private:
    char* dest_;
    std::size_t capacity_;
    std::size_t used_ = 0;
    std::size_t counted_ = 0;
};

void failIfOutOfMemory(UErrorCode status) {
    if (status == U_MEMORY_ALLOCATION_ERROR) {
        raiseBadAlloc();
    }
}

// --- UTF-16 to bytes ---

/// Converts text piece by piece; a piece does not end inside a surrogate pair unless it is the
/// last.
class Encoder {
  public:
    Encoder(const char* codePage, CodePageKind kind) : codePage_(codePage), kind_(kind) {
        if (kind_ == CodePageKind::OTHER) {
            lease_.emplace(codePage_);
            kind_ = lease_->kind();
        }
    }

    bool isKnown() const { return !lease_ || lease_->get() != nullptr; }
    /// Whether the text may come in pieces.
    bool takesPieces() const { return !lease_ || lease_->isSimple(); }

    void encode(const char16_t* text, std::size_t length, bool isLast, ByteSink& sink);

  private:
    std::size_t encodeUtf8(const char16_t* text, std::size_t length, ByteSink& sink);
    std::size_t encodeLatin1(const char16_t* text, std::size_t length, ByteSink& sink);
    std::size_t encodeUtf16(const char16_t* text, std::size_t length, ByteSink& sink);
    std::size_t encodeByTable(const char16_t* text, std::size_t length, ByteSink& sink);
    void encodeByIcu(const char16_t* text, std::size_t length, bool isLast, ByteSink& sink);
    void put(const char16_t* text, const char16_t* end, bool isLast, char* scratch,
             std::size_t room, ByteSink& sink);

    const char* codePage_;
    CodePageKind kind_;
    bool byIcu_ = false;  // from the first unit on that the fast way does not convert
    std::optional<ConverterLease> lease_;
};

void Encoder::encode(const char16_t* text, std::size_t length, bool isLast, ByteSink& sink) {
    std::size_t done = 0;
    if (!byIcu_) {
        switch (kind_) {
            case CodePageKind::UTF_8:
                done = encodeUtf8(text, length, sink);
                break;
            case CodePageKind::LATIN_1:
                done = encodeLatin1(text, length, sink);
                break;
            case CodePageKind::UTF_16_LE:
            case CodePageKind::UTF_16_BE:
                done = encodeUtf16(text, length, sink);
                break;
            case CodePageKind::OTHER:
                done = encodeByTable(text, length, sink);
                break;
        }
    }
    if (done < length || byIcu_) {  // ICU may have to end what it began
        encodeByIcu(text + done, length - done, isLast, sink);
    }
}

std::size_t Encoder::encodeUtf8(const char16_t* text, std::size_t length, ByteSink& sink) {
    const Progress progress = kernels().utf16ToUtf8(text, length, sink.next(), sink.room());
    sink.wrote(progress.written);
    if (progress.read < length) {
        sink.count(kernels().utf8LengthOfUtf16(text + progress.read, length - progress.read));
    }
    return length;
}

std::size_t Encoder::encodeLatin1(const char16_t* text, std::size_t length, ByteSink& sink) {
    const std::size_t fitting = std::min(length, sink.room());
    const std::size_t written = kernels().utf16ToLatin1(text, fitting, sink.next());
    sink.wrote(written);
    if (written < fitting || written == length) {
        return written;
    }
    const std::size_t counted = kernels().latin1PrefixLength(text + written, length - written);
    sink.count(counted);
    return written + counted;
}

std::size_t Encoder::encodeUtf16(const char16_t* text, std::size_t length, ByteSink& sink) {
    const std::size_t sound = kernels().wellFormedUtf16Prefix(text, length);
    const std::size_t fitting = std::min(sound, sink.room() / sizeof *text);
    if (fitting == 0) {
        // Nothing to write, perhaps to nowhere.
    } else if (kind_ == CodePageKind::UTF_16_LE) {
        std::memcpy(sink.next(), text, fitting * sizeof *text);
    } else {
        kernels().swapUtf16(text, fitting, sink.next());
    }
    sink.wrote(fitting * sizeof *text);
    if (fitting < sound) {
        sink.count((sound - fitting) * sizeof *text);
    }
    return sound;
}

std::size_t Encoder::encodeByTable(const char16_t* text, std::size_t length, ByteSink& sink) {
    const CodePageTable* const table = lease_->table(length);
    if (table == nullptr) {
        return 0;
    }
    const Progress progress = table->encode(text, length, sink.next(), sink.room());
    sink.wrote(progress.written);
    std::size_t done = progress.read;
    char scratch[SCRATCH_BYTES];
    while (done < length && table->holds(text[done])) {
        const Progress more = table->encode(text + done, length - done, scratch, sizeof scratch);
        sink.count(more.written);
        done += more.read;
    }
    return done;
}

void Encoder::encodeByIcu(const char16_t* text, std::size_t length, bool isLast, ByteSink& sink) {
    byIcu_ = true;
    if (!lease_) {
        lease_.emplace(codePage_);
    }
    const char16_t* const end = text + length;
    // Not straight into the destination: ICU writes ahead and takes back what it cannot convert.
    if (takesPieces()) {
        char scratch[SCRATCH_BYTES];
        put(text, end, isLast, scratch, sizeof scratch, sink);
        return;
    }
    const std::size_t room = length * MOST_BYTES_PER_UNIT + MOST_BYTES_PER_UNIT;
    const auto wholeResult = std::make_unique<char[]>(room);
    put(text, end, isLast, wholeResult.get(), room, sink);
}

/// Converts by way of `scratch`, as often as it takes.
void Encoder::put(const char16_t* text, const char16_t* end, bool isLast, char* scratch,
                  std::size_t room, ByteSink& sink) {
    UErrorCode status = U_ZERO_ERROR;
    do {
        char* target = scratch;
        status = U_ZERO_ERROR;
        ucnv_fromUnicode(lease_->get(), &target, scratch + room, &text, end, nullptr, isLast,
                         &status);
        failIfOutOfMemory(status);
        sink.put(scratch, static_cast<std::size_t>(target - scratch));
    } while (status == U_BUFFER_OVERFLOW_ERROR);
}

// --- bytes to UTF-16 ---

/// Converts bytes piece by piece.
class Decoder {
  public:
    Decoder(const char* codePage, CodePageKind kind, const char* src, std::size_t length)
        : kind_(kind), src_(src), end_(src + length) {
        if (kind_ == CodePageKind::OTHER) {
            lease_.emplace(codePage);
            kind_ = lease_->kind();
        }
        codePage_ = codePage;
    }

    bool isKnown() const { return !lease_ || lease_->get() != nullptr; }
    bool isDone() const { return done_; }
    /// Whether ICU gave up on the bytes, which leaves no text at all.
    bool hasFailed() const { return failed_; }

    /// The next units, at most `capacity`, which is at least 2.
    std::size_t decode(char16_t* units, std::size_t capacity);

  private:
    std::size_t rest() const { return static_cast<std::size_t>(end_ - src_); }
    Progress decodeQuickly(char16_t* units, std::size_t capacity);
    Progress decodeUtf16(char16_t* units, std::size_t capacity) const;
    Progress decodeByTable(char16_t* units, std::size_t capacity);
    std::size_t decodeByIcu(char16_t* units, std::size_t capacity);

    const char* codePage_;
    CodePageKind kind_;
    const char* src_;
    const char* end_;
    bool byIcu_ = false;  // from the first byte on that the fast way does not convert
    bool done_ = false;
    bool failed_ = false;
    std::optional<ConverterLease> lease_;
};

std::size_t Decoder::decode(char16_t* units, std::size_t capacity) {
    std::size_t written = 0;
    if (!byIcu_) {
        const Progress progress = decodeQuickly(units, capacity);
        src_ += progress.read;
        written = progress.written;
        done_ = src_ == end_;
        // A character that only lacks room waits for the next piece.
        if (done_ || (written > 0 && capacity - written < 2)) {
            return written;
        }
    }
    return written + decodeByIcu(units + written, capacity - written);
}

Progress Decoder::decodeQuickly(char16_t* units, std::size_t capacity) {
    switch (kind_) {
        case CodePageKind::UTF_8:
            return kernels().utf8ToUtf16(src_, rest(), units, capacity);
        case CodePageKind::LATIN_1: {
            const std::size_t length = std::min(rest(), capacity);
            kernels().latin1ToUtf16(src_, length, units);
            return {length, length};
        }
        case CodePageKind::UTF_16_LE:
        case CodePageKind::UTF_16_BE:
            return decodeUtf16(units, capacity);
        default:
            return decodeByTable(units, capacity);
    }
}

Progress Decoder::decodeUtf16(char16_t* units, std::size_t capacity) const {
    const std::size_t length = std::min(rest() / sizeof *units, capacity);
    std::memcpy(units, src_, length * sizeof *units);
    if (kind_ == CodePageKind::UTF_16_BE) {
        std::transform(units, units + length, units,
                       [](char16_t unit) { return __builtin_bswap16(unit); });
    }
    const std::size_t sound = kernels().wellFormedUtf16Prefix(units, length);
    return {sound * sizeof *units, sound};
}

Progress Decoder::decodeByTable(char16_t* units, std::size_t capacity) {
    const CodePageTable* const table = lease_->table(rest());
    return table == nullptr ? Progress{0, 0} : table->decode(src_, rest(), units, capacity);
}

std::size_t Decoder::decodeByIcu(char16_t* units, std::size_t capacity) {
    byIcu_ = true;
    if (!lease_) {
        lease_.emplace(codePage_);
    }
    char16_t* target = units;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(lease_->get(), &target, units + capacity, &src_, end_, nullptr, /*flush=*/true,
                   &status);
    failIfOutOfMemory(status);
    done_ = status != U_BUFFER_OVERFLOW_ERROR;
    failed_ = done_ && U_FAILURE(status);
    return static_cast<std::size_t>(target - units);
}

std::size_t resultOf(const ByteSink& sink) { return sink.size() > INT_MAX ? 0 : sink.size(); }

/// Latin-1 to UTF-8 has a kernel of its own.
std::size_t latin1ToUtf8(char* dest, std::size_t capacity, const char* src, std::size_t length) {
    ByteSink sink(dest, capacity);
    const Progress progress = kernels().latin1ToUtf8(src, length, sink.next(), sink.room());
    sink.wrote(progress.written);
    if (progress.read < length) {
        sink.count(kernels().utf8LengthOfLatin1(src + progress.read, length - progress.read));
    }
    return resultOf(sink);
}

/// UTF-8 straight into a destination that can hold units. 0 when it cannot, or is too small.
std::size_t utf8ToUtf16Le(char* dest, std::size_t capacity, const char* src, std::size_t length) {
    constexpr bool IS_LITTLE_ENDIAN = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    const bool holdsUnits = reinterpret_cast<std::uintptr_t>(dest) % alignof(char16_t) == 0;
    if (!IS_LITTLE_ENDIAN || dest == nullptr || !holdsUnits) {
        return 0;
    }
    const Progress progress = kernels().utf8ToUtf16(src, length, reinterpret_cast<char16_t*>(dest),
                                                    capacity / sizeof(char16_t));
    return progress.read == length ? progress.written * sizeof(char16_t) : 0;
}

/// The pairs of code pages that need nothing in between. 0 when this is none of them, or when the
/// result does not fit.
std::size_t transcodeDirectly(char* dest, std::size_t capacity, CodePageKind to, const char* src,
                              std::size_t length, CodePageKind from) {
    if (from == CodePageKind::LATIN_1 && to == CodePageKind::UTF_8) {
        return latin1ToUtf8(dest, capacity, src, length);
    }
    if (from == CodePageKind::UTF_8 && to == CodePageKind::UTF_16_LE) {
        return utf8ToUtf16Le(dest, capacity, src, length);
    }
    return 0;
}

/// All of the text stands between the two halves.
std::size_t transcodeWhole(char* dest, std::size_t capacity, const char* toCodePage,
                           const char* src, std::size_t length, const char* fromCodePage) {
    const icu::UnicodeString text = decode(src, length, fromCodePage);
    return text.isEmpty() ? 0
                          : encode(dest, capacity, toCodePage, text.getBuffer(),
                                   static_cast<std::size_t>(text.length()));
}

// Why: kept out of the functions below, since its arrays cost them a guarded stack frame.
[[gnu::noinline]] std::size_t encodeAny(char* dest, std::size_t capacity, const char* toCodePage,
                                        CodePageKind kind, const char16_t* text,
                                        std::size_t length) {
    Encoder encoder(toCodePage, kind);
    if (!encoder.isKnown()) {
        return 0;
    }
    ByteSink sink(dest, capacity);
    encoder.encode(text, length, /*isLast=*/true, sink);
    return resultOf(sink);
}

[[gnu::noinline]] std::size_t transcodeAny(char* dest, std::size_t capacity, const char* toCodePage,
                                           CodePageKind to, const char* src, std::size_t length,
                                           const char* fromCodePage, CodePageKind from) {
    Decoder decoder(fromCodePage, from, src, length);
    Encoder encoder(toCodePage, to);
    if (!decoder.isKnown() || !encoder.isKnown()) {
        return 0;
    }
    if (!encoder.takesPieces()) {
        return transcodeWhole(dest, capacity, toCodePage, src, length, fromCodePage);
    }
    ByteSink sink(dest, capacity);
    char16_t pivot[PIVOT_UNITS];
    std::size_t kept = 0;
    while (!decoder.isDone()) {
        const std::size_t decoded = decoder.decode(pivot + kept, PIVOT_UNITS - kept);
        const std::size_t units = kept + decoded;
        // The first half of a pair waits for the second.
        kept = !decoder.isDone() && units > 0 && U16_IS_LEAD(pivot[units - 1]) ? 1 : 0;
        encoder.encode(pivot, units - kept, decoder.isDone(), sink);
        if (kept != 0) {
            pivot[0] = pivot[units - 1];
        }
    }
    return decoder.hasFailed() ? 0 : resultOf(sink);
}

bool overlap(const char* a, std::size_t lengthOfA, const char* b, std::size_t lengthOfB) {
    const std::less<> before;
    return before(a, b + lengthOfB) && before(b, a + lengthOfA);
}

}  // namespace

std::size_t encode(char* dest, std::size_t capacity, const char* toCodePage, const char16_t* text,
                   std::size_t length) {
    const CodePageKind kind = kindOfName(toCodePage);
    if (kind == CodePageKind::UTF_8 && capacity == 0) {
        const std::size_t size = kernels().utf8LengthOfUtf16(text, length);
        return size > INT_MAX ? 0 : size;
    }
    return encodeAny(dest, capacity, toCodePage, kind, text, length);
}

std::size_t transcode(char* dest, std::size_t capacity, const char* toCodePage, const char* src,
                      std::size_t length, const char* fromCodePage) {
    if (capacity != 0 && overlap(dest, capacity, src, length)) {
        return transcodeWhole(dest, capacity, toCodePage, src, length, fromCodePage);
    }
    const CodePageKind from = kindOfName(fromCodePage);
    const CodePageKind to = kindOfName(toCodePage);
    const std::size_t size = transcodeDirectly(dest, capacity, to, src, length, from);
    return size != 0
               ? size
               : transcodeAny(dest, capacity, toCodePage, to, src, length, fromCodePage, from);
}

icu::UnicodeString decode(const char* src, std::size_t length, const char* fromCodePage) {
    icu::UnicodeString text;
    Decoder decoder(fromCodePage, kindOfName(fromCodePage), src, length);
    if (!decoder.isKnown()) {
        text.setToBogus();
        return text;
    }
    char16_t pivot[PIVOT_UNITS];
    while (!decoder.isDone()) {
        const std::size_t decoded = decoder.decode(pivot, PIVOT_UNITS);
        const auto before = static_cast<std::size_t>(text.length());
        const std::size_t total = before + decoded;
        const bool fits = total <= static_cast<std::size_t>(text.getCapacity());
        char16_t* const buffer = writableBuffer(text, fits ? total : total + before / 2);
        std::memcpy(buffer + before, pivot, decoded * sizeof *pivot);
        text.releaseBuffer(static_cast<int32_t>(total));
    }
    if (decoder.hasFailed()) {
        text.setToBogus();
    }
    return text;
}

}  // namespace nx::oss::detail
