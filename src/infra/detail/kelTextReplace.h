#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace nx::oss::detail {

/// Which matches of `needle` to replace, counted from 1 on the text as it was: those with an
/// ordinal in [first, last]. The needle is not empty and NUL-terminated.
struct TextReplacement {
    std::string_view needle;
    std::string_view replacement;
    long first;
    long last;
};

/// How many matches the window covers. `text` is NUL-terminated behind its end and searched up to
/// its first NUL; the matches are counted from left to right and do not overlap.
long countMatches(std::string_view text, const TextReplacement& what);

/// The starts of those matches.
std::vector<int> findMatches(std::string_view text, const TextReplacement& what);

/// Makes the replacements in [text, end) where it stands, for texts that do not grow, and returns
/// the new end; no terminator. *end is NUL. `made` receives the number of replacements.
char* shrink(char* text, const char* end, const TextReplacement& what, long& made);

/// Makes the replacements at `starts` where the text stands, for texts that grow. There is room for
/// the result; no terminator.
void widen(char* text, std::size_t length, const std::vector<int>& starts,
           const TextReplacement& what);

/// Writes the text with the replacements at `starts` elsewhere; no terminator.
void rebuild(char* out, std::string_view text, const std::vector<int>& starts,
             const TextReplacement& what);

}  // namespace nx::oss::detail
