#include <infra/oss/kelSocketException.h>

#include <cerrno>

#include "infra/detail/kelRaise.h"

namespace nx::oss {

namespace {

constexpr const char* UNMAPPED = "NX_ERR_SOCKET_ERROR";

struct MappedError {
    long errorNumber;
    const char* identifier;
};

constexpr MappedError MAPPED_ERRORS[] = {
    {EPIPE, "NX_ERR_SOCKET_BROKEN_PIPE"},
    {EADDRINUSE, "NX_ERR_SOCKET_ADDRESS_IN_USE"},
    {ECONNRESET, "NX_ERR_SOCKET_CONNECTION_RESET"},
    {ENOTCONN, "NX_ERR_SOCKET_NOT_CONNECTED"},
    {ESHUTDOWN, "NX_ERR_SOCKET_SHUTDOWN"},
    {ETIMEDOUT, "NX_ERR_SOCKET_TIMEOUT"},
    {ECONNREFUSED, "NX_ERR_SOCKET_CONNECTION_REFUSED"},
};

const char* identifierOf(long errorNumber) {
    for (const MappedError& entry : MAPPED_ERRORS) {
        if (entry.errorNumber == errorNumber) {
            return entry.identifier;
        }
    }
    return UNMAPPED;
}

void addEndpoint(Message& message, const icu::UnicodeString* host, unsigned long port) {
    if (host != nullptr) {
        detail::addErrorArgument(message, *host);
        detail::addErrorArgument(message, port);
    }
}

}  // namespace

SocketException::SocketException() = default;

SocketException::SocketException(const char* identifier, const char* fileName, unsigned long line,
                                 const icu::UnicodeString* host, unsigned long port) {
    addEndpoint(detail::recordError(messages, {identifier, fileName, line}), host, port);
}

SocketException::SocketException(const char* fileName, unsigned long line,
                                 const icu::UnicodeString* host, unsigned long port,
                                 long errorNumber) {
    const char* const identifier = identifierOf(errorNumber);
    Message& message = detail::recordError(messages, {identifier, fileName, line});
    if (identifier == UNMAPPED) {
        detail::addErrorArgument(message, errorNumber);
    }
    addEndpoint(message, host, port);
}

SocketException::SocketException(const SocketException& other) = default;

SocketException& SocketException::operator=(const SocketException& other) = default;

SocketException::~SocketException() noexcept = default;

const char* SocketException::name() const { return "oss::SocketException"; }

}  // namespace nx::oss
