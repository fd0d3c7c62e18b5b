#pragma once

#include <infra/oss/kelExport.h>
#include <infra/oss/kelOutputStream.h>

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
    char* buffer_;
    unsigned long size_;
    unsigned long count_ = 0;
};

}  // namespace nx::oss
