#pragma once

#include <limits>
#include <utility>

#include <sys/socket.h>

namespace nx::oss::detail {

/// What the system calls take for a descriptor that the library keeps as a long. Numbers that no
/// descriptor can have become -1, which the system refuses, instead of another open descriptor.
constexpr int systemDescriptor(long descriptor) {
    return descriptor < 0 || descriptor > std::numeric_limits<int>::max()
               ? -1
               : static_cast<int>(descriptor);
}

/// ::close(), but no cancellation point: destructors close, and a thread that is cancelled inside
/// one would end the process.
int closeDescriptor(int descriptor);

/// Sets a socket option to `value`. False leaves the reason in errno.
template <class Value>
bool setSocketOption(long descriptor, int level, int option, Value value) {
    return ::setsockopt(systemDescriptor(descriptor), level, option, &value, sizeof value) == 0;
}

/// The owner of a descriptor, closes it at the end. May change errno then.
class Descriptor {
  public:
    Descriptor() = default;
    /// Takes over what a system call returned; a negative number is no descriptor.
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(other.release()) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (value_ >= 0) {
            closeDescriptor(value_);
        }
    }

    explicit operator bool() const { return value_ >= 0; }
    int get() const { return value_; }
    /// Gives the descriptor away unclosed.
    int release() { return std::exchange(value_, -1); }

  private:
    int value_ = -1;
};

}  // namespace nx::oss::detail
