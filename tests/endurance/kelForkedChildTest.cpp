// A process that forks while its threads use the library: what the child is promised in
// docs/threads.md. Not for the thread sanitizer, which follows no child of a process with threads.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include "kelSharedUses.h"
#include "support/kelProcessRuns.h"
#include "support/kelSanitizers.h"
#include "support/kelThreads.h"

namespace nx::test {
namespace {

/// Where a thread stops that is making the tables of a code page, which take more memory at once
/// than anything else here.
constexpr std::size_t SIZE_OF_TABLES = 100'000;
thread_local bool stopsInTables = false;
Gate& tablesBegun = *new Gate;
Gate& tablesMayGoOn = *new Gate;

void stopInTables(std::size_t size) {
    if (stopsInTables && size > SIZE_OF_TABLES) {
        stopsInTables = false;
        tablesBegun.open();
        tablesMayGoOn.wait();
    }
}

}  // namespace
}  // namespace nx::test

void* operator new(std::size_t size) {
    nx::test::stopInTables(size);
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace nx::test {
namespace {

using icu::UnicodeString;
using oss::Converter;

constexpr int MANY = 20'000;

/// Converts so much that the code page gets tables: the number of characters that came out right.
int convertMuch(const char* codePage) {
    const UnicodeString text(MANY, u'\u00A7', MANY);
    std::string bytes(MANY, '\0');
    Converter::convertToBytes(bytes.data(), MANY, codePage, text);
    return static_cast<int>(std::count(bytes.begin(), bytes.end(), '\xA7'));
}

class TablesInTheMaking : public testing::Test {
  protected:
    void SetUp() override {
        // Opened before, so that nobody meets ICU's own locks.
        ASSERT_EQ(convertMuch("ISO-8859-7"), MANY);
        maker_ = std::async(std::launch::async, [] {
            stopsInTables = true;
            return convertMuch("ISO-8859-15");
        });
        tablesBegun.wait();
    }
    void TearDown() override {
        tablesMayGoOn.open();
        EXPECT_EQ(maker_.get(), MANY);
    }

  private:
    std::future<int> maker_;
};

// One test: the gates open once in a process.
TEST_F(TablesInTheMaking, KeepNoThreadAndNoForkedChildWaiting) {
    auto other = std::async(std::launch::async, [] { return convertMuch("ISO-8859-3"); });
    EXPECT_EQ(other.wait_for(std::chrono::minutes(1)), std::future_status::ready);
    const ProcessEnd end = runForked([] {
        return convertMuch("ISO-8859-7") == MANY && convertMuch("ISO-8859-9") == MANY
                   ? ""
                   : "wrong text";
    });
    EXPECT_TRUE(end.isFine()) << end.text();
    tablesMayGoOn.open();
    EXPECT_EQ(other.get(), MANY);
}

/// A thread that waits, in the hands of another thread that joins it.
class ThreadBeingJoined {
  public:
    ThreadBeingJoined() {
        EXPECT_EQ(0, thread->start());
        joiner_ = std::thread([this] {
            joinerId_ = ::gettid();
            EXPECT_EQ(0, thread->join());
        });
        while (joinerId_ == 0) {
            std::this_thread::yield();
        }
        awaitSleep(joinerId_);
    }
    ~ThreadBeingJoined() {
        gate_.open();
        joiner_.join();
    }

    Gate gate_;
    Task task_{[this] { gate_.wait(); }};
    std::unique_ptr<oss::Thread> thread = std::make_unique<oss::Thread>(&task_, false);

  private:
    std::atomic<pid_t> joinerId_{0};
    std::thread joiner_;
};

TEST(ForkedChild, DestroysThreadsThatOnlyItsParentHas) {
    Gate gate;
    Task task([&] { gate.wait(); });
    auto waiting = std::make_unique<oss::Thread>(&task, false);
    ASSERT_EQ(0, waiting->start());
    {
        ThreadBeingJoined joined;
        const ProcessEnd end = runForked([&] {
            waiting.reset();
            joined.thread.reset();
            return "";
        });
        EXPECT_TRUE(end.isFine()) << end.text();
    }
    gate.open();
    EXPECT_EQ(0, waiting->join());
}

std::string problemsOfThreads() {
    std::atomic<int> ran{0};
    Task counting([&] { ++ran; });
    oss::Thread first(&counting, false);
    oss::Thread second(&counting, false);
    const bool joined =
        first.start() == 0 && second.start() == 0 && first.join() == 0 && second.join() == 0;
    Gate never;
    Task waiting([&] { never.wait(); });
    oss::Thread stopped(&waiting, false);
    const bool ended = stopped.start() == 0 && stopped.stop() == 0 && stopped.join() == 0;
    return joined && ran == 2 && ended ? "" : "threads\n";
}

std::string problemsOfSockets() {
    constexpr unsigned long LIMIT_MS = 60'000;
    oss::SocketServer server;
    server.listen(0, 1, true);
    oss::Socket client;
    client.connect(u"127.0.0.1", server.getPort(), &LIMIT_MS);
    oss::Socket accepted;
    server.accept(accepted, &LIMIT_MS);
    client.writeItem("item", 0, 4);
    char item[8] = "";
    unsigned long length = sizeof item;
    accepted.readItem(item, length, 0, sizeof item, /*discardOversized=*/false);
    return std::string(item) == "item" ? "" : "sockets\n";
}

std::string problemsOfChild() {
    std::string problems = problemsOfThreads() + problemsOfSockets();
    for (std::size_t i = 0; i < SHARED_USE_COUNT; ++i) {
        if (SHARED_USES[i].worksInAnyChild) {
            problems += problemOf(SHARED_USES[i], SHARED_USES[i].use());
        }
    }
    return problems;
}

// The address sanitizer's own memory functions keep their locks across a fork, so a child that
// allocates may hang whatever it does. The thread sanitizer ends a child that starts a thread.
constexpr bool CHILDREN_CAN_DO_ANYTHING = !ADDRESS_SANITIZER && !THREAD_SANITIZER;

TEST(ForkedChild, WorksWhateverTheThreadsOfItsParentWereDoing) {
    if (!CHILDREN_CAN_DO_ANYTHING) {
        GTEST_SKIP();
    }
    for (std::size_t i = 0; i < SHARED_USE_COUNT; ++i) {
        ASSERT_EQ(problemOf(SHARED_USES[i], SHARED_USES[i].use()), "");
    }
    std::atomic<bool> done{false};
    std::vector<std::thread> busy;
    for (std::size_t first = 0; first < 8; ++first) {
        busy.emplace_back([&done, first] {
            for (std::size_t i = first * 3; !done; ++i) {
                SHARED_USES[i % SHARED_USE_COUNT].use();
            }
        });
    }
    const long runs = wantedRuns(20);
    for (long run = 0; run < runs && !HasFailure(); ++run) {
        const ProcessEnd end = runForked(problemsOfChild);
        EXPECT_TRUE(end.isFine()) << "run " << run << ": " << end.text();
    }
    done = true;
    for (std::thread& thread : busy) {
        thread.join();
    }
}

}  // namespace
}  // namespace nx::test
