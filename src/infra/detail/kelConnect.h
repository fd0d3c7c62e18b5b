#pragma once

#include <netdb.h>

#include "infra/detail/kelDescriptor.h"

namespace nx::oss::detail {

/// Switches the non-blocking mode; returns 0, or -1 with the reason in errno. Records the trace
/// points of Socket::setNonBlockingStatic.
int setNonBlocking(long descriptor, bool on);

/// A non-blocking descriptor that is connected, or will be (`inProgress`), or none.
struct StartedConnection {
    Descriptor descriptor;
    bool inProgress;
};

/// Walks `addresses`, which may be null, and starts a connection to the first one that allows it.
/// Why each of the others did not is forgotten.
StartedConnection startConnection(const addrinfo* addresses);

}  // namespace nx::oss::detail
