#include <fast_float/fast_float.h>

#include "kelNumberBench.h"

namespace nx::oss::bench {

void addFastFloat(const NumberSamples& samples) {
    for (const auto* numbers : {&samples.parsedMoney, &samples.parsedExact}) {
        addParser(*numbers, "fast_float", [](const std::string& text) {
            double value = 0;
            const char* const end = text.data() + text.size();
            const auto done = fast_float::from_chars(text.data(), end, value);
            require(done.ec == std::errc{} && done.ptr == end, "fast_float");
            return value;
        });
    }
}

}  // namespace nx::oss::bench
