#pragma once

#include <exception>

#include <infra/oss/kelExport.h>
#include <infra/oss/kelMessageList.h>

namespace nx::oss {

/// Root of all exceptions of the library.
///
/// The class tells the family of a failure, its message list tells the details: the first record
/// names the error with a symbolic identifier, the raising file and line, and its arguments. A
/// caught exception normally holds exactly one record.
///
///     try {
///         socket.connect(host, port, &timeoutMs);
///     } catch (const nx::oss::BaseException& e) {
///         icu::UnicodeString text;
///         e.messages.getFirstMessage().toString(text);
///         ...
///     }
///
/// Thrown by value; a copy owns copies of all records. All members are safe to call on distinct
/// objects from any threads; one object belongs to one thread at a time.
class KELINFRA_EXPORT BaseException : public std::exception {
  public:
    /// An exception without records.
    BaseException();
    /// Copies all records in their order.
    BaseException(const BaseException& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    BaseException& operator=(const BaseException& other);
    ~BaseException() noexcept override;

    /// The class name, same as name(). Never the message text: that is in `messages`.
    const char* what() const noexcept override;

    /// The class name as a literal, "oss::BaseException" here.
    virtual const char* name() const;

    /// The diagnostic records, the first of which names the error. Owned.
    MessageList messages;
};

}  // namespace nx::oss
