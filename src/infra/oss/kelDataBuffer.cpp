#include <infra/oss/kelDataBuffer.h>

#include <infra/oss/kelMessage.h>
#include <infra/oss/kelNLSException.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <unicode/ucnv.h>

#include "infra/detail/kelCheckedSize.h"
#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelCopyBytes.h"
#include "infra/detail/kelDecimalText.h"
#include "infra/detail/kelHexText.h"
#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelShortText.h"
#include "infra/detail/kelTextBlock.h"
#include "infra/detail/kelTextReplace.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss {

using detail::TextBlock;
using detail::TextReplacement;
using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr const char* FILE_NAME = "kelDataBuffer.cpp";
constexpr detail::ErrorSite REFUSED_CODE_PAGE_APPEND{"ERR_CONV_CONVERSION_ERROR", FILE_NAME, 657};
constexpr detail::ErrorSite REFUSED_CODE_PAGE_INSERT{"ERR_CONV_CONVERSION_ERROR", FILE_NAME, 1008};
constexpr detail::ErrorSite BAD_BINARY_LENGTH{"ERR_DB_INVALID_BINARY_DATA", FILE_NAME, 1575};
constexpr detail::ErrorSite BAD_BINARY_QUOTES{"ERR_DB_INVALID_BINARY_DATA", FILE_NAME, 1585};
constexpr detail::ErrorSite BAD_BINARY_DIGIT{"ERR_DB_INVALID_BINARY_DATA", FILE_NAME, 1595};
constexpr detail::ErrorSite BINARY_BUFFER_TOO_SMALL{"ERR_BUFFER_SIZE_TOO_SMALL", FILE_NAME, 1610};

constexpr int INLINE_CAPACITY = Constants::DATABUFFER_BUFFER_SIZE;
constexpr std::size_t LARGEST_CAPACITY = INT_MAX - 1;

constexpr std::string_view BINARY_OPEN = "X'";
constexpr std::string_view BINARY_CLOSE = "'";
constexpr std::size_t BINARY_QUOTES = BINARY_OPEN.size() + BINARY_CLOSE.size();

/// The capacity that makes room for `added` more characters. Throws std::bad_alloc for more than an
/// int can count.
std::size_t grownCapacity(std::size_t added, int length) {
    const std::size_t capacity =
        detail::sizeSum(added, static_cast<std::size_t>(length)) + INLINE_CAPACITY;
    if (capacity > LARGEST_CAPACITY) {
        detail::raiseBadAlloc();
    }
    return capacity;
}

/// The length of a text as a count of characters. A longer text than any buffer holds does not fit.
int countOf(const char* text) {
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    if (length > LARGEST_CAPACITY) {
        detail::raiseBadAlloc();
    }
    return static_cast<int>(length);
}

/// Refuses the code pages whose bytes hold NULs. Only these spellings: the others are not refused.
void requireByteCodePage(const char* codePage, const detail::ErrorSite& site) {
    const char* const name = codePage != nullptr ? codePage : ucnv_getDefaultName();
    if (detail::isName(name, "utf-16") || detail::isName(name, "utf-32")) {
        detail::raise<NLSException>(site, name, name);
    }
}

bool isEmptyText(const char* text) { return text == nullptr || *text == '\0'; }

}  // namespace

const char OSS_DB_HEXSTRINGS[256][3] = {
    "00", "01", "02", "03", "04", "05", "06", "07", "08", "09", "0a", "0b", "0c", "0d", "0e", "0f",
    "10", "11", "12", "13", "14", "15", "16", "17", "18", "19", "1a", "1b", "1c", "1d", "1e", "1f",
    "20", "21", "22", "23", "24", "25", "26", "27", "28", "29", "2a", "2b", "2c", "2d", "2e", "2f",
    "30", "31", "32", "33", "34", "35", "36", "37", "38", "39", "3a", "3b", "3c", "3d", "3e", "3f",
    "40", "41", "42", "43", "44", "45", "46", "47", "48", "49", "4a", "4b", "4c", "4d", "4e", "4f",
    "50", "51", "52", "53", "54", "55", "56", "57", "58", "59", "5a", "5b", "5c", "5d", "5e", "5f",
    "60", "61", "62", "63", "64", "65", "66", "67", "68", "69", "6a", "6b", "6c", "6d", "6e", "6f",
    "70", "71", "72", "73", "74", "75", "76", "77", "78", "79", "7a", "7b", "7c", "7d", "7e", "7f",
    "80", "81", "82", "83", "84", "85", "86", "87", "88", "89", "8a", "8b", "8c", "8d", "8e", "8f",
    "90", "91", "92", "93", "94", "95", "96", "97", "98", "99", "9a", "9b", "9c", "9d", "9e", "9f",
    "a0", "a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "a9", "aa", "ab", "ac", "ad", "ae", "af",
    "b0", "b1", "b2", "b3", "b4", "b5", "b6", "b7", "b8", "b9", "ba", "bb", "bc", "bd", "be", "bf",
    "c0", "c1", "c2", "c3", "c4", "c5", "c6", "c7", "c8", "c9", "ca", "cb", "cc", "cd", "ce", "cf",
    "d0", "d1", "d2", "d3", "d4", "d5", "d6", "d7", "d8", "d9", "da", "db", "dc", "dd", "de", "df",
    "e0", "e1", "e2", "e3", "e4", "e5", "e6", "e7", "e8", "e9", "ea", "eb", "ec", "ed", "ee", "ef",
    "f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7", "f8", "f9", "fa", "fb", "fc", "fd", "fe", "ff",
};

/// Text that an operation reads while it changes the buffer: copied first when it lies inside the
/// buffer.
class DataBuffer::StableText {
  public:
    StableText(const DataBuffer& buffer, const char* text, std::size_t length)
        : text_(text), length_(length) {
        if (!buffer.isInside(text)) {
            return;
        }
        const char* const end = buffer.data_ + buffer.capacity_ + 1;
        copy_ = std::make_unique<char[]>(length + 1);
        std::memcpy(copy_.get(), text, std::min(length, static_cast<std::size_t>(end - text)));
        text_ = copy_.get();
    }

    const char* get() const { return text_; }
    std::string_view view() const { return {text_, length_}; }

  private:
    const char* text_;
    std::size_t length_;
    std::unique_ptr<char[]> copy_;
};

DataBuffer::DataBuffer() : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    clear();
}

DataBuffer::DataBuffer(Unfilled) : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    // A host sees what it sees of any other buffer.
    if (detail::traceFacilityPresent()) {
        clear();
    }
    leaveUnfilled();
}

DataBuffer::DataBuffer(int size) : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    clear();
    if (size > static_cast<int>(LARGEST_CAPACITY)) {
        detail::raiseBadAlloc();
    }
    if (size > INLINE_CAPACITY) {
        data_ = TextBlock::allocateZeroed(static_cast<std::size_t>(size) + 1);
        capacity_ = size;
    }
}

DataBuffer::DataBuffer(const char* text) : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    clear();
    appendString(text);
}

DataBuffer::DataBuffer(const icu::UnicodeString& text, const char* codePage) : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    clear();
    appendString(text, codePage);
}

DataBuffer::DataBuffer(const DataBuffer& other) : data_(inline_) {
    TraceExit trace(TracePoint::DATA_BUFFER_CONSTRUCT);
    *this = other;
}

DataBuffer& DataBuffer::operator=(const DataBuffer& other) {
    if (this == &other) {
        return *this;
    }
    const auto length = static_cast<std::size_t>(other.length_);
    if (other.length_ > INLINE_CAPACITY) {
        const std::size_t capacity = grownCapacity(length, /*length=*/0);
        char* const block = TextBlock::allocate(capacity + 1);
        std::memcpy(block, other.data_, length);
        install(block, capacity, length);
    } else {
        clear(/*keepBytes=*/true);
        std::memcpy(inline_, other.data_, length);
        std::memset(inline_ + length, 0, sizeof inline_ - length);
        length_ = other.length_;
    }
    return *this;
}

DataBuffer& DataBuffer::operator=(const icu::UnicodeString& text) {
    clear();
    appendString(text, nullptr);
    return *this;
}

DataBuffer::~DataBuffer() {
    TraceExit trace(TracePoint::DATA_BUFFER_DESTROY);
    if (usesHeap()) {
        TextBlock::release(data_);
    }
}

void DataBuffer::clear(bool keepBytes) {
    TraceScope trace(TracePoint::DATA_BUFFER_CLEAR);
    if (!keepBytes) {
        std::memset(inline_, 0, sizeof inline_);
    }
    if (usesHeap()) {
        TextBlock::release(data_);
    }
    length_ = 0;
    data_ = inline_;
    capacity_ = INLINE_CAPACITY;
}

void DataBuffer::forget() {
    if (usesHeap() || detail::traceFacilityPresent()) {
        clear(/*keepBytes=*/true);
    }
    leaveUnfilled();
}

void DataBuffer::leaveUnfilled() {
    static_assert(detail::SHORT_BLOCK < INLINE_CAPACITY);
    length_ = 0;
    capacity_ = 0;
    std::memset(inline_, 0, detail::SHORT_BLOCK + 1);
}

void DataBuffer::clearForText() {
    if (capacity_ == 0 || usesHeap()) {
        clear();
        return;
    }
    TraceScope trace(TracePoint::DATA_BUFFER_CLEAR);
    std::memset(inline_, 0, static_cast<std::size_t>(length_));
    length_ = 0;
}

const char* DataBuffer::replaceByBlock(const char16_t* units, std::size_t count) {
    // A longer content would have to be zeroed.
    const bool fits =
        count <= detail::SHORT_BLOCK && length_ <= int{detail::SHORT_BLOCK} && !usesHeap();
    if (!fits || detail::traceFacilityPresent() ||
        !detail::copyAsciiToBlock(units, count, inline_)) {
        return nullptr;
    }
    length_ = static_cast<int>(count);
    return inline_;
}

const char* DataBuffer::getString() const { return data_; }

int DataBuffer::length() const { return length_; }

int DataBuffer::capacity() const { return capacity_; }

bool DataBuffer::usesHeap() const { return data_ != inline_; }

void DataBuffer::install(char* block, std::size_t capacity, std::size_t length) {
    clear();
    data_ = block;
    setExtent(capacity, length);
}

/// Makes the first `length` characters of the storage the content. As after each step of growth,
/// NULs follow.
void DataBuffer::setExtent(std::size_t capacity, std::size_t length) {
    capacity_ = static_cast<int>(capacity);
    length_ = static_cast<int>(length);
    std::memset(data_ + length, 0, capacity - length + 1);
}

/// Characters before `end`, up to their first NUL.
std::size_t DataBuffer::leadingText(std::size_t end) const {
    const std::size_t known = usesHeap() ? std::min(TextBlock::of(data_).nulFree, end) : 0;
    return known + strnlen(data_ + known, end - known);
}

/// Opens a gap of `width` characters at `at` and counts it as content; the caller fills it.
/// `requested` is what the growth rule counts.
char* DataBuffer::makeGap(std::size_t at, std::size_t width, std::size_t requested) {
    const auto length = static_cast<std::size_t>(length_);
    if (requested > static_cast<std::size_t>(capacity_) - length) {
        return makeGapGrowing(at, width, requested);
    }
    char* const gap = data_ + at;
    if (at < length) {
        // Required: the tail ends at its first NUL. Bounded by the length, since forgotten
        // characters may follow it.
        const std::size_t tail = strnlen(gap, length - at);
        std::memmove(gap + width, gap, tail + 1);
        if (at + tail < length) {
            // What follows that NUL stays in place, so the new end of the content holds nothing
            // yet.
            char* const filled = std::max(gap + width + tail + 1, data_ + length);
            std::memset(filled, 0, static_cast<std::size_t>(data_ + length + width - filled));
        }
    }
    if (usesHeap()) {
        std::size_t& nulFree = TextBlock::of(data_).nulFree;
        nulFree = std::min(nulFree, at);
    }
    length_ = static_cast<int>(length + width);
    data_[length_] = '\0';
    return gap;
}

char* DataBuffer::makeGapGrowing(std::size_t at, std::size_t width, std::size_t requested) {
    const std::size_t capacity = grownCapacity(requested, length_);
    // Required: growing keeps text only, so each piece ends at its first NUL.
    const std::size_t prefix = leadingText(at);
    const std::size_t tail = strnlen(data_ + at, static_cast<std::size_t>(length_) - at);
    const std::size_t length = prefix + width + tail;
    if (usesHeap()) {
        data_ = TextBlock::extend(data_, capacity + 1);
        // The storage is kept, but a host sees each step of growth give up the old one.
        TraceScope trace(TracePoint::DATA_BUFFER_CLEAR);
        std::memmove(data_ + prefix + width, data_ + at, tail);
        setExtent(capacity, length);
    } else {
        char* const block = TextBlock::allocate(capacity + 1);
        std::memcpy(block, data_, prefix);
        std::memcpy(block + prefix + width, data_ + at, tail);
        install(block, capacity, length);
    }
    TextBlock::of(data_).nulFree = length;
    return data_ + prefix;
}

inline bool DataBuffer::isInside(const char* text) const {
    // One comparison: what lies before the storage is far behind it, too.
    return reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(data_) <=
           static_cast<std::uintptr_t>(capacity_);
}

/// Most insertions: at the end, from elsewhere, and they fit. False, and nothing done, for others.
[[gnu::always_inline]] inline bool DataBuffer::appendQuickly(const char* text, int count) {
    if (text == nullptr || count < 1 || count > capacity_ - length_ || isInside(text)) {
        return false;
    }
    char* const end = data_ + length_;
    detail::copyBytes(end, text, static_cast<std::size_t>(count));
    length_ += count;
    data_[length_] = '\0';
    return true;
}

/// Why: without a host that listens there is nothing to bracket, and the brackets would take as
/// long as a short text.
[[gnu::always_inline]] inline bool DataBuffer::appendUntraced(const char* text, int count) {
    return !detail::traceFacilityPresent() && appendQuickly(text, count);
}

void DataBuffer::saveString(int position, const char* text, int count) {
    TraceScope trace(TracePoint::DATA_BUFFER_SAVE_STRING);
    if (text == nullptr || count < 1) {
        return;
    }
    if (position < length_ || !appendQuickly(text, count)) {
        insert(position, text, static_cast<std::size_t>(count));
    }
}

void DataBuffer::insert(int position, const char* text, std::size_t requested) {
    const bool grows = requested > static_cast<std::size_t>(capacity_ - length_);
    if (grows) {
        grownCapacity(requested, length_);  // refused before the text is looked at
    }
    const StableText source(*this, text, requested);
    const std::size_t width = grows ? strnlen(source.get(), requested) : requested;
    const auto at = static_cast<std::size_t>(std::clamp(position, 0, length_));
    std::memcpy(makeGap(at, width, requested), source.get(), width);
}

[[gnu::noinline]] void DataBuffer::appendTraced(const char* text, int count) {
    TraceScope trace(TracePoint::DATA_BUFFER_APPEND_STRING);
    saveString(length_, text, count);
}

void DataBuffer::appendString(const char* text) { appendString(text, countOf(text)); }

void DataBuffer::appendString(const char* text, int count) {
    if (!appendUntraced(text, count)) {
        appendTraced(text, count);
    }
}

void DataBuffer::appendString(const DataBuffer& other) { appendString(other.data_, other.length_); }

void DataBuffer::insertString(int position, const char* text) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_STRING);
    saveString(position, text, countOf(text));
}

void DataBuffer::insertString(int position, const char* text, int count) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_STRING);
    saveString(position, text, count);
}

void DataBuffer::insertString(int position, const DataBuffer& other) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_STRING);
    saveString(position, other.data_, other.length_);
}

void DataBuffer::appendString(const icu::UnicodeString& text, const char* codePage) {
    TraceScope trace(TracePoint::DATA_BUFFER_APPEND_STRING);
    requireByteCodePage(codePage, REFUSED_CODE_PAGE_APPEND);
    if (!appendInPlace(text, codePage)) {
        insertConverted(length_, text, codePage);
    }
}

void DataBuffer::insertString(int position, const icu::UnicodeString& text, const char* codePage) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_STRING);
    requireByteCodePage(codePage, REFUSED_CODE_PAGE_INSERT);
    insertConverted(position, text, codePage);
}

/// Converts straight to the end of the content. False, and nothing changed, unless the code page is
/// a usual one and the bytes fit.
bool DataBuffer::appendInPlace(const icu::UnicodeString& text, const char* codePage) {
    char* const end = data_ + length_;
    const char first = *end;
    const std::size_t count = detail::tryEncode(end, static_cast<std::size_t>(capacity_ - length_),
                                                detail::kindOfName(codePage), text.getBuffer(),
                                                static_cast<std::size_t>(text.length()));
    if (count == 0) {
        *end = first;
        return false;
    }
    TraceScope trace(TracePoint::DATA_BUFFER_SAVE_STRING);
    length_ += static_cast<int>(count);
    data_[length_] = '\0';
    return true;
}

void DataBuffer::insertConverted(int position, const icu::UnicodeString& text,
                                 const char* codePage) {
    const char16_t* const units = text.getBuffer();
    const auto length = static_cast<std::size_t>(text.length());
    const std::size_t size = detail::encode(nullptr, 0, codePage, units, length);
    if (size == 0) {
        return;
    }
    const auto bytes = std::make_unique<char[]>(size + 1);
    detail::encode(bytes.get(), size, codePage, units, length);
    saveString(position, bytes.get(), static_cast<int>(size));
}

template <std::size_t Longest, class Number>
void DataBuffer::insertDecimal(int position, Number value) {
    char text[Longest];
    const char* const end = detail::writeDecimal(text, value);
    saveString(position, text, static_cast<int>(end - text));
}

template <std::size_t Longest, class Number>
[[gnu::noinline]] void DataBuffer::appendDecimalTraced(Number value) {
    TraceScope trace(TracePoint::DATA_BUFFER_APPEND_NUMBER);
    insertDecimal<Longest>(length_, value);
}

/// Writes straight to the end of the content when nobody listens and the longest text would fit.
template <std::size_t Longest, class Number>
void DataBuffer::appendDecimal(Number value) {
    if (detail::traceFacilityPresent() || static_cast<std::size_t>(capacity_ - length_) < Longest) {
        appendDecimalTraced<Longest>(value);
        return;
    }
    char* const end = detail::writeDecimal(data_ + length_, value);
    length_ = static_cast<int>(end - data_);
    *end = '\0';
}

void DataBuffer::appendNumber(long value) { appendDecimal<detail::LONGEST_INTEGER_TEXT>(value); }
void DataBuffer::appendNumber(unsigned long value) {
    appendDecimal<detail::LONGEST_INTEGER_TEXT>(value);
}
void DataBuffer::appendNumber(double value) { appendDecimal<detail::LONGEST_DECIMAL_TEXT>(value); }
void DataBuffer::appendNumber(int value) { appendNumber(static_cast<long>(value)); }
void DataBuffer::appendNumber(short value) { appendNumber(static_cast<long>(value)); }
void DataBuffer::appendNumber(signed char value) { appendNumber(static_cast<long>(value)); }
void DataBuffer::appendNumber(unsigned int value) {
    appendNumber(static_cast<unsigned long>(value));
}
void DataBuffer::appendNumber(unsigned short value) {
    appendNumber(static_cast<unsigned long>(value));
}
void DataBuffer::appendNumber(unsigned char value) {
    appendNumber(static_cast<unsigned long>(value));
}
void DataBuffer::appendNumber(float value) { appendNumber(static_cast<double>(value)); }

void DataBuffer::insertNumber(int position, long value) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_NUMBER);
    insertDecimal<detail::LONGEST_INTEGER_TEXT>(position, value);
}

void DataBuffer::insertNumber(int position, unsigned long value) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_NUMBER);
    insertDecimal<detail::LONGEST_INTEGER_TEXT>(position, value);
}

void DataBuffer::insertNumber(int position, double value) {
    TraceScope trace(TracePoint::DATA_BUFFER_INSERT_NUMBER);
    insertDecimal<detail::LONGEST_DECIMAL_TEXT>(position, value);
}

void DataBuffer::insertNumber(int position, int value) {
    insertNumber(position, static_cast<long>(value));
}
void DataBuffer::insertNumber(int position, short value) {
    insertNumber(position, static_cast<long>(value));
}
void DataBuffer::insertNumber(int position, signed char value) {
    insertNumber(position, static_cast<long>(value));
}
void DataBuffer::insertNumber(int position, unsigned int value) {
    insertNumber(position, static_cast<unsigned long>(value));
}
void DataBuffer::insertNumber(int position, unsigned short value) {
    insertNumber(position, static_cast<unsigned long>(value));
}
void DataBuffer::insertNumber(int position, unsigned char value) {
    insertNumber(position, static_cast<unsigned long>(value));
}
void DataBuffer::insertNumber(int position, float value) {
    insertNumber(position, static_cast<double>(value));
}

void DataBuffer::saveBinary(int position, const char* bytes, int count, bool upperCase) {
    TraceScope trace(TracePoint::DATA_BUFFER_SAVE_BINARY);
    if (bytes == nullptr || count < 1) {
        return;
    }
    const auto byteCount = static_cast<std::size_t>(count);
    const std::size_t width = 2 * byteCount + BINARY_QUOTES;
    if (width > static_cast<std::size_t>(capacity_ - length_)) {
        grownCapacity(width, length_);  // refused before the bytes are looked at
    }
    const StableText source(*this, bytes, byteCount);
    const auto at = static_cast<std::size_t>(std::clamp(position, 0, length_));
    // The digits are written where they stay, but a host sees their text saved.
    TraceScope insertion(TracePoint::DATA_BUFFER_SAVE_STRING);
    char* out = makeGap(at, width, width);
    std::memcpy(out, BINARY_OPEN.data(), BINARY_OPEN.size());
    out = detail::encodeHex(out + BINARY_OPEN.size(), source.get(), byteCount, upperCase);
    std::memcpy(out, BINARY_CLOSE.data(), BINARY_CLOSE.size());
}

void DataBuffer::appendBinary(const char* bytes, int count, bool upperCase) {
    saveBinary(length_, bytes, count, upperCase);
}

void DataBuffer::insertBinary(int position, const char* bytes, int count, bool upperCase) {
    saveBinary(position, bytes, count, upperCase);
}

int DataBuffer::getBinary(char* out, int size) const {
    TraceScope trace(TracePoint::DATA_BUFFER_GET_BINARY);
    const std::string_view content(data_, static_cast<std::size_t>(length_));
    if (content.size() < BINARY_QUOTES || (content.size() - BINARY_QUOTES) % 2 != 0) {
        detail::raise<NLSException>(BAD_BINARY_LENGTH);
    }
    if (content.substr(0, BINARY_OPEN.size()) != BINARY_OPEN ||
        content.substr(content.size() - BINARY_CLOSE.size()) != BINARY_CLOSE) {
        detail::raise<NLSException>(BAD_BINARY_QUOTES);
    }
    const char* const digits = data_ + BINARY_OPEN.size();
    const std::size_t digitCount = content.size() - BINARY_QUOTES;
    if (!detail::isHex(digits, digitCount)) {
        detail::raise<NLSException>(BAD_BINARY_DIGIT);
    }
    const auto count = static_cast<int>(digitCount / 2);
    if (out == nullptr) {
        return count;
    }
    if (count > size) {
        detail::raise<NLSException>(BINARY_BUFFER_TOO_SMALL, size);
    }
    detail::decodeHex(out, digits, digitCount / 2);
    return count;
}

int DataBuffer::indexOf(int start, const char* text) const {
    TraceScope trace(TracePoint::DATA_BUFFER_INDEX_OF);
    const int from = std::max(start, 0);
    if (isEmptyText(text) || from >= length_) {
        return -1;
    }
    const auto rest = static_cast<std::size_t>(length_ - from);
    const char* const match =
        detail::kernels().findText(data_ + from, rest, text, std::strlen(text));
    return match == nullptr ? -1 : static_cast<int>(match - data_);
}

int DataBuffer::indexOf(int start, int end, const char* text) const {
    TraceScope trace(TracePoint::DATA_BUFFER_INDEX_OF);
    const int match = end < 0 ? -1 : indexOf(start, text);
    if (match < 0) {
        return -1;
    }
    return static_cast<std::size_t>(match) + std::strlen(text) <= static_cast<std::size_t>(end)
               ? match
               : -1;
}

int DataBuffer::occurrences(const char* text) const {
    TraceScope trace(TracePoint::DATA_BUFFER_OCCURRENCES);
    if (isEmptyText(text) || length_ == 0) {
        return 0;
    }
    return static_cast<int>(
        detail::countMatches({data_, static_cast<std::size_t>(length_)}, {text, {}, 1, length_}));
}

int DataBuffer::replace(const char* text, const char* replacement, int n) {
    TraceScope trace(TracePoint::DATA_BUFFER_REPLACE);
    return n < 1 || occurrences(text) < n ? 0 : replace(text, replacement, n, /*count=*/1);
}

int DataBuffer::replaceAll(const char* text, const char* replacement) {
    TraceScope trace(TracePoint::DATA_BUFFER_REPLACE_ALL);
    // Why the condition: the replacing counts for itself; only a host sees that it is done before.
    if (detail::traceFacilityPresent() && occurrences(text) == 0) {
        return 0;
    }
    return replace(text, replacement, length_, length_);
}

int DataBuffer::replace(const char* text, const char* replacement, int n, int count) {
    TraceScope trace(TracePoint::DATA_BUFFER_REPLACE);
    if (isEmptyText(text) || count < 1 || length_ == 0) {
        return 0;
    }
    const StableText needle(*this, text, std::strlen(text));
    const char* const insertedText = replacement == nullptr ? "" : replacement;
    const StableText inserted(*this, insertedText, std::strlen(insertedText));
    return replaceMatches({needle.view(), inserted.view(), static_cast<long>(n) - count + 1, n});
}

int DataBuffer::replaceMatches(const TextReplacement& what) {
    if (what.replacement.size() <= what.needle.size()) {
        long made = 0;
        const char* const end = detail::shrink(data_, data_ + length_, what, made);
        setRewrittenLength(static_cast<std::size_t>(end - data_));
        return static_cast<int>(made);
    }
    const std::vector<int> starts =
        detail::findMatches({data_, static_cast<std::size_t>(length_)}, what);
    if (starts.empty()) {
        return 0;
    }
    const std::size_t growth =
        detail::sizeProduct(starts.size(), what.replacement.size() - what.needle.size());
    if (growth <= static_cast<std::size_t>(capacity_ - length_)) {
        const auto length = static_cast<std::size_t>(length_);
        detail::widen(data_, length, starts, what);
        setRewrittenLength(length + growth);
    } else {
        replaceGrowing(what, starts, growth);
    }
    return static_cast<int>(starts.size());
}

void DataBuffer::replaceGrowing(const TextReplacement& what, const std::vector<int>& starts,
                                std::size_t growth) {
    const std::size_t capacity = grownCapacity(growth, length_);
    // Required: growing keeps text only. All matches lie before the first NUL.
    const std::size_t length = leadingText(static_cast<std::size_t>(length_));
    if (usesHeap()) {
        data_ = TextBlock::extend(data_, capacity + 1);
        // The storage is kept, but a host sees each step of growth give up the old one.
        TraceScope trace(TracePoint::DATA_BUFFER_CLEAR);
        detail::widen(data_, length, starts, what);
        setExtent(capacity, length + growth);
    } else {
        char* const block = TextBlock::allocate(capacity + 1);
        detail::rebuild(block, {data_, length}, starts, what);
        install(block, capacity, length + growth);
    }
    TextBlock::of(data_).nulFree = length + growth;
}

void DataBuffer::setRewrittenLength(std::size_t length) {
    length_ = static_cast<int>(length);
    data_[length] = '\0';
    if (usesHeap()) {
        TextBlock::of(data_).nulFree = 0;
    }
}

void Message::addBinary(const char* data, int length) {
    DataBuffer buffer;
    buffer.appendBinary(data, length, /*upperCase=*/false);
    if (buffer.length() == 0) {
        return;
    }
    // Why not decoded: the text is ASCII and its length known, so one allocation holds it.
    icu::UnicodeString text;
    detail::assignLatin1(text, buffer.getString(), static_cast<std::size_t>(buffer.length()));
    arguments_.push_back(std::move(text));
}

}  // namespace nx::oss
