#pragma once

#include <unicode/unistr.h>

namespace nx::oss::detail {

/// Raises the errors that the socket classes share, each as a SocketException that names one source
/// file, the calling line, and the host and port as arguments. A null host leaves both arguments
/// out.
class SocketErrors {
  public:
    constexpr explicit SocketErrors(const char* fileName) : fileName_(fileName) {}

    /// Arguments: host, port.
    [[noreturn]] void raise(const char* identifier, const icu::UnicodeString* host,
                            unsigned long port, unsigned long line = __builtin_LINE()) const;

    /// A system call failed: the identifier follows from errno, whose value the caller passes as
    /// read right after the call.
    [[noreturn]] void raiseSystemError(long errorNumber, const icu::UnicodeString* host,
                                       unsigned long port,
                                       unsigned long line = __builtin_LINE()) const;

    /// Name resolution failed. Arguments: host, port, the resolver's code and its text.
    [[noreturn]] void raiseResolverError(int code, const icu::UnicodeString& host,
                                         unsigned long port,
                                         unsigned long line = __builtin_LINE()) const;

  private:
    const char* fileName_;
};

}  // namespace nx::oss::detail
