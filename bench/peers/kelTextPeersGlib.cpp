#include <glib.h>

#include "kelTextBench.h"

namespace nx::oss::bench {

namespace {

bool isValid(const std::string& text) {
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
}

std::uint64_t walk(const std::string& text) {
    if (!isValid(text)) {
        return 0;
    }
    std::uint64_t sum = 0;
    const char* const end = text.data() + text.size();
    for (const char* c = text.data(); c < end; c = g_utf8_next_char(c)) {
        sum += g_utf8_get_char(c);
    }
    return sum;
}

}  // namespace

void addGlib(const TextSample& sample) {
    addValidate(sample, "GLib", [](const std::string& text) { return isValid(text); });
    addCount(sample, "GLib", [](const std::string& text) {
        return static_cast<std::size_t>(
            g_utf8_strlen(text.data(), static_cast<gssize>(text.size())));
    });
    addWalk(sample, "GLib", [](const std::string& text) { return walk(text); });
}

}  // namespace nx::oss::bench
