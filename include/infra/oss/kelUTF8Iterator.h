#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <unicode/unistr.h>

#include <infra/oss/kelConstants.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A walk over the characters of one well-formed UTF-8 text.
///
///     nx::oss::UTF8Iterator it("caf\xC3\xA9");
///     for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
///         ...
///     }
///
/// The iterator copies the text once, when it is set, and checks it then. Texts of up to 4,096
/// bytes stay inside the object. Lengths count bytes, the terminator excluded. Well-formed is what
/// the Unicode Standard calls so: no overlong forms, no surrogates, nothing above U+10FFFF. The
/// walk compiles into the caller.
///
/// Thread-safety: not synchronised.
class KELINFRA_EXPORT UTF8Iterator {
  public:
    /// Without text: isEmpty().
    UTF8Iterator();
    /// As setString(s). Empty when memory is exhausted: isEmpty() tells.
    UTF8Iterator(const char* s);
    /// The text in UTF-8, up to its first U+0000; lone surrogates become U+FFFD, a null (bogus)
    /// text is "". The string is not changed and may go afterwards.
    UTF8Iterator(icu::UnicodeString& s);
    /// A copy of the other's text; a new walk. The copy of an iterator that never had a text has
    /// "". Throws as setString when the other holds a malformed text.
    UTF8Iterator(const UTF8Iterator& other);
    UTF8Iterator& operator=(const UTF8Iterator&) = delete;
    ~UTF8Iterator();

    /// Copies NUL-terminated UTF-8; null counts as "". False, and nothing changed, when the
    /// iterator has a text already, when memory for a text above 4,096 bytes is exhausted, and for
    /// a text above INT_MAX bytes.
    ///
    /// Throws NLSException "ERR_MALFORMED_UTF8_STRING" without arguments, file
    /// "kelUTF8Iterator.cpp". Careful: a malformed text of up to 4,096 bytes stays set all the
    /// same; a longer one does not.
    bool setString(const char* s);

    /// The first character as NUL-terminated bytes, and makes the next call return the second; null
    /// when there are none. Five bytes can be read: zeros fill up what a character leaves. Valid
    /// until the next character is asked for.
    const char* getFirstChar();
    /// The next character, null at the end.
    ///
    /// Careful: on a malformed text that stayed set, a byte that begins no character gives "" for
    /// ever.
    const char* getNextChar();
    /// Whether there is a character left, or a text to call getFirstChar() for.
    bool hasMoreChars() const;

    /// Whether no text was ever set; false for "".
    bool isEmpty() const;
    /// Length of the text in bytes.
    int length() const;
    /// Number of characters of the text; 0 for a malformed one that stayed set.
    int numChars() const;
    /// The text with its terminator; null when none was ever set. Valid as long as the iterator.
    const char* getString() const;

  private:
    using TraceMaskFunction = unsigned long (*)(unsigned component);
    /// Null when the host records no trace points. The loader fills it in, before any code runs.
    static const TraceMaskFunction TRACE_MASK;

    static void traceConstruction();
    static void traceFirstChar();
    static void traceNextChar();
    bool setStringTraced(const char* s);
    void constructTraced(const char* s);
    void destroy();

    bool take(const char* s);
    KELINFRA_INTERNAL bool takeLong(const char* s, std::size_t length);
    KELINFRA_INTERNAL void takeUtf16(const char16_t* text, std::size_t length);

    /// The bytes of a character, the first one lowest, and how many they are.
    struct Step {
        std::uint32_t bytes;
        std::uint32_t size;
    };
    [[gnu::pure]] Step stepInMalformed() const;
    KELINFRA_INTERNAL static std::uint32_t firstLowest(std::uint32_t bytes);
    KELINFRA_INTERNAL const char* give(Step step, std::uint32_t from);

    // While str_ is null, position_ and byteLength_ are 0.
    char buffer_[Constants::DATABUFFER_BUFFER_SIZE + 1];
    const char* str_ = nullptr;
    char current_[5] = {};
    int position_ = 0;
    int charCount_ = 0;
    int byteLength_ = 0;
};

// Why inline: a call for each character would take longer than the character itself.

KELINFRA_ALSO_EXPORTED inline UTF8Iterator::UTF8Iterator() {
    if (TRACE_MASK != nullptr) {
        traceConstruction();
    }
}

KELINFRA_ALSO_EXPORTED inline UTF8Iterator::UTF8Iterator(const char* s) {
    if (TRACE_MASK != nullptr) {
        constructTraced(s);
    } else {
        take(s);
    }
}

KELINFRA_ALSO_EXPORTED inline UTF8Iterator::~UTF8Iterator() {
    if (TRACE_MASK != nullptr || (str_ != buffer_ && str_ != nullptr)) {
        destroy();
    }
}

KELINFRA_ALSO_EXPORTED inline bool UTF8Iterator::setString(const char* s) {
    return TRACE_MASK != nullptr ? setStringTraced(s) : str_ == nullptr && take(s);
}

KELINFRA_ALSO_EXPORTED inline bool UTF8Iterator::hasMoreChars() const {
    return position_ < byteLength_;
}

KELINFRA_ALSO_EXPORTED inline bool UTF8Iterator::isEmpty() const { return str_ == nullptr; }

KELINFRA_ALSO_EXPORTED inline int UTF8Iterator::length() const { return byteLength_; }

KELINFRA_ALSO_EXPORTED inline int UTF8Iterator::numChars() const { return charCount_; }

KELINFRA_ALSO_EXPORTED inline const char* UTF8Iterator::getString() const { return str_; }

/// Four bytes of memory as a number with the first of them lowest, and back.
inline std::uint32_t UTF8Iterator::firstLowest(std::uint32_t bytes) {
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? __builtin_bswap32(bytes) : bytes;
}

/// Makes a character the current one. The fifth byte of current_ is always the terminator.
[[gnu::always_inline]] inline const char* UTF8Iterator::give(Step step, std::uint32_t from) {
    // Why before the stores: so a loop keeps the position and the bytes in registers.
    if (__builtin_expect(TRACE_MASK != nullptr, 0)) {
        traceNextChar();
    }
    step.bytes = firstLowest(step.bytes);
    std::memcpy(current_, &step.bytes, sizeof step.bytes);
    position_ = static_cast<int>(from + step.size);
    return current_;
}

KELINFRA_ALSO_EXPORTED __attribute__((always_inline)) inline const char*
UTF8Iterator::getFirstChar() {
    position_ = 0;
    const char* const first = getNextChar();
    if (__builtin_expect(TRACE_MASK != nullptr, 0)) {
        traceFirstChar();
    }
    return first;
}

KELINFRA_ALSO_EXPORTED __attribute__((always_inline)) inline const char*
UTF8Iterator::getNextChar() {
    const auto from = static_cast<std::uint32_t>(position_);
    if (__builtin_expect(from >= static_cast<std::uint32_t>(byteLength_), 0)) {
        if (__builtin_expect(TRACE_MASK != nullptr, 0)) {
            traceNextChar();
        }
        return nullptr;
    }
    // Why each size returns by itself: so a caller that asks for the size again need not.
    const auto* const text = reinterpret_cast<const unsigned char*>(str_) + from;
    const std::uint32_t first = text[0];
    if (__builtin_expect(first < 0x80, 1)) {
        return give({first, 1}, from);
    }
    // A well-formed text has characters. It needs no further checks, nor is it read past its
    // terminator.
    if (__builtin_expect(charCount_ == 0, 0)) {
        return give(stepInMalformed(), from);
    }
    if (first < 0xE0) {
        return give({first | std::uint32_t{text[1]} << 8, 2}, from);
    }
    std::uint32_t four;
    std::memcpy(&four, text, sizeof four);
    four = firstLowest(four);
    return first < 0xF0 ? give({four & 0xFFFFFF, 3}, from) : give({four, 4}, from);
}

}  // namespace nx::oss
