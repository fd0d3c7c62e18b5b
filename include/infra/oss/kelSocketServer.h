#pragma once

#include <atomic>

#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>
#include <infra/oss/kelSocket.h>

namespace nx::oss {

/// A listening TCP endpoint: binds a port on all local addresses and hands each accepted connection
/// to a Socket, which then owns it.
///
/// States: idle, listening after listen(), stopped after shutdownRead() or shutdownReadWrite() (the
/// descriptor stays open until destruction; there is no way back to listening).
///
/// Errors are thrown as SocketException with file "kelSocketServer.cpp" and, as last arguments, the
/// host "localhost" and getPort(). "Mapped error" means the errno table of SocketException.
///
/// Thread-safety: one thread may wait in accept() while another calls shutdownRead() or
/// shutdownReadWrite(); everything else belongs to one thread at a time.
class KELINFRA_EXPORT SocketServer {
  public:
    SocketServer();
    /// Closes the listening descriptor.
    virtual ~SocketServer();

    /// Binds `port` on the first local wildcard address that accepts it, one address family only,
    /// and listens. 0 lets the system choose; getPort() then tells the choice. `backlog` is the
    /// length of the queue of connections not yet accepted, which the system may limit.
    /// `reuseAddress` sets SO_REUSEADDR, so that a port with connections in TIME_WAIT can be bound.
    ///
    /// Throws "ERR_SOCKET_LISTENING" when there is a descriptor already (the server is unchanged),
    /// "ERR_SOCKET_GETADDRINFO_ERROR" (host, port, resolver code, its text), and the mapped error,
    /// "NX_ERR_SOCKET_ADDRESS_IN_USE" for a port in use. After a failure the server is idle and
    /// listen() may be called again.
    void listen(unsigned long port, unsigned long backlog, bool reuseAddress);

    /// Waits for a connection and makes `target` its owner.
    ///
    /// Careful: unlike Socket::connect, this does not set TCP_NODELAY. An item is two sends, so a
    /// server that answers with items should call target.setTcpNoDelay(true); otherwise each answer
    /// may wait for the peer's delayed acknowledgement, some 40 ms.
    ///
    /// `timeoutMs` in milliseconds; null waits without limit. `target` keeps its host name and
    /// port.
    ///
    /// Throws "ERR_SOCKET_NOT_LISTENING" without descriptor, "ERR_SOCKET_TIMEOUT", and the mapped
    /// error: for EINVAL when the server has been stopped, even when a connection is pending.
    /// Errors of the wait itself are those of Socket::select with an empty host and port 0.
    ///
    /// Careful: a descriptor that `target` had before is not closed. A stop is noticed only when a
    /// connection arrives or a time slice ends, which is `*timeoutMs`, or 10,000,000 ms (2 h 46
    /// min) without time-out: a server that is to be stopped needs a time-out.
    void accept(Socket& target, const unsigned long* timeoutMs);

    /// Stops accepting. Careful: despite the name it neither shuts down nor closes the descriptor;
    /// it sets the receive buffer to its minimum and clears isListening(), which accept() looks at.
    /// Throws "ERR_SOCKET_NOT_LISTENING" without descriptor, and the mapped error.
    void shutdownRead();
    /// Sets the send buffer of the listening descriptor to its minimum; isListening() stays. Throws
    /// "ERR_SOCKET_NOT_LISTENING" without descriptor, and the mapped error.
    void shutdownWrite();
    /// shutdownRead(), then shutdownWrite().
    void shutdownReadWrite();

    /// The port listened on, 0 before listen(). For a requested port other than 0 this is the
    /// number requested.
    unsigned long getPort() const;
    /// True from listen() until the server is stopped.
    bool isListening() const;
    /// "localhost", the host argument of error messages.
    const icu::UnicodeString& getHostName() const;
    /// The listening descriptor, -1 before listen(). Owned by the server.
    long getDescriptor() const;

    /// Sets or clears SO_REUSEADDR. Throws the mapped error, with host and port when `host` is not
    /// null.
    static void setReuseAddress(long descriptor, bool on, const icu::UnicodeString* host,
                                unsigned long port);
    /// The local port of an IPv4 or IPv6 socket. Throws the mapped error, with host and port when
    /// `host` is not null.
    static unsigned long getPortStatic(long descriptor, const icu::UnicodeString* host,
                                       unsigned long port);

  private:
    Socket socket_;
    icu::UnicodeString hostName_;
    unsigned long port_ = 0;
    std::atomic<bool> listening_{false};
};

}  // namespace nx::oss
