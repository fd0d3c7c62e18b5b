#pragma once

#include <cstddef>
#include <string_view>

namespace nx::oss::detail {

/// Which matches of `needle` to replace, counted from 1 on the text as it was: those with an
/// ordinal in [first, last]. The needle is not empty and NUL-terminated.
struct TextReplacement {
    std::string_view needle;
    std::string_view replacement;
    long first;
    long last;
};

/// How many matches the window covers. `text` is NUL-terminated and searched up to its first NUL;
/// the matches are counted from left to right and do not overlap.
long countMatches(const char* text, const TextReplacement& what);

/// Writes the text [in, end) with the replacements made at `out` and returns the end of the result;
/// no terminator. *end is NUL. `out` may be the same storage as long as it does not overtake the
/// reading: out == in when the text does not grow, else `in` must lie the whole growth behind
/// `out`. `made` receives the number of replacements.
char* rewrite(const char* in, const char* end, char* out, const TextReplacement& what, long& made);

}  // namespace nx::oss::detail
