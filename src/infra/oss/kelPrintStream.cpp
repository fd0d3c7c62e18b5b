#include <infra/oss/kelPrintStream.h>

#include <iostream>

#include <unicode/ustream.h>

namespace nx::oss {

namespace {

/// Storage whose destructor leaves the stream alone: static objects of the program may print while
/// the program ends.
union Immortal {
    constexpr Immortal() : stream() {}
    ~Immortal() {}  // NOLINT(modernize-use-equals-default): that one would be deleted

    PrintStream stream;
};

Immortal immortal;

template <class Value>
PrintStream& print(PrintStream& stream, Value value) {
    std::cerr << value;
    return stream;
}

}  // namespace

// Both are initialised with addresses, before any static initialiser runs.
PrintStream& PrintStream::printStream = immortal.stream;
PrintStream* ossOut = &immortal.stream;

PrintStream::~PrintStream() = default;

PrintStream* PrintStream::getPrintStream() { return &printStream; }

PrintStream& PrintStream::operator<<(const icu::UnicodeString& value) {
    std::cerr << value;
    return *this;
}

PrintStream& PrintStream::operator<<(const char* value) {
    // A null pointer would put std::cerr into its failed state for good.
    return value == nullptr ? *this : print(*this, value);
}

PrintStream& PrintStream::operator<<(char value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(double value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(float value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(unsigned long value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(unsigned int value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(unsigned short value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(unsigned char value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(long value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(int value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(short value) { return print(*this, value); }
PrintStream& PrintStream::operator<<(signed char value) { return print(*this, value); }

}  // namespace nx::oss
