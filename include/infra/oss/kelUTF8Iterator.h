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
    KELINFRA_INTERNAL bool takeLong(const char* s);
    [[noreturn]] KELINFRA_INTERNAL void takeMalformed(const char* s);
    KELINFRA_INTERNAL void takeUtf16(const char16_t* text, std::size_t length);

    /// A character and where the next one begins.
    struct Step {
        std::uint32_t bytes;
        int end;
    };
    static Step stepOver(std::uint32_t bytes, int from, int rest);
    Step stepFrom(int from) const;
    KELINFRA_INTERNAL void setCurrent(std::uint32_t bytes);

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

/// The character that the first of four bytes announces, at most `rest` of them.
[[gnu::always_inline]] inline UTF8Iterator::Step UTF8Iterator::stepOver(std::uint32_t bytes,
                                                                        int from, int rest) {
    const auto end = [from, rest](int size) { return from + (size < rest ? size : rest); };
    const std::uint32_t first = bytes & 0xFF;
    if (first < 0x80) {
        return {first, end(1)};
    }
    // Required: a byte that begins no character is nothing, and is not stepped over.
    if (first < 0xC0 || first > 0xF7) {
        return {0, from};
    }
    if (first < 0xE0) {
        return {bytes & 0xFFFF, end(2)};
    }
    if (first < 0xF0) {
        return {bytes & 0xFFFFFF, end(3)};
    }
    return {bytes, end(4)};
}

[[gnu::always_inline]] inline UTF8Iterator::Step UTF8Iterator::stepFrom(int from) const {
    const auto* const text = reinterpret_cast<const unsigned char*>(str_) + from;
    std::uint32_t bytes = text[0];
    if (__builtin_expect(bytes < 0x80, 1)) {
        return {bytes, from + 1};
    }
    const int rest = byteLength_ - from;
    if (__builtin_expect(rest >= 4, 1)) {
        // Compilers make one load of it.
        bytes |= std::uint32_t{text[1]} << 8 | std::uint32_t{text[2]} << 16 |
                 std::uint32_t{text[3]} << 24;
        return stepOver(bytes, from, 4);
    }
    bytes |= rest > 1 ? std::uint32_t{text[1]} << 8 : 0;
    bytes |= rest > 2 ? std::uint32_t{text[2]} << 16 : 0;
    return stepOver(bytes, from, rest);
}

/// The first byte lowest. The fifth byte of current_ is always the terminator.
inline void UTF8Iterator::setCurrent(std::uint32_t bytes) {
    if (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__) {
        bytes = __builtin_bswap32(bytes);
    }
    std::memcpy(current_, &bytes, sizeof bytes);
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
    if (__builtin_expect(!hasMoreChars(), 0)) {
        if (__builtin_expect(TRACE_MASK != nullptr, 0)) {
            traceNextChar();
        }
        return nullptr;
    }
    const Step step = stepFrom(position_);
    // Why before the stores: so a loop keeps the position in a register.
    if (__builtin_expect(TRACE_MASK != nullptr, 0)) {
        traceNextChar();
    }
    setCurrent(step.bytes);
    position_ = step.end;
    return current_;
}

}  // namespace nx::oss
