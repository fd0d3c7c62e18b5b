// The calls that threads make of the system, in their order, and what becomes of an operation when
// one of them fails. The calls are replaced when this program is linked.
#include <infra/oss/kelThread.h>

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelAllocationFaults.h"
#include "support/kelThreads.h"

namespace {

using Names = std::vector<std::string>;

/// While it lives, the calls of its thread are recorded, and fail as told.
class ThreadCalls {
  public:
    ThreadCalls() { active = this; }
    ~ThreadCalls() { active = nullptr; }
    ThreadCalls(const ThreadCalls&) = delete;
    ThreadCalls& operator=(const ThreadCalls&) = delete;

    /// Every call of that name returns `error` and does nothing.
    void fail(const char* name, int error) { errors_[name] = error; }
    /// No call fails any more.
    void forget() { errors_.clear(); }
    Names names() const { return names_; }
    std::size_t count(const char* name) const {
        return static_cast<std::size_t>(std::count(names_.begin(), names_.end(), name));
    }

    /// For the calls: notes the name, and tells the error to return or 0.
    int enter(const char* name) {
        names_.emplace_back(name);
        const auto error = errors_.find(name);
        return error == errors_.end() ? 0 : error->second;
    }

    static thread_local ThreadCalls* active;

    const pthread_attr_t* attributes = nullptr;  // of the last pthread_create()
    timespec slept{};                            // the last nanosleep()

  private:
    Names names_;
    std::map<std::string, int> errors_;
};

thread_local ThreadCalls* ThreadCalls::active = nullptr;

/// Makes the call, unless it is to fail.
template <class Real>
int intercept(const char* name, const Real& real) {
    if (ThreadCalls::active == nullptr) {
        return real();
    }
    const int error = ThreadCalls::active->enter(name);
    return error != 0 ? error : real();
}

}  // namespace

// What --wrap=name makes of the calls and of their definitions.
#define WRAP(name, parameters, arguments)                                 \
    int __real_##name parameters;                                         \
    int __wrap_##name parameters {                                        \
        return intercept(#name, [&] { return __real_##name arguments; }); \
    }

extern "C" {
WRAP(pthread_join, (pthread_t id, void** result), (id, result))
WRAP(pthread_detach, (pthread_t id), (id))
WRAP(pthread_cancel, (pthread_t id), (id))
WRAP(pthread_attr_init, (pthread_attr_t * it), (it))
WRAP(pthread_attr_destroy, (pthread_attr_t * it), (it))
WRAP(pthread_attr_setdetachstate, (pthread_attr_t * it, int state), (it, state))
WRAP(pthread_mutex_init, (pthread_mutex_t * it, const pthread_mutexattr_t* how), (it, how))
WRAP(pthread_mutex_destroy, (pthread_mutex_t * it), (it))
WRAP(pthread_mutex_lock, (pthread_mutex_t * it), (it))

// Unlocks even when it is to fail: a mutex must not be destroyed while it is locked.
int __real_pthread_mutex_unlock(pthread_mutex_t* it);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* it) {
    const int result = __real_pthread_mutex_unlock(it);
    return intercept("pthread_mutex_unlock", [result] { return result; });
}

int __real_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument);
int __wrap_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument) {
    if (ThreadCalls::active != nullptr) {
        ThreadCalls::active->attributes = attributes;
    }
    const int result = intercept(
        "pthread_create", [&] { return __real_pthread_create(id, attributes, entry, argument); });
    if (result != 0) {
        std::memset(id, 0xEE, sizeof *id);  // the system may write it all the same
    }
    return result;
}

int __real_nanosleep(const timespec* time, timespec* rest);
int __wrap_nanosleep(const timespec* time, timespec* rest) {
    if (ThreadCalls::active == nullptr) {
        return __real_nanosleep(time, rest);
    }
    ThreadCalls::active->slept = *time;
    return intercept("nanosleep", [] { return 0; });
}
}

namespace nx::oss {
namespace {

using test::Gate;
using test::Task;

const Names UNDER_LOCK = {"pthread_mutex_lock", "pthread_mutex_unlock"};

Names underLock(const char* name) { return {"pthread_mutex_lock", name, "pthread_mutex_unlock"}; }

/// The calls that an operation makes.
template <class Operation>
Names callsOf(const Operation& operation) {
    ThreadCalls calls;
    operation();
    return calls.names();
}

/// The result of an operation in which every call of that name fails.
template <class Operation>
int resultWithout(const char* name, int error, const Operation& operation) {
    ThreadCalls calls;
    calls.fail(name, error);
    const int result = operation();
    EXPECT_EQ(1U, calls.count(name));
    return result;
}

/// A thread that waits until the end of the test.
class ThreadFault : public testing::Test {
  protected:
    ~ThreadFault() override {
        gate_.open();
        thread_->join();
    }
    void expectFlags(bool running, bool joinable) const {
        EXPECT_EQ(running, thread_->isRunning());
        EXPECT_EQ(joinable, thread_->isJoinable());
    }

    Gate gate_;
    Task task_{[this] { gate_.wait(); }};
    std::unique_ptr<Thread> thread_ = std::make_unique<Thread>(&task_, false);
};

TEST_F(ThreadFault, StartReturnsTheErrorAndLeavesTheObjectIdle) {
    for (const int error : {EAGAIN, EPERM, EINVAL}) {
        EXPECT_EQ(error, resultWithout("pthread_create", error, [&] { return thread_->start(); }));
        expectFlags(false, true);
        EXPECT_EQ(ESRCH, thread_->join());
        EXPECT_EQ(ESRCH, thread_->detach());
        EXPECT_EQ(0, thread_->stop());
    }
    EXPECT_EQ(0, thread_->start());
}

TEST_F(ThreadFault, AFailedSecondStartLeavesTheFirstThreadInReach) {
    ASSERT_EQ(0, thread_->start());
    EXPECT_EQ(EAGAIN, resultWithout("pthread_create", EAGAIN, [&] { return thread_->start(); }));
    expectFlags(true, true);
    gate_.open();
    EXPECT_EQ(0, thread_->join());
    expectFlags(false, false);
}

TEST_F(ThreadFault, StartWithoutMemoryIsLikeTheSystemWithoutMemory) {
    const long before = test::liveAllocations();
    const std::size_t failed = test::forEachAllocation([&](test::AllocationFaults& faults) {
        faults.arm();
        const int result = thread_->start();
        faults.disarm();
        EXPECT_EQ(test::allocationFailed() ? EAGAIN : 0, result);
        if (result != 0) {
            expectFlags(false, true);
            EXPECT_EQ(before, test::liveAllocations());
        }
    });
    EXPECT_EQ(1U, failed);
    expectFlags(true, true);
}

TEST(ThreadCallOrder, StartsWithoutAttributes) {
    Gate over;
    Task task([&] {
        ::pthread_detach(::pthread_self());
        over.open();
    });
    Thread thread(&task, false);
    thread.setDetachState();
    ThreadCalls calls;
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ(nullptr, calls.attributes);
    over.wait();
}

TEST_F(ThreadFault, JoinReturnsTheErrorAndKeepsTheFlags) {
    ASSERT_EQ(0, thread_->start());
    for (const int error : {EINVAL, EDEADLK, ESRCH}) {
        EXPECT_EQ(error, resultWithout("pthread_join", error, [&] { return thread_->join(); }));
        expectFlags(true, true);
    }
    gate_.open();
    EXPECT_EQ(0, thread_->join());
}

TEST_F(ThreadFault, DetachReturnsTheErrorAndKeepsTheFlags) {
    ASSERT_EQ(0, thread_->start());
    for (const int error : {EINVAL, ESRCH}) {
        EXPECT_EQ(error, resultWithout("pthread_detach", error, [&] { return thread_->detach(); }));
        expectFlags(true, true);
    }
}

TEST_F(ThreadFault, SetDetachStateReturnsTheErrorAndClearsTheFlagAllTheSame) {
    EXPECT_EQ(EINVAL, resultWithout("pthread_attr_setdetachstate", EINVAL,
                                    [&] { return thread_->setDetachState(); }));
    expectFlags(false, false);
}

TEST_F(ThreadFault, StopReturnsTheErrorAndKeepsTheFlags) {
    ASSERT_EQ(0, thread_->start());
    EXPECT_EQ(ESRCH, resultWithout("pthread_cancel", ESRCH, [&] { return thread_->stop(); }));
    expectFlags(true, true);
    gate_.open();
    EXPECT_EQ(0, thread_->join());
}

/// One call of one operation that fails in one way: what the operation gives, and the flags of the
/// object afterwards.
struct Row {
    const char* call;
    int error;
    int (*operation)(Thread&);
    bool started;
    int result;
    bool running;
    bool joinable;
};

int setPriority(Thread& thread) {
    thread.setPriority(7);
    return thread.getPriority() == 7 ? 0 : -1;
}

/// Takes the lock once only: after a failed unlock nobody can take it.
int setPriorityOnly(Thread& thread) {
    thread.setPriority(7);
    return 0;
}

int setName(Thread& thread) { return thread.setName("name") ? 0 : -1; }

int lookAtFlags(Thread& thread) {
    return static_cast<int>(thread.isRunning()) + 2 * static_cast<int>(thread.isJoinable());
}

int start(Thread& thread) { return thread.start(); }
int join(Thread& thread) { return thread.join(); }
int detach(Thread& thread) { return thread.detach(); }
int stop(Thread& thread) { return thread.stop(); }
int setDetachState(Thread& thread) { return thread.setDetachState(); }
int sleep(Thread&) {
    Thread::sleep(1);
    return 0;
}

/// What each call may fail with, by POSIX or by the manual pages of Linux. The lock has failed
/// before an operation that goes on without it.
const Row ROWS[] = {
    {"pthread_create", EAGAIN, start, false, EAGAIN, false, true},
    {"pthread_create", EINVAL, start, false, EINVAL, false, true},
    {"pthread_create", EPERM, start, false, EPERM, false, true},
    {"pthread_join", EDEADLK, join, true, EDEADLK, true, true},
    {"pthread_join", EINVAL, join, true, EINVAL, true, true},
    {"pthread_join", ESRCH, join, true, ESRCH, true, true},
    {"pthread_detach", EINVAL, detach, true, EINVAL, true, true},
    {"pthread_detach", ESRCH, detach, true, ESRCH, true, true},
    {"pthread_cancel", ESRCH, stop, true, ESRCH, true, true},
    {"pthread_attr_setdetachstate", EINVAL, setDetachState, false, EINVAL, false, false},
    {"nanosleep", EINTR, sleep, false, 0, false, true},
    {"nanosleep", EINVAL, sleep, false, 0, false, true},
    {"nanosleep", EFAULT, sleep, false, 0, false, true},
    {"pthread_mutex_lock", EAGAIN, setPriority, true, 0, true, true},
    {"pthread_mutex_lock", EINVAL, setPriority, true, 0, true, true},
    {"pthread_mutex_lock", EDEADLK, setPriority, true, 0, true, true},
    {"pthread_mutex_lock", EINVAL, setName, true, 0, true, true},
    {"pthread_mutex_lock", EINVAL, lookAtFlags, true, 3, true, true},
    {"pthread_mutex_lock", EINVAL, stop, false, 0, false, true},
    {"pthread_mutex_lock", EINVAL, setDetachState, false, 0, false, false},
    {"pthread_mutex_unlock", EPERM, setPriorityOnly, true, 0, true, true},
    {"pthread_mutex_unlock", EPERM, setName, true, 0, true, true},
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.call << " " << row.error; }

class ThreadCallFault : public testing::TestWithParam<Row> {};

TEST_P(ThreadCallFault, IsReturnedAndLeavesThePromisedFlags) {
    const Row& row = GetParam();
    Gate over;
    Task task([&] { over.wait(); });
    auto thread = std::make_unique<Thread>(&task, false);
    if (row.started) {
        ASSERT_EQ(0, thread->start());
    }
    ThreadCalls calls;
    calls.fail(row.call, row.error);
    EXPECT_EQ(row.result, row.operation(*thread));
    EXPECT_GE(calls.count(row.call), 1U);
    calls.forget();
    over.open();
    // Flags are read whether the lock succeeds or not.
    calls.fail("pthread_mutex_lock", EINVAL);
    EXPECT_EQ(row.running, thread->isRunning());
    EXPECT_EQ(row.joinable, thread->isJoinable());
    if (row.started) {
        EXPECT_EQ(0, thread->join());
    }
    thread.reset();
}

INSTANTIATE_TEST_SUITE_P(EveryCall, ThreadCallFault, testing::ValuesIn(ROWS), [](const auto& row) {
    return std::string(row.param.call) + std::to_string(row.param.error) + "_" +
           std::to_string(row.index);
});

TEST(ThreadCallOrder, HoldsTheLockFromBeginningToEnd) {
    Task task([] {});
    Thread thread(&task, false);
    EXPECT_EQ(callsOf([&] { thread.start(); }), underLock("pthread_create"));
    EXPECT_EQ(callsOf([&] { thread.join(); }), underLock("pthread_join"));
    EXPECT_EQ(callsOf([&] { thread.join(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.stop(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.detach(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.setDetachState(); }), underLock("pthread_attr_setdetachstate"));
    EXPECT_EQ(callsOf([&] { thread.setName("name"); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.setPriority(thread.getPriority()); }),
              (Names{"pthread_mutex_lock", "pthread_mutex_unlock", "pthread_mutex_lock",
                     "pthread_mutex_unlock"}));
    EXPECT_EQ(callsOf([&] { static_cast<void>(thread.isRunning()); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { static_cast<void>(thread.isJoinable()); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.getName(); }), Names{});
    EXPECT_EQ(callsOf([&] { Thread::sleep(1); }), Names{"nanosleep"});
}

TEST(ThreadCallOrder, DetachesUnderTheLock) {
    static Task task([] {});  // the thread may begin after this test
    Thread thread(&task, false);
    thread.start();
    EXPECT_EQ(callsOf([&] { thread.detach(); }), underLock("pthread_detach"));
    EXPECT_EQ(callsOf([&] { thread.detach(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.join(); }), UNDER_LOCK);
}

TEST(ThreadCallOrder, AsksTheSystemForNothingBeforeStart) {
    Thread thread(nullptr, false);
    EXPECT_EQ(callsOf([&] { thread.join(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.detach(); }), UNDER_LOCK);
    EXPECT_EQ(callsOf([&] { thread.stop(); }), UNDER_LOCK);
}

TEST(ThreadCallOrder, InitialisesAndDestroysMutexAndAttributes) {
    std::unique_ptr<Thread> thread;
    EXPECT_EQ(callsOf([&] { thread = std::make_unique<Thread>(nullptr, false); }),
              (Names{"pthread_mutex_init", "pthread_attr_init"}));
    EXPECT_EQ(callsOf([&] { thread.reset(); }),
              (Names{"pthread_mutex_destroy", "pthread_attr_destroy"}));
}

TEST(ThreadCallOrder, CancelsNobodyOnceTheThreadHasEnded) {
    for (const bool destroyed : {false, true}) {
        std::atomic<pid_t> id{0};
        Task task([&] { id = ::gettid(); });
        auto thread = std::make_unique<Thread>(&task, false);
        ASSERT_EQ(0, thread->start());
        ASSERT_EQ(0, thread->detach());
        while (id == 0) {
            ::sched_yield();
        }
        test::awaitDeath(id);
        ThreadCalls calls;
        if (destroyed) {
            thread.reset();
        } else {
            EXPECT_EQ(0, thread->stop());
        }
        EXPECT_EQ(0U, calls.count("pthread_cancel"));
    }
}

TEST(ThreadCallOrder, SleepsOnceForTheWholeTime) {
    const struct {
        unsigned long milliseconds;
        time_t seconds;
        long nanoseconds;
    } rows[] = {{0, 0, 0},
                {1, 0, 1'000'000},
                {999, 0, 999'000'000},
                {1500, 1, 500'000'000},
                {4'294'968, 4294, 968'000'000},
                {4'294'967'297, 4'294'967, 297'000'000},
                {18'446'744'073'709'551'615UL, 18'446'744'073'709'551, 615'000'000}};
    for (const auto& row : rows) {
        ThreadCalls calls;
        calls.fail("nanosleep", -1);  // as after a signal
        Thread::sleep(row.milliseconds);
        EXPECT_EQ(1U, calls.count("nanosleep"));
        EXPECT_EQ(row.seconds, calls.slept.tv_sec);
        EXPECT_EQ(row.nanoseconds, calls.slept.tv_nsec);
    }
}

TEST(ThreadInitFault, LeavesAWorkingObject) {
    const struct {
        const char* call;
        int error;
    } rows[] = {{"pthread_mutex_init", EAGAIN}, {"pthread_mutex_init", ENOMEM},
                {"pthread_mutex_init", EPERM},  {"pthread_mutex_init", EINVAL},
                {"pthread_mutex_init", EBUSY},  {"pthread_attr_init", ENOMEM}};
    for (const auto& row : rows) {
        Task task([] {});
        std::unique_ptr<Thread> thread;
        {
            ThreadCalls calls;
            calls.fail(row.call, row.error);
            thread = std::make_unique<Thread>(&task, false);
        }
        EXPECT_EQ(0, thread->start());
        EXPECT_EQ(0, thread->join());
        EXPECT_EQ(0, thread->setDetachState());
    }
}

TEST(ThreadInitFault, OfTheEndIsIgnored) {
    const struct {
        const char* call;
        int error;
    } rows[] = {{"pthread_mutex_destroy", EBUSY},
                {"pthread_mutex_destroy", EINVAL},
                {"pthread_attr_destroy", EINVAL}};
    for (const auto& row : rows) {
        auto thread = std::make_unique<Thread>(nullptr, false);
        ThreadCalls calls;
        calls.fail(row.call, row.error);
        thread.reset();
        EXPECT_EQ(1U, calls.count(row.call));
    }
}

TEST(ThreadInitFault, UnlocksNothingThatCouldNotBeLocked) {
    Thread thread(nullptr, false);
    ThreadCalls calls;
    calls.fail("pthread_mutex_lock", EINVAL);
    thread.setPriority(7);
    EXPECT_EQ(7, thread.getPriority());
    EXPECT_EQ(0U, calls.count("pthread_mutex_unlock"));
}

TEST(ThreadAllocation, FailingInSetNameLeavesNoName) {
    Thread thread(nullptr, false);
    const std::size_t failed = test::forEachAllocation([&](test::AllocationFaults& faults) {
        ASSERT_TRUE(thread.setName("before"));
        const long before = test::liveAllocations();
        faults.arm();
        const bool kept = thread.setName("after");
        faults.disarm();
        EXPECT_NE(test::allocationFailed(), kept);
        if (kept) {
            EXPECT_STREQ("after", thread.getName());
        } else {
            EXPECT_EQ(nullptr, thread.getName());
            EXPECT_EQ(before - 1, test::liveAllocations());
        }
    });
    EXPECT_EQ(1U, failed);
}

TEST(ThreadAllocation, NothingElseAllocates) {
    Task task([] {});
    Thread thread(&task, false);
    thread.setName("name");
    ASSERT_EQ(0, thread.start());
    test::AllocationFaults faults(1);
    faults.arm();
    EXPECT_TRUE(thread.setName(nullptr));
    thread.setPriority(1);
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(0, thread.detach());
    EXPECT_EQ(0, thread.stop());
    Thread(nullptr, false).setDetachState();
    faults.disarm();
    EXPECT_FALSE(test::allocationFailed());
}

}  // namespace
}  // namespace nx::oss
