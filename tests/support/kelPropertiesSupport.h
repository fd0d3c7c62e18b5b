#pragma once

#include <list>
#include <string>
#include <utility>
#include <vector>

#include <infra/oss/kelOutputStream.h>
#include <infra/util/kelExtendedProperties.h>

namespace nx::test {

/// A code unit as four digits.
std::string hex4(unsigned unit);

/// A text for comparisons and messages: printable ASCII as it is, any other code unit as {XXXX},
/// ICU's bogus state as <null>.
std::string shown(const icu::UnicodeString& text);

using ShownPairs = std::vector<std::pair<std::string, std::string>>;
using ShownList = std::vector<std::string>;

/// All pairs in the order of iteration.
ShownPairs pairsOf(const util::ExtendedProperties& properties);
ShownList shownList(const std::list<icu::UnicodeString>& list);

/// The pairs of a text, references unresolved. The bytes stand in a block of exactly their size.
ShownPairs readPairs(const std::string& text);
void load(util::ExtendedProperties& properties, const std::string& text);

/// Keeps what is written and counts how.
class RecordingStream : public oss::OutputStream {
  public:
    void close() override { ++closed; }
    void flush() override {
        ++flushed;
        writtenBeforeFlush = written;
    }
    void write(const char*, unsigned long, unsigned long) override { ++blocks; }
    void write(const char* text) override {
        texts.emplace_back(text);
        written += text;
    }
    void write(char c) override {
        ++characters;
        written += c;
    }

    std::string written;
    std::string writtenBeforeFlush;
    std::vector<std::string> texts;
    int characters = 0;
    int blocks = 0;
    int flushed = 0;
    int closed = 0;
};

std::string stored(util::ExtendedProperties& properties);

}  // namespace nx::test
