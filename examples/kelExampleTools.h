#pragma once

#include <getopt.h>
#include <unicode/uchar.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <system_error>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelUTF8String.h>

/// What the example programs share: options, and failures shown to a person.
namespace example {

constexpr int EXIT_WRONG_USAGE = 2;

/// The largest length that the four bytes before an item can hold.
constexpr unsigned long LARGEST_ITEM = 0xFFFFFFFF;

/// The text with '?' for every control character, in UTF-8: one line that no terminal obeys.
inline std::string printable(icu::UnicodeString text) {
    for (int i = 0; i < text.length(); ++i) {
        if (u_iscntrl(text.charAt(i))) {
            text.setCharAt(i, u'?');
        }
    }
    return nx::oss::UTF8String(text).getString();
}

/// The text of the record that names the failure.
inline std::string describe(const nx::oss::BaseException& failure) {
    icu::UnicodeString text;
    return printable(failure.messages.getFirstMessage().toString(text));
}

/// Whether the failure is the one with that identifier.
inline bool isFailure(const nx::oss::BaseException& failure, const char* identifier) {
    return failure.messages.getFirstMessage().getMessageID() == identifier;
}

/// Writes one line at once, so that lines of several threads do not mix.
inline void complain(const std::string& text) {
    std::cerr << (std::string(program_invocation_short_name) + ": " + text + "\n") << std::flush;
}

/// Ends the program for an option or argument that makes no sense.
[[noreturn]] inline void refuseUsage(const std::string& text) {
    complain(text);
    std::cerr << "Try '" << program_invocation_short_name << " --help'.\n";
    std::exit(EXIT_WRONG_USAGE);
}

/// The number that `text` holds, digits only; any other text ends the program.
inline unsigned long requireNumber(const char* what, const char* text, unsigned long maximum) {
    unsigned long value = 0;
    const char* const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, value);
    if (error != std::errc() || stop != end || value > maximum) {
        refuseUsage(std::string(what) + " must be a number from 0 to " + std::to_string(maximum) +
                    ", not '" + text + "'");
    }
    return value;
}

/// One line for each part of the build that the program runs with.
inline void printVersion() {
    const nx::oss::BuildVersion build;
    std::cout << program_invocation_short_name << ", product version "
              << printable(build.getProductVersion()) << "\n"
              << "protocol version " << printable(build.getProtocolVersion()) << "\n"
              << "build number " << printable(build.getBuildNumberString()) << "\n";
}

/// Ends a program whose first argument is --version after it has printed its version. For programs
/// that have no other options.
inline void answerVersionOption(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--version") == 0) {
        printVersion();
        std::exit(EXIT_SUCCESS);
    }
}

/// Runs a part of a program: a failure is reported and makes the exit status `failureStatus`.
template <class Body>
int runProgram(Body body, int failureStatus = EXIT_FAILURE) {
    try {
        body();
        return EXIT_SUCCESS;
    } catch (const nx::oss::BaseException& failure) {
        complain(describe(failure));
    } catch (const std::exception& failure) {
        complain(failure.what());
    }
    return failureStatus;
}

}  // namespace example
