#include <infra/oss/kelPrintStream.h>

#include <iostream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

/// What the statement writes to the standard error stream.
template <class Statement>
std::string printed(const Statement& statement) {
    testing::internal::CaptureStderr();
    statement();
    return testing::internal::GetCapturedStderr();
}

TEST(PrintStream, IsOneInstanceThatTheGlobalPointerPointsTo) {
    EXPECT_EQ(PrintStream::getPrintStream(), &PrintStream::printStream);
    EXPECT_EQ(ossOut, &PrintStream::printStream);
    EXPECT_TRUE(std::has_virtual_destructor_v<PrintStream>);
}

// Asked by a static initialiser, which may run before those of the library.
const bool USABLE_EARLY =
    ossOut == PrintStream::getPrintStream() && &(*ossOut << "") == &PrintStream::printStream;

TEST(PrintStream, IsUsableInStaticInitialisers) { EXPECT_TRUE(USABLE_EARLY); }

TEST(PrintStream, PrintsEveryTypeWithTheStandardOperator) {
    const std::string text = printed([] {
        *ossOut << icu::UnicodeString(u"\u00E9") << "|" << 'c' << "|" << 1.5 << "|" << 0.25F << "|"
                << 18446744073709551615UL << "|" << 4294967295U << "|"
                << static_cast<unsigned short>(65535) << "|" << -9223372036854775807L << "|"
                << -2147483647 << "|" << static_cast<short>(-32768);
    });
    EXPECT_EQ(text,
              "\xC3\xA9|c|1.5|0.25|18446744073709551615|4294967295|65535|-9223372036854775807|"
              "-2147483647|-32768");
}

TEST(PrintStream, PrintsSmallCharactersAsCharacters) {
    EXPECT_EQ(
        printed([] { *ossOut << static_cast<unsigned char>(65) << static_cast<signed char>(66); }),
        "AB");
}

TEST(PrintStream, PrintsNothingForANullTextAndStaysUsable) {
    EXPECT_EQ(printed([] { *ossOut << static_cast<const char*>(nullptr) << "after"; }), "after");
    EXPECT_TRUE(std::cerr.good());
}

TEST(PrintStream, CutsUnicodeTextAtAZeroCharacter) {
    EXPECT_EQ(printed([] { *ossOut << icu::UnicodeString(u"ab\0cd", 5); }), "ab");
}

TEST(PrintStream, ReturnsItself) {
    std::string text = printed([] {
        PrintStream& same = *ossOut << 1;
        EXPECT_EQ(&same, ossOut);
    });
    EXPECT_EQ(text, "1");
}

// --- The whole life of the process --------------------------------------------------------------

// Prints while static objects are made, and while they and the exit handlers end.
struct Printer {
    Printer() { *ossOut << "initialiser "; }
    ~Printer() { *ossOut << "destructor"; }
};

[[noreturn]] void printThroughout() {
    static Printer printer;
    std::atexit([] { *ossOut << "handler "; });
    std::exit(0);
}

TEST(PrintStreamDeathTest, PrintsUntilTheProcessHasEnded) {
    EXPECT_EXIT(printThroughout(), testing::ExitedWithCode(0), "initialiser handler destructor");
}

}  // namespace
}  // namespace nx::oss
