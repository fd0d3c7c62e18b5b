#include "kelBench.h"

#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace nx::oss::bench {

namespace {

bool smallRun = false;

}  // namespace

void require(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "wrong result: %s\n", what.c_str());
        std::exit(EXIT_FAILURE);
    }
}

std::string rowName(const std::string& workload, const std::string& contender) {
    return workload + " | " + contender;
}

void initialize(int argc, char** argv) {
    char** const end = std::remove(argv, argv + argc, std::string_view("--small"));
    smallRun = end != argv + argc;
    argc = static_cast<int>(end - argv);
    benchmark::Initialize(&argc, argv);
    require(!benchmark::ReportUnrecognizedArguments(argc, argv), "an argument is unknown");
    benchmark::AddCustomContext("compiler", __VERSION__);
}

bool isSmallRun() { return smallRun; }

int run() {
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}

void pinToOneProcessor() {
    const int current = sched_getcpu();
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(current < 0 ? 0U : static_cast<unsigned>(current), &one);
    require(sched_setaffinity(0, sizeof one, &one) == 0, "sched_setaffinity");
}

}  // namespace nx::oss::bench
