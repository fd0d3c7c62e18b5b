#include <infra/oss/kelThread.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include "infra/detail/kelCancellation.h"
#include "infra/detail/kelThreadLife.h"
#include "infra/detail/kelTraceScope.h"

extern "C" void* thread_run_stub(void* runnable) {
    if (runnable == nullptr) {
        std::fputs("Not Running Thread - Runnable is NULL\n", stdout);
        return nullptr;
    }
    static_cast<nx::oss::Runnable*>(runnable)->run();
    return runnable;
}

namespace nx::oss {

using detail::ThreadLife;
using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr int NOT_JOINABLE = -1;

/// Locks while it lives, unwinding of a cancelled thread included.
class Lock {
  public:
    explicit Lock(pthread_mutex_t& mutex) : mutex_(mutex), held_(pthread_mutex_lock(&mutex) == 0) {}
    ~Lock() {
        if (held_) {
            pthread_mutex_unlock(&mutex_);
        }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    pthread_mutex_t& mutex_;
    bool held_;
};

/// Null for no text, and when memory runs out.
char* copyText(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    char* const copy = new (std::nothrow) char[size];
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

}  // namespace

Thread::Thread(Runnable* runnable, bool deleteRunnable)
    : runnable_(runnable), deleteRunnable_(deleteRunnable) {
    TraceExit trace(TracePoint::THREAD_CONSTRUCT);
    if (pthread_mutex_init(&mutex_, nullptr) != 0) {
        mutex_ = pthread_mutex_t PTHREAD_MUTEX_INITIALIZER;  // the same, and cannot fail
    }
    pthread_attr_init(&attributes_);
}

// Required: cancels but does not join, so an owned runnable can go while its thread still runs.
Thread::~Thread() {
    TraceExit trace(TracePoint::THREAD_DESTROY);
    // A process that was forked has no thread to stop, and the lock may be held by one it has not.
    if (running_ && life_->isOfThisProcess()) {
        stop();
    }
    pthread_mutex_destroy(&mutex_);
    pthread_attr_destroy(&attributes_);
    delete[] name_;
    if (deleteRunnable_) {
        delete runnable_;
    }
    runnable_ = nullptr;
}

// Required: default attributes, not the stored ones, and no look at the flags.
int Thread::start() {
    TraceScope trace(TracePoint::THREAD_START);
    const Lock lock(mutex_);
    const int result = ThreadLife::start(thread_run_stub, runnable_, threadId_, life_);
    if (result == 0) {
        running_ = true;
    }
    return result;
}

// Required: the lock is held while this waits.
int Thread::join() {
    TraceScope trace(TracePoint::THREAD_JOIN);
    const Lock lock(mutex_);
    if (!joinable_) {
        return NOT_JOINABLE;
    }
    if (life_ == nullptr) {
        return ESRCH;
    }
    const int result = detail::cancellable([this] { return pthread_join(threadId_, nullptr); });
    if (result == 0) {
        joinable_ = false;
        running_ = false;
    }
    return result;
}

int Thread::detach() {
    const Lock lock(mutex_);
    if (!joinable_) {
        return 0;
    }
    const int result = life_ == nullptr ? ESRCH : pthread_detach(threadId_);
    if (result == 0) {
        joinable_ = false;
    }
    return result;
}

// Required: the flag goes whatever the system says, and start() does not use the attribute.
int Thread::setDetachState() {
    const Lock lock(mutex_);
    joinable_ = false;
    return pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED);
}

int Thread::stop() {
    TraceScope trace(TracePoint::THREAD_STOP);
    const Lock lock(mutex_);
    if (!running_) {
        return 0;
    }
    const int result = life_->cancel(threadId_);
    if (result == 0) {
        running_ = false;
    }
    return result;
}

void Thread::sleep(unsigned long milliseconds) {
    timespec time = {};
    time.tv_sec = static_cast<time_t>(milliseconds / 1000);
    time.tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000;
    detail::cancellable([&time] { return ::nanosleep(&time, nullptr); });
}

bool Thread::setName(const char* name) {
    const Lock lock(mutex_);
    // The new name may be the old copy, which therefore goes last.
    char* const copy = copyText(name);
    delete[] name_;
    name_ = copy;
    return name == nullptr || copy != nullptr;
}

const char* Thread::getName() { return name_; }

int Thread::getPriority() {
    const Lock lock(mutex_);
    return priority_;
}

void Thread::setPriority(int priority) {
    const Lock lock(mutex_);
    priority_ = priority;
}

bool Thread::isRunning() const {
    const Lock lock(mutex_);
    return running_;
}

bool Thread::isJoinable() const {
    const Lock lock(mutex_);
    return joinable_;
}

}  // namespace nx::oss
