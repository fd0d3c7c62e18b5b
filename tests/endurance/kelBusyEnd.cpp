// Run again and again by kelBusyEndTest: the process ends while eight threads go on using what all
// of them share. Arguments: how it ends, and how many uses each thread has made before. Says
// nothing when all is right.
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "kelSharedUses.h"

// The process ends while threads run, which is what this is about: no second to wait for them, and
// no report of threads that nobody has joined.
extern "C" const char* __tsan_default_options();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "atexit_sleep_ms=0:report_thread_leaks=0";
}

namespace {

using nx::test::SHARED_USE_COUNT;
using nx::test::SHARED_USES;

constexpr int THREADS = 8;

/// Ends the process at once when something is wrong, at its end too.
void useOnce(std::size_t number) {
    const auto& use = SHARED_USES[number % SHARED_USE_COUNT];
    const std::string problem = nx::test::problemOf(use, use.use());
    if (!problem.empty()) {
        std::fputs(problem.c_str(), stderr);
        ::_exit(EXIT_FAILURE);
    }
}

/// Goes when all that was made after it is gone.
struct LastUser {
    ~LastUser() {
        for (std::size_t i = 0; i < SHARED_USE_COUNT; ++i) {
            useOnce(i);
        }
    }
};
LastUser lastUser;

/// Never destroyed: the threads go on.
struct Progress {
    std::mutex mutex;
    std::condition_variable moved;
    unsigned long usesOfAll = 0;
};
Progress& progress = *new Progress;

void useForEver(std::size_t first, unsigned long usesBefore, bool endsTheProcess) {
    for (std::size_t i = 0;; ++i) {
        if (i < usesBefore) {
            const std::lock_guard lock(progress.mutex);
            ++progress.usesOfAll;
            progress.moved.notify_one();
        } else if (endsTheProcess) {
            std::exit(EXIT_SUCCESS);
        }
        useOnce(first + i);
    }
}

void startThreads(unsigned long usesBefore, bool oneEndsTheProcess) {
    for (std::size_t i = 0; i < THREADS; ++i) {
        // Each begins somewhere else.
        const std::size_t first = i * SHARED_USE_COUNT / THREADS;
        std::thread(useForEver, first, usesBefore, oneEndsTheProcess && i == 0).detach();
    }
    std::unique_lock lock(progress.mutex);
    progress.moved.wait(lock, [=] { return progress.usesOfAll == THREADS * usesBefore; });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    const std::string way = argv[1];
    startThreads(std::strtoul(argv[2], nullptr, 10), way == "exit-in-a-thread");
    if (way == "exit") {
        std::exit(EXIT_SUCCESS);
    }
    if (way == "_exit") {
        ::_exit(EXIT_SUCCESS);
    }
    if (way == "quick_exit") {
        std::quick_exit(EXIT_SUCCESS);
    }
    while (way == "exit-in-a-thread") {
        ::pause();
    }
    return way == "return" ? EXIT_SUCCESS : EXIT_FAILURE;
}
