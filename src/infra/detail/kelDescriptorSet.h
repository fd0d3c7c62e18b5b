#pragma once

#include <algorithm>
#include <cstdint>

#include <sys/time.h>

namespace nx::oss::detail {

// Sets of descriptors as arrays of 64-bit words: descriptor d is bit d % 64 of word d / 64. That is
// the layout of the system's fd_set, without its limit of 1,024 descriptors; its FD_ macros abort
// or write past the end above that.

constexpr long DESCRIPTORS_PER_WORD = 64;

/// The number of words that hold the descriptors 0 to `highest`.
constexpr unsigned long descriptorWords(long highest) {
    return static_cast<unsigned long>(highest / DESCRIPTORS_PER_WORD + 1);
}

/// Whether a set of `count` words has a bit for the descriptor.
constexpr bool fitsDescriptorSet(long descriptor, unsigned long count) {
    return descriptor >= 0 && descriptorWords(descriptor) <= count;
}

constexpr std::uint64_t descriptorBit(long descriptor) {
    return std::uint64_t{1} << (descriptor % DESCRIPTORS_PER_WORD);
}

inline bool holdsDescriptor(const std::uint64_t* words, long descriptor) {
    return (words[descriptor / DESCRIPTORS_PER_WORD] & descriptorBit(descriptor)) != 0;
}

/// Fills a set, and finds the highest descriptor on the way.
///
/// The array comes uninitialised; its words are cleared only as far as they are needed.
class DescriptorCollector {
  public:
    DescriptorCollector(std::uint64_t* words, unsigned long capacity)
        : words_(words), capacity_(capacity) {}

    /// A descriptor that does not fit is left out.
    void add(long descriptor) {
        highest_ = std::max(highest_, descriptor);
        if (fitsDescriptorSet(descriptor, capacity_)) {
            clearTo(descriptorWords(descriptor));
            words_[descriptor / DESCRIPTORS_PER_WORD] |= descriptorBit(descriptor);
        }
    }
    /// Makes the first `count` words usable.
    void clearTo(unsigned long count) {
        if (count > cleared_) {
            std::fill(words_ + cleared_, words_ + count, 0);
            cleared_ = count;
        }
    }
    /// 0 when none was added; descriptors that were left out count.
    long highest() const { return highest_; }

  private:
    std::uint64_t* words_;
    unsigned long capacity_;
    unsigned long cleared_ = 0;
    long highest_ = 0;
};

inline timeval timeLimit(unsigned long milliseconds) {
    timeval limit = {};
    limit.tv_sec = static_cast<time_t>(milliseconds / 1000);
    limit.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
    return limit;
}

/// Waits until a descriptor of the sets is ready and leaves those that are in them. A null set is
/// an empty one. `highest` is the largest descriptor of all sets, whose words beyond it are neither
/// read nor written. A null `limit` waits without end; the content of another one is used up.
///
/// Returns the number of bits left, 0 after the time-out, or -1 with the reason in errno. A
/// descriptor that is not open is EBADF, whatever its number.
int awaitDescriptors(long highest, std::uint64_t* readWords, std::uint64_t* writeWords,
                     std::uint64_t* exceptWords, timeval* limit);

}  // namespace nx::oss::detail
