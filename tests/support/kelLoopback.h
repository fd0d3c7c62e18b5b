#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <infra/oss/kelSocket.h>

namespace nx::test {

/// Owns a plain descriptor.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    ~FileDescriptor() { close(); }

    int get() const { return descriptor_; }
    void close();
    /// Closes a TCP connection with a reset instead of an orderly end.
    void closeWithReset();

  private:
    int descriptor_ = -1;
};

/// A TCP socket bound to a free port of 127.0.0.1. Nobody listens there, so connections are
/// refused, and nobody else can get the port.
class BoundPort {
  public:
    explicit BoundPort(bool reuseAddress = false);

    int descriptor() const { return descriptor_.get(); }
    unsigned long port() const { return port_; }
    /// The port as error messages show it.
    std::string portText() const { return std::to_string(port_); }

  private:
    FileDescriptor descriptor_;
    unsigned long port_ = 0;
};

/// A listener made with plain system calls only.
class Listener : public BoundPort {
  public:
    explicit Listener(int backlog = 64);

    /// Waits for the next connection.
    FileDescriptor accept() const;
};

/// A listener that never accepts and whose queue of waiting connections is full: what connects to
/// it now stays in progress.
class FullListener {
  public:
    FullListener();

    unsigned long port() const { return listener_.port(); }
    std::string portText() const { return listener_.portText(); }

  private:
    Listener listener_;
    FileDescriptor waiting_;
};

/// A Socket connected over loopback, and the plain descriptor at the other end.
struct Connection {
    Connection();

    /// The host and port arguments of this socket's errors.
    std::string portText() const { return listener.portText(); }
    static constexpr const char* HOST = "127.0.0.1";

    Listener listener;
    oss::Socket socket;
    FileDescriptor peer;
};

/// Runs a function in another thread and joins it at the end of the scope.
class JoinedThread {
  public:
    template <class Function>
    explicit JoinedThread(Function function) : thread_(std::move(function)) {}
    ~JoinedThread() { thread_.join(); }

  private:
    std::thread thread_;
};

/// Expects at its end that the process has as many open descriptors as at its beginning.
class NoDescriptorLeak {
  public:
    NoDescriptorLeak();
    ~NoDescriptorLeak();

  private:
    std::size_t before_;
};

/// Raises the limit of open descriptors to at least `count`; false when the system refuses.
bool allowDescriptors(unsigned long count);
/// The number of descriptors that the process has open.
std::size_t openDescriptors();
/// Whether the descriptor is open in this process.
bool isOpen(long descriptor);
/// Closes the descriptor of a socket that goes on believing in it.
void closeBehindItsBack(const oss::Socket& socket);
/// A descriptor number that was open a moment ago and is closed now.
long closedDescriptor();

/// Connects to 127.0.0.1 with plain system calls.
FileDescriptor connectTo(unsigned long port);
/// The same without waiting for an answer: the connection may be made later or never.
FileDescriptor startConnecting(unsigned long port);
/// The local port of a descriptor in host byte order.
unsigned long localPort(int descriptor);
/// The same of the other end of a connection.
unsigned long peerPort(int descriptor);
/// The value of an int socket option.
int socketOption(long descriptor, int level, int option);
/// Waits until the descriptor has something to read, an end or an error included.
void waitUntilReadable(long descriptor);
/// How many bytes have arrived and wait for a reader of this process.
int unreadBytes(long descriptor);
/// Sends all bytes; stops quietly when the other end is gone.
void sendAll(int descriptor, std::string_view bytes);
/// Receives until `count` bytes have come or the other end has closed.
std::string receive(int descriptor, std::size_t count);
/// Receives until the other end closes.
std::string receiveToEnd(int descriptor);
/// Sends single bytes, each after the reader `reader` of this process has taken the one before.
void sendByteByByte(int descriptor, std::string_view bytes, long reader);

}  // namespace nx::test
