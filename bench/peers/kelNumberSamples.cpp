#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

constexpr int COUNT = 1000;

// The texts are what the C library prints, the numbers what it reads.
template <class... Arguments>
std::string printed(const char* format, Arguments... arguments) {
    char text[512];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

template <class Number, class Draw, class Print>
Numbers<Number> drawn(const std::string& workload, Draw draw, Print print) {
    std::mt19937_64 random(20230611);
    Numbers<Number> numbers{workload, {}, {}};
    for (int i = 0; i < COUNT; ++i) {
        const Number value = draw(random);
        numbers.values.push_back(value);
        numbers.texts.push_back(print(value));
    }
    return numbers;
}

/// Numbers that are what their rounded texts say.
template <class Draw>
Numbers<double> readBack(const std::string& workload, const char* format, Draw draw) {
    auto numbers =
        drawn<double>(workload, draw, [format](double value) { return printed(format, value); });
    for (std::size_t i = 0; i < numbers.values.size(); ++i) {
        numbers.values[i] = std::strtod(numbers.texts[i].c_str(), nullptr);
    }
    return numbers;
}

template <class Integer>
Integer anyInteger(std::mt19937_64& random) {
    using Limits = std::numeric_limits<Integer>;
    return std::uniform_int_distribution<Integer>(Limits::min(), Limits::max())(random);
}

double anyBelow(std::mt19937_64& random, double limit) {
    return std::uniform_real_distribution<double>(-limit, limit)(random);
}

// Evenly spread exponents.
double anyLarge(std::mt19937_64& random) {
    return std::pow(10.0, std::uniform_real_distribution<double>(16, 287)(random));
}

std::string fixedText(double value) { return printed("%lf", value); }
std::string text32(std::int32_t value) { return printed("%" PRId32, value); }
std::string text64(std::int64_t value) { return printed("%" PRId64, value); }

}  // namespace

NumberSamples makeNumberSamples() {
    const auto belowMillion = [](std::mt19937_64& random) { return anyBelow(random, 1e6); };
    const auto belowTenMillion = [](std::mt19937_64& random) { return anyBelow(random, 1e7); };
    return {drawn<std::int32_t>("parse int32", anyInteger<std::int32_t>, text32),
            drawn<std::int64_t>("parse int64", anyInteger<std::int64_t>, text64),
            readBack("parse double with 2 decimals", "%.2f", belowMillion),
            readBack("parse double of 17 digits", "%.17g", belowMillion),
            drawn<double>("double to text, below 1e7", belowTenMillion, fixedText),
            drawn<double>("double to text, up to 1e287", anyLarge, fixedText),
            drawn<std::int64_t>("int64 to text", anyInteger<std::int64_t>, text64)};
}

}  // namespace nx::oss::bench
