#include "kelBench.h"

#include <sched.h>
#include <unicode/uversion.h>

#include <cstdio>
#include <cstdlib>

namespace nx::oss::bench {

namespace {

struct Peer {
    const char* name;
    const char* version;
};

constexpr Peer PEERS[] = {
    {"ICU", U_ICU_VERSION},
#ifdef KELINFRA_BENCH_QT
    {"Qt", KELINFRA_BENCH_QT},
#endif
#ifdef KELINFRA_BENCH_POCO
    {"POCO", KELINFRA_BENCH_POCO},
#endif
#ifdef KELINFRA_BENCH_BOOST
    {"Boost", KELINFRA_BENCH_BOOST},
#endif
#ifdef KELINFRA_BENCH_GLIB
    {"GLib", KELINFRA_BENCH_GLIB},
#endif
#ifdef KELINFRA_BENCH_FMT
    {"fmt", KELINFRA_BENCH_FMT},
#endif
#ifdef KELINFRA_BENCH_ABSL
    {"Abseil", KELINFRA_BENCH_ABSL},
#endif
#ifdef KELINFRA_BENCH_FAST_FLOAT
    {"fast_float", KELINFRA_BENCH_FAST_FLOAT},
#endif
};

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
    benchmark::Initialize(&argc, argv);
    require(!benchmark::ReportUnrecognizedArguments(argc, argv), "an argument is unknown");
    benchmark::AddCustomContext("compiler", __VERSION__);
    for (const Peer& peer : PEERS) {
        benchmark::AddCustomContext(std::string("peer ") + peer.name, peer.version);
    }
}

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
