#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "endurance/kelServedClient.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// By how much time-outs came late: by less than nothing when they came early.
class Lateness {
  public:
    explicit Lateness(unsigned long timeout) : timeout_(timeout) {}

    template <class Operation>
    void measure(const Operation& operation) {
        const auto start = Clock::now();
        operation();
        late_.push_back(Milliseconds(Clock::now() - start).count() - static_cast<double>(timeout_));
    }

    /// Prints the distribution; returns the smallest value.
    double report(const char* what) {
        std::sort(late_.begin(), late_.end());
        std::cout << what << ", " << timeout_ << " ms, " << late_.size()
                  << " times: late by at least " << late_.front() << " ms, median " << share(50)
                  << ", 99th percentile " << share(99) << ", at most " << late_.back() << std::endl;
        return late_.front();
    }

  private:
    /// The smallest value that so many of a hundred do not exceed.
    double share(std::size_t percent) const {
        return late_[(late_.size() * percent + 99) / 100 - 1];
    }

    unsigned long timeout_;
    std::vector<double> late_;
};

class TimeOut : public testing::TestWithParam<unsigned long> {
  protected:
    const unsigned long timeout_ = GetParam();
    const long cases_ = test::RandomRun::casesOr(10);
    Lateness lateness_{timeout_};
};

TEST_P(TimeOut, OfConnectNeverComesEarly) {
    const test::FullListener full;
    const auto error =
        test::Report("ERR_SOCKET_TIMEOUT").in("kelSocket.cpp").with({"127.0.0.1", full.portText()});
    for (long i = 0; i < cases_; ++i) {
        Socket socket;
        lateness_.measure([&] {
            EXPECT_RAISES(SocketException, socket.connect("127.0.0.1", full.port(), &timeout_),
                          error);
        });
    }
    EXPECT_LE(0, lateness_.report("connect"));
}

TEST_P(TimeOut, OfAcceptNeverComesEarly) {
    test::ListeningServer server;
    const auto error = test::Report("ERR_SOCKET_TIMEOUT")
                           .in("kelSocketServer.cpp")
                           .with({"localhost", std::to_string(server.getPort())});
    for (long i = 0; i < cases_; ++i) {
        Socket socket;
        lateness_.measure(
            [&] { EXPECT_RAISES(SocketException, server.accept(socket, &timeout_), error); });
    }
    EXPECT_LE(0, lateness_.report("accept"));
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, TimeOut, testing::Values(1UL, 10UL, 100UL));

}  // namespace
}  // namespace nx::oss
