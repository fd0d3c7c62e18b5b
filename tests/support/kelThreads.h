#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <infra/oss/kelThread.h>

#include "support/kelSanitizers.h"

namespace nx::test {

/// The thread sanitizer takes a thread for joined as soon as somebody tries, and ends the program
/// when somebody tries again.
constexpr bool JOIN_CAN_BE_REPEATED = !THREAD_SANITIZER;

/// Opens once. A thread that waits can be cancelled, and the thread sanitizer goes on to see what
/// it does then, as it does not after other system calls.
class Gate {
  public:
    Gate() = default;
    ~Gate() {
        ::pthread_cond_destroy(&opened_);
        ::pthread_mutex_destroy(&mutex_);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void open() {
        const Lock lock(mutex_);
        open_ = true;
        ::pthread_cond_broadcast(&opened_);
    }
    void wait() {
        const Lock lock(mutex_);
        while (!open_) {
            ::pthread_cond_wait(&opened_, &mutex_);
        }
    }

  private:
    struct Lock {
        explicit Lock(pthread_mutex_t& mutex) : mutex_(mutex) { ::pthread_mutex_lock(&mutex_); }
        ~Lock() { ::pthread_mutex_unlock(&mutex_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        pthread_mutex_t& mutex_;
    };

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t opened_ = PTHREAD_COND_INITIALIZER;
    bool open_ = false;
};

/// Opens a gate when it goes, however the thread leaves.
class OpensAtEnd {
  public:
    explicit OpensAtEnd(Gate& gate) : gate_(gate) {}
    ~OpensAtEnd() { gate_.open(); }
    OpensAtEnd(const OpensAtEnd&) = delete;
    OpensAtEnd& operator=(const OpensAtEnd&) = delete;

  private:
    Gate& gate_;
};

/// Runs a function.
class Task : public oss::Runnable {
  public:
    explicit Task(std::function<void()> body) : body_(std::move(body)) {}
    void run() override { body_(); }

  private:
    std::function<void()> body_;
};

/// Notes in `destroyed` that it is gone.
class Witness {
  public:
    explicit Witness(std::atomic<bool>& destroyed) : destroyed_(destroyed) {}
    ~Witness() { destroyed_ = true; }
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;

  private:
    std::atomic<bool>& destroyed_;
};

/// What the system says about a thread of this process, empty when there is none.
inline std::string threadStatus(pid_t thread) {
    const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
    char status[512];
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : ::read(file, status, sizeof status);
    if (file >= 0) {
        ::close(file);
    }
    return size <= 0 ? std::string() : std::string(status, static_cast<std::size_t>(size));
}

/// Waits until the thread waits in a system call.
inline void awaitSleep(pid_t thread) {
    for (;;) {
        const std::string status = threadStatus(thread);
        const std::size_t name = status.rfind(')');
        if (status.empty() || status.compare(name, 4, ") S ") == 0) {
            return;
        }
        ::sched_yield();
    }
}

/// Waits until the system knows the thread no more.
inline void awaitDeath(pid_t thread) {
    while (!threadStatus(thread).empty()) {
        ::sched_yield();
    }
}

/// Runs a function in a thread that is already asked to stop, so that it unwinds at the first place
/// where it can.
inline void runStopped(const std::function<void()>& body) {
    Gate started;
    Gate asked;
    Task task([&] {
        int state = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
        started.open();
        asked.wait();
        ::pthread_setcancelstate(state, nullptr);
        body();
    });
    oss::Thread thread(&task, false);
    EXPECT_EQ(0, thread.start());
    started.wait();
    EXPECT_EQ(0, thread.stop());
    asked.open();
    EXPECT_EQ(0, thread.join());
}

}  // namespace nx::test
