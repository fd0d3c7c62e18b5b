#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>

#include "endurance/kelServedClient.h"
#include "support/kelLoopback.h"
#include "support/kelProcessFigures.h"
#include "support/kelRaises.h"
#include "support/kelRandomRun.h"

namespace nx::oss {
namespace {

using test::ListeningServer;
using test::ProcessFigures;
using test::Report;
using test::ServedClient;

/// Pages that the process touches for the first time after the tenth part of a run.
constexpr std::size_t TOLERATED_KIB = 256;

/// What the process holds after some cycles.
struct Sample {
    explicit Sample(long cycles) : figures(test::figuresOf("self")), heap(test::heapBytes()) {
        std::cout << "after " << cycles << " cycles: " << figures << ", " << heap
                  << " bytes allocated" << std::endl;
    }

    ProcessFigures figures;
    std::size_t heap;
};

/// Runs cycles, and compares what the process holds after a tenth of them and at the end.
template <class Cycle>
void expectNothingLeft(long cycles, const Cycle& cycle) {
    long done = 0;
    const auto runTo = [&](long end) {
        for (; done < end && !testing::Test::HasFatalFailure(); ++done) {
            cycle(done);
        }
        return Sample(done);
    };
    runTo(1);
    const Sample early = runTo(cycles / 10);
    const Sample late = runTo(cycles);
    EXPECT_EQ(early.figures.descriptors, late.figures.descriptors);
    EXPECT_EQ(early.heap, late.heap);
    if (test::MEMORY_TELLS) {
        EXPECT_LE(late.figures.residentKiB, early.figures.residentKiB + TOLERATED_KIB);
    }
}

std::string readItem(Socket& socket) {
    char item[64];
    unsigned long announced = 0;
    const unsigned long length = socket.readItem(item, announced, 0, sizeof item, false);
    return {item, length};
}

Report error(const std::string& identifier, std::vector<std::string> arguments) {
    return Report(identifier).in("kelSocket.cpp").with(std::move(arguments));
}

TEST(ConnectionCycles, LeaveNoDescriptorAndNoMemory) {
    ListeningServer server;
    expectNothingLeft(test::RandomRun::casesOr(2000), [&](long cycle) {
        const std::string item = "item " + std::to_string(cycle);
        ServedClient pair(server);
        pair.client.writeItem(item.data(), 0, item.size());
        ASSERT_EQ(item, readItem(pair.served));
        pair.served.writeItem(item.data(), 0, item.size());
        ASSERT_EQ(item, readItem(pair.client));
        pair.client.close();
        ASSERT_TRUE((test::raises<SocketException>([&] { readItem(pair.served); },
                                                   error("ERR_SOCKET_CLOSED", {"", "0"}))));
    });
}

/// A peer that refuses, one that does not answer, one that announces too much, one that resets.
TEST(ConnectionCycles, ThatFailLeaveNoDescriptorAndNoMemory) {
    ListeningServer server;
    const test::BoundPort refusing;
    const test::FullListener full;
    const std::string port = std::to_string(server.getPort());
    const unsigned long atOnce = 0;
    expectNothingLeft(test::RandomRun::casesOr(2000) / 10, [&](long) {
        Socket socket;
        ASSERT_TRUE((test::raises<SocketException>(
            [&] { socket.connect("127.0.0.1", refusing.port(), nullptr); },
            error("NX_ERR_SOCKET_CONNECTION_REFUSED", {"127.0.0.1", refusing.portText()}))));
        ASSERT_TRUE((test::raises<SocketException>(
            [&] { socket.connect("127.0.0.1", full.port(), &atOnce); },
            error("ERR_SOCKET_TIMEOUT", {"127.0.0.1", full.portText()}))));
        ServedClient pair(server);
        pair.served.write("\0\0\0\x41", 0, 4);
        ASSERT_TRUE((test::raises<SocketException>(
            [&] { readItem(pair.client); }, error("ERR_DEST_BUFFER_TOO_SMALL", {"64", "65"}))));
        pair.served.close();
        ASSERT_TRUE((test::raises<SocketException>(
            [&] { readItem(pair.client); },
            error("NX_ERR_SOCKET_CONNECTION_RESET", {"127.0.0.1", port}))));
    });
}

}  // namespace
}  // namespace nx::oss
