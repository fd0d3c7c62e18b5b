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
    /// when there are none. Valid until the next character is asked for.
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

    void recordConstruction() const;
    void destroy();
    bool take(const char* s);
    bool takeLong(const char* s);
    void takeMalformed(const char* s);
    void takeUtf16(const char16_t* text, std::size_t length);

    void setCurrent(std::uint32_t bytes);
    const char* nextChar();
    const char* nextMalformedChar();
    const char* tracedFirstChar();
    const char* tracedNextChar();

    // While str_ is null, position_ and byteLength_ are 0.
    char buffer_[Constants::DATABUFFER_BUFFER_SIZE + 1];
    const char* str_ = nullptr;
    char current_[5] = {};
    int position_ = 0;
    int charCount_ = 0;
    int byteLength_ = 0;
};

// Why inline: a call for each character would take longer than the character itself.

inline UTF8Iterator::UTF8Iterator() {
    if (TRACE_MASK != nullptr) {
        recordConstruction();
    }
}

inline UTF8Iterator::~UTF8Iterator() {
    if (TRACE_MASK != nullptr || (str_ != buffer_ && str_ != nullptr)) {
        destroy();
    }
}

inline bool UTF8Iterator::hasMoreChars() const { return position_ < byteLength_; }

inline bool UTF8Iterator::isEmpty() const { return str_ == nullptr; }

inline int UTF8Iterator::length() const { return byteLength_; }

inline int UTF8Iterator::numChars() const { return charCount_; }

inline const char* UTF8Iterator::getString() const { return str_; }

inline const char* UTF8Iterator::getFirstChar() {
    if (TRACE_MASK != nullptr) {
        return tracedFirstChar();
    }
    position_ = 0;
    return nextChar();
}

inline const char* UTF8Iterator::getNextChar() {
    return TRACE_MASK == nullptr ? nextChar() : tracedNextChar();
}

/// The bytes of a character, the first one lowest, and zeros. The fifth byte of current_ is always
/// the terminator.
inline void UTF8Iterator::setCurrent(std::uint32_t bytes) {
    if (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__) {
        bytes = __builtin_bswap32(bytes);
    }
    std::memcpy(current_, &bytes, sizeof bytes);
}

inline const char* UTF8Iterator::nextChar() {
    if (!hasMoreChars()) {
        return nullptr;
    }
    const auto* const bytes = reinterpret_cast<const unsigned char*>(str_ + position_);
    const std::uint32_t first = bytes[0];
    if (first < 0x80) {
        setCurrent(first);
        ++position_;
        return current_;
    }
    const int size = 2 + (first >= 0xE0 ? 1 : 0) + (first >= 0xF0 ? 1 : 0);
    if (first < 0xC0 || first > 0xF7 || size > byteLength_ - position_) {
        return nextMalformedChar();
    }
    // Two bytes from either end, which overlap unless there are four.
    const std::uint32_t head = first | std::uint32_t{bytes[1]} << 8;
    const std::uint32_t tail = bytes[size - 2] | std::uint32_t{bytes[size - 1]} << 8;
    setCurrent(head | tail << (8 * (size - 2)));
    position_ += size;
    return current_;
}

}  // namespace nx::oss
