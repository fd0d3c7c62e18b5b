// Threads by the thousand, races between ending and being stopped, and what is left afterwards.
#include <infra/oss/kelThread.h>

#include <pthread.h>

#include <atomic>
#include <list>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelLeave.h"
#include "support/kelSanitizers.h"
#include "support/kelThreads.h"

namespace nx::oss {
namespace {

using test::Gate;
using test::Task;

TEST(ThreadLifetime, AThousandStartsAndJoins) {
    int runs = 0;
    Task task([&] { ++runs; });
    for (int i = 0; i < 1000; ++i) {
        Thread thread(&task, false);
        ASSERT_EQ(0, thread.start());
        ASSERT_EQ(0, thread.join());
    }
    EXPECT_EQ(1000, runs);
}

TEST(ThreadLifetime, AHundredThreadsAtOnce) {
    std::atomic<int> runs{0};
    Gate gate;
    Task task([&] {
        gate.wait();
        ++runs;
    });
    std::list<Thread> threads;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(0, threads.emplace_back(&task, false).start());
    }
    gate.open();
    for (Thread& thread : threads) {
        EXPECT_EQ(0, thread.join());
    }
    EXPECT_EQ(100, runs);
}

/// A thread that has been detached and has come to its end.
struct Ended {
    Ended() {
        EXPECT_EQ(0, thread.start());
        EXPECT_EQ(0, thread.detach());
        while (id == 0) {
            ::sched_yield();
        }
        test::awaitDeath(id);
    }

    std::atomic<pid_t> id{0};
    Task task{[this] { id = ::gettid(); }};
    Thread thread{&task, false};
};

// By then the system has unmapped the memory of most of them.
TEST(ThreadLifetime, DestroyingDetachedThreadsThatHaveEnded) {
    std::list<Ended> ended(64);
    for (const Ended& one : ended) {
        EXPECT_TRUE(one.thread.isRunning());
    }
    ended.clear();
}

TEST(ThreadLifetime, StoppingDetachedThreadsThatHaveEnded) {
    std::list<Ended> ended(64);
    for (Ended& one : ended) {
        EXPECT_EQ(0, one.thread.stop());
        EXPECT_FALSE(one.thread.isRunning());
    }
}

// The system gives identifiers of threads that are gone to new ones.
TEST(ThreadLifetime, AnEndedThreadIsNotMistakenForAnotherOneWithItsIdentifier) {
    int reused = 0;
    for (int i = 0; i < 50; ++i) {
        pthread_t first{};
        pthread_t second{};
        std::atomic<pid_t> firstId{0};
        Task firstTask([&] {
            first = ::pthread_self();
            firstId = ::gettid();
        });
        Thread ended(&firstTask, false);
        ASSERT_EQ(0, ended.start());
        ASSERT_EQ(0, ended.detach());
        while (firstId == 0) {
            ::sched_yield();
        }
        test::awaitDeath(firstId);

        Gate ready;
        Gate gate;
        bool survived = false;
        Task secondTask([&] {
            second = ::pthread_self();
            ready.open();
            gate.wait();
            survived = true;
        });
        Thread stranger(&secondTask, false);
        ASSERT_EQ(0, stranger.start());
        ready.wait();
        EXPECT_EQ(0, ended.stop());
        gate.open();
        EXPECT_EQ(0, stranger.join());
        EXPECT_TRUE(survived);
        reused += ::pthread_equal(first, second) != 0 ? 1 : 0;
    }
    RecordProperty("identifiersReused", reused);
}

TEST(ThreadLifetime, TwoThousandStopsThatRaceWithTheEnd) {
    static Task task([] {});  // detached threads may begin after this test
    for (int i = 0; i < 2000; ++i) {
        Thread thread(&task, false);
        ASSERT_EQ(0, thread.start());
        if (i % 2 == 0) {
            ASSERT_EQ(0, thread.detach());
        }
        ASSERT_EQ(0, thread.stop());
        if (i % 2 != 0) {
            ASSERT_EQ(0, thread.join());
        }
    }
}

TEST(ThreadLifetime, OneObjectIsUsedByManyThreads) {
    Task work([] { ::pthread_testcancel(); });
    Thread shared(&work, false);
    const auto use = [&] {
        for (int i = 0; i < 200; ++i) {
            shared.setPriority(shared.getPriority() + 1);
            shared.setName("name");
            shared.setName(nullptr);
            static_cast<void>(shared.isRunning());
            static_cast<void>(shared.isJoinable());
            shared.stop();
        }
    };
    Task user(use);
    std::list<Thread> users;
    ASSERT_EQ(0, shared.start());
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(0, users.emplace_back(&user, false).start());
    }
    EXPECT_EQ(0, shared.join());
    for (Thread& thread : users) {
        EXPECT_EQ(0, thread.join());
    }
    EXPECT_EQ(nullptr, shared.getName());
}

TEST(ThreadLifetime, JoinedByOneOfManyThreads) {
    Gate gate;
    Task work([&] { gate.wait(); });
    Thread shared(&work, false);
    ASSERT_EQ(0, shared.start());
    std::atomic<int> successes{0};
    std::atomic<int> refusals{0};
    Task joiner([&] {
        const int result = shared.join();
        successes += result == 0 ? 1 : 0;
        refusals += result == -1 ? 1 : 0;
    });
    std::list<Thread> joiners;
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(0, joiners.emplace_back(&joiner, false).start());
    }
    gate.open();
    for (Thread& thread : joiners) {
        EXPECT_EQ(0, thread.join());
    }
    EXPECT_EQ(1, successes);
    EXPECT_EQ(3, refusals);
}

TEST(ThreadLifetime, AThreadMayEndItself) {
    bool after = false;
    Task task([&] {
        ::pthread_exit(nullptr);
        after = true;
    });
    Thread thread(&task, false);
    thread.start();
    EXPECT_EQ(0, thread.join());
    EXPECT_FALSE(after);
}

TEST(ThreadLifetimeDeathTest, AForkedChildDestroysAThreadThatOnlyItsParentHas) {
    GTEST_FLAG_SET(death_test_style, "fast");
    Gate started;
    Gate gate;
    bool ended = false;
    Task task([&] {
        started.open();
        gate.wait();
        ended = true;
    });
    auto waiting = std::make_unique<Thread>(&task, false);
    ASSERT_EQ(0, waiting->start());
    started.wait();
    if (!test::THREAD_SANITIZER) {  // which follows no child of a process with threads
        EXPECT_EXIT(
            {
                waiting.reset();
                test::leaveAtOnce(0);
            },
            testing::ExitedWithCode(0), "");
    }
    gate.open();
    EXPECT_EQ(0, waiting->join());
    EXPECT_TRUE(ended);
}

TEST(ThreadLifetimeDeathTest, AnExceptionThatLeavesRunEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Task task([] { throw std::runtime_error("out of run"); });
            Thread thread(&task, false);
            thread.start();
            thread.join();
        },
        "out of run");
}

TEST(ThreadLifetimeDeathTest, CatchingACancellationForGoodEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Gate never;
            Task task([&] {
                try {
                    never.wait();
                } catch (...) {
                }
            });
            Thread thread(&task, false);
            thread.start();
            thread.stop();
            thread.join();
        },
        "exception not rethrown");
}

}  // namespace
}  // namespace nx::oss
