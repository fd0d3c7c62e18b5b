#pragma once

#include <cstddef>
#include <utility>

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
constexpr bool isDefaultCodePage(const char* name) { return name == nullptr || *name == '\0'; }

template <std::size_t N, std::size_t... I>
[[gnu::always_inline]] constexpr bool beginsWith(const char* name, const char (&letters)[N],
                                                 std::index_sequence<I...>) {
    return (((letters[I] >= 'a' ? name[I] | 0x20 : name[I]) == letters[I]) && ...);
}

/// Whether `name` begins with `letters`, which are in lower case, in upper or lower case.
///
/// Why: a fold instead of a loop, since the name is compared again for every text.
template <std::size_t N>
[[gnu::always_inline]] constexpr bool beginsWith(const char* name, const char (&letters)[N]) {
    return beginsWith(name, letters, std::make_index_sequence<N - 1>());
}

/// Whether `name` is `letters` in upper or lower case.
template <std::size_t N>
[[gnu::always_inline]] constexpr bool isName(const char* name, const char (&letters)[N]) {
    return beginsWith(name, letters, std::make_index_sequence<N>());
}

template <std::size_t N, std::size_t... I>
[[gnu::always_inline]] constexpr bool isExactly(const char* name, const char (&spelling)[N],
                                                std::index_sequence<I...>) {
    return ((name[I] == spelling[I]) && ...);
}

/// Whether `name` is `spelling`, letter by letter.
template <std::size_t N>
[[gnu::always_inline]] constexpr bool isExactly(const char* name, const char (&spelling)[N]) {
    return isExactly(name, spelling, std::make_index_sequence<N>());
}

/// Behind a separator, which ICU does not look at either.
[[gnu::always_inline]] constexpr const char* skipSeparator(const char* name) {
    return name + (*name == '-' || *name == '_' ? 1 : 0);
}

/// The kind of a name by the spellings that programs use. Any other spelling is OTHER here; the
/// converter that ICU opens for it tells the kind.
[[gnu::always_inline]] constexpr CodePageKind kindOfName(const char* name) {
    static_assert(U_CHARSET_IS_UTF8, "the default converter is UTF-8, whatever the environment");
    if (isDefaultCodePage(name) || isExactly(name, "UTF-8")) {
        return CodePageKind::UTF_8;
    }
    if (beginsWith(name, "utf")) {
        const char* const form = skipSeparator(name + 3);
        return isName(form, "8")      ? CodePageKind::UTF_8
               : isName(form, "16le") ? CodePageKind::UTF_16_LE
               : isName(form, "16be") ? CodePageKind::UTF_16_BE
                                      : CodePageKind::OTHER;
    }
    if (beginsWith(name, "iso")) {
        const char* const number = skipSeparator(name + 3);
        const bool isFirst = beginsWith(number, "8859") && isName(skipSeparator(number + 4), "1");
        return isFirst ? CodePageKind::LATIN_1 : CodePageKind::OTHER;
    }
    return isName(name, "latin1") ? CodePageKind::LATIN_1 : CodePageKind::OTHER;
}

}  // namespace nx::oss::detail
