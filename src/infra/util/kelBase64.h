#pragma once

#include <cstddef>

#include <infra/oss/kelExport.h>

namespace nx::util {

/// Base64 (RFC 4648) between bytes and UTF-16 text, in the standard alphabet or, where an operation
/// is told to be `safe` or is named so, in the one for URLs and file names: '-' and '_' in place of
/// '+' and '/'. Both pad with '='; there are no line breaks.
///
///     icu::UnicodeString text;
///     const std::size_t size = nx::util::Base64::encodeSize(count);
///     auto* units = reinterpret_cast<unsigned short*>(text.getBuffer(static_cast<int>(size)));
///     text.releaseBuffer(static_cast<int>(nx::util::Base64::encode(units, size, bytes, count)));
///
/// All lengths count elements: bytes of `char` buffers, code units of `unsigned short` buffers. No
/// operation writes or expects a terminating zero, with one exception that
/// "ERR_BASE64_MISALIGNED_DATA" below tells. Buffers belong to the caller, must not overlap, and
/// may be null where their length is 0. Units may be taken from objects of another type of two
/// bytes, such as char16_t.
///
/// Errors are thrown as Base64Exception with file "src/infra/util/kelBase64":
///
/// - "ERR_BUFFER_SIZE_TOO_SMALL" (capacity of the destination, careful: its low 32 bits as a signed
///   number, see oss::Message::addArgument), line 153 of encode(), 252 of decode() and
///   setDestValue();
/// - "ERR_BASE64_INVALID_DATA" (the character), line 112;
/// - "ERR_BASE64_MISALIGNED_DATA" (the source), line 289 for padding as the first or second
///   character of a group of four, 298 for a padding character without the second one that it
///   needs, 313 for bits behind the last byte, 321 for anything behind the padding, 372 for a
///   source without padding whose length is no multiple of four. Careful: the argument is the
///   source up to the first zero unit, wherever that is: decode() reads beyond `srcLen`. Terminate
///   sources that may be malformed by a zero unit.
///
/// Memory exhaustion while an error is built ends in std::bad_alloc; nothing else allocates.
///
/// Thread-safety: there is no state. Any number of threads may call anything at the same time.
class KELINFRA_EXPORT Base64 {
  public:
    Base64() = delete;

    /// The padding.
    static constexpr unsigned short fillChar = '=';

    /// The code units that encode `srcLen` bytes: (`srcLen` + 2) / 3 * 4. Careful: wraps around
    /// for sizes that no buffer has.
    static std::size_t encodeSize(std::size_t srcLen);
    /// Bytes that are enough for `srcLen` code units: (`srcLen` + 3) / 4 * 3. Padding yields up to
    /// two bytes less. Careful: wraps around for sizes that no buffer has.
    static std::size_t decodeSize(std::size_t srcLen);

    /// Encodes `srcLen` bytes and returns the units written, which are encodeSize(`srcLen`). Throws
    /// "ERR_BUFFER_SIZE_TOO_SMALL" (`destLen`) and writes nothing when these are more than
    /// `destLen`, also for sizes at which encodeSize() wraps around.
    static std::size_t encode(unsigned short* dest, std::size_t destLen, const char* src,
                              std::size_t srcLen, bool safe);
    /// encode() in the standard alphabet.
    static std::size_t encode(unsigned short* dest, std::size_t destLen, const char* src,
                              std::size_t srcLen);
    /// encode() in the URL-safe alphabet.
    static std::size_t encodeSafe(unsigned short* dest, std::size_t destLen, const char* src,
                                  std::size_t srcLen);

    /// Decodes `srcLen` units and returns the bytes written.
    ///
    /// The decoder is strict: no white space, no line breaks, no missing padding, no bits behind
    /// the last byte. It goes from character to character, and the first problem is reported:
    /// "ERR_BUFFER_SIZE_TOO_SMALL" (`destLen`) where a byte has no room, "ERR_BASE64_INVALID_DATA"
    /// (the character) for one that is neither of the alphabet nor padding,
    /// "ERR_BASE64_MISALIGNED_DATA" (the source; see above for its end) for wrong padding and
    /// lengths.
    ///
    /// Careful: bytes are written as they are decoded, so after an error those before it are in
    /// `dest`. Bytes behind the ones decoded are never touched.
    static std::size_t decode(char* dest, std::size_t destLen, const unsigned short* src,
                              std::size_t srcLen, bool safe);
    /// decode() in the standard alphabet.
    static std::size_t decode(char* dest, std::size_t destLen, const unsigned short* src,
                              std::size_t srcLen);
    /// decode() in the URL-safe alphabet.
    static std::size_t decodeSafe(char* dest, std::size_t destLen, const unsigned short* src,
                                  std::size_t srcLen);

    /// The character of the low six bits of `value`.
    static wchar_t encode(char value, bool safe);
    /// The six bits of a character: 0 to 63. Throws "ERR_BASE64_INVALID_DATA" (the character) for
    /// any other, the padding and the last two of the other alphabet included.
    static char decode(unsigned short c, bool safe);

    /// Stores `value` at `dest[pos]` and increments `pos`. Throws "ERR_BUFFER_SIZE_TOO_SMALL"
    /// (`destLen`) and changes nothing when `pos` is not below `destLen`.
    static void setDestValue(char* dest, std::size_t& pos, std::size_t destLen, char value);
};

}  // namespace nx::util
