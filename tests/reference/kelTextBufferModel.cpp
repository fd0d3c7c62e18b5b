#include "reference/kelTextBufferModel.h"

#include <algorithm>

namespace nx::test {

namespace {

/// The part before the first NUL.
std::string asText(const std::string& bytes) { return bytes.c_str(); }

}  // namespace

void TextBufferModel::insert(int position, const std::string& text, int count) {
    if (count < 1) {
        return;
    }
    const auto at =
        static_cast<std::size_t>(std::clamp<long>(position, 0, static_cast<long>(content.size())));
    const std::string inserted = text.substr(0, static_cast<std::size_t>(count));
    const std::string front = content.substr(0, at);
    const std::string back = content.substr(at);
    const std::size_t length = content.size();
    if (static_cast<long>(length) + count > capacity) {
        capacity = count + static_cast<long>(length) + 4096;
        content = asText(front) + asText(inserted) + asText(back);
        return;
    }
    // The part behind the position moves up to its first NUL; what lay further behind stays where
    // it was.
    std::string bytes = content + std::string(static_cast<std::size_t>(count), '\0');
    const std::string moved = asText(back) + std::string(1, '\0');
    for (std::size_t i = 0; i < moved.size() && at + inserted.size() + i < bytes.size(); ++i) {
        bytes[at + inserted.size() + i] = moved[i];
    }
    bytes.replace(at, inserted.size(), inserted);
    content = bytes;
}

int TextBufferModel::occurrences(const std::string& text) const {
    int found = 0;
    const std::string searched = asText(content);
    for (std::size_t at = searched.find(text); at != std::string::npos;
         at = searched.find(text, at + text.size())) {
        ++found;
    }
    return found;
}

int TextBufferModel::indexOf(int start, const std::string& text) const {
    if (start >= static_cast<int>(content.size())) {
        return -1;
    }
    const auto from = static_cast<std::size_t>(std::max(start, 0));
    const std::size_t at = asText(content.substr(from)).find(text);
    return at == std::string::npos ? -1 : static_cast<int>(from + at);
}

int TextBufferModel::replace(const std::string& text, const std::string& replacement, long n,
                             long count) {
    const std::string searched = asText(content);
    const std::string behind = content.substr(searched.size());
    std::string result;
    std::size_t from = 0;
    long ordinal = 0;
    int made = 0;
    for (;;) {
        const std::size_t at = searched.find(text, from);
        if (at == std::string::npos) {
            break;
        }
        ++ordinal;
        result += searched.substr(from, at - from);
        const bool inWindow = ordinal > n - count && ordinal <= n;
        result += inWindow ? replacement : text;
        made += inWindow ? 1 : 0;
        from = at + text.size();
    }
    if (made == 0) {
        return 0;
    }
    result += searched.substr(from);
    const long growth =
        made * (static_cast<long>(replacement.size()) - static_cast<long>(text.size()));
    if (growth > 0 && static_cast<long>(content.size()) + growth > capacity) {
        capacity = growth + static_cast<long>(content.size()) + 4096;
        content = result;
    } else {
        content = result + behind;
    }
    return made;
}

}  // namespace nx::test
