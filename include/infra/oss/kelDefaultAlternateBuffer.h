#pragma once

#include <new>

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// An array that grows in powers of two, with an optional bound and an optional default storage
/// that it uses before it turns to the heap.
///
/// A scratch buffer, not a container: resize() does not preserve the content. The buffer owns its
/// heap array; the default storage belongs to the caller and must outlive the buffer. Sizes count
/// elements. For text the size includes the terminating NUL, which the user of the buffer writes.
///
/// T needs a default constructor. Not copyable: two buffers would free one array.
///
/// Thread-safety: not synchronised.
template <class T>
class KELINFRA_EXPORT DefaultAlternateBuffer {
  public:
    /// No storage, no bound.
    // Why not defaulted: clang exports a defaulted one with the instantiation below when it does
    // not optimise, g++ never does.
    constexpr DefaultAlternateBuffer() {}  // NOLINT(modernize-use-equals-default)

    /// No storage; never more than `maximumSize` elements are asked from the heap. 0 means no
    /// bound.
    explicit DefaultAlternateBuffer(unsigned long maximumSize) : maximumSize_(maximumSize) {}

    /// As above, with a default storage of `defaultSize` elements that the first resize() to at
    /// most that size takes into use. Until then data() is null.
    DefaultAlternateBuffer(T* defaultStorage, unsigned long defaultSize, unsigned long maximumSize)
        : defaultStorage_(defaultStorage), defaultSize_(defaultSize), maximumSize_(maximumSize) {}

    DefaultAlternateBuffer(const DefaultAlternateBuffer&) = delete;
    DefaultAlternateBuffer& operator=(const DefaultAlternateBuffer&) = delete;

    virtual ~DefaultAlternateBuffer() { releaseHeapArray(); }

    /// The elements; null while there is no storage. Valid until the next resize() or destruction.
    T* data() { return data_; }
    const T* data() const { return data_; }
    /// Elements in use.
    unsigned long size() const { return size_; }
    /// Elements available at data().
    unsigned long capacity() const { return capacity_; }
    /// The bound, 0 when there is none.
    unsigned long maximumSize() const { return maximumSize_; }
    /// Capacity of the default storage, 0 when there is none.
    unsigned long defaultSize() const { return defaultSize_; }

    /// Makes room for `n` elements. The content is lost unless the capacity already suffices.
    ///
    /// - `n` fits the capacity (which may exceed the bound): only size() changes.
    /// - `n` exceeds the bound: the buffer is left without storage, data() null, capacity and
    ///   size 0. No error is raised; the caller tests data().
    /// - `n` fits the default storage: that is used.
    /// - Otherwise a heap array is allocated whose capacity is the smallest power of two, at least
    /// 4,
    ///   that holds `n`.
    ///
    /// Throws the allocator's exception (std::bad_alloc) when memory is exhausted, and always for
    /// `n` above 2^30; the buffer is then without storage.
    void resize(unsigned long n) {
        if (n <= capacity_) {
            size_ = n;
            return;
        }
        releaseHeapArray();
        if (maximumSize_ != 0 && n > maximumSize_) {
            return;
        }
        if (n <= defaultSize_) {
            install(defaultStorage_, defaultSize_, n);
            return;
        }
        const unsigned long newCapacity = powerOfTwoFor(n);
        install(new T[newCapacity], newCapacity, n);
    }

  private:
    static unsigned long powerOfTwoFor(unsigned long n) {
        constexpr unsigned long LARGEST_POWER = 1UL << 30;
        if (n > LARGEST_POWER) {
            // Required: the power is a signed 32-bit number, so the next one would be negative and
            // the allocation with it as a size could only fail.
            throw std::bad_array_new_length();
        }
        unsigned long power = 4;
        while (power < n) {
            power <<= 1;
        }
        return power;
    }

    void releaseHeapArray() {
        if (data_ != defaultStorage_) {
            delete[] data_;
        }
        // Without storage from here on, so that a throwing allocation leaves nothing dangling.
        install(nullptr, 0, 0);
    }

    void install(T* data, unsigned long capacity, unsigned long size) {
        data_ = data;
        capacity_ = capacity;
        size_ = size;
    }

    T* data_ = nullptr;
    T* defaultStorage_ = nullptr;
    unsigned long defaultSize_ = 0;
    unsigned long maximumSize_ = 0;
    unsigned long capacity_ = 0;
    unsigned long size_ = 0;
};

extern template class DefaultAlternateBuffer<char>;

}  // namespace nx::oss
