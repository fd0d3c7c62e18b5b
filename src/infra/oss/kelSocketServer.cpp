#include <infra/oss/kelSocketServer.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <list>
#include <utility>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "infra/detail/kelAddressList.h"
#include "infra/detail/kelCancellation.h"
#include "infra/detail/kelDescriptor.h"
#include "infra/detail/kelSocketErrors.h"
#include "infra/detail/kelTraceScope.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr detail::SocketErrors ERRORS{"kelSocketServer.cpp"};

constexpr long NO_DESCRIPTOR = -1;
constexpr unsigned long UNLIMITED_WAIT_SLICE_MS = 10'000'000;

detail::AddressList resolveWildcard(unsigned long requestedPort, const icu::UnicodeString& host,
                                    unsigned long port) {
    detail::Resolution resolution = detail::resolve(nullptr, requestedPort, AI_PASSIVE);
    if (resolution.code != 0) {
        ERRORS.raiseResolverError(resolution.code, host, port);
    }
    return std::move(resolution.addresses);
}

// A descriptor bound to the first address that allows it.
detail::Descriptor bindFirst(const addrinfo* addresses, bool reuseAddress,
                             const icu::UnicodeString& host, unsigned long port) {
    int socketError = 0;
    int bindError = 0;
    for (const addrinfo* entry = addresses; entry != nullptr; entry = entry->ai_next) {
        detail::Descriptor descriptor(
            ::socket(entry->ai_family, entry->ai_socktype, entry->ai_protocol));
        if (!descriptor) {
            socketError = errno;
            continue;
        }
        if (reuseAddress) {
            SocketServer::setReuseAddress(descriptor.get(), true, &host, port);
        }
        if (::bind(descriptor.get(), entry->ai_addr, entry->ai_addrlen) == 0) {
            return descriptor;
        }
        bindError = errno;
    }
    // A family that the machine lacks must not hide that the port is taken in the other one.
    ERRORS.raiseSystemError(bindError != 0 ? bindError : socketError, &host, port);
}

void requireListening(const Socket& socket, const icu::UnicodeString& host, unsigned long port,
                      unsigned long line = __builtin_LINE()) {
    if (socket.getDescriptor() == NO_DESCRIPTOR) {
        ERRORS.raise("ERR_SOCKET_NOT_LISTENING", &host, port, line);
    }
}

// The system raises the size to its minimum.
void minimizeBuffer(const Socket& socket, int option, const icu::UnicodeString& host,
                    unsigned long port, unsigned long line = __builtin_LINE()) {
    if (!detail::setSocketOption(socket.getDescriptor(), SOL_SOCKET, option, 0L)) {
        ERRORS.raiseSystemError(errno, &host, port, line);
    }
}

// Why: a thread that is cancelled inside ::accept() could lose the new descriptor. The wait, in
// which it can be cancelled, is over.
int acceptReady(const Socket& socket) {
    const detail::CancellationPause pause;
    return ::accept(detail::systemDescriptor(socket.getDescriptor()), nullptr, nullptr);
}

}  // namespace

SocketServer::SocketServer() : hostName_(u"localhost") {
    TraceExit trace(TracePoint::SOCKET_SERVER_CONSTRUCT);
}

SocketServer::~SocketServer() {
    TraceExit trace(TracePoint::SOCKET_SERVER_DESTROY);
    socket_.close();
}

void SocketServer::listen(unsigned long port, unsigned long backlog, bool reuseAddress) {
    TraceScope trace(TracePoint::SOCKET_SERVER_LISTEN);
    if (socket_.descriptor_ != NO_DESCRIPTOR) {
        ERRORS.raise("ERR_SOCKET_LISTENING", &hostName_, port_);
    }
    // The addresses are released with this statement.
    detail::Descriptor bound =
        bindFirst(resolveWildcard(port, hostName_, port_).first(), reuseAddress, hostName_, port_);
    if (::listen(bound.get(), static_cast<int>(backlog)) != 0) {
        ERRORS.raiseSystemError(errno, &hostName_, port_);
    }
    port_ = port == 0 ? getPortStatic(bound.get(), &hostName_, port_) : port;
    socket_.descriptor_ = bound.release();
    socket_.owner_ = true;
    listening_ = true;
}

void SocketServer::accept(Socket& target, const unsigned long* timeoutMs) {
    TraceScope trace(TracePoint::SOCKET_SERVER_ACCEPT);
    requireListening(socket_, hostName_, port_);
    std::list<Socket> listeners(1, socket_);
    std::list<Socket> none;
    const unsigned long slice = timeoutMs == nullptr ? UNLIMITED_WAIT_SLICE_MS : *timeoutMs;
    for (;;) {
        const long ready = Socket::select(listeners, none, none, &slice);
        // Required: a stop comes before a connection that is pending.
        if (!listening_) {
            ERRORS.raiseSystemError(EINVAL, &hostName_, port_);
        }
        if (listeners.empty()) {
            listeners.push_back(socket_);
        }
        if (ready != 0) {
            break;
        }
        if (timeoutMs != nullptr) {
            ERRORS.raise("ERR_SOCKET_TIMEOUT", &hostName_, port_);
        }
    }
    const int accepted = acceptReady(socket_);
    if (accepted == -1) {
        ERRORS.raiseSystemError(errno, &hostName_, port_);
    }
    // Required: only these two change; a descriptor that the target had is not closed.
    target.owner_ = true;
    target.descriptor_ = accepted;
}

void SocketServer::shutdownRead() {
    TraceScope trace(TracePoint::SOCKET_SERVER_SHUTDOWN_READ);
    requireListening(socket_, hostName_, port_);
    minimizeBuffer(socket_, SO_RCVBUF, hostName_, port_);
    listening_ = false;
}

void SocketServer::shutdownWrite() {
    TraceScope trace(TracePoint::SOCKET_SERVER_SHUTDOWN_WRITE);
    requireListening(socket_, hostName_, port_);
    minimizeBuffer(socket_, SO_SNDBUF, hostName_, port_);
}

void SocketServer::shutdownReadWrite() {
    TraceScope trace(TracePoint::SOCKET_SERVER_SHUTDOWN_READ_WRITE);
    requireListening(socket_, hostName_, port_);
    shutdownRead();
    shutdownWrite();
}

unsigned long SocketServer::getPort() const { return port_; }

bool SocketServer::isListening() const { return listening_; }

const icu::UnicodeString& SocketServer::getHostName() const { return hostName_; }

long SocketServer::getDescriptor() const { return socket_.descriptor_; }

void SocketServer::setReuseAddress(long descriptor, bool on, const icu::UnicodeString* host,
                                   unsigned long port) {
    TraceScope trace(TracePoint::SOCKET_SERVER_SET_REUSE_ADDRESS);
    if (!detail::setSocketOption(descriptor, SOL_SOCKET, SO_REUSEADDR, on ? 1 : 0)) {
        ERRORS.raiseSystemError(errno, host, port);
    }
}

unsigned long SocketServer::getPortStatic(long descriptor, const icu::UnicodeString* host,
                                          unsigned long port) {
    TraceScope trace(TracePoint::SOCKET_SERVER_GET_PORT_STATIC);
    sockaddr_storage address = {};
    socklen_t size = sizeof address;
    if (::getsockname(detail::systemDescriptor(descriptor), reinterpret_cast<sockaddr*>(&address),
                      &size) != 0) {
        ERRORS.raiseSystemError(errno, host, port);
    }
    static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
    in_port_t networkOrder = 0;
    std::memcpy(&networkOrder,
                reinterpret_cast<const char*>(&address) + offsetof(sockaddr_in, sin_port),
                sizeof networkOrder);
    return ntohs(networkOrder);
}

}  // namespace nx::oss
