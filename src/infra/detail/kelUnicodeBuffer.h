#pragma once

#include <cstddef>

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// Opens `text` for writing `length` code units; the caller fills them and calls
/// releaseBuffer(length).
///
/// ICU reports a failed allocation by a null buffer only. Throws std::bad_alloc then, and when the
/// length exceeds what a UnicodeString can hold; `text` is unchanged in both cases.
char16_t* writableBuffer(icu::UnicodeString& text, std::size_t length);

}  // namespace nx::oss::detail
