#include "infra/detail/kelTextReplace.h"

#include <cstring>

#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

namespace {

char* move(char* out, const char* from, const char* to) {
    const auto length = static_cast<std::size_t>(to - from);
    std::memmove(out, from, length);
    return out + length;
}

char* put(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

/// Calls `use(match)` for each match that the window covers, from left to right.
template <class Use>
void forEachMatch(std::string_view text, const TextReplacement& what, Use use) {
    const auto findText = kernels().findText;
    for (long ordinal = 1; ordinal <= what.last; ++ordinal) {
        const char* const match =
            findText(text.data(), text.size(), what.needle.data(), what.needle.size());
        if (match == nullptr) {
            return;
        }
        // The use may overwrite what it has been given, not what follows.
        text.remove_prefix(static_cast<std::size_t>(match - text.data()) + what.needle.size());
        if (ordinal >= what.first) {
            use(match);
        }
    }
}

}  // namespace

long countMatches(std::string_view text, const TextReplacement& what) {
    long counted = 0;
    forEachMatch(text, what, [&counted](const char*) { ++counted; });
    return counted;
}

std::vector<int> findMatches(std::string_view text, const TextReplacement& what) {
    std::vector<int> starts;
    forEachMatch(text, what, [&starts, text](const char* match) {
        if (starts.empty()) {
            constexpr std::size_t USUALLY_ENOUGH = 256;
            starts.reserve(USUALLY_ENOUGH);
        }
        starts.push_back(static_cast<int>(match - text.data()));
    });
    return starts;
}

char* shrink(char* text, const char* end, const TextReplacement& what, long& made) {
    made = 0;
    char* out = text;
    const char* copied = text;
    forEachMatch({text, static_cast<std::size_t>(end - text)}, what, [&](const char* match) {
        out = put(move(out, copied, match), what.replacement);
        copied = match + what.needle.size();
        ++made;
    });
    return move(out, copied, end);
}

void widen(char* text, std::size_t length, const std::vector<int>& starts,
           const TextReplacement& what) {
    const std::size_t growth = what.replacement.size() - what.needle.size();
    const char* end = text + length;
    // From the last match on, so that every character moves once, straight to its place.
    for (std::size_t left = starts.size(); left > 0; --left) {
        char* const match = text + starts[left - 1];
        const char* const behind = match + what.needle.size();
        move(match + what.needle.size() + left * growth, behind, end);
        put(match + (left - 1) * growth, what.replacement);
        end = match;
    }
}

void rebuild(char* out, std::string_view text, const std::vector<int>& starts,
             const TextReplacement& what) {
    const char* copied = text.data();
    for (const int start : starts) {
        const char* const match = text.data() + start;
        out = put(move(out, copied, match), what.replacement);
        copied = match + what.needle.size();
    }
    move(out, copied, text.data() + text.size());
}

}  // namespace nx::oss::detail
