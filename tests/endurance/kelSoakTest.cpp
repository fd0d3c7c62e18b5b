#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "endurance/kelServerProcess.h"
#include "endurance/kelSoakClients.h"
#include "support/kelProcessFigures.h"
#include "support/kelRandomRun.h"

namespace nx::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int GOOD_CLIENTS = 4;
constexpr int ATTACKERS = 4;
/// The traffic ceases after each part, so that the server can be seen without any.
constexpr int PARTS = 20;
constexpr int PARTS_OF_A_SHORT_RUN = 2;
constexpr long SHORT_RUN = 60;
/// What the allocator of the server keeps more or less of, with the number of threads that it has
/// had at once.
constexpr std::size_t TOLERATED_KIB = 512;

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

/// Clients of both kinds, all of which end with their part of the run.
class Traffic {
  public:
    Traffic(unsigned long port, SoakCounts& counts, std::uint64_t seed)
        : port_(port), counts_(counts), random_(seed) {}

    void runFor(milliseconds duration) {
        const Clock::time_point end = Clock::now() + duration;
        std::vector<std::thread> clients;
        for (int i = 0; i < GOOD_CLIENTS; ++i) {
            clients.emplace_back([=, seed = random_()] {
                repeat(end, milliseconds(40), seed, [this](std::mt19937_64& random) {
                    exchangeGoodItems(port_, random, counts_);
                });
            });
        }
        for (int i = 0; i < ATTACKERS; ++i) {
            clients.emplace_back([=, seed = random_()] {
                unsigned long way = static_cast<unsigned long>(i) * 4;
                repeat(end, milliseconds(80), seed, [&, this](std::mt19937_64& random) {
                    attack(way++ % waysToAttack(), port_, random, counts_);
                });
            });
        }
        for (std::thread& client : clients) {
            client.join();
        }
    }

  private:
    template <class Client>
    static void repeat(Clock::time_point end, milliseconds rest, std::uint64_t seed,
                       const Client& client) {
        std::mt19937_64 random(seed);
        while (Clock::now() < end) {
            client(random);
            std::this_thread::sleep_for(rest);
        }
    }

    unsigned long port_;
    SoakCounts& counts_;
    std::mt19937_64 random_;
};

bool holdsTheSame(const ProcessFigures& one, const ProcessFigures& other) {
    return one.threads == other.threads && one.descriptors == other.descriptors;
}

/// The figures of the server when it has noticed that all clients are gone, if it ever does.
ProcessFigures figuresAtRest(const ServerProcess& server, const ProcessFigures& start) {
    ProcessFigures figures = server.figures();
    for (int i = 0; i < 600 && !holdsTheSame(figures, start); ++i) {
        std::this_thread::sleep_for(milliseconds(100));
        figures = server.figures();
    }
    return figures;
}

void report(Clock::time_point begin, const ProcessFigures& figures, const SoakCounts& counts,
            const ServerProcess& server) {
    std::cout << static_cast<long>(seconds(Clock::now() - begin)) << " s: " << figures << ", "
              << counts.rightItems << " items right, " << counts.wrongItems << " wrong, "
              << counts.failures << " failures, " << counts.attacks << " attacks, "
              << server.complaints() << " complaints of the server" << std::endl;
}

TEST(Soak, LeavesTheServerAsItWas) {
    const std::string program = KELINFRA_ITEM_SERVER;
    if (program.empty()) {
        GTEST_SKIP() << "the examples are not built";
    }
    const RandomRun run(5);
    const int parts = run.cases() < SHORT_RUN ? PARTS_OF_A_SHORT_RUN : PARTS;
    const milliseconds partLength(1000 * run.cases() / parts);
    ServerProcess server(program);
    SoakCounts counts;
    Traffic traffic(server.port(), counts, run.seed());
    const ProcessFigures start = server.figures();
    std::cout << "started: " << start << std::endl;
    const Clock::time_point begin = Clock::now();
    ProcessFigures early = start;
    ProcessFigures late = start;
    for (int part = 1; part <= parts; ++part) {
        traffic.runFor(partLength);
        late = figuresAtRest(server, start);
        report(begin, late, counts, server);
        EXPECT_TRUE(holdsTheSame(start, late));
        early = part == std::max(1, parts / 10) ? late : early;
    }
    EXPECT_EQ(0U, counts.wrongItems);
    EXPECT_EQ(0U, counts.failures);
    EXPECT_LT(0U, counts.rightItems);
    EXPECT_LT(0U, server.complaints());
    if (MEMORY_TELLS) {
        EXPECT_LE(late.residentKiB, early.residentKiB + TOLERATED_KIB);
    }
    const auto [status, output] = server.stop();
    EXPECT_EQ(0, status);
    std::cout << output;
}

}  // namespace
}  // namespace nx::test
