#pragma once

#include <cstddef>
#include <vector>

#include <unicode/unistr.h>

#include <infra/oss/kelConstants.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

namespace detail {
struct TextReplacement;
}

/// The two lower-case hexadecimal digits of every byte: "00" to "ff", each with a terminator.
KELINFRA_EXPORT extern const char OSS_DB_HEXSTRINGS[256][3];

/// A growable, NUL-terminated buffer for building text out of strings, numbers and binary data.
///
/// Contents up to 4,096 bytes stay inside the object; larger ones move to the heap. Positions,
/// lengths and capacities count bytes, the terminator excluded. Text taken from a pointer is
/// NUL-terminated unless a count is given. A position is clamped to 0 .. length().
///
/// Careful: this is a text buffer. A NUL inside the content is kept as long as the content fits the
/// capacity; when an insertion makes the buffer grow, the part before the position, the inserted
/// text and the part behind it each end at their first NUL. Searches end at the first NUL, too.
///
/// Arguments may point into the buffer itself.
///
/// Growth: when an insertion does not fit, the new capacity is the new length + 4,096. The cost of
/// n appends is linear in the bytes appended all the same. Memory exhaustion, a length above
/// INT_MAX - 1 included, ends in std::bad_alloc with the buffer unchanged.
///
/// Errors are thrown as NLSException with file "kelDataBuffer.cpp".
///
/// Thread-safety: not synchronised.
class KELINFRA_EXPORT DataBuffer {
  public:
    /// Empty.
    DataBuffer();
    /// Empty, with a capacity of `size` bytes, or of 4,096 when `size` is less or negative.
    explicit DataBuffer(int size);
    /// A copy of `text` up to its NUL; empty for null.
    explicit DataBuffer(const char* text);
    /// `text` converted to `codePage`. Throws as appendString(text, codePage), with line 657.
    DataBuffer(const icu::UnicodeString& text, const char* codePage);
    /// A copy of the whole content, NULs included. Its capacity does not depend on that of `other`.
    DataBuffer(const DataBuffer& other);
    /// Replaces the content in the same way; assigning a buffer to itself changes nothing.
    DataBuffer& operator=(const DataBuffer& other);
    /// Replaces the content by `text` in ICU's default code page, UTF-8. Careful: the content is
    /// cleared first, so that it is gone when memory for the new one is exhausted.
    DataBuffer& operator=(const icu::UnicodeString& text);
    virtual ~DataBuffer();

    /// Empties the buffer and gives heap storage back: length() is 0 and capacity() 4,096
    /// afterwards.
    ///
    /// Careful: with `keepBytes` the bytes of short contents are not zeroed, only forgotten:
    /// getString() still shows them until the next insertion although length() is 0. That is the
    /// cheap form.
    void clear(bool keepBytes = false);

    /// The content with its terminator. Valid until the buffer changes or is destroyed.
    const char* getString() const;
    /// Bytes of the content, NULs inside it included.
    int length() const;
    /// Bytes that fit without growing; 4,096 for a small content.
    int capacity() const;

    /// Inserts `count` bytes at `position`. A null `text` or a `count` below 1 changes nothing.
    ///
    /// Careful: exactly `count` bytes are read when they fit the capacity; a shorter NUL-terminated
    /// `text` is read past its end then.
    void saveString(int position, const char* text, int count);

    /// `text` up to its NUL; null changes nothing.
    void appendString(const char* text);
    /// Exactly `count` bytes; see saveString.
    void appendString(const char* text, int count);
    /// All bytes of the other buffer, or of this one; see saveString.
    void appendString(const DataBuffer& other);
    /// Appends `text` in `codePage`, an ICU converter name; null or empty means ICU's default,
    /// UTF-8. What the code page cannot hold, a lone surrogate for instance, becomes its
    /// substitution character, U+FFFD in UTF-8. Text that converts to nothing, a null (bogus) one
    /// and any text in an unknown code page included, changes nothing.
    ///
    /// Throws "ERR_CONV_CONVERSION_ERROR" (name, name), line 657, for the names "UTF-16" and
    /// "UTF-32" in any case: their bytes hold NULs. Careful: other spellings, "UTF16" say, are not
    /// refused.
    void appendString(const icu::UnicodeString& text, const char* codePage);

    /// `text` up to its NUL, at a position; null changes nothing.
    void insertString(int position, const char* text);
    /// Exactly `count` bytes; see saveString.
    void insertString(int position, const char* text, int count);
    /// All bytes of the other buffer, or of this one; see saveString.
    void insertString(int position, const DataBuffer& other);
    /// As appendString(text, codePage), with line 1008 in its error.
    void insertString(int position, const icu::UnicodeString& text, const char* codePage);

    /// Numbers in decimal, integers without grouping or padding. Characters are numbers, too:
    /// appendNumber('c') appends "99".
    void appendNumber(long value);
    void appendNumber(int value);
    void appendNumber(short value);
    void appendNumber(signed char value);
    void appendNumber(unsigned long value);
    void appendNumber(unsigned int value);
    void appendNumber(unsigned short value);
    void appendNumber(unsigned char value);
    /// As printf("%lf") in the "C" locale: six digits after the point, up to 317 characters; "inf",
    /// "nan" and their negatives. A float is widened.
    void appendNumber(double value);
    void appendNumber(float value);

    /// As appendNumber, at a position.
    void insertNumber(int position, long value);
    void insertNumber(int position, int value);
    void insertNumber(int position, short value);
    void insertNumber(int position, signed char value);
    void insertNumber(int position, unsigned long value);
    void insertNumber(int position, unsigned int value);
    void insertNumber(int position, unsigned short value);
    void insertNumber(int position, unsigned char value);
    void insertNumber(int position, double value);
    void insertNumber(int position, float value);

    /// Inserts the quoted hexadecimal form of `count` bytes: "X'", two digits for each byte, "'".
    /// `upperCase` chooses A to F. A null `bytes` or a `count` below 1 changes nothing.
    void saveBinary(int position, const char* bytes, int count, bool upperCase);
    /// saveBinary() at the end.
    void appendBinary(const char* bytes, int count, bool upperCase);
    /// Same as saveBinary().
    void insertBinary(int position, const char* bytes, int count, bool upperCase);

    /// Decodes the whole content, which must be in the quoted hexadecimal form with digits of
    /// either case, into the `size` bytes at `out` and returns the number of bytes. No terminator
    /// is written. A null `out` asks only for that number, whatever `size` says. After an error
    /// `out` is unchanged.
    ///
    /// Throws "ERR_DB_INVALID_BINARY_DATA" without arguments: line 1575 for a length that no such
    /// form has, 1585 for missing "X'" or "'", 1595 for a character that is no digit; and
    /// "ERR_BUFFER_SIZE_TOO_SMALL" (`size`), line 1610.
    int getBinary(char* out, int size) const;

    /// Offset of the first match of `text` at or after `start`, where a negative one counts as 0;
    /// -1 when there is none, for a null or empty `text` and for a `start` at or behind the end.
    /// The search ends at the first NUL behind `start`.
    int indexOf(int start, const char* text) const;
    /// The same, but -1 when that first match does not end at or before the offset `end`.
    int indexOf(int start, int end, const char* text) const;
    /// Number of matches from left to right that do not overlap; 0 for a null or empty `text`.
    int occurrences(const char* text) const;

    /// @name Replacing
    /// Matches are counted as occurrences() does, on the content as it is before. A null
    /// `replacement` counts as empty, and it is not searched again. A null or empty `text` and an
    /// `n` or `count` below 1 change nothing.
    /// @{

    /// Replaces the `n`-th match, counted from 1. Returns the number of replacements, 1 or 0.
    int replace(const char* text, const char* replacement, int n);
    /// Replaces `count` matches, the last of which is the `n`-th one; of these, the ones that
    /// exist. Returns the number of replacements.
    int replace(const char* text, const char* replacement, int n, int count);
    /// Replaces every match. Returns the number of replacements.
    int replaceAll(const char* text, const char* replacement);
    /// @}

  private:
    class StableText;

    // For a buffer that takes one short text after the other.
    friend class StringTokenizer;
    struct Unfilled {};
    /// Empty and without capacity: undefined bytes stand behind the first 17, so that it has to be
    /// cleared before it takes more than a block.
    KELINFRA_INTERNAL explicit DataBuffer(Unfilled);
    /// As clear(true), but getString() is "", and what Unfilled says holds again.
    KELINFRA_INTERNAL void forget();
    KELINFRA_INTERNAL void leaveUnfilled();
    /// As clear(), for a buffer that was filled only after it was cleared by this: zeroes no more
    /// than the content was.
    KELINFRA_INTERNAL void clearForText();
    /// The short way of clearForText() and appending `count` units in a code page that holds ASCII
    /// as it is; getString() then. Null, and nothing done, unless there are at most 16 units, all
    /// ASCII, at most 16 bytes to replace, and no host that listens. All 16 units must be readable.
    KELINFRA_INTERNAL const char* replaceByBlock(const char16_t* units, std::size_t count);

    KELINFRA_INTERNAL bool usesHeap() const;
    KELINFRA_INTERNAL bool isInside(const char* text) const;
    KELINFRA_INTERNAL void install(char* block, std::size_t capacity, std::size_t length);
    KELINFRA_INTERNAL void setExtent(std::size_t capacity, std::size_t length);
    KELINFRA_INTERNAL std::size_t leadingText(std::size_t end) const;
    KELINFRA_INTERNAL char* makeGap(std::size_t at, std::size_t width, std::size_t requested);
    KELINFRA_INTERNAL char* makeGapGrowing(std::size_t at, std::size_t width,
                                           std::size_t requested);
    KELINFRA_INTERNAL bool appendQuickly(const char* text, int count);
    KELINFRA_INTERNAL bool appendUntraced(const char* text, int count);
    KELINFRA_INTERNAL void appendTraced(const char* text, int count);
    KELINFRA_INTERNAL void insert(int position, const char* text, std::size_t requested);
    template <std::size_t Longest, class Number>
    KELINFRA_INTERNAL void appendDecimal(Number value);
    template <std::size_t Longest, class Number>
    KELINFRA_INTERNAL void appendDecimalTraced(Number value);
    template <std::size_t Longest, class Number>
    KELINFRA_INTERNAL void insertDecimal(int position, Number value);
    KELINFRA_INTERNAL bool appendInPlace(const icu::UnicodeString& text, const char* codePage);
    KELINFRA_INTERNAL void insertConverted(int position, const icu::UnicodeString& text,
                                           const char* codePage);
    KELINFRA_INTERNAL int replaceMatches(const detail::TextReplacement& what);
    KELINFRA_INTERNAL void replaceGrowing(const detail::TextReplacement& what,
                                          const std::vector<int>& starts, std::size_t growth);
    KELINFRA_INTERNAL void setRewrittenLength(std::size_t length);

    char inline_[Constants::DATABUFFER_BUFFER_SIZE + 1];
    char* data_;
    int capacity_;
    int length_;
};

}  // namespace nx::oss
