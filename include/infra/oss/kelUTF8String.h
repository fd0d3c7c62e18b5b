#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

class UTF8Iterator;

// Translation of bytes between UTF-8 and the local single-byte character set, which is ASCII on
// this platform: bytes of printable ASCII characters go through the tables, all others stay as they
// are.

/// The 95 printable ASCII characters, blank to '~', in UTF-8.
KELINFRA_EXPORT extern const unsigned char UTF8DATA[95];
/// The same characters in the local character set.
KELINFRA_EXPORT extern const unsigned char LCHARDATA[95];
/// Built from the two above by the first call of cLCHAR or cUTF8.
KELINFRA_EXPORT extern unsigned char LOCAL_to_UTF8[256];
/// Its inverse, built with it.
KELINFRA_EXPORT extern unsigned char UTF8_to_LOCAL[256];
/// 1 when the tables have been built.
KELINFRA_EXPORT extern int TABLES_ARE_BUILT;

/// Translates `length` bytes in place from UTF-8 to the local character set and returns `length`;
/// 0, with nothing changed, for a null `s` or a length below 1. Thread-safe for different texts.
KELINFRA_EXPORT int cLCHAR(char* s, int length);
/// Translates a NUL-terminated text in place from the local character set to UTF-8; returns 0. A
/// null `s` is left alone. Thread-safe for different texts.
KELINFRA_EXPORT int cUTF8(char* s);

/// A growable UTF-8 text: a DataBuffer whose text operations all take or make UTF-8.
///
/// Bytes given as such are taken as UTF-8 without a check. See DataBuffer for growth, aliasing and
/// embedded NULs.
///
/// Thread-safety: not synchronised.
class KELINFRA_EXPORT UTF8String : public DataBuffer {
  public:
    /// Empty.
    UTF8String();
    /// Lone surrogates become U+FFFD; empty for a null (bogus) text.
    UTF8String(const icu::UnicodeString& text);
    /// A copy of the whole text.
    UTF8String(const UTF8String& other);
    /// Empty, with room for `size` bytes; see DataBuffer.
    explicit UTF8String(int size);
    /// NUL-terminated UTF-8; empty for null.
    explicit UTF8String(const char* text);
    /// Replaces the text by a copy of the other one.
    UTF8String& operator=(const UTF8String& other);
    /// Replaces the text. Lone surrogates become U+FFFD; a null (bogus) one empties it.
    UTF8String& operator=(const icu::UnicodeString& text);
    ~UTF8String() override;

    /// The bytes with their terminator. Valid until the text changes or is destroyed.
    const char* getString() const;
    /// Converts the text, up to its first NUL, to `codePage`, an ICU converter name (null or empty:
    /// UTF-8): Converter::convert in its text form. `destLength` is the size of `dest` in bytes.
    /// Returns the bytes written, terminator included; a null `dest` asks only for their number.
    ///
    /// Careful: for "UTF-8" the bytes are copied as they are; for other names, null among them,
    /// malformed ones are replaced.
    ///
    /// Throws what Converter::convert throws.
    int getString(char* dest, int destLength, const char* codePage) const;
    /// Appends the whole text to `out`, which counts as empty when it is null (bogus); malformed
    /// bytes become U+FFFD. Throws std::bad_alloc; `out` is as before or null then.
    void getString(icu::UnicodeString& out) const;

    /// Gives the text to an iterator, which copies it. Returns and throws what
    /// UTF8Iterator::setString does.
    bool getUTF8Iterator(UTF8Iterator& it) const;

    /// Number of characters, judged by their first bytes only: overlong forms and wrong
    /// continuation bytes are counted without complaint.
    ///
    /// Throws NLSException "ERR_MALFORMED_UTF8_STRING" without arguments, file "kelUTF8String.cpp",
    /// for a byte 80 to BF or F8 to FF where a character should begin.
    int numChars() const;

    /// @name Inserting and appending
    /// As the operations of DataBuffer with the same name; UTF-16 text becomes UTF-8. Positions
    /// count bytes: one inside a character tears it.
    /// @{

    /// The whole text.
    void insertString(int position, const UTF8String& text);
    /// Lone surrogates become U+FFFD; a null (bogus) text changes nothing.
    void insertString(int position, const icu::UnicodeString& text);
    /// Exactly `length` bytes; see DataBuffer::saveString.
    void insertString(int position, const char* text, int length);
    /// `text` up to its NUL; null changes nothing.
    void insertString(int position, const char* text);
    /// The whole text.
    void appendString(const UTF8String& text);
    /// Lone surrogates become U+FFFD; a null (bogus) text changes nothing.
    void appendString(const icu::UnicodeString& text);
    /// Exactly `length` bytes; see DataBuffer::saveString.
    void appendString(const char* text, int length);
    /// `text` up to its NUL; null changes nothing.
    void appendString(const char* text);
    /// @}

    /// Compares the bytes as unsigned numbers up to the first NUL.
    ///
    /// Careful: the argument comes first: -1 when `other` sorts before this text, 1 when it sorts
    /// after it, 0 when they are equal. A null `other` gives -1.
    int compare(const char* other) const;
    int compare(const UTF8String& other) const;
};

}  // namespace nx::oss
