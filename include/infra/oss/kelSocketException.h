#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A failure of a socket, a server socket or name resolution.
///
/// Identifiers for failed system calls, by errno:
///
/// | errno        | identifier                            |
/// |--------------|---------------------------------------|
/// | EPIPE        | "NX_ERR_SOCKET_BROKEN_PIPE"           |
/// | EADDRINUSE   | "NX_ERR_SOCKET_ADDRESS_IN_USE"        |
/// | ECONNRESET   | "NX_ERR_SOCKET_CONNECTION_RESET"      |
/// | ENOTCONN     | "NX_ERR_SOCKET_NOT_CONNECTED"         |
/// | ESHUTDOWN    | "NX_ERR_SOCKET_SHUTDOWN"              |
/// | ETIMEDOUT    | "NX_ERR_SOCKET_TIMEOUT"               |
/// | ECONNREFUSED | "NX_ERR_SOCKET_CONNECTION_REFUSED"    |
/// | any other    | "NX_ERR_SOCKET_ERROR"                 |
///
/// The first seven carry the arguments host and port, the last one errno, host and port. "Mapped
/// error" in the descriptions of Socket and SocketServer means this table.
///
/// See BaseException for how to read it.
class KELINFRA_EXPORT SocketException : public BaseException {
  public:
    /// An exception without records.
    SocketException();

    /// One record with the given identifier, file and line, all NUL-terminated. When `host` is not
    /// null the arguments are the host name and the port (shown modulo 2^32 as a signed number, as
    /// all numbers in messages are). Nothing is kept of the pointers.
    SocketException(const char* identifier, const char* fileName, unsigned long line,
                    const icu::UnicodeString* host, unsigned long port);

    /// One record for a failed system call, with the identifier that the table above gives for
    /// `errorNumber`. Arguments: `errorNumber` for an errno that the table does not name, then,
    /// when `host` is not null, host name and port.
    SocketException(const char* fileName, unsigned long line, const icu::UnicodeString* host,
                    unsigned long port, long errorNumber);

    /// Copies all records in their order.
    SocketException(const SocketException& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    SocketException& operator=(const SocketException& other);
    ~SocketException() noexcept override;

    /// "oss::SocketException".
    const char* name() const override;
};

}  // namespace nx::oss
