#pragma once

#include <sys/socket.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketServer.h>

namespace nx::test {

/// A server on a port of the system's choice.
struct ListeningServer : oss::SocketServer {
    ListeningServer() { listen(0, 64, /*reuseAddress=*/true); }
};

/// Lets the end of a connection be a reset: no port stays reserved after it, so that any number of
/// connections can follow each other.
inline void endWithReset(const oss::Socket& socket) {
    const linger immediately{1, 0};
    ::setsockopt(static_cast<int>(socket.getDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                 sizeof immediately);
}

/// Both ends of a connection over loopback, both of the library.
struct ServedClient {
    explicit ServedClient(oss::SocketServer& server) {
        client.connect("127.0.0.1", server.getPort(), nullptr);
        server.accept(served, nullptr);
        endWithReset(served);
    }

    // The client's end is closed first.
    oss::Socket served;
    oss::Socket client;
};

}  // namespace nx::test
