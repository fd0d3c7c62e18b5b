#pragma once

#include <cstddef>

#include <unicode/unistr.h>

#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

/// Opens `text` for writing `length` code units; the caller fills them and calls
/// releaseBuffer(length).
///
/// ICU reports a failed allocation by a null buffer only. Throws std::bad_alloc then, and when the
/// length exceeds what a UnicodeString can hold; `text` is then null or as it was.
char16_t* writableBuffer(icu::UnicodeString& text, std::size_t length);

/// Replaces the content, whatever its state, by `length` bytes in ISO-8859-1, in memory for just as
/// many units. Throws as writableBuffer().
void assignLatin1(icu::UnicodeString& text, const char* bytes, std::size_t length);

/// A text that can only be null because ICU ran out of memory: it reports that by nothing else.
/// Throws std::bad_alloc for a null text.
inline icu::UnicodeString requireText(icu::UnicodeString text) {
    if (text.isBogus()) {
        raiseBadAlloc();
    }
    return text;
}

/// What ICU has appended to. It makes a text null that finds no memory to grow: throws
/// std::bad_alloc then.
inline icu::UnicodeString& requireAppended(icu::UnicodeString& text) {
    if (text.isBogus()) {
        raiseBadAlloc();
    }
    return text;
}

/// A copy that is null only where `text` is. Throws std::bad_alloc when memory is exhausted, which
/// a plain copy would turn into the loss of the text.
inline icu::UnicodeString copyOf(const icu::UnicodeString& text) {
    icu::UnicodeString copy(text);
    if (copy.isBogus() && !text.isBogus()) {
        raiseBadAlloc();
    }
    return copy;
}

}  // namespace nx::oss::detail
