#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "kelPeers.h"

namespace nx::oss::bench {

constexpr std::string_view APPENDED = "twelve bytes";
constexpr const char* TERMINATED = "12 B of unknown length";
constexpr std::string_view NEEDLE = "haystack item";
constexpr std::string_view LONGER = "something found in it";
constexpr std::string_view SHORTER = "found";

/// Text to search: the needle stands only at the end of `once`, about once per KiB in `often`.
struct SearchSample {
    std::string size;
    std::string once;
    std::string often;
    std::size_t matches;
    std::string longer;  ///< `often` with the needle replaced
    std::string shorter;
};

struct HexSample {
    std::string size;
    std::string bytes;
    std::string digits;  ///< lower case
};

/// The text as its users have it when they do not know its length.
inline const char* terminatedText() {
    const char* text = APPENDED.data();
    benchmark::DoNotOptimize(text);
    return text;
}

/// Registers `append(count)`, which appends APPENDED `count` times to a fresh buffer and returns
/// the length. `what` is the form in which the text is passed.
template <class Append>
void addAppend(const std::string& contender, Append append, const std::string& what = "12 B") {
    for (const std::size_t count : {10'000UL, 100'000UL, 1'000'000UL}) {
        const std::string workload = "append " + std::to_string(count / 1000) + " k x " + what;
        require(append(count) == count * APPENDED.size(), rowName(workload, contender));
        addRow(workload, contender, [append, count](benchmark::State& state) {
            for (auto step : state) {
                benchmark::DoNotOptimize(append(count));
            }
        });
    }
}

/// Registers `run()`, whose result is compared with `expected`.
template <class Expected, class Run>
void addCompared(const std::string& workload, const std::string& contender,
                 const Expected& expected, Run run) {
    require(run() == expected, rowName(workload, contender));
    addRow(workload, contender, [run](benchmark::State& state) mutable {
        for (auto step : state) {
            auto&& result = run();
            benchmark::DoNotOptimize(result);
            benchmark::ClobberMemory();
        }
    });
}

inline std::string indexOfWorkload(const SearchSample& sample) { return "indexOf " + sample.size; }
inline std::size_t indexOfNeedle(const SearchSample& sample) {
    return sample.once.size() - NEEDLE.size();
}
inline std::string occurrencesWorkload(const SearchSample& sample) {
    return "occurrences " + sample.size;
}

/// Registers `replace(replacement)`, which copies the text and replaces the needle everywhere.
template <class Replace>
void addReplace(const SearchSample& sample, const std::string& contender, Replace replace) {
    const auto run = [replace](std::string_view replacement) {
        return [replace, replacement] { return replace(replacement); };
    };
    addCompared("copy + replaceAll longer " + sample.size, contender, sample.longer, run(LONGER));
    addCompared("copy + replaceAll shorter " + sample.size, contender, sample.shorter,
                run(SHORTER));
}

inline std::string encodeWorkload(const HexSample& sample) { return "bytes -> hex " + sample.size; }
inline std::string decodeWorkload(const HexSample& sample) { return "hex -> bytes " + sample.size; }

/// Each adds the contenders of one library. The samples live as long as the program.
void addAbslAppend();
void addAbsl(const SearchSample& sample);
void addAbsl(const HexSample& sample);
void addBoost(const SearchSample& sample);
void addBoost(const HexSample& sample);
void addFmtAppend();
void addGlibAppend();
void addGlib(const SearchSample& sample);
void addPoco(const SearchSample& sample);
void addPoco(const HexSample& sample);
void addQtAppend();
void addQt(const SearchSample& sample);
void addQt(const HexSample& sample);

}  // namespace nx::oss::bench
