#include "infra/detail/kelConnect.h"

#include <cerrno>

#include <sys/ioctl.h>
#include <sys/socket.h>

#include "infra/detail/kelCancellation.h"
#include "infra/detail/kelTraceScope.h"

namespace nx::oss::detail {

int setNonBlocking(long descriptor, bool on) {
    TraceScope trace(TracePoint::SOCKET_SET_NON_BLOCKING_STATIC);
    int flag = on ? 1 : 0;
    return ::ioctl(systemDescriptor(descriptor), FIONBIO, &flag);
}

StartedConnection startConnection(const addrinfo* addresses) {
    for (const addrinfo* entry = addresses; entry != nullptr; entry = entry->ai_next) {
        Descriptor descriptor(::socket(entry->ai_family, entry->ai_socktype, entry->ai_protocol));
        if (!descriptor || setNonBlocking(descriptor.get(), true) != 0) {
            continue;
        }
        const int result = cancellable(
            [&] { return ::connect(descriptor.get(), entry->ai_addr, entry->ai_addrlen); });
        if (result == 0) {
            return {std::move(descriptor), /*inProgress=*/false};
        }
        if (errno == EINPROGRESS || errno == EAGAIN) {
            return {std::move(descriptor), /*inProgress=*/true};
        }
    }
    return {Descriptor(), /*inProgress=*/false};
}

}  // namespace nx::oss::detail
