// A process may end while its threads use what the library shares among them: it neither crashes
// nor hangs, and every use gives the right result to the last moment.
#include <gtest/gtest.h>

#include "support/kelProcessRuns.h"
#include "support/kelSanitizers.h"

namespace nx::test {
namespace {

// Under the thread sanitizer a process takes some ten times as long to come and go.
constexpr long RUNS = THREAD_SANITIZER ? 20 : 100;

/// From within the first uses of the threads to some after them.
std::string usesBefore(long run) { return std::to_string(run % 40); }

void expectFineEnds(const char* way, long runs) {
    for (long run = 0; run < runs; ++run) {
        const ProcessEnd end = runProgram({KELINFRA_PROGRAM, way, usesBefore(run)});
        ASSERT_TRUE(end.isFine()) << "run " << run << ": " << end.text();
    }
}

TEST(BusyEnd, ByExitIsClean) { expectFineEnds("exit", wantedRuns(RUNS)); }

class BusyEndBy : public testing::TestWithParam<const char*> {};

TEST_P(BusyEndBy, IsClean) { expectFineEnds(GetParam(), wantedRuns(RUNS) / 20); }

INSTANTIATE_TEST_SUITE_P(Ways, BusyEndBy,
                         testing::Values("return", "_exit", "quick_exit", "exit-in-a-thread"),
                         [](const auto& way) {
                             std::string name = way.param;
                             for (char& c : name) {
                                 c = c == '-' ? '_' : c;
                             }
                             return name;
                         });

TEST(BusyEnd, InAnUnknownWayFails) {
    EXPECT_FALSE(runProgram({KELINFRA_PROGRAM, "unknown", "0"}).isFine());
}

}  // namespace
}  // namespace nx::test
