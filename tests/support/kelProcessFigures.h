#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "support/kelSanitizers.h"

namespace nx::test {

/// A sanitizer keeps memory back, so that what a process holds says nothing about a leak.
constexpr bool MEMORY_TELLS = !ADDRESS_SANITIZER && !THREAD_SANITIZER;

/// What a process holds, as the system counts it.
struct ProcessFigures {
    std::size_t residentKiB;
    std::size_t descriptors;
    std::size_t threads;
};

/// The figures of a process: its number, or "self". Ends the test with the system's reason when
/// they cannot be read.
ProcessFigures figuresOf(const std::string& process);

/// The bytes that this process has allocated and not released; 0 under a sanitizer.
std::size_t heapBytes();

std::ostream& operator<<(std::ostream& out, const ProcessFigures& figures);

}  // namespace nx::test
