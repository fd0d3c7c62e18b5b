#pragma once

#include <pthread.h>

namespace nx::oss::detail {

// A thread is cancelled by unwinding it, from a system call that waits up to its start, without an
// exception object: `catch (...)` must rethrow, and the unwinding ends the process when it meets a
// function that is noexcept, as destructors are.

/// While it lives, a request to cancel the thread stays pending. Not itself a place where the
/// thread can be cancelled.
class CancellationPause {
  public:
    CancellationPause() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
    ~CancellationPause() { pthread_setcancelstate(state_, nullptr); }
    CancellationPause(const CancellationPause&) = delete;
    CancellationPause& operator=(const CancellationPause&) = delete;

  private:
    int state_ = PTHREAD_CANCEL_ENABLE;
};

/// Whether the calling thread is being unwound because it was cancelled in a cancellable() call.
bool isCancelled();
/// Makes isCancelled() true for the rest of the thread's life.
void rememberCancellation();

/// Makes a system call in which the thread can be cancelled. It throws nothing, so leaving it
/// otherwise than by returning is the cancellation, which the language tells nobody about.
template <class Call>
auto cancellable(const Call& call) {
    struct Witness {
        ~Witness() {
            if (!returned) {
                rememberCancellation();
            }
        }
        bool returned = false;
    } witness;
    const auto result = call();
    witness.returned = true;
    return result;
}

}  // namespace nx::oss::detail
