#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <infra/oss/kelSocket.h>

namespace tools {

/// The largest length that the four bytes before an item can hold.
constexpr unsigned long LARGEST_ITEM = 0xFFFFFFFF;
/// What is taken from the other side unless --max-length says otherwise.
constexpr unsigned long USUAL_LARGEST_ITEM = 64UL << 20U;

/// Shows how a long transfer goes on, on standard error, if that is a terminal.
class Progress {
  public:
    Progress(std::string what, unsigned long total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void advance(unsigned long bytes);

  private:
    void show();

    using Clock = std::chrono::steady_clock;
    std::string what_;
    unsigned long total_;
    unsigned long done_ = 0;
    bool isShown_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point last_ = start_;
};

/// Items over one connection, with time-outs and a limit for their length.
class ItemChannel {
  public:
    /// `socket` is connected and outlives the channel. A read or write that nothing comes of for
    /// `timeoutMs` milliseconds, 0 for no limit, fails. Throws Failure.
    ItemChannel(nx::oss::Socket& socket, unsigned long timeoutMs, unsigned long maxLength);

    /// Sends one item of up to LARGEST_ITEM bytes.
    void send(std::string_view item);
    /// Receives one item; what it returns is valid until the next one. Throws the library's errors,
    /// "ERR_SOCKET_CLOSED" between items and "ERR_DEST_BUFFER_TOO_SMALL" for a length above the
    /// limit among them, and Failure when the other side closes inside an item.
    std::string_view receive();

  private:
    unsigned long announcedLength();
    unsigned long receiveInParts(unsigned long length);

    nx::oss::Socket& socket_;
    unsigned long maxLength_;
    std::unique_ptr<char[]> buffer_;
    unsigned long capacity_ = 0;
};

}  // namespace tools
