#pragma once

#include <cstddef>

namespace nx::test {

/// What is to be seen of each error of kelLibraryErrors.h, in its order, by every handler.
struct ExpectedError {
    const char* name;
    const char* seen;
    const char* what;
};

constexpr ExpectedError EXPECTED_ERRORS[] = {
    {"IOException", "IOException ERR_BUFFER_SIZE_TOO_SMALL", "IOException"},
    {"NLSException", "NLSException ERR_MSGLIST_EMPTY", "NLSException"},
    {"SocketException", "oss::SocketException ERR_SOCKET_NOT_CONNECTED", "oss::SocketException"},
    {"Base64Exception", "Base64Exception ERR_BASE64_INVALID_DATA", "Base64Exception"},
    {"PropertiesException", "PropertiesException ERR_PROPERTY_MISSING", "PropertiesException"},
};
constexpr std::size_t ERROR_COUNT = sizeof EXPECTED_ERRORS / sizeof EXPECTED_ERRORS[0];

constexpr const char* HANDLER_NAMES[] = {"OwnClass", "BaseException", "StdException",
                                         "OwnClassAfterRethrow", "ExceptionPointer"};

}  // namespace nx::test
