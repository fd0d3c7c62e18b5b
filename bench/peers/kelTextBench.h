#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "kelPeers.h"

namespace nx::oss::bench {

/// A text in UTF-8, and what contenders must find out about it.
struct TextSample {
    std::string name;
    std::string bytes;
    std::size_t characters;
    std::uint64_t sumOfCodePoints;
};

/// Texts that a strict check refuses: one of each kind of error.
constexpr const char* MALFORMED_TEXTS[] = {"overlong \xC0\x80",      "overlong \xE0\x9F\xBF",
                                           "surrogate \xED\xA0\x80", "too large \xF4\x90\x80\x80",
                                           "cut short \xE2\x82",     "cut short \xE2\x82 inside",
                                           "no lead \x80",           "never a byte of UTF-8 \xFF"};

/// Times `run(const std::string&)`.
template <class Run>
void addTextRow(const std::string& workload, const TextSample& sample, const std::string& contender,
                Run run) {
    addRow(workload + ", " + sample.name, contender,
           [run, text = sample.bytes](benchmark::State& state) mutable {
               for (auto step : state) {
                   benchmark::DoNotOptimize(text);
                   benchmark::DoNotOptimize(run(std::as_const(text)));
                   benchmark::ClobberMemory();
               }
               state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
           });
}

/// `isValid(const std::string&)` tells whether the text is well-formed.
template <class IsValid>
void addValidate(const TextSample& sample, const std::string& contender, IsValid isValid) {
    require(isValid(sample.bytes), contender + ", " + sample.name);
    for (const char* const malformed : MALFORMED_TEXTS) {
        require(!isValid(std::string(malformed)), contender + ", " + malformed);
    }
    addTextRow("validate", sample, contender, isValid);
}

/// `count(const std::string&)` returns the characters of a text known to be well-formed.
template <class Count>
void addCount(const TextSample& sample, const std::string& contender, Count count) {
    require(count(sample.bytes) == sample.characters, contender + ", " + sample.name);
    addTextRow("count", sample, contender, count);
}

/// `walk(const std::string&)` checks the text, takes its characters in their order and returns the
/// sum of their code points.
template <class Walk>
void addWalk(const TextSample& sample, const std::string& contender, Walk walk) {
    require(walk(sample.bytes) == sample.sumOfCodePoints, contender + ", " + sample.name);
    addTextRow("walk", sample, contender, walk);
}

/// Each adds the contenders of one library.
void addIcu(const TextSample& sample);
void addQt(const TextSample& sample);
void addPoco(const TextSample& sample);
void addBoost(const TextSample& sample);
void addGlib(const TextSample& sample);

}  // namespace nx::oss::bench
