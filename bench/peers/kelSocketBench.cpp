#include "kelSocketBench.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <infra/oss/kelSocket.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstring>

namespace nx::oss::bench {

namespace {

class OurClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        const unsigned long timeoutMs = TIMEOUT_MS;
        socket_.connect(host(), port, &timeoutMs);
    }
    void close() { socket_.close(); }
    void send(const char* data, std::size_t length) { socket_.writeItem(data, 0, length); }
    std::size_t receive(char* data, std::size_t capacity) {
        unsigned long announced = 0;
        return socket_.readItem(data, announced, 0, capacity, /*discardOversized=*/false);
    }

  protected:
    static const icu::UnicodeString& host() {
        static const icu::UnicodeString text(HOST);
        return text;
    }

    Socket socket_;
};

/// Connects without asking the resolver.
class OurRecordClient : public OurClient {
  public:
    void connect(std::uint16_t port) {
        const unsigned long timeoutMs = TIMEOUT_MS;
        socket_.connect(host(), port, record(port), &timeoutMs);
    }

  private:
    static const Socket::_AddrInfoExternal& record(std::uint16_t port) {
        static const Socket::_AddrInfoExternal exported = exportRecord(port);
        return exported;
    }
    static Socket::_AddrInfoExternal exportRecord(std::uint16_t port) {
        Socket::_AddrInfoExternal result;
        require(Socket::exportAddrInfo(host(), port, result) == 0, "exportAddrInfo");
        return result;
    }
};

void sendAll(int descriptor, const char* data, std::size_t length) {
    for (std::size_t sent = 0; sent < length;) {
        const ssize_t count = ::send(descriptor, data + sent, length - sent, 0);
        require(count > 0, "send");
        sent += static_cast<std::size_t>(count);
    }
}

void receiveAll(int descriptor, char* data, std::size_t length) {
    for (std::size_t got = 0; got < length;) {
        const ssize_t count = ::recv(descriptor, data + got, length - got, 0);
        require(count > 0, "recv");
        got += static_cast<std::size_t>(count);
    }
}

void setNonBlocking(int descriptor, int on) {
    require(ioctl(descriptor, FIONBIO, &on) == 0, "FIONBIO");
}

void setTcpNoDelay(int descriptor) {
    const int on = 1;
    require(setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0, "TCP_NODELAY");
}

void awaitConnection(int descriptor) {
    pollfd wait{descriptor, POLLOUT, 0};
    require(poll(&wait, 1, static_cast<int>(TIMEOUT_MS)) == 1, "poll");
    int error = -1;
    socklen_t size = sizeof error;
    require(getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0,
            "SO_ERROR");
}

int connectWithTimeout(const addrinfo& address) {
    const int descriptor = ::socket(address.ai_family, address.ai_socktype, address.ai_protocol);
    require(descriptor >= 0, "socket");
    setNonBlocking(descriptor, 1);
    if (::connect(descriptor, address.ai_addr, address.ai_addrlen) != 0) {
        require(errno == EINPROGRESS, "connect");
        awaitConnection(descriptor);
    }
    setNonBlocking(descriptor, 0);
    setTcpNoDelay(descriptor);
    return descriptor;
}

addrinfo* resolve(std::uint16_t port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* addresses = nullptr;
    require(getaddrinfo(HOST, std::to_string(port).c_str(), &hints, &addresses) == 0,
            "getaddrinfo");
    return addresses;
}

/// The system calls that the same work takes, and nothing else.
class PosixClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        addrinfo* const addresses = resolve(port);
        descriptor_ = connectWithTimeout(*addresses);
        freeaddrinfo(addresses);
    }
    void close() { ::close(descriptor_); }
    void send(const char* data, std::size_t length) {
        char prefix[PREFIX_SIZE];
        encodePrefix(prefix, length);
        sendAll(descriptor_, prefix, PREFIX_SIZE);
        sendAll(descriptor_, data, length);
    }
    std::size_t receive(char* data, std::size_t capacity) {
        char prefix[PREFIX_SIZE];
        receiveAll(descriptor_, prefix, PREFIX_SIZE);
        const std::size_t length = decodePrefix(prefix);
        require(length <= capacity, "length of the item");
        receiveAll(descriptor_, data, length);
        return length;
    }

  protected:
    int descriptor_ = -1;
};

/// The same with an address list that was resolved before.
class PosixListClient : public PosixClient {
  public:
    void connect(std::uint16_t port) { descriptor_ = connectWithTimeout(*list(port)); }

  private:
    static const addrinfo* list(std::uint16_t port) {
        static const addrinfo* const resolved = resolve(port);
        return resolved;
    }
};

/// No resolver and no time-out; prefix and payload in one call each way.
class MinimalClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = PREFIX_SIZE;

    void connect(std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        inet_pton(AF_INET, HOST, &address.sin_addr);
        descriptor_ = ::socket(AF_INET, SOCK_STREAM, 0);
        require(::connect(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
                "connect");
        setTcpNoDelay(descriptor_);
    }
    void close() { ::close(descriptor_); }
    void send(const char* data, std::size_t length) {
        char prefix[PREFIX_SIZE];
        encodePrefix(prefix, length);
        iovec parts[] = {{prefix, PREFIX_SIZE}, {const_cast<char*>(data), length}};
        const ssize_t sent = writev(descriptor_, parts, 2);
        require(sent >= static_cast<ssize_t>(PREFIX_SIZE), "writev");
        const std::size_t payload = static_cast<std::size_t>(sent) - PREFIX_SIZE;
        sendAll(descriptor_, data + payload, length - payload);
    }
    // The buffer has room for the prefix, which stays in front of the payload.
    std::size_t receive(char* data, std::size_t capacity) {
        const ssize_t first = ::recv(descriptor_, data, capacity, 0);
        require(first >= static_cast<ssize_t>(PREFIX_SIZE), "recv");
        const std::size_t length = decodePrefix(data);
        const std::size_t got = static_cast<std::size_t>(first);
        receiveAll(descriptor_, data + got, PREFIX_SIZE + length - got);
        return length;
    }

  private:
    int descriptor_ = -1;
};

template <class Client>
void addConnect(const std::string& name) {
    addRow("connect to a resolved address + close", name, connectAndClose<Client>)->UseRealTime();
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    pinToOneProcessor();
    addClient<OurClient>("kelinfra");
    addClient<PosixClient>("POSIX");
    addClient<MinimalClient>("(limit) POSIX minimal");
    addConnect<OurRecordClient>("kelinfra");
    addConnect<PosixListClient>("POSIX");
#ifdef KELINFRA_BENCH_QT
    addQtClients();
#endif
#ifdef KELINFRA_BENCH_POCO
    addPocoClients();
#endif
#ifdef KELINFRA_BENCH_BOOST
    addBoostClients();
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlibClients();
#endif
    return run();
}
