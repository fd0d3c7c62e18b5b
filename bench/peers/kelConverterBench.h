#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kelConverterSamples.h"
#include "kelPeers.h"

namespace nx::oss::bench {

/// The caller's buffer, the same for every contender. Larger than any result with its terminator.
inline std::vector<char>& destination() {
    static std::vector<char> buffer(65536 * 4 + 64);
    return buffer;
}

/// Registers a contender. `convert(char* dest, std::size_t capacity)` returns the number of bytes
/// it left in `dest`, no terminator counted.
template <class Convert>
void addToBuffer(const std::string& workload, const Conversion& conversion,
                 const std::string& contender, Convert convert) {
    auto& buffer = destination();
    const std::size_t length = convert(buffer.data(), buffer.size());
    require(std::string(buffer.data(), length) == conversion.expected,
            rowName(workload, contender));
    addRow(workload, contender,
           [convert, bytes = conversion.sourceSize()](benchmark::State& state) mutable {
               auto& dest = destination();
               for (auto step : state) {
                   benchmark::DoNotOptimize(convert(dest.data(), dest.size()));
                   benchmark::ClobberMemory();
               }
               state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
           });
}

/// Registers a contender that hands out a string object instead. It is timed up to the string: the
/// copy into a caller's buffer is spared. `bytesOf(result)` tells the bytes as a std::string.
template <class Convert, class BytesOf>
void addToString(const Conversion& conversion, const std::string& contender, Convert convert,
                 BytesOf bytesOf) {
    require(bytesOf(convert()) == conversion.expected, rowName(conversion.name, contender));
    addRow(conversion.name, contender,
           [convert, bytes = conversion.sourceSize()](benchmark::State& state) mutable {
               for (auto step : state) {
                   auto result = convert();
                   benchmark::DoNotOptimize(result);
                   benchmark::ClobberMemory();
               }
               state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
           });
}

/// For results in std::string and its like.
template <class Convert>
void addToString(const Conversion& conversion, const std::string& contender, Convert convert) {
    addToString(conversion, contender, convert, [](const auto& result) {
        using Unit = std::decay_t<decltype(result[0])>;
        return std::string(reinterpret_cast<const char*>(result.data()),
                           result.size() * sizeof(Unit));
    });
}

/// Each adds the contenders of one library for one conversion.
void addIcu(const Conversion& conversion);
void addIconv(const Conversion& conversion);
void addQt(const Conversion& conversion);
void addPoco(const Conversion& conversion);
void addBoost(const Conversion& conversion);
void addGlib(const Conversion& conversion);

/// Size query, then conversion, of UTF-16 text with ICU.
void addIcuWithSizeQuery(const std::string& workload, const Conversion& conversion);

}  // namespace nx::oss::bench
