#include <glib.h>

#include <memory>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

namespace {

struct FreeString {
    void operator()(GString* text) const { g_string_free(text, TRUE); }
};
using OwnedString = std::unique_ptr<GString, FreeString>;

/// A text that compares with std::string.
struct Result {
    OwnedString text;
    bool operator==(const std::string& other) const {
        return std::string_view(text->str, text->len) == other;
    }
};

}  // namespace

void addGlibAppend() {
    addAppend("GLib GString", [](std::size_t count) {
        const OwnedString text(g_string_new(nullptr));
        for (std::size_t i = 0; i < count; ++i) {
            g_string_append_len(text.get(), APPENDED.data(), static_cast<gssize>(APPENDED.size()));
        }
        return static_cast<std::size_t>(text->len);
    });
    const auto terminated = [](std::size_t count) {
        const OwnedString text(g_string_new(nullptr));
        for (std::size_t i = 0; i < count; ++i) {
            g_string_append(text.get(), terminatedText());
        }
        return static_cast<std::size_t>(text->len);
    };
    addAppend("GLib GString", terminated, TERMINATED);
}

void addGlib(const SearchSample& sample) {
    addCompared(indexOfWorkload(sample), "GLib g_strstr_len", indexOfNeedle(sample), [&sample] {
        const char* const text = sample.once.c_str();
        return static_cast<std::size_t>(
            g_strstr_len(text, static_cast<gssize>(sample.once.size()), NEEDLE.data()) - text);
    });
    // Moves the rest of the text at every match: seconds for the longest text.
    if (sample.often.size() > 1 << 20) {
        return;
    }
    addReplace(sample, "GLib GString", [&sample](std::string_view replacement) {
        OwnedString text(
            g_string_new_len(sample.often.data(), static_cast<gssize>(sample.often.size())));
        g_string_replace(text.get(), NEEDLE.data(), replacement.data(), 0);
        return Result{std::move(text)};
    });
}

}  // namespace nx::oss::bench
