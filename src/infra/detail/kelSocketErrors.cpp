#include "infra/detail/kelSocketErrors.h"

#include <string_view>

#include <netdb.h>

#include <infra/oss/kelSocketException.h>

#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

void SocketErrors::raise(const char* identifier, const icu::UnicodeString* host, unsigned long port,
                         unsigned long line) const {
    raiseBuilt<SocketException>(identifier, fileName_, line, host, port);
}

void SocketErrors::raiseSystemError(long errorNumber, const icu::UnicodeString* host,
                                    unsigned long port, unsigned long line) const {
    raiseBuilt<SocketException>(fileName_, line, host, port, errorNumber);
}

void SocketErrors::raiseResolverError(int code, const icu::UnicodeString& host, unsigned long port,
                                      unsigned long line) const {
    detail::raise<SocketException>(ErrorSite{"ERR_SOCKET_GETADDRINFO_ERROR", fileName_, line}, host,
                                   port, code, std::string_view(::gai_strerror(code)));
}

}  // namespace nx::oss::detail
