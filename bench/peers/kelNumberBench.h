#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kelPeers.h"

namespace nx::oss::bench {

/// Numbers and their texts, drawn with a fixed seed.
template <class Number>
struct Numbers {
    std::string workload;
    std::vector<Number> values;
    std::vector<std::string> texts;
};

struct NumberSamples {
    Numbers<std::int32_t> parsedInt32;
    Numbers<std::int64_t> parsedInt64;
    Numbers<double> parsedMoney;   ///< two decimals
    Numbers<double> parsedExact;   ///< seventeen digits
    Numbers<double> printedSmall;  ///< the texts are those of "%lf"
    Numbers<double> printedLarge;
    Numbers<std::int64_t> printedInt64;
};

NumberSamples makeNumberSamples();

/// Times `run(item)` for all items in turn; a figure is the time of one item.
template <class Item, class Run>
void addPerItem(const std::string& workload, const std::string& contender, std::vector<Item> items,
                Run run) {
    addRow(workload, contender, [items = std::move(items), run](benchmark::State& state) mutable {
        while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(items.size()))) {
            for (const Item& item : items) {
                auto result = run(item);
                benchmark::DoNotOptimize(result);
            }
        }
    });
}

/// Registers a contender that reads numbers. `textOf(std::string)` makes its natural string,
/// `parse(text)` returns the number.
template <class Number, class TextOf, class Parse>
void addParser(const Numbers<Number>& numbers, const std::string& contender, TextOf textOf,
               Parse parse) {
    std::vector<decltype(textOf(numbers.texts[0]))> texts;
    for (std::size_t i = 0; i < numbers.values.size(); ++i) {
        texts.push_back(textOf(numbers.texts[i]));
        require(contender.front() == '(' || parse(texts.back()) == numbers.values[i],
                rowName(numbers.workload, contender) + ": " + numbers.texts[i]);
    }
    addPerItem(numbers.workload, contender, std::move(texts), parse);
}

/// For contenders that read std::string.
template <class Number, class Parse>
void addParser(const Numbers<Number>& numbers, const std::string& contender, Parse parse) {
    addParser(
        numbers, contender, [](const std::string& text) { return text; }, parse);
}

/// Registers a contender that writes numbers. `print(value)` returns what `bytesOf` turns into a
/// std::string.
template <class Number, class Print, class BytesOf>
void addPrinter(const Numbers<Number>& numbers, const std::string& contender, Print print,
                BytesOf bytesOf) {
    for (std::size_t i = 0; i < numbers.values.size(); ++i) {
        require(bytesOf(print(numbers.values[i])) == numbers.texts[i],
                rowName(numbers.workload, contender) + ": " + numbers.texts[i]);
    }
    addPerItem(numbers.workload, contender, numbers.values, print);
}

/// For contenders that return std::string.
template <class Number, class Print>
void addPrinter(const Numbers<Number>& numbers, const std::string& contender, Print print) {
    addPrinter(numbers, contender, print, [](const std::string& text) { return text; });
}

/// Each adds the contenders of one library.
void addAbsl(const NumberSamples& samples);
void addBoost(const NumberSamples& samples);
void addFastFloat(const NumberSamples& samples);
void addFmt(const NumberSamples& samples);
void addGlib(const NumberSamples& samples);
void addPoco(const NumberSamples& samples);
void addQt(const NumberSamples& samples);

}  // namespace nx::oss::bench
