#pragma once

#include <string_view>
#include <type_traits>

#include <infra/oss/kelMessage.h>
#include <infra/oss/kelMessageList.h>

#include "infra/detail/kelErrorSite.h"

namespace nx::oss::detail {

/// Puts the record of `site` into an empty list and returns it.
Message& recordError(MessageList& messages, const ErrorSite& site);

/// Plain text as an argument: unlike the character forms of Message::addArgument it is never
/// dropped, so the number of arguments of an error does not depend on their values.
void addErrorArgument(Message& message, std::string_view text);
/// NUL-terminated; null counts as empty.
void addErrorArgument(Message& message, const char* text);
void addErrorArgument(Message& message, const icu::UnicodeString& text);

template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
void addErrorArgument(Message& message, Number number) {
    message.addArgument(number);
}

/// Builds an exception with one record: identifier, file and line of `site`, default level, and the
/// arguments in the order given.
template <class Exception, class... Arguments>
Exception makeException(const ErrorSite& site, const Arguments&... arguments) {
    Exception exception;
    [[maybe_unused]] Message& message = recordError(exception.messages, site);
    (addErrorArgument(message, arguments), ...);
    return exception;
}

/// The one way errors leave the library.
///
/// Why: building the exception as the operand of the throw expression spares a copy of the record
/// list for every error.
template <class Exception, class... Arguments>
[[noreturn, gnu::cold, gnu::noinline]] void raise(const ErrorSite& site,
                                                  const Arguments&... arguments) {
    throw makeException<Exception>(site, arguments...);
}

/// For exceptions that build their own record: throws Exception(arguments...).
template <class Exception, class... Arguments>
[[noreturn, gnu::cold, gnu::noinline]] void raiseBuilt(const Arguments&... arguments) {
    throw Exception(arguments...);
}

/// Memory is exhausted and whoever noticed it reports by a value. Throws std::bad_alloc.
[[noreturn]] void raiseBadAlloc();

}  // namespace nx::oss::detail
