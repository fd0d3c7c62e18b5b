#include <boost/lexical_cast.hpp>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

template <class Number>
void addLexicalCast(const Numbers<Number>& numbers) {
    addParser(numbers, "Boost lexical_cast",
              [](const std::string& text) { return boost::lexical_cast<Number>(text); });
}

}  // namespace

void addBoost(const NumberSamples& samples) {
    addLexicalCast(samples.parsedInt32);
    addLexicalCast(samples.parsedInt64);
    addLexicalCast(samples.parsedMoney);
    addLexicalCast(samples.parsedExact);
    addPrinter(samples.printedInt64, "Boost lexical_cast",
               [](std::int64_t value) { return boost::lexical_cast<std::string>(value); });
}

}  // namespace nx::oss::bench
