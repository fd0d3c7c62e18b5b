#include <fmt/compile.h>
#include <fmt/format.h>

#include <iterator>
#include <memory>
#include <string_view>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

void addDoublePrinter(const Numbers<double>& numbers) {
    addPrinter(numbers, "fmt",
               [](double value) { return fmt::format(FMT_COMPILE("{:.6f}"), value); });
    addPrinter(
        numbers, "(limit) fmt to an array",
        [](double value) {
            static char text[512];
            const char* const end = fmt::format_to(text, FMT_COMPILE("{:.6f}"), value);
            return std::string_view(text, static_cast<std::size_t>(end - text));
        },
        [](std::string_view text) { return std::string(text); });
}

/// The numbers printed one behind the other into a buffer that begins afresh behind every thousand.
template <class Number, class Print>
void addAppending(const Numbers<Number>& numbers, const std::string& workload, Print print) {
    std::string expected;
    for (const std::string& text : numbers.texts) {
        expected += text;
    }
    const auto append = [values = numbers.values, print](fmt::memory_buffer& buffer) {
        for (const Number value : values) {
            print(std::back_inserter(buffer), value);
        }
    };
    fmt::memory_buffer buffer;
    append(buffer);
    require(fmt::to_string(buffer) == expected, workload);
    addRow(workload, "fmt memory_buffer", [append](benchmark::State& state) {
        while (state.KeepRunningBatch(1000)) {
            fmt::memory_buffer fresh;
            append(fresh);
            benchmark::DoNotOptimize(fresh.data());
        }
    });
}

}  // namespace

void addFmt(const NumberSamples& samples) {
    addDoublePrinter(samples.printedSmall);
    addDoublePrinter(samples.printedLarge);
    addPrinter(samples.printedInt64, "fmt to_string",
               [](std::int64_t value) { return fmt::to_string(value); });
    addPrinter(
        samples.printedInt64, "(limit) fmt format_int",
        [](std::int64_t value) { return fmt::format_int(value); },
        [](const fmt::format_int& text) { return text.str(); });
    addAppending(
        samples.printedInt64, "append int64 to a buffer",
        [](auto out, std::int64_t value) { fmt::format_to(out, FMT_COMPILE("{}"), value); });
    addAppending(samples.printedSmall, "append double to a buffer",
                 [](auto out, double value) { fmt::format_to(out, FMT_COMPILE("{:.6f}"), value); });
}

}  // namespace nx::oss::bench
