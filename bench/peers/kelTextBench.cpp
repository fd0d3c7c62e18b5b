#include "kelTextBench.h"

#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelUTF8Iterator.h>
#include <infra/oss/kelUTF8String.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "kelConverterSamples.h"

namespace nx::oss::bench {

namespace {

struct NamedScript {
    const char* name;
    Script script;
};
constexpr NamedScript SCRIPTS[] = {{"ASCII", Script::ASCII},
                                   {"Latin", Script::LATIN},
                                   {"CJK", Script::CJK},
                                   {"emoji", Script::EMOJI}};

struct NamedSize {
    const char* name;
    std::size_t bytes;
};
constexpr NamedSize SIZES[] = {{"48 B", 48}, {"4 KiB", 4096}, {"1 MiB", 1 << 20}};

/// Whole characters, filled up with full stops.
std::string bytesOf(Script script, std::size_t size) {
    std::string bytes = inCodePage(textOf(script, size), "UTF-8");
    std::size_t end = size;
    while (end < bytes.size() && U8_IS_TRAIL(static_cast<std::uint8_t>(bytes[end]))) {
        --end;
    }
    bytes.resize(end);
    bytes.resize(size, '.');
    return bytes;
}

TextSample sampleOf(const NamedScript& script, const NamedSize& size) {
    TextSample sample{std::string(script.name) + ", " + size.name,
                      bytesOf(script.script, size.bytes), 0, 0};
    const icu::UnicodeString text = icu::UnicodeString::fromUTF8(sample.bytes);
    for (int i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
        ++sample.characters;
        sample.sumOfCodePoints += static_cast<std::uint32_t>(text.char32At(i));
    }
    return sample;
}

bool isSet(const std::string& text) {
    UTF8Iterator it;
    const bool done = it.setString(text.c_str());
    benchmark::DoNotOptimize(it.numChars());
    return done;
}

bool isRefused(const char* text) {
    try {
        UTF8Iterator it(text);
        return false;
    } catch (const NLSException&) {
        return true;
    }
}

/// The code point of a character, which zeros fill up to five bytes.
inline std::uint32_t codePointOf(const char* character) {
    std::uint32_t bytes;  // the first one lowest on the machines that this is measured on
    std::memcpy(&bytes, character, sizeof bytes);
    const auto six = [bytes](int place) { return bytes >> (8 * place) & 0x3F; };
    const std::uint32_t first = bytes & 0xFF;
    if (first < 0x80) {
        return first;
    }
    if (first < 0xE0) {
        return (first & 0x1F) << 6 | six(1);
    }
    if (first < 0xF0) {
        return (first & 0x0F) << 12 | six(1) << 6 | six(2);
    }
    return (first & 0x07) << 18 | six(1) << 12 | six(2) << 6 | six(3);
}

std::uint64_t walk(const std::string& text) {
    std::uint64_t sum = 0;
    UTF8Iterator it(text.c_str());
    for (const char* c = it.getFirstChar(); c != nullptr; c = it.getNextChar()) {
        sum += codePointOf(c);
    }
    return sum;
}

void addOurs(const TextSample& sample) {
    require(isSet(sample.bytes), "kelinfra, " + sample.name);
    for (const char* const malformed : MALFORMED_TEXTS) {
        require(isRefused(malformed), std::string("kelinfra, ") + malformed);
    }
    addTextRow("validate", sample, "kelinfra", [](const std::string& text) { return isSet(text); });
    addCount(sample, "kelinfra",
             [text = std::make_shared<UTF8String>(sample.bytes.c_str())](const std::string&) {
                 return static_cast<std::size_t>(text->numChars());
             });
    addWalk(sample, "kelinfra", [](const std::string& text) { return walk(text); });
}

/// What no check that copies, and no count, can do without.
void addLimits(const TextSample& sample) {
    addTextRow(
        "validate", sample, "(limit) strlen + memcpy",
        [copy = std::vector<char>(sample.bytes.size() + 1)](const std::string& text) mutable {
            const std::size_t length = std::strlen(text.c_str());
            std::memcpy(copy.data(), text.c_str(), length + 1);
            return length;
        });
    addTextRow("count", sample, "(limit) strlen",
               [](const std::string& text) { return std::strlen(text.c_str()); });
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    for (const NamedScript& script : SCRIPTS) {
        for (const NamedSize& size : SIZES) {
            const TextSample sample = sampleOf(script, size);
            addOurs(sample);
            addLimits(sample);
            addIcu(sample);
#ifdef KELINFRA_BENCH_QT
            addQt(sample);
#endif
#ifdef KELINFRA_BENCH_POCO
            addPoco(sample);
#endif
#ifdef KELINFRA_BENCH_BOOST
            addBoost(sample);
#endif
#ifdef KELINFRA_BENCH_GLIB
            addGlib(sample);
#endif
        }
    }
    return run();
}
