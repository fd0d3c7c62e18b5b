#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <iostream>
#include <list>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>

#include "endurance/kelServedClient.h"
#include "support/kelLoopback.h"

namespace nx::oss {
namespace {

using test::ServedClient;

using Sockets = std::list<Socket>;

constexpr std::size_t WANTED_PAIRS = 9900;
/// What a test program has open itself, with room to spare.
constexpr std::size_t OTHER_DESCRIPTORS = 64;
constexpr unsigned long LONG = 60000;

/// As many pairs as the system has descriptors for.
std::size_t possiblePairs() {
    for (std::size_t pairs = WANTED_PAIRS; pairs > 100; pairs -= 100) {
        if (test::allowDescriptors(2 * pairs + OTHER_DESCRIPTORS)) {
            return pairs;
        }
    }
    return 100;
}

class Stopwatch {
  public:
    double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
            .count();
    }

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// All connections of one server and its clients, in one process and one thread.
class ConnectionPairs : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        const std::size_t count = possiblePairs();
        const Stopwatch watch;
        server_ = std::make_unique<test::ListeningServer>();
        for (std::size_t i = 0; i < count; ++i) {
            pairs_.emplace_back(*server_);
        }
        std::cout << count << " pairs, " << test::openDescriptors() << " descriptors, opened in "
                  << watch.milliseconds() << " ms\n";
    }
    static void TearDownTestSuite() {
        pairs_.clear();
        server_.reset();
    }

    static Sockets clients() { return collect(&ServedClient::client); }
    static Sockets served() { return collect(&ServedClient::served); }

    /// Every client sends its own number.
    static void sendAll() {
        for (std::size_t i = 0; i < pairs_.size(); ++i) {
            pairs_[i].client.writeItem(reinterpret_cast<const char*>(&i), 0, sizeof i);
        }
    }

    /// Answers whatever select finds until as many items have been answered as there are clients;
    /// returns how many times it has asked.
    static std::size_t answerAll() {
        std::size_t rounds = 0;
        for (std::size_t answered = 0; answered < pairs_.size(); ++rounds) {
            Sockets ready = served();
            Sockets none;
            EXPECT_LT(0, Socket::select(ready, none, none, &LONG));
            if (ready.empty()) {
                break;
            }
            std::for_each(ready.begin(), ready.end(), answer);
            answered += ready.size();
        }
        return rounds;
    }

    static void answer(Socket& socket) {
        const std::size_t number = readNumber(socket);
        socket.writeItem(reinterpret_cast<const char*>(&number), 0, sizeof number);
    }

    static std::size_t readNumber(Socket& socket) {
        std::size_t number = 0;
        unsigned long announced = 0;
        EXPECT_EQ(sizeof number, socket.readItem(reinterpret_cast<char*>(&number), announced, 0,
                                                 sizeof number, false));
        return number;
    }

    static std::unique_ptr<test::ListeningServer> server_;
    static std::deque<ServedClient> pairs_;

  private:
    static Sockets collect(Socket ServedClient::*end) {
        Sockets list;
        for (const ServedClient& pair : pairs_) {
            list.push_back(pair.*end);
        }
        return list;
    }
};

std::unique_ptr<test::ListeningServer> ConnectionPairs::server_;
std::deque<ServedClient> ConnectionPairs::pairs_;

TEST_F(ConnectionPairs, AreAllAnsweredThroughSelect) {
    const Stopwatch watch;
    sendAll();
    const std::size_t rounds = answerAll();
    Sockets ready = clients();
    Sockets none;
    EXPECT_EQ(static_cast<long>(pairs_.size()), Socket::select(ready, none, none, &LONG));
    ASSERT_EQ(pairs_.size(), ready.size());
    std::size_t number = 0;
    for (Socket& socket : ready) {
        EXPECT_EQ(number++, readNumber(socket));
    }
    std::cout << number << " items answered in " << watch.milliseconds() << " ms, " << rounds
              << " select of the server\n";
}

TEST_F(ConnectionPairs, AreSilentWhenNobodySends) {
    const unsigned long atOnce = 0;
    Sockets readable = served();
    Sockets none;
    Sockets exceptional = clients();
    EXPECT_EQ(0, Socket::select(readable, none, exceptional, &atOnce));
    EXPECT_TRUE(readable.empty());
    EXPECT_TRUE(exceptional.empty());
}

TEST_F(ConnectionPairs, GiveUpTheOneThatHasSomethingToRead) {
    for (const std::size_t which : {std::size_t{0}, pairs_.size() / 2, pairs_.size() - 1}) {
        pairs_[which].client.writeItem(reinterpret_cast<const char*>(&which), 0, sizeof which);
        Sockets readable = served();
        Sockets none;
        const Stopwatch watch;
        EXPECT_EQ(1, Socket::select(readable, none, none, &LONG));
        const double milliseconds = watch.milliseconds();
        ASSERT_EQ(1U, readable.size());
        EXPECT_EQ(pairs_[which].served.getDescriptor(), readable.front().getDescriptor());
        EXPECT_EQ(which, readNumber(readable.front()));
        std::cout << "descriptor " << readable.front().getDescriptor() << " found among "
                  << pairs_.size() << " in " << milliseconds << " ms\n";
    }
}

TEST_F(ConnectionPairs, AreAllReadyToWriteAtBothEnds) {
    Sockets none;
    Sockets writable = clients();
    writable.splice(writable.end(), served());
    EXPECT_EQ(static_cast<long>(2 * pairs_.size()), Socket::select(none, writable, none, &LONG));
    EXPECT_EQ(2 * pairs_.size(), writable.size());
}

}  // namespace
}  // namespace nx::oss
