#pragma once

#include "infra/detail/kelTracePoint.h"

// The trace facility of the host product. It is imported, never provided: weak references stay null
// when the host has none. A weak definition here would hide the host's in some link orders.
//
// trcGetCompFlag returns the trace mask of a component, trcEntry and trcExit record that an
// operation was entered and left (with a return code).
extern "C" {
unsigned long trcGetCompFlag(unsigned component) __attribute__((weak));
void trcEntry(unsigned identifier) __attribute__((weak));
void trcExit(unsigned identifier, long returnCode) __attribute__((weak));
}

namespace nx::oss::detail {

inline bool traceFacilityPresent() { return trcGetCompFlag != nullptr; }

/// Brackets an operation that records only that it was left. Stands as the first statement.
///
/// The exit is recorded on a normal return, not when an exception leaves the operation. The host's
/// mask is queried afresh at every point, so tracing can be switched at any moment.
class TraceExit {
  public:
    explicit TraceExit(TracePoint point) : point_(point) {
        if (traceFacilityPresent()) {
            rememberExceptions();
        }
    }
    ~TraceExit() {
        if (traceFacilityPresent()) {
            recordExit();
        }
    }

    TraceExit(const TraceExit&) = delete;
    TraceExit& operator=(const TraceExit&) = delete;

  private:
    void rememberExceptions();
    void recordExit() const;

    TracePoint point_;
    // Exceptions in flight at entry: a destructor that runs during unwinding still returns
    // normally.
    int exceptionsAtEntry_ = 0;
};

/// Brackets an operation that records its entry and its exit. Stands as the first statement.
class TraceScope {
  public:
    explicit TraceScope(TracePoint point) : exit_(point) {
        if (traceFacilityPresent()) {
            recordEntry(point);
        }
    }

  private:
    static void recordEntry(TracePoint point);

    TraceExit exit_;
};

}  // namespace nx::oss::detail
