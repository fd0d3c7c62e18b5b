#pragma once

#include <cstring>

#include <unicode/platform.h>

namespace nx::oss::detail {

/// How a code page is converted.
enum class CodePageKind {
    UTF_8,
    LATIN_1,
    UTF_16_LE,
    UTF_16_BE,
    OTHER  ///< by ICU, or by a table made from it
};

/// Null and empty names ask for ICU's default converter. ICU itself reads an empty name as
/// "invariant characters only" and would destroy every other character.
inline bool isDefaultCodePage(const char* name) { return name == nullptr || *name == '\0'; }

/// The kind of a name by the spellings that programs use. Any other spelling is OTHER here; the
/// converter that ICU opens for it tells the kind.
///
/// Why: this stands before every conversion, so it looks at a few characters only.
inline CodePageKind kindOfName(const char* name) {
    if (isDefaultCodePage(name)) {
        return U_CHARSET_IS_UTF8 ? CodePageKind::UTF_8 : CodePageKind::OTHER;
    }
    const auto is = [name](const char* spelling) { return std::strcmp(name, spelling) == 0; };
    switch (*name) {
        case 'U':
            if (is("UTF-8") || is("UTF8")) {
                return CodePageKind::UTF_8;
            }
            if (is("UTF-16LE")) {
                return CodePageKind::UTF_16_LE;
            }
            return is("UTF-16BE") ? CodePageKind::UTF_16_BE : CodePageKind::OTHER;
        case 'u':
            return is("utf-8") || is("utf8") ? CodePageKind::UTF_8 : CodePageKind::OTHER;
        case 'I':
            return is("ISO-8859-1") || is("ISO8859_1") || is("ISO_8859-1") ? CodePageKind::LATIN_1
                                                                           : CodePageKind::OTHER;
        case 'i':
            return is("iso-8859-1") ? CodePageKind::LATIN_1 : CodePageKind::OTHER;
        case 'L':
            return is("LATIN1") || is("Latin1") ? CodePageKind::LATIN_1 : CodePageKind::OTHER;
        case 'l':
            return is("latin1") ? CodePageKind::LATIN_1 : CodePageKind::OTHER;
        default:
            return CodePageKind::OTHER;
    }
}

}  // namespace nx::oss::detail
