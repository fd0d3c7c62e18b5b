#pragma once

#include <atomic>
#include <random>

namespace nx::test {

/// What the clients of a server have done so far.
struct SoakCounts {
    std::atomic<unsigned long> rightItems{0};
    std::atomic<unsigned long> wrongItems{0};
    std::atomic<unsigned long> failures{0};
    std::atomic<unsigned long> attacks{0};
};

/// A client that does as it should: connects, exchanges a few items of all sizes, checks every
/// answer, closes.
void exchangeGoodItems(unsigned long port, std::mt19937_64& random, SoakCounts& counts);

/// The number of ways in which attack() misbehaves.
unsigned long waysToAttack();

/// A client that misbehaves in one way: a cut item, a wrong length, garbage, single bytes, resets,
/// a connection that is left half open, many connections at once.
void attack(unsigned long way, unsigned long port, std::mt19937_64& random, SoakCounts& counts);

}  // namespace nx::test
