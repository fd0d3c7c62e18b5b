#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace nx::oss::test {

/// Memory between two pages that nobody may touch: any access outside ends the program.
class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size) : size_((size + PAGE - 1) / PAGE * PAGE) {
        void* const all =
            mmap(nullptr, size_ + 2 * PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED) {
            std::abort();
        }
        data_ = static_cast<char*>(all) + PAGE;
        if (mprotect(data_, size_, PROT_READ | PROT_WRITE) != 0) {
            std::abort();
        }
    }
    ~GuardedMemory() { munmap(data_ - PAGE, size_ + 2 * PAGE); }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    /// `count` elements, the first right behind the lower guard.
    template <class T>
    T* first() {
        return reinterpret_cast<T*>(data_);
    }
    /// `count` elements, the last right before the upper guard.
    template <class T>
    T* last(std::size_t count) {
        return reinterpret_cast<T*>(data_ + size_) - count;
    }
    void fill(char byte) { std::memset(data_, byte, size_); }

  private:
    static constexpr std::size_t PAGE = 4096;
    std::size_t size_;
    char* data_;
};

}  // namespace nx::oss::test
