#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace nx::test {

/// A text of the same bytes over and over, and a NUL behind it: as long as no memory is, since only
/// one piece of it is kept. What is written to it takes a page.
class RepeatedText {
  public:
    /// The size of `pattern` is a power of two.
    RepeatedText(std::string_view pattern, std::size_t size)
        : file_(memfd_create("text", 0)), mapped_((size / PIECE + 1) * PIECE) {
        std::string piece;
        while (piece.size() < PIECE) {
            piece += pattern;
        }
        EXPECT_EQ(::write(file_, piece.data(), PIECE), static_cast<ssize_t>(PIECE));
        void* const room =
            ::mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        EXPECT_NE(room, MAP_FAILED);
        start_ = static_cast<char*>(room);
        for (std::size_t at = 0; at < mapped_; at += PIECE) {
            const void* const there = ::mmap(start_ + at, PIECE, PROT_READ | PROT_WRITE,
                                             MAP_PRIVATE | MAP_FIXED | MAP_NORESERVE, file_, 0);
            EXPECT_EQ(there, start_ + at);
        }
        start_[size] = '\0';
    }
    ~RepeatedText() {
        ::munmap(start_, mapped_);
        ::close(file_);
    }
    RepeatedText(const RepeatedText&) = delete;
    RepeatedText& operator=(const RepeatedText&) = delete;

    char* data() const { return start_; }
    char16_t* units() const { return reinterpret_cast<char16_t*>(start_); }

  private:
    static constexpr std::size_t PIECE = std::size_t{8} << 20;

    int file_;
    std::size_t mapped_;
    char* start_;
};

}  // namespace nx::test
