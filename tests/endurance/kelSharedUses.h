#pragma once

#include <cstddef>
#include <string>

namespace nx::test {

/// A use of something that all threads share or that is made on first use.
struct SharedUse {
    const char* name;
    std::string (*use)();
    /// What it gives in the process locale "C"; null when only all threads must agree, on an
    /// address.
    const char* expected;
    /// Whether a forked child can do it whatever the threads of its parent were doing, when the
    /// parent has done it once before.
    bool worksInAnyChild;
};

extern const SharedUse SHARED_USES[];
extern const std::size_t SHARED_USE_COUNT;

/// What is wrong with the result, empty when it is right.
std::string problemOf(const SharedUse& use, const std::string& result);

}  // namespace nx::test
