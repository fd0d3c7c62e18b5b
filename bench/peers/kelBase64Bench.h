#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kelPeers.h"

namespace nx::oss::bench {

/// Bytes, and their Base64 text in the standard alphabet.
struct Base64Sample {
    std::string name;
    std::string bytes;
    std::u16string text;
};

/// Texts that a strict decoder refuses, beyond padding and stray bits, which most libraries let
/// pass.
constexpr const char* REFUSED_TEXTS[] = {"QU JD", "QUJD\n", "QU!D", "QUJ!"};

/// Most libraries keep Base64 in bytes. The way from and to UTF-16 is part of their work.
inline void widenText(const char* src, std::size_t length, char16_t* dest) {
    for (std::size_t i = 0; i < length; ++i) {
        dest[i] = static_cast<unsigned char>(src[i]);
    }
}
inline void narrowText(const char16_t* src, std::size_t length, char* dest) {
    for (std::size_t i = 0; i < length; ++i) {
        dest[i] = static_cast<char>(src[i]);
    }
}
inline std::string narrowed(const std::u16string& text) {
    std::string bytes(text.size(), '\0');
    narrowText(text.data(), text.size(), bytes.data());
    return bytes;
}

/// Times `run(source, destination)`, which returns the elements written; throughput counts bytes.
template <class Source, class Element, class Run>
void addBase64Row(const std::string& workload, const std::string& contender, std::size_t bytes,
                  const Source& source, std::vector<Element> room, Run run) {
    addRow(workload, contender, [=](benchmark::State& state) mutable {
        for (auto step : state) {
            benchmark::DoNotOptimize(source);
            benchmark::DoNotOptimize(run(source, room.data()));
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    });
}

/// `run(const std::string& bytes, char16_t* text)` returns the units written.
template <class Run>
void addEncoder(const Base64Sample& sample, const std::string& contender, Run run) {
    std::vector<char16_t> room(sample.text.size());
    require(run(sample.bytes, room.data()) == room.size() &&
                std::u16string(room.begin(), room.end()) == sample.text,
            contender + ", encode " + sample.name);
    addBase64Row("encode " + sample.name, contender, sample.bytes.size(), sample.bytes, room, run);
}

constexpr std::size_t REFUSED = static_cast<std::size_t>(-1);

/// `run(const std::u16string& text, char* bytes)` returns the bytes written, or REFUSED. One that
/// takes what it should refuse is shown as partial.
template <class Run>
void addDecoder(const Base64Sample& sample, const std::string& contender, Run run) {
    std::vector<char> room(sample.bytes.size() + 16);
    require(run(sample.text, room.data()) == sample.bytes.size() &&
                std::string(room.data(), sample.bytes.size()) == sample.bytes,
            contender + ", decode " + sample.name);
    bool strict = true;
    for (const char* const refused : REFUSED_TEXTS) {
        const std::string text = refused;
        strict = strict && run(std::u16string(text.begin(), text.end()), room.data()) == REFUSED;
    }
    addBase64Row("decode " + sample.name, (strict ? "" : "(partial) ") + contender,
                 sample.bytes.size(), sample.text, room, run);
}

/// Each adds the contenders of one library.
void addAbsl(const Base64Sample& sample);
void addBoost(const Base64Sample& sample);
void addGlib(const Base64Sample& sample);
void addPoco(const Base64Sample& sample);
void addQt(const Base64Sample& sample);

}  // namespace nx::oss::bench
