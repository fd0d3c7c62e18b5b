#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelDefaultAlternateBuffer.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// An owning, NUL-terminated byte string.
///
/// The content may hold any bytes, NULs included; the terminator after it is not part of it but is
/// counted by size(). The storage grows in powers of two.
///
/// No operation raises an error of the library. Memory exhaustion, a length above 2^30 - 1
/// included, ends in std::bad_alloc with the content as it was before (empty for set() and the
/// constructors).
///
/// Thread-safety: not synchronised.
class KELINFRA_EXPORT ByteBuffer {
  public:
    /// An empty buffer with room for at least `capacity` bytes and the terminator.
    explicit ByteBuffer(unsigned long capacity);
    /// A copy of `length` bytes. A null `bytes` gives an empty buffer.
    ByteBuffer(const char* bytes, unsigned long length);
    /// As set(text, codePage) on an empty buffer.
    ByteBuffer(const icu::UnicodeString& text, const char* codePage);
    /// A deep copy of the content; the capacity is the smallest that holds it.
    ByteBuffer(const ByteBuffer& other);
    /// Replaces the content by a copy of that of `other`.
    ByteBuffer& operator=(const ByteBuffer& other);
    virtual ~ByteBuffer();

    /// The content, followed by a NUL. Valid until the buffer changes or is destroyed.
    const char* data() const;
    /// Bytes of content plus one for the terminator; 1 when empty.
    unsigned long size() const;
    /// Bytes available at data(), terminator included.
    unsigned long capacity() const;

    /// Appends `length` bytes, which may lie inside this buffer. A null `bytes` or a `length` of 0
    /// changes nothing.
    void append(const char* bytes, unsigned long length);

    /// Replaces the content by `text` in `codePage`, an ICU converter name (null or empty: ICU's
    /// default converter, UTF-8).
    ///
    /// Characters that the code page cannot hold become ICU's substitution byte; no error is
    /// raised. An unknown code page leaves the buffer empty.
    void set(const icu::UnicodeString& text, const char* codePage);

    /// Empties the buffer; the storage is kept.
    void clear();

    /// True exactly when the content equals the `length` bytes at `bytes`. A null `bytes` never
    /// does, not even for an empty buffer.
    bool compare(const char* bytes, unsigned long length) const;

    /// Fills `target` with the `length` bytes at `bytes` and a terminator; its size becomes
    /// `length` + 1.
    ///
    /// A null `bytes` changes nothing. When the maximum size of `target` forbids that size,
    /// `target` is left without storage. `bytes` may lie inside `target`.
    static void copy(DefaultAlternateBuffer<char>& target, const char* bytes, unsigned long length);

  private:
    KELINFRA_INTERNAL void appendTraced(const char* bytes, unsigned long length);

    DefaultAlternateBuffer<char>* buffer_;
};

}  // namespace nx::oss
