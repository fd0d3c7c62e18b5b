#pragma once

#include <cstddef>

namespace nx::test {

/// Errors that real operations of the library raise, one of each class, and what handlers see of
/// them. Compiled into the program that is linked to the library and into the plug-in of one that
/// is not.

/// The handlers that an error can meet.
enum Handler : int { OWN_CLASS, BASE_EXCEPTION, STD_EXCEPTION, OWN_CLASS_AFTER_RETHROW, POINTER };
constexpr int HANDLERS = 5;

std::size_t countLibraryErrors();
/// Lets an operation of the library raise the error.
void raiseLibraryError(std::size_t error);
/// What the handler catches: the name that the exception gives itself and the identifier of its
/// first record. Valid until the next call.
const char* seenByHandler(std::size_t error, int handler);

}  // namespace nx::test
