#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kelPeers.h"

namespace nx::oss::bench {

/// Where texts are split; contenders with delimiters of their own are given the same.
constexpr const char* DELIMITERS = " \r\n\t";
constexpr const char16_t* DELIMITERS16 = u" \r\n\t";

/// A text of words, none of them empty, in ASCII.
struct TokenSample {
    std::string size;
    std::string bytes;
    std::u16string units;
    std::vector<std::string> tokens;

    const std::string& textOf(char) const { return bytes; }
    const std::u16string& textOf(char16_t) const { return units; }
};

template <class Unit>
std::string workloadOf(const TokenSample& sample) {
    return (sizeof(Unit) == 1 ? "byte tokens, " : "UTF-16 tokens, ") + sample.size;
}

/// Calls `split(text, take)`, which calls `take(view)` with each token of the text in order. A
/// contender that makes a list of tokens completes it first.
template <class Unit, class Split>
void addSplit(const TokenSample& sample, const std::string& contender, Split split) {
    using View = std::basic_string_view<Unit>;
    const std::string workload = workloadOf<Unit>(sample);
    std::vector<std::string> found;
    split(sample.textOf(Unit()),
          [&found](View token) { found.emplace_back(token.begin(), token.end()); });
    require(found == sample.tokens, rowName(workload, contender));
    addRow(workload, contender,
           [split, text = sample.textOf(Unit())](benchmark::State& state) mutable {
               for (auto step : state) {
                   benchmark::DoNotOptimize(text);
                   split(std::as_const(text), [](View token) {
                       benchmark::DoNotOptimize(token.data());
                       benchmark::DoNotOptimize(token.size());
                   });
                   benchmark::ClobberMemory();
               }
               state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
           });
}

/// Each adds the contenders of one library.
void addAbsl(const TokenSample& sample);
void addBoost(const TokenSample& sample);
void addGlib(const TokenSample& sample);
void addIcu(const TokenSample& sample);
void addPoco(const TokenSample& sample);
void addQt(const TokenSample& sample);

}  // namespace nx::oss::bench
