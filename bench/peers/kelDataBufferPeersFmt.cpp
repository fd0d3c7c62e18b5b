#include <fmt/format.h>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

void addFmtAppend() {
    addAppend("fmt memory_buffer", [](std::size_t count) {
        fmt::memory_buffer buffer;
        for (std::size_t i = 0; i < count; ++i) {
            buffer.append(APPENDED);
            benchmark::DoNotOptimize(buffer.data());
        }
        return buffer.size();
    });
    const auto terminated = [](std::size_t count) {
        fmt::memory_buffer buffer;
        for (std::size_t i = 0; i < count; ++i) {
            buffer.append(std::string_view(terminatedText()));
        }
        return buffer.size();
    };
    addAppend("fmt memory_buffer", terminated, TERMINATED);
}

}  // namespace nx::oss::bench
