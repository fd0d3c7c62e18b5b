#include <glib.h>

#include <memory>

#include "kelConverterBench.h"

namespace nx::oss::bench {

namespace {

struct Free {
    void operator()(void* memory) const { g_free(memory); }
};

/// A string that GLib allocated, with its length in bytes.
struct GlibBytes {
    std::unique_ptr<void, Free> memory;
    std::size_t size;
};

std::string bytesOf(const GlibBytes& bytes) {
    return {static_cast<const char*>(bytes.memory.get()), bytes.size};
}

GlibBytes fromUtf16(const std::u16string& text) {
    glong written = 0;
    char* const utf8 = g_utf16_to_utf8(reinterpret_cast<const gunichar2*>(text.data()),
                                       static_cast<glong>(text.size()), nullptr, &written, nullptr);
    return {std::unique_ptr<void, Free>(utf8), static_cast<std::size_t>(written)};
}

GlibBytes toUtf16(const std::string& source) {
    glong written = 0;
    gunichar2* const units = g_utf8_to_utf16(source.data(), static_cast<glong>(source.size()),
                                             nullptr, &written, nullptr);
    return {std::unique_ptr<void, Free>(units), static_cast<std::size_t>(written) * 2};
}

GlibBytes convert(const std::string& source, const char* to, const char* from) {
    gsize written = 0;
    char* const result = g_convert(source.data(), static_cast<gssize>(source.size()), to, from,
                                   nullptr, &written, nullptr);
    return {std::unique_ptr<void, Free>(result), written};
}

}  // namespace

void addGlib(const Conversion& conversion) {
    if (conversion.fromText() && conversion.isTo("UTF-8")) {
        addToString(
            conversion, "GLib g_utf16_to_utf8",
            [text = conversion.text] { return fromUtf16(text); }, bytesOf);
    } else if (conversion.isTo("UTF-16LE")) {
        addToString(
            conversion, "GLib g_utf8_to_utf16",
            [source = conversion.source] { return toUtf16(source); }, bytesOf);
    } else {
        addToString(
            conversion, "GLib g_convert",
            [source = conversion.bytes(), to = conversion.to, from = conversion.bytesFrom()] {
                return convert(source, to, from);
            },
            bytesOf);
    }
}

}  // namespace nx::oss::bench
