// Run again and again by kelFirstUseTest: 32 threads make every first use together. The argument
// tells which comes first. Says nothing when all is right.
#include <pthread.h>

#include <locale.h>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "kelSharedUses.h"

extern "C" {
// This program traces, so that what the library keeps of its host is first used here, too.
std::atomic<unsigned long> entries{0};
std::atomic<unsigned long> exits{0};
std::atomic<unsigned long> localeTablesMade{0};

unsigned long trcGetCompFlag(unsigned) { return 0x20000; }
void trcEntry(unsigned) { ++entries; }
void trcExit(unsigned identifier, long) {
    ++exits;
    localeTablesMade += identifier == 483919166 ? 1 : 0;
}
}

namespace {

using nx::test::SHARED_USE_COUNT;
using nx::test::SHARED_USES;

constexpr unsigned THREADS = 32;

pthread_barrier_t barrier;
std::string localeAtStart;

bool localeIsTouched() {
    return std::setlocale(LC_ALL, nullptr) != localeAtStart ||
           ::uselocale(nullptr) != LC_GLOBAL_LOCALE;
}

struct Results {
    std::vector<std::string> texts;
    std::string problems;
};

void useAll(std::size_t first, Results& results) {
    results.texts.resize(SHARED_USE_COUNT);
    for (std::size_t i = 0; i < SHARED_USE_COUNT; ++i) {
        const std::size_t subject = (first + i) % SHARED_USE_COUNT;
        pthread_barrier_wait(&barrier);
        results.texts[subject] = SHARED_USES[subject].use();
        if (localeIsTouched()) {
            results.problems +=
                std::string("locale touched by ") + SHARED_USES[subject].name + '\n';
        }
    }
}

std::string problemsOf(const Results& results, const Results& others) {
    std::string problems = results.problems;
    for (std::size_t subject = 0; subject < SHARED_USE_COUNT; ++subject) {
        problems += nx::test::problemOf(SHARED_USES[subject], results.texts[subject]);
        if (results.texts[subject] != others.texts[subject]) {
            problems += std::string("threads differ in ") + SHARED_USES[subject].name + '\n';
        }
    }
    return problems;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        std::fputs("wrong arguments, or no locale C.UTF-8\n", stderr);
        return EXIT_FAILURE;
    }
    localeAtStart = std::setlocale(LC_ALL, nullptr);
    pthread_barrier_init(&barrier, nullptr, THREADS);
    std::vector<Results> results(THREADS);
    std::vector<std::thread> threads;
    for (Results& result : results) {
        threads.emplace_back(useAll, std::strtoul(argv[1], nullptr, 10), std::ref(result));
    }
    std::string problems;
    for (unsigned i = 0; i < THREADS; ++i) {
        threads[i].join();
        problems += problemsOf(results[i], results[0]);
    }
    if (localeTablesMade != 1 || entries == 0 || exits < entries) {
        problems += "locale tables made: " + std::to_string(localeTablesMade) +
                    ", entries: " + std::to_string(entries) + ", exits: " + std::to_string(exits) +
                    '\n';
    }
    std::fputs(problems.c_str(), stderr);
    return problems.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
