#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

/// How long operations take, and what they keep, on ever larger texts and sets. Each size is twice
/// the one before, and so should be the time.
namespace nx::oss::bench {

/// What an operation has built; empty for one that builds nothing.
using Held = std::shared_ptr<const void>;
/// The operation: what is timed, together with the end of what it returns.
using Run = std::function<Held()>;

struct Growth {
    std::string what;
    std::size_t largest;  ///< the number of elements that is to be reached
    double payload;       ///< bytes of payload of an element
    /// Makes what the operation works on.
    std::function<Run(std::size_t elements)> prepare;
};

constexpr std::size_t GIBIBYTE = std::size_t{1} << 30;
constexpr std::size_t LARGEST_SET = 1'000'000;
constexpr std::size_t MOST_REFERENCES = 100'000;
constexpr std::size_t MOST_TOKENS = 10'000'000;
constexpr std::size_t MOST_SOCKETS = 9'900;

void addGrowth(Growth growth);

/// Keeps a result from being optimised away.
template <class Value>
void keep(const Value& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

/// Ends the program with a message unless `condition` holds.
void require(bool condition, const char* what);

void addTextGrowth();
void addTokenGrowth();
void addMessageGrowth();
void addSettingsGrowth();
void addSocketGrowth();

}  // namespace nx::oss::bench
