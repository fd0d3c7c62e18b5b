#include "infra/detail/kelTextReplace.h"

#include <cstring>

namespace nx::oss::detail {

namespace {

char* move(char* out, const char* from, const char* to) {
    const auto length = static_cast<std::size_t>(to - from);
    std::memmove(out, from, length);
    return out + length;
}

const char* nextMatch(const char* text, const TextReplacement& what) {
    return std::strstr(text, what.needle.data());
}

}  // namespace

long countMatches(const char* text, const TextReplacement& what) {
    long ordinal = 0;
    long counted = 0;
    while (ordinal < what.last && (text = nextMatch(text, what)) != nullptr) {
        text += what.needle.size();
        counted += ++ordinal >= what.first ? 1 : 0;
    }
    return counted;
}

char* rewrite(const char* in, const char* end, char* out, const TextReplacement& what, long& made) {
    made = 0;
    const char* match = in;
    const char* copied = in;
    for (long ordinal = 1; ordinal <= what.last && (match = nextMatch(match, what)) != nullptr;
         ++ordinal) {
        if (ordinal >= what.first) {
            out = move(out, copied, match);
            std::memcpy(out, what.replacement.data(), what.replacement.size());
            out += what.replacement.size();
            copied = match + what.needle.size();
            ++made;
        }
        match += what.needle.size();
    }
    return move(out, copied, end);
}

}  // namespace nx::oss::detail
