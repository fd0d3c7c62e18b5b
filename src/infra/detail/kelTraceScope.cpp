#include "infra/detail/kelTraceScope.h"

#include <exception>

namespace nx::oss::detail {

namespace {

constexpr unsigned long ENTRY_MASK = 0x20001;
// Required: an exit needs a bit of both masks, so 0x80 alone records nothing.
constexpr unsigned long EXIT_MASK = 0x20082;
constexpr unsigned long EXIT_RECORD_MASK = 0x20002;

}  // namespace

void TraceExit::rememberExceptions() { exceptionsAtEntry_ = std::uncaught_exceptions(); }

void TraceExit::recordExit() const {
    if (std::uncaught_exceptions() != exceptionsAtEntry_) {
        return;
    }
    const unsigned long mask = trcGetCompFlag(TRACE_COMPONENT);
    if ((mask & EXIT_MASK) != 0 && (mask & EXIT_RECORD_MASK) != 0 && trcExit != nullptr) {
        trcExit(static_cast<unsigned>(point_), 0);
    }
}

void TraceScope::recordEntry(TracePoint point) {
    const unsigned long mask = trcGetCompFlag(TRACE_COMPONENT);
    if ((mask & ENTRY_MASK) != 0 && trcEntry != nullptr) {
        trcEntry(static_cast<unsigned>(point));
    }
}

}  // namespace nx::oss::detail
