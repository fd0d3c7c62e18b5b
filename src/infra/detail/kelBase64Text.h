#pragma once

#include <cstddef>

namespace nx::oss::detail {

constexpr unsigned short BASE64_PADDING = '=';

constexpr std::size_t base64EncodedSize(std::size_t length) { return (length + 2) / 3 * 4; }

constexpr int NO_BASE64_VALUE = -1;

/// The six bits of a character, or NO_BASE64_VALUE: the padding is none either.
int base64Value(unsigned short unit, bool safe);

/// Writes the base64EncodedSize(`length`) units of the Base64 text, padded.
void encodeBase64(const char* src, std::size_t length, unsigned short* dest, bool safe);

/// How a text was decoded.
struct DecodedBase64 {
    enum Outcome {
        DONE,
        NO_ROOM,          ///< for the next byte
        FOREIGN_UNIT,     ///< neither in the alphabet nor the padding
        EARLY_PADDING,    ///< as the first or second unit of a group
        MISSING_PADDING,  ///< the first of two padding units has no second
        STRAY_BITS,       ///< behind the last byte
        DATA_BEHIND,      ///< the padding
        INCOMPLETE_GROUP  ///< at the end of a text without padding
    };

    Outcome outcome;
    std::size_t read;     ///< the position of the unit at which decoding stopped
    std::size_t written;  ///< bytes at `dest`
};

/// Decodes strictly: neither white space nor missing padding nor stray bits.
///
/// Works as if character by character, each byte being written as soon as it is complete: the first
/// problem counts, and bytes before it have been written. Nothing else at `dest` is touched.
DecodedBase64 decodeBase64(const unsigned short* src, std::size_t length, char* dest,
                           std::size_t capacity, bool safe);

}  // namespace nx::oss::detail
