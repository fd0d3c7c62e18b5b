#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace nx::oss::detail {

/// What a system thread shares with the object that started it, for as long as either is there.
///
/// The system gives the identifier of a thread that has ended and was detached or joined to another
/// thread: cancelling by it would hit a stranger or freed memory. Therefore a thread notes its end
/// here, and nothing is cancelled afterwards.
class ThreadLife {
  public:
    using Body = void* (*)(void*);

    ThreadLife(Body body, void* argument);

    /// Runs body(argument) in a new thread with default attributes. Returns 0, or the error number;
    /// then there is no thread and `id` and `life` are as before.
    static int start(Body body, void* argument, pthread_t& id, std::shared_ptr<ThreadLife>& life);

    /// Cancels the thread `id`, which belongs to this life, unless it has ended. Returns 0, or the
    /// error number.
    int cancel(pthread_t id);

    /// False in a process that was forked from the one that started the thread: it has no such
    /// thread.
    bool isOfThisProcess() const;

    /// What the new thread does.
    void* run();

  private:
    class End;

    Body body_;
    void* argument_;
    pid_t process_;
    // The thread's own share, on its way to it.
    std::shared_ptr<ThreadLife> share_;
    // Held while the thread is cancelled and while it notes its end.
    std::mutex mutex_;
    // Why: the mutex would do, but the thread sanitizer does not see the locks of a thread any more
    // that has been cancelled inside a system call.
    std::atomic<bool> ended_{false};
};

}  // namespace nx::oss::detail
