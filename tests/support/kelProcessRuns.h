#pragma once

#include <functional>
#include <string>
#include <vector>

namespace nx::test {

/// How a program ended, and what it wrote to standard output and standard error.
struct ProcessEnd {
    int status = 0;     ///< as waitpid() gives it
    bool hung = false;  ///< killed because it did not end
    std::string output;

    /// Ended by itself with the code 0 and without a word.
    bool isFine() const;
    std::string text() const;
};

/// Runs a program in the process locale "C" until it ends, or for two minutes. The first argument
/// is its path.
ProcessEnd runProgram(const std::vector<std::string>& arguments);

/// Forks, and runs `body` in the child for two minutes at most. It returns what went wrong, which
/// becomes the output; with nothing the code is 0.
ProcessEnd runForked(const std::function<std::string()>& body);

/// The number of runs that KELINFRA_CASES asks for, or else `usual`.
long wantedRuns(long usual);

}  // namespace nx::test
