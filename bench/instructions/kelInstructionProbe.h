#pragma once

#include <valgrind/callgrind.h>

#include <string>

/// Calls hot operations one by one, for `scripts/instructions`, which counts their instructions
/// with callgrind. Run directly the program does the same and counts nothing.
///
/// Callgrind counts what runs in the process, in the library and in those that it uses, and nothing
/// of the system.
namespace nx::oss::bench {

/// Ends the program with a message unless `condition` holds.
void require(bool condition, const char* what);

/// Keeps a result from being optimised away.
template <class Value>
void keep(const Value& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

template <class Operation>
[[gnu::noinline]] void runOnce(Operation& operation) {
    CALLGRIND_TOGGLE_COLLECT;
    operation();
    CALLGRIND_TOGGLE_COLLECT;
}

/// Runs before the one that counts: what is set up, opened or cached on first uses stands then.
constexpr int WARM_UP_RUNS = 4;

/// Counts one call of `operation`, which leaves everything as it was before.
template <class Operation>
void count(const char* name, Operation operation) {
    for (int run = 0; run < WARM_UP_RUNS; ++run) {
        operation();
    }
    runOnce(operation);
    CALLGRIND_DUMP_STATS_AT(name);
}

template <class Operation>
void count(const std::string& name, Operation operation) {
    count(name.c_str(), operation);
}

void countText();
void countTokens();
void countBuffers();
void countNumbers();
void countMessages();
void countSettings();
void countNetwork();

}  // namespace nx::oss::bench
