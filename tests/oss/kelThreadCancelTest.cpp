// Threads that are stopped inside each operation that waits, with sockets and buffers on their
// stack.
#include <infra/oss/kelThread.h>

#include <sys/socket.h>

#include <atomic>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelExtendedProperties.h>

#include "support/kelAllocationFaults.h"
#include "support/kelLoopback.h"
#include "support/kelThreads.h"

namespace nx::oss {
namespace {

using test::Gate;
using test::runStopped;
using test::Task;
using test::Witness;

constexpr unsigned long AN_HOUR = 3'600'000;

/// What the waits need at the other end, made by the test and not by the thread that is stopped.
struct World {
    World() {
        server.listen(0, 5, true);
        other.start();
    }
    ~World() {
        never.open();
        other.join();
    }

    test::FullListener full;
    test::Connection connection;
    SocketServer server;
    Gate never;
    Task waiting{[this] { never.wait(); }};
    Thread other{&waiting, false};
};

struct Wait {
    const char* name;
    void (*body)(World&, Socket&);
};

void sendHeaderOf(World& world, const char* bytes, std::size_t count) {
    test::sendAll(world.connection.peer.get(), {bytes, count});
}

std::vector<char>& largeBlock() {
    static std::vector<char> block(64UL << 20);
    return block;
}

const Wait WAITS[] = {
    {"connect",
     [](World& world, Socket& own) { own.connect("127.0.0.1", world.full.port(), nullptr); }},
    {"connectWithTimeOut",
     [](World& world, Socket& own) { own.connect("127.0.0.1", world.full.port(), &AN_HOUR); }},
    {"accept", [](World& world, Socket& own) { world.server.accept(own, nullptr); }},
    {"acceptWithTimeOut", [](World& world, Socket& own) { world.server.accept(own, &AN_HOUR); }},
    {"read",
     [](World& world, Socket&) {
         char bytes[8];
         world.connection.socket.read(bytes, 0, sizeof bytes);
     }},
    {"readAfterAPart",
     [](World& world, Socket&) {
         char bytes[8];
         sendHeaderOf(world, "abc", 3);
         world.connection.socket.read(bytes, 0, sizeof bytes);
     }},
    {"readOnce",
     [](World& world, Socket&) {
         char bytes[8];
         world.connection.socket.readOnce(bytes, 0, sizeof bytes);
     }},
    {"readItemBeforeThePrefix",
     [](World& world, Socket&) {
         char bytes[8];
         unsigned long length = 0;
         world.connection.socket.readItem(bytes, length, 0, sizeof bytes, false);
     }},
    {"readItemInThePayload",
     [](World& world, Socket&) {
         char bytes[8];
         unsigned long length = 0;
         sendHeaderOf(world, "\0\0\0\5ab", 6);
         world.connection.socket.readItem(bytes, length, 0, sizeof bytes, false);
     }},
    {"readItemWhileDiscarding",
     [](World& world, Socket&) {
         char bytes[8];
         unsigned long length = 0;
         sendHeaderOf(world, "\0\1\0\0ab", 6);
         world.connection.socket.readItem(bytes, length, 0, sizeof bytes, true);
     }},
    {"write",
     [](World& world, Socket&) {
         world.connection.socket.write(largeBlock().data(), 0, largeBlock().size());
     }},
    {"writeItem",
     [](World& world, Socket&) {
         world.connection.socket.writeItem(largeBlock().data(), 0, largeBlock().size());
     }},
    {"select",
     [](World& world, Socket&) {
         std::list<Socket> readable(3, world.connection.socket);
         std::list<Socket> none;
         Socket::select(readable, none, none, nullptr);
     }},
    {"selectWithTimeOut",
     [](World& world, Socket&) {
         std::list<Socket> readable(1, world.connection.socket);
         std::list<Socket> none;
         Socket::select(readable, none, none, &AN_HOUR);
     }},
    {"sleep", [](World&, Socket&) { Thread::sleep(AN_HOUR); }},
    {"join", [](World& world, Socket&) { world.other.join(); }},
};

/// What a thread has on its stack when it is stopped.
struct Belongings {
    explicit Belongings(unsigned long port) : number("number ") {
        connected.connect("127.0.0.1", port, nullptr);
        listening.listen(0, 1, true);
        number.appendString(std::string(10'000, 'x').c_str());
        settings.putProperty("key", "value");
        Converter::convert<512>(scratch, "UTF-8", icu::UnicodeString(2000, u'a', 2000));
    }

    Socket connected;
    SocketServer listening;
    DataBuffer number;
    ByteBuffer bytes{"abc", 3};
    UTF8String text{icu::UnicodeString(u"text")};
    SizeableBuffer<char, 512> scratch{0};
    util::ExtendedProperties settings;
};

class ThreadStopIn : public testing::TestWithParam<Wait> {};

TEST_P(ThreadStopIn, DestroysWhatIsOnTheStackAndLeaksNothing) {
    if (!test::JOIN_CAN_BE_REPEATED && std::string(GetParam().name) == "join") {
        GTEST_SKIP();
    }
    // The first round fills what the library and ICU keep for good.
    for (int round = 0; round < 2; ++round) {
        World world;
        const test::NoDescriptorLeak check;
        const long before = test::liveAllocations();
        {
            std::atomic<pid_t> id{0};
            std::atomic<bool> destroyed{false};
            std::atomic<bool> cameBack{false};
            std::atomic<bool> swallowed{false};
            Task task([&] {
                const Witness witness(destroyed);
                const Belongings belongings(world.connection.listener.port());
                Socket own;
                id = ::gettid();
                try {
                    GetParam().body(world, own);
                    cameBack = true;
                } catch (const BaseException&) {
                    swallowed = true;
                } catch (const std::exception&) {
                    swallowed = true;
                }
            });
            Thread thread(&task, false);
            ASSERT_EQ(0, thread.start());
            while (id == 0) {
                ::sched_yield();
            }
            test::awaitSleep(id);
            EXPECT_EQ(0, thread.stop());
            EXPECT_FALSE(thread.isRunning());
            EXPECT_EQ(0, thread.join());
            EXPECT_TRUE(destroyed);
            EXPECT_FALSE(cameBack);
            EXPECT_FALSE(swallowed);
        }
        if (round > 0) {
            EXPECT_EQ(before, test::liveAllocations());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachWait, ThreadStopIn, testing::ValuesIn(WAITS),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(ThreadStopPending, LetsDestructorsCloseSockets) {
    const test::NoDescriptorLeak check;
    test::Connection connection;
    bool done = false;
    runStopped([&] {
        {
            SocketServer server;
            server.listen(0, 1, true);
        }
        connection.socket.close();
        done = true;
    });
    EXPECT_TRUE(done) << "closing is no place to be cancelled";
    EXPECT_EQ(-1, connection.socket.getDescriptor());
}

TEST(ThreadStopPending, LeavesTheTargetOfAnAssignmentClosed) {
    const test::NoDescriptorLeak check;
    test::Connection connection;
    bool done = false;
    runStopped([&] {
        connection.socket = Socket();
        done = true;
    });
    EXPECT_TRUE(done);
    EXPECT_FALSE(connection.socket.isOwner());
}

TEST(ThreadStopPending, LeavesConnectUnconnectedWithoutALeak) {
    const test::Listener listener;
    const test::NoDescriptorLeak check;
    Socket socket;
    bool connected = false;
    runStopped([&] {
        socket.connect("127.0.0.1", listener.port(), nullptr);
        connected = true;
    });
    EXPECT_FALSE(connected);
    EXPECT_EQ(-1, socket.getDescriptor());
    EXPECT_FALSE(socket.isOwner());
}

TEST(ThreadStopPending, LetsNamesBeResolvedToTheEnd) {
    const test::NoDescriptorLeak check;
    bool threw = false;
    runStopped([&] {
        Socket socket;
        try {
            socket.connect("127.0.0.1 ", 1, nullptr);
        } catch (const SocketException&) {
            threw = true;
        }
    });
    EXPECT_TRUE(threw) << "a thread cancelled inside the resolver would leave locks behind";
}

TEST(ThreadStopPending, LetsThreadObjectsBeUsedAndDestroyed) {
    bool done = false;
    Gate over;
    Task task([&] { over.open(); });
    runStopped([&] {
        Thread inner(&task, false);
        inner.start();
        inner.setName("inner");
        inner.detach();
        inner.stop();
        done = true;
    });
    over.wait();
    EXPECT_TRUE(done);
}

// 200 requests at any moment between two waits, in the middle of sends, receives and accepts.
TEST(ThreadStopAtAnyMoment, LeaksNoDescriptor) {
    const test::NoDescriptorLeak check;
    for (int i = 0; i < 200; ++i) {
        SocketServer server;
        server.listen(0, 5, true);
        std::atomic<bool> accepting{false};
        Task serve([&] {
            for (;;) {
                Socket client;
                accepting = true;
                server.accept(client, nullptr);
                char byte = 0;
                client.write(&byte, 0, client.read(&byte, 0, 1));
            }
        });
        Thread thread(&serve, false);
        ASSERT_EQ(0, thread.start());
        while (!accepting) {
            ::sched_yield();
        }
        {
            const test::FileDescriptor client = test::connectTo(server.getPort());
            test::sendAll(client.get(), "x");
            for (int spin = 0; spin < i % 7; ++spin) {
                ::sched_yield();
            }
            ASSERT_EQ(0, thread.stop());
            ASSERT_EQ(0, thread.join());
        }
    }
}

}  // namespace
}  // namespace nx::oss
