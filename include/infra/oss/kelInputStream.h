#pragma once

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A source of characters. Derived classes supply the one-character read; block reads are built on
/// it.
///
/// Destruction does not close. Thread-safety: not synchronised.
class KELINFRA_EXPORT InputStream {
  public:
    virtual ~InputStream();

    /// Does nothing here.
    virtual void close();

    /// Reads up to `length` characters into `buffer + offset` and returns how many there were,
    /// fewer only at the end of the input. A `length` of 0 reads nothing, and `buffer` may be null
    /// then. Nothing is written behind the characters. What the one-character read throws passes
    /// through; the characters before it are in the buffer.
    virtual unsigned long read(char* buffer, unsigned long offset, unsigned long length);

    /// Reads one character into `*c` and returns 1; 0 at the end of the input. Block reads take any
    /// other result as 1, too.
    virtual unsigned long read(char* c) = 0;
};

}  // namespace nx::oss
