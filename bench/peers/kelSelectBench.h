#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "kelSocketBench.h"

namespace nx::oss::bench {

constexpr long TIMEOUT_SECONDS = 5;

/// Connections over loopback. Only the first has something to read.
class Connections {
  public:
    explicit Connections(std::size_t count);

    /// The one that is ready.
    int ready() const { return descriptors_.front(); }
    /// `idle` descriptors without anything to read, then the one that is ready.
    std::vector<int> idleAndReady(std::size_t idle) const;

  private:
    void connectOne();

    std::uint16_t port_ = 0;
    int listener_;
    std::vector<int> descriptors_;
    std::vector<int> accepted_;
};

// Each contender is a class prepared for a list of descriptors and has
// - reset(), outside the timing: sets up the list that a call consumes;
// - wait(): waits and leaves the ready sockets in the list;
// - found(descriptor): whether that is the one that was found, for the comparison of results.

inline double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// What reading the clock before and after adds to a measurement.
inline double clockCost() {
    static const double cost = [] {
        double least = 1;
        for (int n = 0; n < 10'000; ++n) {
            const double start = threadSeconds();
            least = std::min(least, threadSeconds() - start);
        }
        return least;
    }();
    return cost;
}

/// Times Wait::wait().
template <class Wait>
void addWait(const std::string& contender, const Connections& connections, std::size_t idle) {
    const auto wait = std::make_shared<Wait>(connections.idleAndReady(idle));
    const std::string workload = "wait on " + std::to_string(idle) + " idle + 1 ready";
    wait->reset();
    wait->wait();
    require(wait->found(connections.ready()), rowName(workload, contender));
    addRow(workload, contender, [wait](benchmark::State& state) {
        for (auto step : state) {
            wait->reset();
            const double start = threadSeconds();
            wait->wait();
            state.SetIterationTime(threadSeconds() - start - clockCost());
        }
    })->UseManualTime();
}

/// Each adds the waits of one library.
void addBoostWaits(const Connections& connections, std::size_t idle);
void addGlibWaits(const Connections& connections, std::size_t idle);
void addPocoWaits(const Connections& connections, std::size_t idle);

}  // namespace nx::oss::bench
