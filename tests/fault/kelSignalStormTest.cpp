// Signals that let no system call be restarted reach the working thread a thousand times a second,
// while it connects, accepts, waits, reads and writes. An operation that is interrupted says so, by
// the error of EINTR, and nothing else happens: no byte is lost or comes twice, no connection is
// lost, no descriptor stays open. The system calls are counted where the program is linked.
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <iostream>
#include <list>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include "support/kelLoopback.h"
#include "support/kelRaises.h"
#include "support/kelRandomRun.h"

namespace {

/// What the system calls of a thread did.
struct Counts {
    unsigned long calls = 0;
    unsigned long interrupted = 0;
    /// Bytes that send() or recv() moved since the caller set this to 0.
    std::uint64_t moved = 0;
};

/// Set while the calls of the thread are counted.
thread_local Counts* counts = nullptr;

template <class Result>
Result counted(Result result) {
    if (counts != nullptr) {
        const int error = errno;
        ++counts->calls;
        counts->interrupted += result < 0 && error == EINTR ? 1 : 0;
        errno = error;
    }
    return result;
}

ssize_t movedBytes(ssize_t result) {
    if (counts != nullptr && result > 0) {
        counts->moved += static_cast<std::uint64_t>(result);
    }
    return counted(result);
}

}  // namespace

// What --wrap makes of the calls and of their definitions.
extern "C" {
int __real_connect(int descriptor, const sockaddr* address, socklen_t length);
int __real_accept(int descriptor, sockaddr* address, socklen_t* length);
int __real_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* limit);
ssize_t __real_send(int descriptor, const void* bytes, size_t length, int flags);
ssize_t __real_recv(int descriptor, void* bytes, size_t length, int flags);

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t length) {
    return counted(__real_connect(descriptor, address, length));
}
int __wrap_accept(int descriptor, sockaddr* address, socklen_t* length) {
    return counted(__real_accept(descriptor, address, length));
}
int __wrap_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional,
                  timeval* limit) {
    return counted(__real_select(count, reading, writing, exceptional, limit));
}
ssize_t __wrap_send(int descriptor, const void* bytes, size_t length, int flags) {
    return movedBytes(__real_send(descriptor, bytes, length, flags));
}
ssize_t __wrap_recv(int descriptor, void* bytes, size_t length, int flags) {
    return movedBytes(__real_recv(descriptor, bytes, length, flags));
}
}

namespace nx::oss {
namespace {

using test::Report;

constexpr long USUAL_CALLS = 5'000;  // of all operations together
constexpr long OPERATIONS = 5;
/// So many of the operations are interrupted, however few of them there are.
constexpr unsigned long FEWEST_INTERRUPTIONS = 5;

std::atomic<unsigned long> signalsSeen{0};

/// While it lives, a signal interrupts the calling thread every millisecond.
class Storm {
  public:
    Storm() {
        struct sigaction action {};
        action.sa_handler = [](int) { signalsSeen.fetch_add(1, std::memory_order_relaxed); };
        EXPECT_EQ(::sigaction(SIGRTMIN, &action, nullptr), 0);
        sigevent event{};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = SIGRTMIN;
        event._sigev_un._tid = ::gettid();
        EXPECT_EQ(::timer_create(CLOCK_MONOTONIC, &event, &timer_), 0);
        const itimerspec everyMillisecond{{0, 1'000'000}, {0, 1'000'000}};
        EXPECT_EQ(::timer_settime(timer_, 0, &everyMillisecond, nullptr), 0);
        counts = &counts_;
    }
    /// The handler stays, for a signal that is still on its way.
    ~Storm() {
        counts = nullptr;
        ::timer_delete(timer_);
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

    Counts& counted() { return counts_; }

  private:
    timer_t timer_{};
    Counts counts_;
};

/// The bytes of a stream by their position; no two places a small distance apart look alike.
char byteAt(std::uint64_t position) {
    return static_cast<char>((position * 167 + (position >> 8) * 13) % 251);
}

void fill(std::vector<char>& bytes, std::uint64_t position) {
    for (char& byte : bytes) {
        byte = byteAt(position++);
    }
}

bool continues(const char* bytes, std::size_t count, std::uint64_t position) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] != byteAt(position + i)) {
            return false;
        }
    }
    return true;
}

/// Sleeps now and then, so that the other end has to wait.
class Pace {
  public:
    explicit Pace(std::uint64_t seed) : random_(seed) {}

    std::size_t upTo(std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(1, most)(random_);
    }
    void rest() {
        if (upTo(8) == 1) {
            std::this_thread::sleep_for(std::chrono::microseconds(upTo(200)));
        }
    }

  private:
    std::mt19937_64 random_;
};

/// One kind of operation, which is called until it was called and interrupted often enough.
class SignalStorm : public testing::Test {
  protected:
    SignalStorm() : run_(USUAL_CALLS), wanted_(std::max(run_.cases() / OPERATIONS, 1L)) {}

    /// Calls `operation`, which ends in its result or in `interrupted`.
    template <class Operation>
    void repeat(const Operation& operation, const Report& interrupted) {
        const unsigned long signalsBefore = signalsSeen;
        while (calls_ < wanted_ || interruptions_ < FEWEST_INTERRUPTIONS) {
            ++calls_;
            try {
                operation();
            } catch (const SocketException& e) {
                ++interruptions_;
                ASSERT_TRUE(interrupted.matches(e));
            }
            if (HasFatalFailure()) {
                return;
            }
        }
        signals_ = signalsSeen - signalsBefore;
    }
    /// Each interrupted system call is reported once, and nothing else is.
    void expectReported(const Counts& counted) const {
        EXPECT_EQ(counted.interrupted, interruptions_);
        std::cout << calls_ << " calls, " << counted.calls << " system calls, " << interruptions_
                  << " interrupted, " << signals_ << " signals\n";
    }
    static Report interrupted(const std::string& host, const std::string& port) {
        return Report("NX_ERR_SOCKET_ERROR").in("kelSocket.cpp").with({"4", host, port});
    }

    test::NoDescriptorLeak check_;
    test::RandomRun run_;
    long wanted_;
    long calls_ = 0;
    unsigned long interruptions_ = 0;
    unsigned long signals_ = 0;
};

/// Sends the stream until the other end is gone.
void sendStream(int descriptor, std::uint64_t seed) {
    Pace pace(seed);
    std::vector<char> bytes;
    for (std::uint64_t position = 0;; position += bytes.size()) {
        bytes.resize(pace.upTo(64));
        fill(bytes, position);
        if (::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(bytes.size())) {
            return;
        }
        pace.rest();
    }
}

TEST_F(SignalStorm, ReadingLosesAndDoublesNothing) {
    test::Connection connection;
    const Report report = interrupted("127.0.0.1", connection.portText());
    Pace pace(run_.seed());
    {
        const test::JoinedThread sender(
            [&, seed = run_.seed()] { sendStream(connection.peer.get(), seed); });
        Storm storm;
        std::uint64_t position = 0;
        char bytes[100];
        const auto read = [&] {
            const bool once = pace.upTo(2) == 1;
            const std::size_t length = pace.upTo(sizeof bytes);
            std::fill(std::begin(bytes), std::end(bytes), '\xFF');
            storm.counted().moved = 0;
            // Required: a read of many bytes that is interrupted between them drops those it has;
            // they are in the buffer.
            std::uint64_t got = 0;
            try {
                got = once
                          ? static_cast<std::uint64_t>(connection.socket.readOnce(bytes, 0, length))
                          : connection.socket.read(bytes, 0, length);
            } catch (const SocketException&) {
                EXPECT_TRUE(continues(bytes, storm.counted().moved, position));
                EXPECT_TRUE(!once || storm.counted().moved == 0);
                position += storm.counted().moved;
                throw;
            }
            ASSERT_EQ(got, storm.counted().moved);
            ASSERT_TRUE(once ? got >= 1 : got == length);
            ASSERT_TRUE(continues(bytes, got, position));
            position += got;
        };
        repeat(read, report);
        expectReported(storm.counted());
        connection.socket.shutdownReadWrite();
        connection.socket.close();
    }
}

/// Receives the stream to its end; the number of right bytes, and whether there were wrong ones.
struct Received {
    std::uint64_t count = 0;
    bool right = true;
};

void receiveStream(int descriptor, std::uint64_t seed, Received& received) {
    Pace pace(seed);
    std::vector<char> bytes(2'000);
    for (;;) {
        const ssize_t more = ::recv(descriptor, bytes.data(), pace.upTo(bytes.size()), 0);
        if (more <= 0) {
            return;
        }
        received.right = received.right &&
                         continues(bytes.data(), static_cast<std::size_t>(more), received.count);
        received.count += static_cast<std::uint64_t>(more);
        pace.rest();
    }
}

TEST_F(SignalStorm, WritingLosesAndDoublesNothing) {
    test::Connection connection;
    // So small that writing waits, and not so small that it waits for late acknowledgements.
    const int size = 32'768;
    const int descriptor = static_cast<int>(connection.socket.getDescriptor());
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    ::setsockopt(connection.peer.get(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    const Report report = interrupted("127.0.0.1", connection.portText());
    Pace pace(run_.seed());
    Received received;
    std::uint64_t position = 0;
    {
        const test::JoinedThread receiver(
            [&, seed = run_.seed()] { receiveStream(connection.peer.get(), seed, received); });
        Storm storm;
        std::vector<char> bytes;
        const auto write = [&] {
            bytes.resize(pace.upTo(3'000));
            fill(bytes, position);
            storm.counted().moved = 0;
            try {
                connection.socket.write(bytes.data(), 0, bytes.size());
            } catch (const SocketException&) {
                EXPECT_LT(storm.counted().moved, bytes.size());
                position += storm.counted().moved;
                throw;
            }
            ASSERT_EQ(storm.counted().moved, bytes.size());
            position += bytes.size();
        };
        repeat(write, report);
        expectReported(storm.counted());
        connection.socket.shutdownWrite();
    }
    EXPECT_TRUE(received.right);
    EXPECT_EQ(received.count, position);
}

TEST_F(SignalStorm, WaitingFindsWhatIsReadyAndKeepsTheListsOtherwise) {
    test::Connection connection;
    const Report report = interrupted("127.0.0.1", connection.portText());
    {
        const test::JoinedThread sender(
            [&, seed = run_.seed()] { sendStream(connection.peer.get(), seed); });
        Storm storm;
        std::uint64_t position = 0;
        const auto wait = [&] {
            std::list<Socket> readable{connection.socket};
            std::list<Socket> none;
            try {
                ASSERT_EQ(Socket::select(readable, none, none, nullptr), 1);
            } catch (const SocketException&) {
                EXPECT_EQ(readable.size(), 1u);
                throw;
            }
            ASSERT_EQ(readable.size(), 1u);
            char bytes[100];
            const long got = connection.socket.readOnce(bytes, 0, sizeof bytes);
            ASSERT_GE(got, 1);
            ASSERT_TRUE(continues(bytes, static_cast<std::size_t>(got), position));
            position += static_cast<std::uint64_t>(got);
        };
        repeat(wait, report);
        expectReported(storm.counted());
        connection.socket.shutdownReadWrite();
        connection.socket.close();
    }
}

/// Closes without leaving the connection's port behind for a minute.
void closeAtOnce(int descriptor) {
    const linger immediately{1, 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
}

/// Connects again and again, each time after the connection before is gone, and says its number.
void connectMany(unsigned long port, std::uint64_t seed, const std::atomic<bool>& over) {
    Pace pace(seed);
    for (std::uint32_t number = 0; !over; ++number) {
        const test::FileDescriptor client = test::connectTo(port);
        test::sendAll(client.get(), {reinterpret_cast<const char*>(&number), sizeof number});
        test::receiveToEnd(client.get());
        pace.rest();
    }
}

std::uint32_t numberFrom(long descriptor) {
    std::uint32_t number = 0;
    ssize_t got = 0;
    do {
        got = __real_recv(static_cast<int>(descriptor), &number, sizeof number, MSG_WAITALL);
    } while (got < 0 && errno == EINTR);
    return got == sizeof number ? number : ~0U;
}

TEST_F(SignalStorm, AcceptingLosesNoConnection) {
    SocketServer server;
    server.listen(0, 5, true);
    std::atomic<bool> over{false};
    std::atomic<bool> gone{false};
    {
        const test::JoinedThread clients([&, seed = run_.seed(), port = server.getPort()] {
            connectMany(port, seed, over);
            gone = true;
        });
        Storm storm;
        std::uint32_t next = 0;
        const auto acceptNext = [&] {
            Socket target;
            server.accept(target, nullptr);
            ASSERT_TRUE(target.isOwner());
            ASSERT_EQ(numberFrom(target.getDescriptor()), next++);
            closeAtOnce(static_cast<int>(target.getDescriptor()));
        };
        // The wait is interrupted; nothing is to be waited for when the connection is taken.
        repeat(acceptNext, interrupted("", "0"));
        expectReported(storm.counted());
        over = true;
        while (!gone) {  // the client may wait for one connection more
            const unsigned long limit = 10;
            Socket target;
            try {
                server.accept(target, &limit);
            } catch (const SocketException&) {
                continue;
            }
        }
    }
}

TEST_F(SignalStorm, ConnectingEndsConnectedOrLeavesNothing) {
    const test::Listener listener(4'096);
    const test::FullListener full;
    std::atomic<bool> over{false};
    {
        const test::JoinedThread server([&] {
            while (!over) {
                const test::FileDescriptor accepted = listener.accept();
                closeAtOnce(accepted.get());
                // Not before the other end has seen its connection: it would be refused later on.
                test::receiveToEnd(accepted.get());
            }
        });
        const auto connect = [&] {
            // Nobody answers at one of them, so that the wait is interrupted for sure.
            const bool waits = calls_ % 50 == 0;
            Socket socket;
            try {
                socket.connect("127.0.0.1", waits ? full.port() : listener.port(), nullptr);
            } catch (const SocketException&) {
                EXPECT_EQ(socket.getDescriptor(), -1);
                EXPECT_FALSE(socket.isOwner());
                throw;
            }
            ASSERT_FALSE(waits);
            ASSERT_TRUE(socket.isOwner());
            closeAtOnce(static_cast<int>(socket.getDescriptor()));
        };
        {
            Storm storm;
            repeat(connect, interrupted("", "0"));
            expectReported(storm.counted());
        }
        over = true;
        test::connectTo(listener.port());
    }
}

}  // namespace
}  // namespace nx::oss
