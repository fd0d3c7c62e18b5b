#include <infra/oss/kelThread.h>

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/kelThreads.h"

namespace nx::oss {
namespace {

using test::Gate;
using test::OpensAtEnd;
using test::Task;
using test::Witness;

/// The two flags as text, to compare both at once.
std::string flags(const Thread& thread) {
    return std::string(thread.isRunning() ? "running" : "idle") +
           (thread.isJoinable() ? " joinable" : "");
}

/// A thread that waits for its gate, and is over at the end of the test in any case.
struct Waiting {
    Waiting() { EXPECT_EQ(0, thread.start()); }
    ~Waiting() {
        gate.open();
        if (thread.isJoinable()) {
            thread.join();
        }
        over.wait();
    }

    Gate gate;
    Gate over;
    Task task{[this] {
        const OpensAtEnd atEnd(over);
        gate.wait();
    }};
    Thread thread{&task, false};
};

Task& idleTask() {
    static Task task([] {});
    return task;
}

int ownDetachState() {
    int state = -1;
    pthread_attr_t own;
    ::pthread_getattr_np(::pthread_self(), &own);
    ::pthread_attr_getdetachstate(&own, &state);
    ::pthread_attr_destroy(&own);
    return state;
}

/// What a thread does so that nobody needs to join it.
void releaseItself() { ::pthread_detach(::pthread_self()); }

// --- Type and construction ----------------------------------------------------------------------

TEST(ThreadType, IsNeitherPolymorphicNorCopied) {
    static_assert(!std::is_polymorphic_v<Thread>);
    static_assert(!std::is_copy_constructible_v<Thread> && !std::is_copy_assignable_v<Thread>);
    static_assert(!std::is_default_constructible_v<Thread>);
    static_assert(std::is_constructible_v<Thread, Runnable*, bool>);
    static_assert(!std::is_constructible_v<Thread, Runnable*>);
}

TEST(ThreadType, HasADefaultPriorityOf5) {
    static_assert(std::is_same_v<decltype(Thread::DEFAULT_PRIORITY), const int>);
    static_assert(Thread::DEFAULT_PRIORITY == 5);
}

TEST(ThreadConstructor, MakesAnIdleJoinableThreadWithoutAName) {
    Thread thread(&idleTask(), false);
    EXPECT_EQ("idle joinable", flags(thread));
    EXPECT_EQ(nullptr, thread.getName());
    EXPECT_EQ(5, thread.getPriority());
}

// --- thread_run_stub ----------------------------------------------------------------------------

TEST(ThreadRunStub, RunsTheRunnableAndReturnsIt) {
    bool ran = false;
    Task task([&] { ran = true; });
    Runnable* const runnable = &task;
    EXPECT_EQ(runnable, thread_run_stub(runnable));
    EXPECT_TRUE(ran);
    static_assert(std::is_same_v<decltype(&::thread_run_stub), void* (*)(void*)>);
    static_assert(std::is_same_v<decltype(&nx::oss::thread_run_stub), void* (*)(void*)>);
}

TEST(ThreadRunStub, PrintsALineForANullRunnable) {
    testing::internal::CaptureStdout();
    void* const result = thread_run_stub(nullptr);
    EXPECT_EQ("Not Running Thread - Runnable is NULL\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(nullptr, result);
}

// --- start --------------------------------------------------------------------------------------

TEST(ThreadStart, RunsTheRunnableInAThreadOfItsOwn) {
    pthread_t id{};
    Task task([&] { id = ::pthread_self(); });
    Thread thread(&task, false);
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ("running joinable", flags(thread));
    EXPECT_EQ(0, thread.join());
    EXPECT_FALSE(::pthread_equal(id, ::pthread_self()));
}

TEST(ThreadStart, OfANullRunnableIsNoErrorAndPrintsALine) {
    testing::internal::CaptureStdout();
    Thread thread(nullptr, true);
    const int started = thread.start();
    const int joined = thread.join();
    EXPECT_EQ("Not Running Thread - Runnable is NULL\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(0, started);
    EXPECT_EQ(0, joined);
}

TEST(ThreadStart, ReturnsWithoutWaitingForTheThread) {
    const Waiting it;
    EXPECT_EQ("running joinable", flags(it.thread));
}

TEST(ThreadStart, KeepsTheRunningFlagWhenTheThreadHasEnded) {
    std::atomic<pid_t> id{0};
    Task task([&] { id = ::gettid(); });
    Thread thread(&task, false);
    thread.start();
    while (id == 0) {
        ::sched_yield();
    }
    test::awaitDeath(id);
    EXPECT_EQ("running joinable", flags(thread));
    EXPECT_EQ(0, thread.join());
}

TEST(ThreadStart, UsesTheDefaultAttributesOfTheSystem) {
    int detachState = -1;
    std::size_t stackSize = 0;
    Task task([&] {
        detachState = ownDetachState();
        pthread_attr_t own;
        ::pthread_getattr_np(::pthread_self(), &own);
        ::pthread_attr_getstacksize(&own, &stackSize);
        ::pthread_attr_destroy(&own);
    });
    Thread thread(&task, false);
    thread.start();
    thread.join();
    pthread_attr_t usual;
    ::pthread_getattr_default_np(&usual);
    std::size_t usualSize = 0;
    ::pthread_attr_getstacksize(&usual, &usualSize);
    ::pthread_attr_destroy(&usual);
    EXPECT_EQ(PTHREAD_CREATE_JOINABLE, detachState);
    EXPECT_LE(usualSize, stackSize + 65536);  // the guard page and alignment count as well
}

TEST(ThreadStart, GivesNameAndPriorityToNobody) {
    char nameInside[16] = {};
    int policyInside = -1;
    sched_param inside{};
    Task task([&] {
        ::pthread_getname_np(::pthread_self(), nameInside, sizeof nameInside);
        ::pthread_getschedparam(::pthread_self(), &policyInside, &inside);
    });
    Thread thread(&task, false);
    thread.setName("worker");
    thread.setPriority(99);
    EXPECT_EQ(0, thread.start());
    thread.join();
    char nameOutside[16] = {};
    ::pthread_getname_np(::pthread_self(), nameOutside, sizeof nameOutside);
    int policyOutside = -1;
    sched_param outside{};
    ::pthread_getschedparam(::pthread_self(), &policyOutside, &outside);
    EXPECT_STREQ(nameOutside, nameInside);
    EXPECT_EQ(policyOutside, policyInside);
    EXPECT_EQ(outside.sched_priority, inside.sched_priority);
}

TEST(ThreadStart, CreatesASecondThreadWhileTheFirstOneRuns) {
    std::atomic<int> runs{0};
    Gate first;
    Gate firstIsOver;
    Task task([&] {
        if (runs++ == 0) {
            releaseItself();  // nobody can join it any more
            first.wait();
            firstIsOver.open();
        }
    });
    Thread thread(&task, false);
    EXPECT_EQ(0, thread.start());
    while (runs == 0) {
        ::sched_yield();
    }
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ("running joinable", flags(thread));
    EXPECT_EQ(0, thread.join());  // the second one: the first still waits
    EXPECT_EQ(2, runs);
    EXPECT_EQ("idle", flags(thread));
    first.open();
    firstIsOver.wait();
}

TEST(ThreadStart, AfterJoinRunsAThreadThatCanBeStoppedButNotJoined) {
    Gate over;
    std::atomic<bool> destroyed{false};
    std::atomic<int> runs{0};
    Gate never;
    Task task([&] {
        if (runs++ == 1) {
            releaseItself();
            const OpensAtEnd atEnd(over);
            const Witness witness(destroyed);
            never.wait();
        }
    });
    Thread thread(&task, false);
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ("running", flags(thread));
    EXPECT_EQ(-1, thread.join());
    while (runs < 2) {
        ::sched_yield();
    }
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ("idle", flags(thread));
    over.wait();
    EXPECT_TRUE(destroyed);
}

// --- join ---------------------------------------------------------------------------------------

TEST(ThreadJoin, WaitsForTheEndAndClearsBothFlags) {
    Gate gate;
    std::atomic<bool> ended{false};
    Task task([&] {
        gate.wait();
        ended = true;
    });
    Thread thread(&task, false);
    thread.start();
    gate.open();
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(ended);
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadJoin, BeforeStartReportsThatThereIsNoThread) {
    Thread thread(&idleTask(), false);
    EXPECT_EQ(ESRCH, thread.join());
    EXPECT_EQ("idle joinable", flags(thread));
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
}

TEST(ThreadJoin, TwiceReturnsMinusOne) {
    Thread thread(&idleTask(), false);
    thread.start();
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(-1, thread.join());
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadJoin, OfADetachedThreadReturnsMinusOneAtOnce) {
    Waiting it;
    EXPECT_EQ(0, it.thread.detach());
    EXPECT_EQ(-1, it.thread.join());
    EXPECT_EQ("running", flags(it.thread));
}

TEST(ThreadJoin, AfterSetDetachStateReturnsMinusOneAtOnce) {
    Thread thread(&idleTask(), false);
    thread.setDetachState();
    EXPECT_EQ(-1, thread.join());
}

TEST(ThreadJoin, OfAStoppedThreadWaitsForItsEnd) {
    std::atomic<bool> destroyed{false};
    Gate never;
    Gate ready;
    Task task([&] {
        const Witness witness(destroyed);
        ready.open();
        never.wait();
    });
    Thread thread(&task, false);
    thread.start();
    ready.wait();
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ("idle joinable", flags(thread));
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(destroyed);
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadJoin, OfItselfReportsADeadlockAndChangesNothing) {
    if (!test::JOIN_CAN_BE_REPEATED) {
        GTEST_SKIP();
    }
    int joined = 0;
    std::string flagsInside;
    Thread* self = nullptr;
    Gate done;
    Task task([&] {
        joined = self->join();
        flagsInside = flags(*self);
        done.open();
    });
    Thread thread(&task, false);
    self = &thread;
    thread.start();
    done.wait();  // joining here before would hold the lock that the other join needs
    EXPECT_EQ(EDEADLK, joined);
    EXPECT_EQ("running joinable", flagsInside);
    EXPECT_EQ(0, thread.join());
}

// --- detach, setDetachState ---------------------------------------------------------------------

TEST(ThreadDetach, ClearsJoinableOnly) {
    Waiting it;
    EXPECT_EQ(0, it.thread.detach());
    EXPECT_EQ("running", flags(it.thread));
}

TEST(ThreadDetach, BeforeStartReportsThatThereIsNoThread) {
    Thread thread(&idleTask(), false);
    EXPECT_EQ(ESRCH, thread.detach());
    EXPECT_EQ("idle joinable", flags(thread));
}

TEST(ThreadDetach, TwiceReturnsZero) {
    Waiting it;
    EXPECT_EQ(0, it.thread.detach());
    EXPECT_EQ(0, it.thread.detach());
    EXPECT_EQ("running", flags(it.thread));
}

TEST(ThreadDetach, AfterJoinReturnsZero) {
    Thread thread(&idleTask(), false);
    thread.start();
    thread.join();
    EXPECT_EQ(0, thread.detach());
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadDetach, AfterSetDetachStateReturnsZeroBeforeStartToo) {
    Thread thread(&idleTask(), false);
    EXPECT_EQ(0, thread.setDetachState());
    EXPECT_EQ(0, thread.detach());
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadSetDetachState, ClearsJoinableInAnyState) {
    Thread idle(&idleTask(), false);
    EXPECT_EQ(0, idle.setDetachState());
    EXPECT_EQ("idle", flags(idle));
    EXPECT_EQ(0, idle.setDetachState());
    EXPECT_EQ("idle", flags(idle));

    Gate gate;
    Gate over;
    Task task([&] {
        releaseItself();
        gate.wait();
        over.open();
    });
    Thread running(&task, false);
    running.start();
    EXPECT_EQ(0, running.setDetachState());
    EXPECT_EQ("running", flags(running));
    gate.open();
    over.wait();
}

TEST(ThreadSetDetachState, DoesNotDetachAThreadThatIsStartedAfterwards) {
    int detachState = -1;
    Gate over;
    Task task([&] {
        detachState = ownDetachState();
        releaseItself();
        over.open();
    });
    Thread thread(&task, false);
    thread.setDetachState();
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ("running", flags(thread));
    over.wait();
    EXPECT_EQ(PTHREAD_CREATE_JOINABLE, detachState);
}

// --- stop ---------------------------------------------------------------------------------------

TEST(ThreadStop, BeforeStartDoesNothing) {
    Thread thread(&idleTask(), false);
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ("idle joinable", flags(thread));
}

TEST(ThreadStop, TwiceReturnsZero) {
    Waiting it;
    EXPECT_EQ(0, it.thread.stop());
    EXPECT_EQ(0, it.thread.stop());
    EXPECT_EQ("idle joinable", flags(it.thread));
    EXPECT_EQ(0, it.thread.join());
}

TEST(ThreadStop, AfterJoinDoesNothing) {
    Thread thread(&idleTask(), false);
    thread.start();
    thread.join();
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ("idle", flags(thread));
}

TEST(ThreadStop, OfAThreadThatHasEndedReturnsZeroAndClearsTheFlag) {
    std::atomic<pid_t> id{0};
    Task task([&] { id = ::gettid(); });
    Thread thread(&task, false);
    thread.start();
    while (id == 0) {
        ::sched_yield();
    }
    test::awaitDeath(id);
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ("idle joinable", flags(thread));
    EXPECT_EQ(0, thread.join());
}

TEST(ThreadStop, DoesNotWaitForTheThread) {
    // The thread cannot be cancelled before the gate opens, which is after stop().
    Gate gate;
    std::atomic<bool> passed{false};
    Task task([&] {
        int state = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
        gate.wait();
        passed = true;
        ::pthread_setcancelstate(state, nullptr);
        ::pthread_testcancel();
        passed = false;
    });
    Thread thread(&task, false);
    thread.start();
    // A request that comes before the first statement of run() is kept pending, too.
    EXPECT_EQ(0, thread.stop());
    EXPECT_FALSE(passed);
    gate.open();
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(passed);
}

TEST(ThreadStop, LetsWorkWithoutAWaitGoOnToItsEnd) {
    std::atomic<bool> stopped{false};
    std::atomic<bool> done{false};
    Task task([&] {
        while (!stopped) {
        }
        done = true;
    });
    Thread thread(&task, false);
    thread.start();
    EXPECT_EQ(0, thread.stop());
    stopped = true;
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(done);
}

TEST(ThreadStop, OfADetachedThreadCancelsIt) {
    Waiting it;
    it.thread.detach();
    EXPECT_EQ(0, it.thread.stop());
    EXPECT_EQ("idle", flags(it.thread));
    it.over.wait();  // although the gate stays closed
}

TEST(ThreadStop, LeavesRoomForAnotherStart) {
    std::atomic<int> runs{0};
    Gate never;
    Gate firstIsOver;
    Task task([&] {
        if (runs++ == 0) {
            releaseItself();
            const OpensAtEnd atEnd(firstIsOver);
            never.wait();
        }
    });
    Thread thread(&task, false);
    thread.start();
    while (runs == 0) {
        ::sched_yield();
    }
    EXPECT_EQ(0, thread.stop());
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ("running joinable", flags(thread));
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(2, runs);
    firstIsOver.wait();
}

// --- sleep --------------------------------------------------------------------------------------

TEST(ThreadSleep, LastsAtLeastAsLongAsAsked) {
    const auto before = std::chrono::steady_clock::now();
    Thread::sleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
    Thread::sleep(0);
}

// --- name, priority -----------------------------------------------------------------------------

TEST(ThreadSetName, KeepsACopy) {
    Thread thread(nullptr, false);
    std::string name = "worker";
    EXPECT_TRUE(thread.setName(name.c_str()));
    name[0] = 'W';
    EXPECT_STREQ("worker", thread.getName());
    EXPECT_NE(name.c_str(), thread.getName());
    EXPECT_TRUE(thread.setName("other"));
    EXPECT_STREQ("other", thread.getName());
}

TEST(ThreadSetName, OfNullLeavesNoName) {
    Thread thread(nullptr, false);
    EXPECT_TRUE(thread.setName(nullptr));
    EXPECT_EQ(nullptr, thread.getName());
    thread.setName("worker");
    EXPECT_TRUE(thread.setName(nullptr));
    EXPECT_EQ(nullptr, thread.getName());
}

TEST(ThreadSetName, StoresAnEmptyNameAsSuch) {
    Thread thread(nullptr, false);
    EXPECT_TRUE(thread.setName(""));
    ASSERT_NE(nullptr, thread.getName());
    EXPECT_STREQ("", thread.getName());
}

TEST(ThreadSetName, TakesThePresentName) {
    Thread thread(nullptr, false);
    thread.setName("worker");
    EXPECT_TRUE(thread.setName(thread.getName()));
    EXPECT_STREQ("worker", thread.getName());
    EXPECT_TRUE(thread.setName(thread.getName() + 4));
    EXPECT_STREQ("er", thread.getName());
}

TEST(ThreadSetName, TakesALongName) {
    const std::string name(1'000'000, 'n');
    Thread thread(nullptr, false);
    EXPECT_TRUE(thread.setName(name.c_str()));
    EXPECT_EQ(name, thread.getName());
}

TEST(ThreadPriority, IsStoredUnchecked) {
    Thread thread(nullptr, false);
    for (const int priority : {0, -1, 2147483647, -2147483647 - 1, 5}) {
        thread.setPriority(priority);
        EXPECT_EQ(priority, thread.getPriority());
    }
}

// --- Destruction --------------------------------------------------------------------------------

struct Deletable : Runnable {
    explicit Deletable(std::atomic<bool>& deleted) : witness(deleted) {}
    void run() override {}
    Witness witness;
};

TEST(ThreadDestructor, DeletesTheRunnableWhenToldSo) {
    std::atomic<bool> deleted{false};
    {
        Thread thread(new Deletable(deleted), true);
        thread.start();
        thread.join();
        EXPECT_FALSE(deleted);
    }
    EXPECT_TRUE(deleted);
}

TEST(ThreadDestructor, LeavesTheRunnableAliveOtherwise) {
    std::atomic<bool> deleted{false};
    const auto runnable = std::make_unique<Deletable>(deleted);
    { const Thread thread(runnable.get(), false); }
    EXPECT_FALSE(deleted);
}

TEST(ThreadDestructor, DeletesNothingForANullRunnable) { const Thread thread(nullptr, true); }

TEST(ThreadDestructor, DeletesTheRunnableOfAThreadThatWasNeverStarted) {
    std::atomic<bool> deleted{false};
    { const Thread thread(new Deletable(deleted), true); }
    EXPECT_TRUE(deleted);
}

TEST(ThreadDestructor, FreesTheName) {
    Thread thread(nullptr, false);
    thread.setName("freed under the eyes of the address sanitizer");
}

TEST(ThreadDestructor, CancelsAThreadThatIsMarkedAsRunningAndDoesNotWait) {
    std::atomic<bool> destroyed{false};
    std::atomic<pid_t> id{0};
    Gate never;
    Task task([&] {
        releaseItself();
        const Witness witness(destroyed);
        id = ::gettid();
        never.wait();
    });
    {
        Thread thread(&task, false);
        thread.start();
        while (id == 0) {
            ::sched_yield();
        }
    }
    test::awaitDeath(id);
    EXPECT_TRUE(destroyed);
}

}  // namespace
}  // namespace nx::oss
