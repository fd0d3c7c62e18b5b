#pragma once

#include <cstddef>

#include <unicode/unistr.h>

#include "infra/detail/kelCodePageName.h"
#include "infra/detail/kelKernels.h"
#include "infra/detail/kelShortText.h"

namespace nx::oss::detail {

// Conversion between UTF-16 and code pages, and between code pages. Code pages are ICU converter
// names, null or empty for the default one. Whatever cannot be converted is replaced as ICU
// replaces it; the results are ICU's on every input.

/// Converts `length` units and returns the bytes of the whole result: 0 when the code page is
/// unknown, when the text converts to nothing, and when the result exceeds INT_MAX.
///
/// Writes at most `capacity` bytes, no terminator; a result that does not
/// fit is written in part, and its size is returned all the same. A null `dest` (with capacity 0)
/// asks for the size. Throws std::bad_alloc.
std::size_t encode(char* dest, std::size_t capacity, const char* toCodePage, const char16_t* text,
                   std::size_t length);

/// The short way of encode() for ASCII of isShort() units in the usual code pages. False for
/// everything else; part of the `length` bytes at `dest` may be written then.
///
/// Why: inline and without a call, since for such texts a call more would show.
[[gnu::always_inline]] inline bool tryEncodeShort(char* dest, CodePageKind kind,
                                                  const char16_t* text, std::size_t length) {
    return (kind == CodePageKind::UTF_8 || kind == CodePageKind::LATIN_1) &&
           copyShortAscii(text, length, dest);
}

/// The short way of encode() for the usual code pages and text that fits and needs no substitution.
/// Returns 0 for everything else; part of `dest` may be written then.
inline std::size_t tryEncode(char* dest, std::size_t capacity, CodePageKind kind,
                             const char16_t* text, std::size_t length) {
    switch (kind) {
        case CodePageKind::UTF_8: {
            const Progress progress = kernels().utf16ToUtf8(text, length, dest, capacity);
            return progress.read == length ? progress.written : 0;
        }
        case CodePageKind::LATIN_1:
            return length <= capacity && kernels().utf16ToLatin1(text, length, dest) == length
                       ? length
                       : 0;
        default:
            return 0;
    }
}

/// The same for bytes in another code page.
std::size_t transcode(char* dest, std::size_t capacity, const char* toCodePage, const char* src,
                      std::size_t length, const char* fromCodePage);

/// The text of `length` bytes, null (bogus) for an unknown code page. Throws std::bad_alloc.
icu::UnicodeString decode(const char* src, std::size_t length, const char* fromCodePage);

}  // namespace nx::oss::detail
