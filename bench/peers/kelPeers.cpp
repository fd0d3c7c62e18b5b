#include "kelPeers.h"

#include <unicode/uversion.h>

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
#ifdef KELINFRA_BENCH_FASTFLOAT
    {"fast_float", KELINFRA_BENCH_FASTFLOAT},
#endif
};

}  // namespace

void initializeWithPeers(int argc, char** argv) {
    initialize(argc, argv);
    for (const Peer& peer : PEERS) {
        benchmark::AddCustomContext(std::string("peer ") + peer.name, peer.version);
    }
}

}  // namespace nx::oss::bench
