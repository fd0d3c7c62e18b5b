#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>

#include <gtest/gtest.h>

#include "support/kelSanitizers.h"

namespace nx::test {

/// How a test with random cases runs: the environment variable KELINFRA_SEED repeats a run, and
/// KELINFRA_CASES sets the number of cases, which the release check raises.
///
/// The seed is printed, so that a failure can be repeated.
class RandomRun {
  public:
    explicit RandomRun(long usualCases) : seed_(printedSeed()), cases_(casesOr(usualCases)) {}

    /// The number of cases alone, for runs in which nothing is random.
    static long casesOr(long usualCases) {
        const long cases = (usualCases + SLOWNESS - 1) / SLOWNESS;
        return static_cast<long>(setting("KELINFRA_CASES", static_cast<std::uint64_t>(cases)));
    }

    /// A seed alone, for runs whose number of cases is fixed.
    static std::uint64_t printedSeed() {
        const std::uint64_t seed = setting("KELINFRA_SEED", std::random_device{}());
        std::cout << "seed " << seed << std::endl;
        testing::Test::RecordProperty("seed", std::to_string(seed));
        return seed;
    }

    std::uint64_t seed() const { return seed_; }
    long cases() const { return cases_; }

  private:
    // Instrumented code takes several times as long, and the same cases run without.
    static constexpr long SLOWNESS = ADDRESS_SANITIZER || THREAD_SANITIZER ? 4 : 1;

    static std::uint64_t setting(const char* name, std::uint64_t otherwise) {
        const char* const wanted = std::getenv(name);
        return wanted == nullptr ? otherwise : std::strtoull(wanted, nullptr, 10);
    }

    std::uint64_t seed_;
    long cases_;
};

}  // namespace nx::test
