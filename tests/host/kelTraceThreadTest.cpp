// A host that records what each thread does, and whose functions are places where a thread can be
// cancelled, as functions that write a file are.
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelThread.h>

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <list>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelSocketPair.h"
#include "support/kelThreads.h"

namespace {

// What the host records for this thread: an identifier, negative for an exit.
thread_local std::vector<long>* recorded = nullptr;

void record(long event) {
    if (recorded != nullptr) {
        ::pthread_testcancel();
        recorded->push_back(event);
    }
}

}  // namespace

extern "C" {
unsigned long trcGetCompFlag(unsigned component) { return component == 155 ? 0x20000 : 0; }
void trcEntry(unsigned identifier) { record(static_cast<long>(identifier)); }
void trcExit(unsigned identifier, long) { record(-static_cast<long>(identifier)); }
}

namespace nx::oss {
namespace {

using test::Gate;
using test::Task;
using Events = std::vector<long>;

constexpr long TRACE_BLOCK = 0x1CD80000;

long entered(long serial) { return TRACE_BLOCK + serial; }
long left(long serial) { return -(TRACE_BLOCK + serial); }

template <class Operation>
Events eventsOf(const Operation& operation) {
    Events events;
    recorded = &events;
    operation();
    recorded = nullptr;
    return events;
}

TEST(TraceThread, LivesAndDiesWithExitsOnly) {
    std::optional<Thread> thread;
    EXPECT_EQ(eventsOf([&] { thread.emplace(nullptr, false); }), Events{left(1328)});
    EXPECT_EQ(eventsOf([&] { thread.reset(); }), Events{left(1329)});
}

TEST(TraceThread, BracketsStartJoinAndStop) {
    Task task([] {});
    Thread thread(&task, false);
    EXPECT_EQ(eventsOf([&] { thread.start(); }), (Events{entered(1330), left(1330)}));
    EXPECT_EQ(eventsOf([&] { thread.stop(); }), (Events{entered(1332), left(1332)}));
    EXPECT_EQ(eventsOf([&] { thread.join(); }), (Events{entered(1331), left(1331)}));
    // Results that tell a failure are normal returns.
    EXPECT_EQ(eventsOf([&] { thread.join(); }), (Events{entered(1331), left(1331)}));
}

TEST(TraceThread, RecordsTheStopOfADestructorInside) {
    Gate over;
    Task task([&] {
        ::pthread_detach(::pthread_self());
        over.open();
    });
    std::optional<Thread> thread(std::in_place, &task, false);
    thread->start();
    over.wait();
    EXPECT_EQ(eventsOf([&] { thread.reset(); }), (Events{entered(1332), left(1332), left(1329)}));
}

TEST(TraceThread, LeavesTheOtherOperationsOut) {
    Thread thread(nullptr, false);
    EXPECT_EQ(eventsOf([&] {
                  thread.detach();
                  thread.setDetachState();
                  thread.setName("name");
                  thread.getName();
                  thread.setPriority(thread.getPriority());
                  static_cast<void>(thread.isRunning());
                  static_cast<void>(thread.isJoinable());
                  Thread::sleep(0);
              }),
              Events{});
}

/// What a thread records that is stopped while it waits in `body`.
Events eventsOfStopped(const std::function<void()>& body) {
    Events events;
    std::atomic<pid_t> id{0};
    Task task([&] {
        recorded = &events;
        id = ::gettid();
        body();
    });
    Thread thread(&task, false);
    EXPECT_EQ(0, thread.start());
    while (id == 0) {
        ::sched_yield();
    }
    test::awaitSleep(id);
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ(0, thread.join());
    return events;
}

TEST(TraceCancellation, LeavesOutTheExitsOfWhatIsUnwound) {
    const test::SocketPair pair;
    const Events events = eventsOfStopped([&] {
        const DataBuffer buffer;
        Socket socket(pair.ends[0]);
        char bytes[8];
        unsigned long length = 0;
        socket.readItem(bytes, length, 0, sizeof bytes, false);
    });
    EXPECT_EQ(events, (Events{entered(1266), left(1266), left(1264), left(1299), entered(1308),
                              entered(1305)}));
}

TEST(TraceCancellation, LeavesOutTheExitsOfEveryWait) {
    const test::SocketPair pair;
    const auto endsWithEntry = [](const Events& events, long serial) {
        return !events.empty() && events.back() == entered(serial);
    };
    EXPECT_TRUE(endsWithEntry(eventsOfStopped([&] {
                                  char byte = 0;
                                  Socket(pair.ends[0]).readOnce(&byte, 0, 1);
                              }),
                              1306));
    EXPECT_TRUE(endsWithEntry(eventsOfStopped([&] {
                                  const std::vector<char> block(16UL << 20);
                                  Socket(pair.ends[0]).write(block.data(), 0, block.size());
                              }),
                              1304));
    const Events selecting = eventsOfStopped([&] {
        std::list<Socket> readable(1, Socket(pair.ends[0]));
        std::list<Socket> none;
        Socket::select(readable, none, none, nullptr);
    });
    EXPECT_EQ(1, std::count(selecting.begin(), selecting.end(), entered(1317)));
    EXPECT_EQ(0, std::count(selecting.begin(), selecting.end(), left(1317)));
}

// The host's functions are reached from destructors, where a cancellation would end the process.
TEST(TraceCancellation, DoesNotHappenInsideTheHost) {
    const test::SocketPair pair;
    Events events;
    bool done = false;
    test::runStopped([&] {
        recorded = &events;
        {
            Socket socket(pair.ends[0]);
            socket.shutdownRead();
        }
        recorded = nullptr;
        done = true;
    });
    EXPECT_TRUE(done);
    EXPECT_EQ(events, (Events{left(1299), entered(1311), left(1311), left(1300)}));
}

}  // namespace
}  // namespace nx::oss
