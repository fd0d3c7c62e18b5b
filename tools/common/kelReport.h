#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <unicode/unistr.h>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelMessage.h>

/// What the tools share: exit status, failures shown to a person, colours.
namespace tools {

/// How a tool ends. The numbers are documented in --help and in the manual pages.
enum ExitStatus : int {
    ALL_WELL = 0,       ///< done, nothing wrong
    PROBLEM_FOUND = 1,  ///< the input has a problem, or two inputs differ
    WRONG_USAGE = 2,    ///< the command line makes no sense
    FAILED = 3          ///< the work could not be done: no such file, no connection, a full disk
};

/// A command line that makes no sense. Ends the tool with WRONG_USAGE.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Work that could not be done. Ends the tool with FAILED.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A Failure "cannot DO THIS: REASON" with the reason of errno as it is now.
[[noreturn]] void failWithErrno(const std::string& what);

/// Characters that a terminal might obey, shown as escapes: one line of UTF-8.
std::string printable(const icu::UnicodeString& text);
/// The same for bytes that should be UTF-8.
std::string printable(std::string_view bytes);

/// UTF-16 from an argument of the command line. Throws UsageError when it is not UTF-8.
icu::UnicodeString textOfArgument(const std::string& argument);

/// The text form of the record, as the library gives it.
std::string describe(const nx::oss::Message& message);
/// The text form of the first record of the failure.
std::string describe(const nx::oss::BaseException& failure);
/// Whether the failure is the one with that identifier.
bool isFailure(const nx::oss::BaseException& failure, const char* identifier);

/// What a person may do about a failure of that identifier; empty when there is nothing to add.
std::string adviceFor(const nx::oss::BaseException& failure);

/// Writes "PROGRAM: TEXT" as one line to standard error, at once, so that lines of threads do not
/// mix.
void complain(const std::string& text);
/// The library's own text, and advice if there is some.
void complain(const nx::oss::BaseException& failure);

enum class Colour { RED, GREEN, YELLOW, BOLD, DIM };

/// Whether text for that descriptor may be coloured: a terminal that is not dumb, and no NO_COLOR.
bool isColourful(int descriptor);
/// `text` in that colour if standard output may be coloured, else as it is.
std::string paint(Colour colour, const std::string& text);

/// "1 item", "2 items".
std::string counted(unsigned long count, const std::string& one);

/// The number that the argument of `what` holds, digits only. Throws UsageError for any other text.
unsigned long parseNumber(const std::string& what, const std::string& text, unsigned long smallest,
                          unsigned long largest);

}  // namespace tools
