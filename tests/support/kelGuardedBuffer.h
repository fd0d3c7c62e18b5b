#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace nx::test {

/// A destination between two guard zones, filled with a pattern throughout, so that a test sees
/// which bytes an operation has written, inside the capacity and around it.
class GuardedBuffer {
  public:
    /// A capacity below 0 counts as 0.
    explicit GuardedBuffer(long capacity)
        : size_(static_cast<std::size_t>(std::max(capacity, 0L))),
          bytes_(GUARD + size_ + GUARD, PATTERN) {}

    char* data() { return &bytes_[GUARD]; }
    std::string first(std::size_t count) const { return bytes_.substr(GUARD, count); }

    /// Whether every byte before data() and from data() + count on is as it was at first.
    bool untouchedAfter(std::size_t count) const {
        const auto end = bytes_.find_first_not_of(PATTERN, GUARD + count);
        return bytes_.find_first_not_of(PATTERN) >= GUARD && end == std::string::npos;
    }
    bool untouched() const { return untouchedAfter(0); }
    /// Whether nothing was written outside the capacity.
    bool guardsIntact() const { return untouchedAfter(size_); }

  private:
    static constexpr std::size_t GUARD = 64;
    static constexpr char PATTERN = '\x5A';

    std::size_t size_;
    std::string bytes_;
};

}  // namespace nx::test
