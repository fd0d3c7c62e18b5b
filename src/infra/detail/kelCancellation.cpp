#include "infra/detail/kelCancellation.h"

namespace nx::oss::detail {

namespace {

thread_local bool cancelled = false;

}  // namespace

bool isCancelled() { return cancelled; }

void rememberCancellation() { cancelled = true; }

}  // namespace nx::oss::detail
