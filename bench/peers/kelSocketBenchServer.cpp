#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "kelSocketBench.h"

namespace nx::oss::bench {

namespace {

bool receiveAll(int descriptor, char* data, std::size_t length) {
    return length == 0 ||
           recv(descriptor, data, length, MSG_WAITALL) == static_cast<ssize_t>(length);
}

bool sendAll(int descriptor, const char* data, std::size_t length) {
    std::size_t sent = 0;
    while (sent < length) {
        const ssize_t count = ::send(descriptor, data + sent, length - sent, MSG_NOSIGNAL);
        if (count < 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

std::size_t answerSize(Request request, std::size_t received) {
    switch (request) {
        case ECHO_BACK:
            return received;
        case SEND_LARGE:
            return LARGE_ITEM;
        default:
            return 0;
    }
}

// The answer goes out in one send: prefix and payload lie next to each other in the buffer.
void serveItems(int descriptor) {
    std::vector<char> item(PREFIX_SIZE + LARGE_ITEM);
    char prefix[PREFIX_SIZE];
    while (receiveAll(descriptor, prefix, PREFIX_SIZE)) {
        const std::size_t length = decodePrefix(prefix);
        if (length > LARGE_ITEM || !receiveAll(descriptor, item.data() + PREFIX_SIZE, length)) {
            break;
        }
        const std::size_t size = answerSize(static_cast<Request>(item[PREFIX_SIZE]), length);
        encodePrefix(item.data(), size);
        if (!sendAll(descriptor, item.data(), PREFIX_SIZE + size)) {
            break;
        }
    }
    ::close(descriptor);
}

void setTcpNoDelay(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void closeWithReset(int descriptor) {
    const linger immediately{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
    ::close(descriptor);
}

void stopListening(int listener, std::thread& acceptor) {
    ::shutdown(listener, SHUT_RDWR);
    acceptor.join();
    ::close(listener);
}

}  // namespace

void encodePrefix(char* prefix, std::size_t length) {
    const std::uint32_t bigEndian = htonl(static_cast<std::uint32_t>(length));
    std::memcpy(prefix, &bigEndian, PREFIX_SIZE);
}

std::size_t decodePrefix(const char* prefix) {
    std::uint32_t bigEndian = 0;
    std::memcpy(&bigEndian, prefix, PREFIX_SIZE);
    return ntohl(bigEndian);
}

int listenOnLoopback(std::uint16_t& port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    require(listener >= 0 && bind(listener, generic, size) == 0 && listen(listener, 1024) == 0 &&
                getsockname(listener, generic, &size) == 0,
            "listening on the loopback interface");
    port = ntohs(address.sin_port);
    return listener;
}

ItemServer::ItemServer() : listener_(listenOnLoopback(port_)), acceptor_([this] { acceptAll(); }) {}

ItemServer::~ItemServer() {
    stopListening(listener_, acceptor_);
    for (std::thread& connection : connections_) {
        connection.join();
    }
}

void ItemServer::acceptAll() {
    for (int descriptor; (descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        setTcpNoDelay(descriptor);
        connections_.emplace_back(serveItems, descriptor);
    }
}

ConnectServer::ConnectServer()
    : listener_(listenOnLoopback(port_)), acceptor_([this] { acceptAll(); }) {}

ConnectServer::~ConnectServer() { stopListening(listener_, acceptor_); }

void ConnectServer::acceptAll() const {
    for (int descriptor; (descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        char end = 0;
        receiveAll(descriptor, &end, sizeof end);
        closeWithReset(descriptor);
    }
}

const ItemServer& itemServer() {
    static const ItemServer server;
    return server;
}

const ConnectServer& connectServer() {
    static const ConnectServer server;
    return server;
}

}  // namespace nx::oss::bench
