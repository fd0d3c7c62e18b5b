#pragma once

#include <cstddef>
#include <future>
#include <thread>
#include <type_traits>
#include <vector>

namespace nx::test {

/// Runs `work(index)` in so many threads, which begin together, and returns what they say: anything
/// but bool, since the results lie side by side.
template <std::size_t Threads = 16, class Work>
auto together(const Work& work) {
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    using Result = decltype(work(0));
    static_assert(!std::is_same_v<Result, bool>, "threads would share the bytes of a vector<bool>");
    std::vector<Result> results(Threads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < Threads; ++i) {
        threads.emplace_back([&, i] {
            started.wait();
            results[i] = work(static_cast<int>(i));
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

}  // namespace nx::test
