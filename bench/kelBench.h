#pragma once

#include <string>

#include <benchmark/benchmark.h>

/// What the benchmark programs share.
///
/// A benchmark is called "workload | contender". The report compares the contenders of a workload;
/// the beginning of a contender's name tells its role:
///
/// - "kelinfra": the library, with further words when there are several forms of a call;
/// - "(limit)": a reference that leaves out part of the work, or prepares it outside the timing;
/// - "(partial)": does less than asked, and is shown without being the yardstick;
/// - anything else: a peer.
///
/// Results are compared before anything is timed: a contender that differs ends the program.
namespace nx::oss::bench {

/// Ends the program with a message unless `condition` holds.
void require(bool condition, const std::string& what);

/// "workload | contender".
std::string rowName(const std::string& workload, const std::string& contender);

template <class Run>
benchmark::internal::Benchmark* addRow(const std::string& workload, const std::string& contender,
                                       Run run) {
    return benchmark::RegisterBenchmark(rowName(workload, contender).c_str(), run);
}

/// Reads the command line of Google Benchmark and names the compiler in the result file.
void initialize(int argc, char** argv);

/// Whether "--small" was among the arguments: the largest samples, which take long to prepare, may
/// stay away, since nothing is to be learned but that everything still runs.
bool isSmallRun();

/// Runs what has been registered; the result of main().
int run();

/// Restricts this thread, and those it starts, to one processor.
void pinToOneProcessor();

}  // namespace nx::oss::bench
