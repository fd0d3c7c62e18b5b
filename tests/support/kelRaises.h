#pragma once

#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelBaseException.h>

namespace nx::test {

/// What an error must report: identifier, position, level and every argument in order.
///
///     EXPECT_RAISES(IOException, stream.write('d'),
///                   Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47)
///                       .with({"3"}));
///
/// Without with() there must be no argument at all; without at() or in() the file is not checked.
/// The level must be DEFAULT.
class Report {
  public:
    explicit Report(std::string identifier) : identifier_(std::move(identifier)) {}

    /// File and line are fixed.
    Report& at(std::string file, unsigned long line);
    /// The file is fixed, the line is whatever line raises: above 0.
    Report& in(std::string file);
    Report& with(std::vector<std::string> arguments);

    testing::AssertionResult matches(const oss::BaseException& exception) const;

  private:
    std::string identifier_;
    std::optional<std::string> file_;
    std::optional<unsigned long> line_;
    std::vector<std::string> arguments_;
};

/// UTF-8 of a text, "<null>" for ICU's bogus state.
std::string utf8(const icu::UnicodeString& text);

/// Runs the statement and checks that it throws exactly Exception, no class derived from it.
template <class Exception, class Statement>
testing::AssertionResult raises(const Statement& statement, const Report& report) {
    try {
        statement();
    } catch (const oss::BaseException& e) {
        if (typeid(e) != typeid(Exception)) {
            return testing::AssertionFailure() << "thrown class is " << typeid(e).name();
        }
        return report.matches(e);
    }
    return testing::AssertionFailure() << "nothing was thrown";
}

}  // namespace nx::test

#define EXPECT_RAISES(exception, statement, report) \
    EXPECT_TRUE((::nx::test::raises<exception>([&] { statement; }, report)))
