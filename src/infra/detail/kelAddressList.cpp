#include "infra/detail/kelAddressList.h"

#include <charconv>
#include <cstdint>

namespace nx::oss::detail {

Resolution resolve(const char* host, unsigned long port, int flags) {
    char service[33] = {};
    std::to_chars(service, service + sizeof service - 1, static_cast<std::uint32_t>(port));
    addrinfo hints = {};
    hints.ai_flags = flags;
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    const int code = ::getaddrinfo(host, service, &hints, &first);
    return {code, AddressList(code == 0 ? first : nullptr)};
}

}  // namespace nx::oss::detail
