#pragma once

#include <infra/oss/kelDefaultAlternateBuffer.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A scratch array of N elements inside the object that moves to the heap when more is needed.
///
/// Meant for the stack: the common short case costs no allocation. It is not a container: resize()
/// does not preserve the content, and the elements start uninitialised (for class types,
/// default-constructed). Sizes count elements.
///
/// Not copyable: the copy would point into the other object's array.
///
/// Thread-safety: not synchronised.
template <class T, unsigned long N>
class KELINFRA_EXPORT SizeableBuffer {
  public:
    /// Starts with the inline array. `maximumSize` bounds what is asked from the heap; 0 means no
    /// bound. The inline array is available even when the bound is below N.
    explicit SizeableBuffer(unsigned long maximumSize)
        : maximumSize_(maximumSize), data_(inline_), embedded_(maximumSize) {}

    SizeableBuffer(const SizeableBuffer&) = delete;
    SizeableBuffer& operator=(const SizeableBuffer&) = delete;

    // Why not defaulted: clang exports a defaulted one with the instantiations below, g++ does not.
    virtual ~SizeableBuffer() {}  // NOLINT(modernize-use-equals-default)

    /// The elements, never null. Valid until the next resize() or destruction.
    T* data() { return data_; }
    const T* data() const { return data_; }
    /// Elements available at data(): N, or a power of two when on the heap.
    unsigned long capacity() const { return capacity_; }
    /// N.
    unsigned long inlineCapacity() const { return inlineCapacity_; }
    /// The bound, 0 when there is none.
    unsigned long maximumSize() const { return maximumSize_; }

    /// Makes room for `n` elements; the content is lost.
    ///
    /// Up to N elements the inline array is used (a heap array from before is kept for later).
    /// Above, the growth rule of DefaultAlternateBuffer applies. Returns false when the bound
    /// forbids `n`; the buffer then uses its inline array.
    ///
    /// Throws the allocator's exception (std::bad_alloc); the buffer then uses its inline array.
    bool resize(unsigned long n) {
        useInlineArray();
        if (n <= N) {
            return true;
        }
        embedded_.resize(n);
        if (embedded_.data() == nullptr) {
            return false;
        }
        data_ = embedded_.data();
        capacity_ = embedded_.capacity();
        return true;
    }

  private:
    void useInlineArray() {
        data_ = inline_;
        capacity_ = N;
    }

    unsigned long maximumSize_;
    unsigned long inlineCapacity_ = N;
    unsigned long capacity_ = N;
    T* data_;
    T inline_[N];
    DefaultAlternateBuffer<T> embedded_;
};

extern template class SizeableBuffer<char, 512>;
extern template class SizeableBuffer<char, 1026>;

}  // namespace nx::oss
