#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>

#include "kelNumberBench.h"

namespace nx::oss::bench {

void addPoco(const NumberSamples& samples) {
    using Poco::NumberFormatter;
    using Poco::NumberParser;
    addParser(samples.parsedInt32, "POCO",
              [](const std::string& text) { return NumberParser::parse(text); });
    // Rounds some numbers beyond 2^53.
    addParser(samples.parsedInt64, "(partial) POCO",
              [](const std::string& text) { return NumberParser::parse64(text); });
    for (const auto* numbers : {&samples.parsedMoney, &samples.parsedExact}) {
        addParser(*numbers, "POCO",
                  [](const std::string& text) { return NumberParser::parseFloat(text); });
    }
    // Not for large numbers: most of their texts are empty.
    addPrinter(samples.printedSmall, "POCO",
               [](double value) { return NumberFormatter::format(value, 6); });
    addPrinter(samples.printedInt64, "POCO", [](std::int64_t value) {
        return NumberFormatter::format(static_cast<Poco::Int64>(value));
    });
}

}  // namespace nx::oss::bench
