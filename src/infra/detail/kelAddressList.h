#pragma once

#include <utility>

#include <netdb.h>

namespace nx::oss::detail {

/// The owner of a list of addresses from the resolver.
class AddressList {
  public:
    AddressList() = default;
    explicit AddressList(addrinfo* first) : first_(first) {}
    AddressList(AddressList&& other) noexcept : first_(std::exchange(other.first_, nullptr)) {}
    AddressList& operator=(AddressList&&) = delete;
    ~AddressList() {
        if (first_ != nullptr) {
            ::freeaddrinfo(first_);
        }
    }

    /// Null for an empty list.
    const addrinfo* first() const { return first_; }

  private:
    addrinfo* first_ = nullptr;
};

/// What the resolver answered: a code, 0 on success and else one that gai_strerror() explains, and
/// the addresses, none unless the code is 0.
struct Resolution {
    int code;
    AddressList addresses;
};

/// The stream addresses of `host` and a port, of any family and in the resolver's order. A null
/// host with the flag AI_PASSIVE asks for the wildcard addresses. The low 32 bits of `port` go to
/// the resolver as a decimal number.
Resolution resolve(const char* host, unsigned long port, int flags);

/// The stream addresses of `host` in one family, AF_UNSPEC for any, with port 0.
Resolution resolveWithoutPort(const char* host, int family);

/// Writes the name that belongs to an address, NUL-terminated, into the `size` bytes at `name`;
/// false when it has none. `flags` are those of getnameinfo().
bool nameOf(const sockaddr* address, socklen_t length, int flags, char* name, socklen_t size);

}  // namespace nx::oss::detail
