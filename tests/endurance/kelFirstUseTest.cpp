// What is made on first use is made once and right when 32 threads come at the same time: in one
// process after the other, since there is only one first time in each.
#include <gtest/gtest.h>

#include "support/kelProcessRuns.h"

namespace nx::test {
namespace {

TEST(FirstUse, ByThirtyTwoThreadsAtOnceGivesAllOfThemTheSame) {
    const long runs = wantedRuns(20);
    for (long run = 0; run < runs; ++run) {
        const ProcessEnd end = runProgram({KELINFRA_PROGRAM, std::to_string(run)});
        ASSERT_TRUE(end.isFine()) << "run " << run << ": " << end.text();
    }
}

TEST(FirstUse, OfTheProgramWithoutAnArgumentFails) {
    EXPECT_FALSE(runProgram({KELINFRA_PROGRAM}).isFine());
}

}  // namespace
}  // namespace nx::test
