#include "infra/detail/kelTraceScope.h"

#include <exception>

#include "infra/detail/kelCancellation.h"

namespace nx::oss::detail {

namespace {

constexpr unsigned long ENTRY_MASK = 0x20001;
// Required: an exit needs a bit of both masks, so 0x80 alone records nothing.
constexpr unsigned long EXIT_MASK = 0x20082;
constexpr unsigned long EXIT_RECORD_MASK = 0x20002;

}  // namespace

// The host's functions may wait, for a file say, and destructors call them. A thread that is
// cancelled there would end the process, so it is not.

void TraceExit::rememberExceptions() { exceptionsAtEntry_ = std::uncaught_exceptions(); }

void TraceExit::recordExit() const {
    // The unwinding of a cancelled thread is no exception in flight.
    if (isCancelled() || std::uncaught_exceptions() != exceptionsAtEntry_) {
        return;
    }
    const unsigned long mask = trcGetCompFlag(TRACE_COMPONENT);
    if ((mask & EXIT_MASK) != 0 && (mask & EXIT_RECORD_MASK) != 0 && trcExit != nullptr) {
        const CancellationPause pause;
        trcExit(static_cast<unsigned>(point_), 0);
    }
}

void TraceScope::recordEntry(TracePoint point) {
    const unsigned long mask = trcGetCompFlag(TRACE_COMPONENT);
    if ((mask & ENTRY_MASK) != 0 && trcEntry != nullptr) {
        const CancellationPause pause;
        trcEntry(static_cast<unsigned>(point));
    }
}

}  // namespace nx::oss::detail
