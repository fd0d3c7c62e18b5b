#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// Prints to the standard error stream with the standard formatted output of each type.
///
/// There is one instance, usable before and after every static object of the program; it is never
/// destroyed. Reach it through getPrintStream() or ossOut:
///
///     *nx::oss::ossOut << "connected to " << host << '\n';
///
/// Manipulators of the standard error stream, std::hex say, change what is printed here.
///
/// Careful: unsigned char and signed char print as characters, as std::ostream prints them.
///
/// Thread-safety: as std::cerr; concurrent output may interleave, even within one line.
class KELINFRA_EXPORT PrintStream {
  public:
    constexpr PrintStream() = default;
    virtual ~PrintStream();

    /// The address of printStream, never null.
    static PrintStream* getPrintStream();

    /// Converted to the default code page, UTF-8. Careful: a U+0000 in the text, and a lone lead
    /// surrogate at its end, may cut it short.
    PrintStream& operator<<(const icu::UnicodeString& value);
    /// Null prints nothing.
    PrintStream& operator<<(const char* value);
    /// Prints the value as std::ostream does.
    PrintStream& operator<<(char value);
    PrintStream& operator<<(double value);
    PrintStream& operator<<(float value);
    PrintStream& operator<<(unsigned long value);
    PrintStream& operator<<(unsigned int value);
    PrintStream& operator<<(unsigned short value);
    PrintStream& operator<<(unsigned char value);
    PrintStream& operator<<(long value);
    PrintStream& operator<<(int value);
    PrintStream& operator<<(short value);
    PrintStream& operator<<(signed char value);

    /// The one instance.
    static PrintStream& printStream;
};

/// PrintStream::getPrintStream().
KELINFRA_EXPORT extern PrintStream* ossOut;

}  // namespace nx::oss
