#pragma once

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A sink of characters. Derived classes supply the one-character write; the others are built on
/// it.
///
/// Destruction neither flushes nor closes. What the one-character write throws passes through the
/// others; the characters before it are written. Thread-safety: not synchronised.
class KELINFRA_EXPORT OutputStream {
  public:
    virtual ~OutputStream();

    /// Calls flush(), that of the derived class.
    virtual void close();

    /// Does nothing here.
    virtual void flush();

    /// Writes `length` characters.
    ///
    /// Careful: not what it looks like. The place `buffer + offset` of the first call in the whole
    /// process, by any stream and thread, is kept; every call writes `length` characters from there
    /// and ignores its own `buffer` and `offset`. That first array must outlive all later calls. To
    /// write different arrays, call write(char) or write(const char*).
    virtual void write(const char* buffer, unsigned long offset, unsigned long length);

    /// Writes the characters of NUL-terminated `text`, the terminator excluded. Null writes
    /// nothing.
    virtual void write(const char* text);

    /// Writes one character.
    virtual void write(char c) = 0;
};

}  // namespace nx::oss
