#pragma once

#include <string>

#include <unicode/unistr.h>

namespace nx::test {

/// One conversion as ICU's own string class carries it out, and the comparison with what the
/// converter does: result, bytes written and not written, error with all arguments.
///
/// Equal code-page names mean a copy of the bytes, which ICU does not know; that rule is built in.
class ConverterOracle {
  public:
    ConverterOracle(icu::UnicodeString text, const char* toCodePage);
    ConverterOracle(std::string bytes, const char* fromCodePage, const char* toCodePage);

    /// Bytes that the conversion yields, terminator not counted.
    int size() const { return static_cast<int>(converted_.size()); }

    // Each returns an empty text when the converter does what it must, else what differs.
    std::string checkSizeQuery(bool nullTerminate) const;
    std::string checkConversion(bool nullTerminate, int capacity) const;
    /// The size query, then every capacity of interest around the exact fit, in both forms.
    std::string checkAll() const;

  private:
    struct Outcome;

    bool sourceIsEmpty() const;
    Outcome expected(bool nullTerminate) const;
    Outcome expected(bool nullTerminate, int capacity) const;
    Outcome run(bool nullTerminate, char* dest, int capacity) const;
    int convert(bool nullTerminate, char* dest, int capacity) const;
    std::string describe(bool nullTerminate, int capacity) const;

    bool fromBytes_;
    icu::UnicodeString text_;
    std::string bytes_;
    const char* fromCodePage_;
    const char* toCodePage_;
    std::string converted_;
};

}  // namespace nx::test
