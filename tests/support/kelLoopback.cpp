#include "support/kelLoopback.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <gtest/gtest.h>

namespace nx::test {

namespace {

/// A test that cannot set up its peer has nothing to say: it ends with the system's reason.
int require(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

sockaddr_in loopback(unsigned long port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<in_port_t>(port));
    return address;
}

/// The port, in host byte order, of the address that a call of the system gives.
unsigned long portThat(int (*call)(int, sockaddr*, socklen_t*), int descriptor, const char* what) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    require(call(descriptor, reinterpret_cast<sockaddr*>(&address), &length), what);
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                     : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

void setOption(int descriptor, int level, int option, int value) {
    require(::setsockopt(descriptor, level, option, &value, sizeof value), "setsockopt");
}

}  // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        close();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

void FileDescriptor::close() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        descriptor_ = -1;
    }
}

void FileDescriptor::closeWithReset() {
    const linger immediately{1, 0};
    require(::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately),
            "setsockopt");
    close();
}

BoundPort::BoundPort(bool reuseAddress)
    : descriptor_(require(::socket(AF_INET, SOCK_STREAM, 0), "socket")) {
    if (reuseAddress) {
        setOption(descriptor(), SOL_SOCKET, SO_REUSEADDR, 1);
    }
    const sockaddr_in address = loopback(0);
    require(::bind(descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
            "bind");
    port_ = localPort(descriptor());
}

Listener::Listener(int backlog) { require(::listen(descriptor(), backlog), "listen"); }

FileDescriptor Listener::accept() const {
    return FileDescriptor(require(::accept(descriptor(), nullptr, nullptr), "accept"));
}

FullListener::FullListener() : listener_(0), waiting_(connectTo(listener_.port())) {
    waitUntilReadable(listener_.descriptor());
}

Connection::Connection() {
    socket.connect(HOST, listener.port(), nullptr);
    peer = listener.accept();
}

NoDescriptorLeak::NoDescriptorLeak() : before_(openDescriptors()) {}

NoDescriptorLeak::~NoDescriptorLeak() { EXPECT_EQ(before_, openDescriptors()); }

bool allowDescriptors(unsigned long count) {
    rlimit limit{};
    require(::getrlimit(RLIMIT_NOFILE, &limit), "getrlimit");
    if (limit.rlim_cur >= count) {
        return true;
    }
    limit.rlim_cur = count;
    limit.rlim_max = std::max<rlim_t>(limit.rlim_max, count);
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

bool isOpen(long descriptor) { return ::fcntl(static_cast<int>(descriptor), F_GETFD) >= 0; }

void closeBehindItsBack(const oss::Socket& socket) {
    require(::close(static_cast<int>(socket.getDescriptor())), "close");
}

long closedDescriptor() {
    const FileDescriptor open(require(::socket(AF_INET, SOCK_STREAM, 0), "socket"));
    return open.get();
}

FileDescriptor connectTo(unsigned long port) {
    FileDescriptor descriptor(require(::socket(AF_INET, SOCK_STREAM, 0), "socket"));
    const sockaddr_in address = loopback(port);
    require(
        ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
        "connect");
    return descriptor;
}

FileDescriptor startConnecting(unsigned long port) {
    FileDescriptor descriptor(require(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0), "socket"));
    const sockaddr_in address = loopback(port);
    const int result =
        ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    require(result < 0 && errno == EINPROGRESS ? 0 : result, "connect");
    return descriptor;
}

unsigned long localPort(int descriptor) {
    return portThat(::getsockname, descriptor, "getsockname");
}

unsigned long peerPort(int descriptor) {
    return portThat(::getpeername, descriptor, "getpeername");
}

int socketOption(long descriptor, int level, int option) {
    int value = 0;
    socklen_t length = sizeof value;
    require(::getsockopt(static_cast<int>(descriptor), level, option, &value, &length),
            "getsockopt");
    return value;
}

void waitUntilReadable(long descriptor) {
    pollfd wait{static_cast<int>(descriptor), POLLIN, 0};
    while (::poll(&wait, 1, -1) < 0) {
    }
}

int unreadBytes(long descriptor) {
    int count = 0;
    require(::ioctl(static_cast<int>(descriptor), FIONREAD, &count), "ioctl");
    return count;
}

void sendAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::string receive(int descriptor, std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t got = 0;
    while (got < count) {
        const ssize_t more = ::recv(descriptor, &bytes[got], count - got, 0);
        if (more <= 0) {
            break;
        }
        got += static_cast<std::size_t>(more);
    }
    bytes.resize(got);
    return bytes;
}

std::string receiveToEnd(int descriptor) {
    std::string bytes;
    for (;;) {
        const std::string more = receive(descriptor, 65536);
        bytes += more;
        if (more.size() < 65536) {
            return bytes;
        }
    }
}

void sendByteByByte(int descriptor, std::string_view bytes, long reader) {
    for (const char& byte : bytes) {
        sendAll(descriptor, {&byte, 1});
        while (unreadBytes(reader) != 0) {
            std::this_thread::yield();
        }
    }
}

}  // namespace nx::test
