#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kelPeers.h"

namespace nx::oss::bench {

/// A file of settings, and what a reader has to find in it.
struct PropertiesSample {
    std::string shape;
    std::size_t lines;  ///< pairs, of which each is one logical line
    std::string text;   ///< in the format of the library
    /// In the order of the text; values with references expanded. In UTF-8.
    std::vector<std::pair<std::string, std::string>> pairs;

    bool isPlain() const { return shape == "plain"; }
    /// "parse plain 100 [per line]" and the like.
    std::string workload(const std::string& verb, const std::string& unit) const;
};

/// The pairs as a file in the INI format with one group.
std::string iniText(const PropertiesSample& sample, const std::string& group);

/// Registers a contender whose `run()` treats `elements` elements at once. What is reported is the
/// cost of one.
template <class Run>
void addPerElement(const std::string& workload, const std::string& contender, std::size_t elements,
                   Run run) {
    addRow(workload, contender, [run, elements](benchmark::State& state) mutable {
        // What the contender before has left in the heap is tidied up at its first use.
        run();
        for (auto step : state) {
            run();
        }
        state.counters["elements"] = static_cast<double>(elements);
    });
}

/// Calls `get(i)` for every pair in an order that no cache foresees.
constexpr std::size_t LOOKUP_STRIDE = 7919;
template <class Get>
void forEveryPair(std::size_t count, Get get) {
    std::size_t index = 0;
    for (std::size_t done = 0; done < count; ++done) {
        index = (index + LOOKUP_STRIDE) % count;
        get(index);
    }
}

/// What the pairs of a plain sample hold, by index.
enum class ValueKind { INTEGER, BOOLEAN, DOUBLE };
inline ValueKind kindOf(std::size_t index) { return static_cast<ValueKind>(index % 3); }

/// Registers the reading of every pair of a set by its key: `get(index)` has the value in UTF-8 as
/// a std::string when `equals` is asked to compare it, `touch(index)` is what is timed.
template <class Equals, class Touch>
void addLookup(const PropertiesSample& sample, const std::string& contender, Equals equals,
               Touch touch) {
    const std::string workload = "lookup in " + std::to_string(sample.lines) + " [per get]";
    for (std::size_t i = 0; i < sample.lines; ++i) {
        require(equals(i, sample.pairs[i].second), rowName(workload, contender));
    }
    addPerElement(workload, contender, sample.lines,
                  [touch, count = sample.lines] { forEveryPair(count, touch); });
}

/// Registers the typed reading of every pair: `get(index, kind)` gives the number as a double.
template <class Get>
void addTyped(const PropertiesSample& sample, const std::string& contender, Get get) {
    const std::string workload = "typed getters in " + std::to_string(sample.lines) + " [per get]";
    for (std::size_t i = 0; i < sample.lines; ++i) {
        const std::string& value = sample.pairs[i].second;
        const double expected = kindOf(i) == ValueKind::BOOLEAN
                                    ? static_cast<double>(value == "true")
                                    : std::stod(value);
        require(get(i) == expected, rowName(workload, contender));
    }
    addPerElement(workload, contender, sample.lines, [get, count = sample.lines] {
        double sum = 0;
        forEveryPair(count, [&](std::size_t i) { sum += get(i); });
        benchmark::DoNotOptimize(sum);
    });
}

/// Each adds the contenders of one library that can read a sample of this shape.
void addPropertiesLimits(const PropertiesSample& sample);
void addPropertiesGlib(const PropertiesSample& sample);
void addPropertiesPoco(const PropertiesSample& sample);
void addPropertiesBoost(const PropertiesSample& sample);
void addPropertiesQt(const PropertiesSample& sample);

}  // namespace nx::oss::bench
