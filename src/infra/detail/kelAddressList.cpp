#include "infra/detail/kelAddressList.h"

#include <charconv>
#include <cstdint>

#include "infra/detail/kelCancellation.h"

namespace nx::oss::detail {

// A thread that is cancelled inside the resolver would leave its memory and locks behind.

namespace {

Resolution ask(const char* host, const char* service, int family, int flags) {
    addrinfo hints = {};
    hints.ai_flags = flags;
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    const CancellationPause pause;
    const int code = ::getaddrinfo(host, service, &hints, &first);
    return {code, AddressList(code == 0 ? first : nullptr)};
}

}  // namespace

Resolution resolve(const char* host, unsigned long port, int flags) {
    char service[33] = {};
    std::to_chars(service, service + sizeof service - 1, static_cast<std::uint32_t>(port));
    return ask(host, service, AF_UNSPEC, flags);
}

Resolution resolveWithoutPort(const char* host, int family) {
    return ask(host, /*service=*/nullptr, family, /*flags=*/0);
}

bool nameOf(const sockaddr* address, socklen_t length, int flags, char* name, socklen_t size) {
    const CancellationPause pause;
    return ::getnameinfo(address, length, name, size, /*serv=*/nullptr, /*servlen=*/0, flags) == 0;
}

}  // namespace nx::oss::detail
