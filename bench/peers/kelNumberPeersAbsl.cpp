#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

template <class Number>
void addIntegerParser(const Numbers<Number>& numbers) {
    addParser(numbers, "absl SimpleAtoi", [](const std::string& text) {
        Number value = 0;
        require(absl::SimpleAtoi(text, &value), "absl SimpleAtoi");
        return value;
    });
}

void addDoubleParser(const Numbers<double>& numbers) {
    addParser(numbers, "absl SimpleAtod", [](const std::string& text) {
        double value = 0;
        require(absl::SimpleAtod(text, &value), "absl SimpleAtod");
        return value;
    });
}

void addDoublePrinter(const Numbers<double>& numbers) {
    addPrinter(numbers, "absl StrFormat",
               [](double value) { return absl::StrFormat("%f", value); });
}

}  // namespace

void addAbsl(const NumberSamples& samples) {
    addIntegerParser(samples.parsedInt32);
    addIntegerParser(samples.parsedInt64);
    addDoubleParser(samples.parsedMoney);
    addDoubleParser(samples.parsedExact);
    addDoublePrinter(samples.printedSmall);
    addDoublePrinter(samples.printedLarge);
    addPrinter(samples.printedInt64, "absl StrCat",
               [](std::int64_t value) { return absl::StrCat(value); });
}

}  // namespace nx::oss::bench
