#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Slow conversions, written from the definitions of the Unicode Standard and from nothing of the
/// library: what fast code is compared with.
namespace nx::oss::reference {

/// A converted text and the code units of the source that it stands for.
template <class Text>
struct Converted {
    Text text;
    std::size_t read;
};

/// At most `capacity` units, whole characters. U+FFFD stands for each maximal subpart of an
/// ill-formed sequence.
Converted<std::u16string> utf16FromUtf8(std::string_view source, std::size_t capacity);

/// At most `capacity` bytes, whole characters. U+FFFD stands for each lone surrogate.
Converted<std::string> utf8FromUtf16(std::u16string_view source, std::size_t capacity);

/// At most `capacity` bytes, whole characters.
Converted<std::string> utf8FromLatin1(std::string_view source, std::size_t capacity);

/// Position of the first lone surrogate, or the length.
std::size_t firstLoneSurrogate(std::u16string_view source);

}  // namespace nx::oss::reference
