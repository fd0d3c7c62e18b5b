#pragma once

#include <infra/oss/kelExport.h>
#include <infra/oss/kelOutputStream.h>

namespace nx::util {
class ExtendedProperties;
}

namespace nx::oss {

/// An output stream over an array of fixed size that belongs to the caller and must outlive the
/// stream. No terminator is written. A copy of the stream writes to the same array, with a count of
/// its own.
///
/// Thread-safety: not synchronised.
class KELINFRA_EXPORT ByteArrayOutputStream : public OutputStream {
  public:
    /// Writes go to the `size` characters at `buffer`, which may be null when `size` is 0.
    ByteArrayOutputStream(char* buffer, unsigned long size);
    ~ByteArrayOutputStream() override;

    using OutputStream::write;

    /// Appends one character. Throws IOException "ERR_BUFFER_SIZE_TOO_SMALL" (size of the array,
    /// shown modulo 2^32 as a signed number), file "kelByteArrayOutputStream.cpp", line 47, when
    /// the array is full; nothing is changed then.
    void write(char c) override;

    /// Characters written so far.
    unsigned long getCount() const;

  private:
    // For a set that is stored: its characters are put down without a call for each.
    friend class util::ExtendedProperties;
    /// Where the next characters go if `count` have room, else null.
    KELINFRA_INTERNAL char* roomFor(unsigned long count);
    /// Counts those up to `end`, which were put down where roomFor() said.
    KELINFRA_INTERNAL void wroteUpTo(const char* end);

    char* buffer_;
    unsigned long size_;
    unsigned long count_ = 0;
};

}  // namespace nx::oss
