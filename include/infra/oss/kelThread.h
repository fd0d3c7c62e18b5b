#pragma once

#include <pthread.h>

#include <memory>

#include <infra/oss/kelExport.h>
#include <infra/oss/kelRunnable.h>

/// The start function of a thread: runs the nx::oss::Runnable that `runnable` points to and returns
/// `runnable`. Null prints "Not Running Thread - Runnable is NULL\n" on standard output and gives
/// null.
extern "C" KELINFRA_EXPORT void* thread_run_stub(void* runnable);

namespace nx::oss {

using ::thread_run_stub;

namespace detail {
class ThreadLife;
}

/// A system thread that runs a Runnable.
///
/// Nothing is thrown: results are 0 or the error number of the system (EAGAIN, ESRCH, EDEADLK...).
///
/// Two flags make up the state. isRunning() is set by start() and cleared by join() and stop(); it
/// does not follow the thread: when run() has returned it is still set. isJoinable() is set from
/// construction and cleared by join(), detach() and setDetachState(); it alone decides whether
/// join() and detach() do anything.
///
///     work ends:   start(), join()
///     cut short:   start(), stop(), join()
///     on its own:  start(), detach(); do not destroy this object before the thread has ended
///
/// Ownership: `runnable` must outlive the thread. It is deleted by the destructor if wanted, also
/// while the thread is still using it: join first.
///
/// Thread-safety: every operation but getName() holds the lock of the object from beginning to end,
/// join() while it waits too. So while one thread joins, all others that use the same object wait,
/// and when the thread that is being joined does that itself, both wait for ever.
class KELINFRA_EXPORT Thread {
  public:
    /// The priority of a new object.
    static constexpr int DEFAULT_PRIORITY = 5;

    /// `runnable` may be null: the thread then only prints a message. `deleteRunnable` makes the
    /// destructor delete it.
    Thread(Runnable* runnable, bool deleteRunnable);
    /// Cancels a thread that is marked as running, as stop() does, and does not wait for it. Then
    /// deletes the runnable if it is owned. Careful: unless the thread has ended, it goes on to use
    /// a deleted runnable; call join() before.
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs the runnable in a new thread with the system's default attributes. On success
    /// isRunning() is set. EAGAIN: the system lacks the means; nothing is changed.
    ///
    /// Careful: a second start() creates a second thread, and the first one is out of reach. After
    /// a join(), detach() or setDetachState() the new thread can be stopped but neither joined nor
    /// detached, so that its memory is never released.
    int start();

    /// Waits for the end of the thread; 0 clears both flags. -1 at once when it is not joinable.
    /// ESRCH before start(), EDEADLK when a thread joins itself: the flags stay.
    ///
    /// Holds the object's lock while it waits. The waiting thread can be cancelled.
    int join();

    /// Lets the system release the thread as soon as it ends; 0 clears isJoinable(). When that is
    /// not set, does nothing and returns 0. ESRCH before start(): the flag stays.
    int detach();

    /// Clears isJoinable(). Careful: the stored attribute has no effect, start() creates a joinable
    /// thread all the same, whose memory nobody then can release: use detach() after start().
    int setDetachState();

    /// Asks the system to cancel the thread if isRunning(), which a result of 0 clears; does not
    /// wait for its end, join() does. Does nothing to a thread that has ended.
    ///
    /// The thread is unwound where it waits: in Socket::connect(), reads, writes and select(),
    /// SocketServer::accept(), sleep(), join(), and in system calls of its own that POSIX lists as
    /// cancellation points. Resolving a host name and closing go on to their end, and so does work
    /// that makes no such call.
    int stop();

    /// Lets the calling thread sleep. A signal may end it early.
    static void sleep(unsigned long milliseconds);

    /// Keeps a copy of the name, null for none. The system does not learn it. False when memory
    /// runs out; then there is no name.
    bool setName(const char* name);
    /// The copy, null for none. Without the lock: setName() in another thread frees it.
    const char* getName();

    /// A number for the user; the system does not learn it.
    int getPriority();
    /// Replaces that number; any is taken.
    void setPriority(int priority);

    /// Whether start() was the last of start(), join() and stop() that succeeded; it does not tell
    /// whether the thread has ended.
    bool isRunning() const;
    /// Whether join() and detach() do anything: true from construction, also before start(), until
    /// one of them succeeds or setDetachState() is called.
    bool isJoinable() const;

  private:
    Runnable* runnable_;
    bool deleteRunnable_;
    int priority_ = DEFAULT_PRIORITY;
    char* name_ = nullptr;
    pthread_t threadId_ = {};
    mutable pthread_mutex_t mutex_;
    pthread_attr_t attributes_ = {};
    bool running_ = false;
    bool joinable_ = true;
    // Of the thread started last; null before.
    std::shared_ptr<detail::ThreadLife> life_;
};

}  // namespace nx::oss
