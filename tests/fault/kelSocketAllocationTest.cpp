#include <list>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelAllocationFaults.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelSystemCallFaults.h"

namespace nx::oss {
namespace {

using test::AllocationFaults;
using test::forEachAllocation;
using test::SystemCalls;

constexpr unsigned long AT_ONCE = 0;

/// Runs an operation with each of its allocations failing in turn, and checks that nothing leaks
/// however it ends. `prepare` makes what the operation works on; `state` looks at it when the
/// operation has failed for want of memory.
template <class Subject, class Operation, class State>
std::size_t failEachAllocation(const Operation& operation, const State& state) {
    return forEachAllocation([&](AllocationFaults& faults) {
        const test::NoDescriptorLeak check;
        Subject subject;
        SystemCalls calls;
        const long before = test::liveAllocations();
        bool outOfMemory = false;
        faults.arm();
        try {
            operation(subject);
        } catch (const std::bad_alloc&) {
            outOfMemory = true;
        } catch (const SocketException&) {
        }
        faults.disarm();
        EXPECT_EQ(test::allocationFailed(), outOfMemory);
        EXPECT_EQ(0, calls.openAddressLists());
        if (outOfMemory) {
            EXPECT_EQ(before, test::liveAllocations());
            state(subject);
        }
    });
}

/// The same for an operation that works without allocating anything.
template <class Operation>
void expectAllocatesNothing(const Operation& operation) {
    AllocationFaults faults(1);
    faults.arm();
    EXPECT_NO_THROW(operation());
    faults.disarm();
    EXPECT_FALSE(test::allocationFailed());
}

struct Connecting {
    test::Listener listener;
    Socket socket;
};

void expectUnconnected(const Socket& socket) {
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_FALSE(socket.isOwner());
}

TEST(SocketAllocation, FailingInConnectLeavesTheSocketUnconnected) {
    const std::string zeros(2000, '0');
    const icu::UnicodeString longHost = icu::UnicodeString::fromUTF8(zeros + "177.0.0.1");
    const std::size_t failed = failEachAllocation<Connecting>(
        [&](Connecting& it) { it.socket.connect(longHost, it.listener.port(), nullptr); },
        [](Connecting& it) {
            expectUnconnected(it.socket);
            EXPECT_NO_THROW(it.socket.connect("127.0.0.1", it.listener.port(), nullptr));
        });
    EXPECT_GT(failed, 0U);
}

struct Refused {
    test::BoundPort port;
    Socket socket;
};

TEST(SocketAllocation, FailingInARefusedConnectLeavesTheSocketUnconnected) {
    const std::size_t failed = failEachAllocation<Refused>(
        [](Refused& it) { it.socket.connect("127.0.0.1", it.port.port(), nullptr); },
        [](Refused& it) { expectUnconnected(it.socket); });
    EXPECT_GT(failed, 0U);
}

struct Unresolved {
    Socket socket;
};

TEST(SocketAllocation, FailingInAConnectToNowhereLeavesTheSocketUnconnected) {
    for (const char* const host : {"", "127.255.255.255"}) {
        const std::size_t failed = failEachAllocation<Unresolved>(
            [&](Unresolved& it) { it.socket.connect(host, 9, &AT_ONCE); },
            [](Unresolved& it) { expectUnconnected(it.socket); });
        EXPECT_GT(failed, 0U);
    }
}

struct TimedOut {
    test::FullListener full;
    Socket socket;
};

TEST(SocketAllocation, FailingInAConnectThatTimesOutLeavesTheSocketUnconnected) {
    const std::size_t failed = failEachAllocation<TimedOut>(
        [](TimedOut& it) { it.socket.connect("127.0.0.1", it.full.port(), &AT_ONCE); },
        [](TimedOut& it) { expectUnconnected(it.socket); });
    EXPECT_GT(failed, 0U);
}

struct Selecting {
    test::Connection connection;
    std::list<Socket> read{connection.socket, Socket(), connection.socket};
    std::list<Socket> write{connection.socket};
    std::list<Socket> none;
};

TEST(SocketAllocation, FailingInSelectLeavesTheListsAlone) {
    failEachAllocation<Selecting>(
        [](Selecting& it) { Socket::select(it.read, it.write, it.none, nullptr); },
        [](Selecting& it) {
            EXPECT_EQ(3U, it.read.size());
            EXPECT_EQ(1U, it.write.size());
        });
    const std::size_t failed = failEachAllocation<Selecting>(
        [](Selecting& it) {
            it.read.back() = Socket(65472);
            Socket::select(it.read, it.write, it.none, nullptr);
        },
        [](Selecting& it) { EXPECT_EQ(3U, it.read.size()); });
    EXPECT_GT(failed, 0U);
}

struct Accepting {
    Accepting() {
        server.listen(0, 5, true);
        client = test::connectTo(server.getPort());
        test::waitUntilReadable(server.getDescriptor());
    }

    SocketServer server;
    test::FileDescriptor client;
    Socket target;
};

TEST(SocketAllocation, FailingInAcceptLeavesTheClientWaiting) {
    failEachAllocation<Accepting>([](Accepting& it) { it.server.accept(it.target, nullptr); },
                                  [](Accepting& it) {
                                      expectUnconnected(it.target);
                                      EXPECT_NO_THROW(it.server.accept(it.target, nullptr));
                                      EXPECT_TRUE(it.target.isOwner());
                                  });
}

TEST(SocketAllocation, FailingInAnAcceptThatTimesOutLeavesTheServerListening) {
    const std::size_t failed = failEachAllocation<Accepting>(
        [](Accepting& it) {
            it.server.accept(it.target, nullptr);
            it.server.accept(it.target, &AT_ONCE);
        },
        [](Accepting& it) { EXPECT_TRUE(it.server.isListening()); });
    EXPECT_GT(failed, 0U);
}

struct Listening {
    SocketServer server;
};

TEST(SocketAllocation, FailingInListenLeavesTheServerIdle) {
    failEachAllocation<Listening>([](Listening& it) { it.server.listen(0, 5, true); },
                                  [](Listening& it) {
                                      EXPECT_EQ(-1, it.server.getDescriptor());
                                      EXPECT_FALSE(it.server.isListening());
                                      EXPECT_NO_THROW(it.server.listen(0, 5, true));
                                  });
}

TEST(SocketAllocation, FailingInAListenOnAPortInUseLeavesTheServerIdle) {
    const test::Listener holder;
    const std::size_t failed = failEachAllocation<Listening>(
        [&](Listening& it) { it.server.listen(holder.port(), 5, true); },
        [](Listening& it) {
            EXPECT_EQ(-1, it.server.getDescriptor());
            EXPECT_FALSE(it.server.isListening());
        });
    EXPECT_GT(failed, 0U);
}

TEST(SocketAllocation, TransfersAllocateNothing) {
    test::Connection connection;
    Socket other(static_cast<long>(connection.peer.get()));
    char buffer[16];
    expectAllocatesNothing([&] {
        connection.socket.write("hello", 0, 5);
        EXPECT_EQ(5U, other.read(buffer, 0, 5));
        connection.socket.write("hello", 0, 5);
        EXPECT_EQ(5, other.readOnce(buffer, 0, 5));
    });
}

TEST(SocketAllocation, ItemsAllocateNothing) {
    test::Connection connection;
    Socket other(static_cast<long>(connection.peer.get()));
    char buffer[16];
    unsigned long length = 0;
    expectAllocatesNothing([&] {
        connection.socket.writeItem("hello", 0, 5);
        EXPECT_EQ(5U, other.readItem(buffer, length, 0, 16, false));
        connection.socket.writeItem("", 0, 0);
        EXPECT_EQ(0U, other.readItem(buffer, length, 0, 16, false));
    });
}

TEST(SocketAllocation, FailingInTheErrorOfADiscardedItemStillDiscardsIt) {
    const std::size_t failed = forEachAllocation([](AllocationFaults& faults) {
        test::Connection connection;
        test::sendAll(connection.peer.get(), std::string("\0\0\0\5hello\0\0\0\1x", 14));
        char byte = 0;
        unsigned long length = 0;
        faults.arm();
        EXPECT_ANY_THROW(connection.socket.readItem(&byte, length, 0, 1, true));
        faults.disarm();
        EXPECT_EQ(5U, length);
        EXPECT_EQ(1U, connection.socket.readItem(&byte, length, 0, 1, true));
        EXPECT_EQ('x', byte);
    });
    EXPECT_GT(failed, 0U);
}

TEST(SocketAllocation, OptionsAndShutdownsAllocateNothing) {
    test::Connection connection;
    expectAllocatesNothing([&] {
        connection.socket.setNonBlocking(true);
        connection.socket.setTcpNoDelay(true);
        connection.socket.setSoTimeout(1);
        Socket::getSocketErrorStatic(connection.socket.getDescriptor(), nullptr, 0);
        connection.socket.shutdownRead();
        connection.socket.shutdownWrite();
        connection.socket.close();
    });
}

}  // namespace
}  // namespace nx::oss
