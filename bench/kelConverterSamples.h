#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nx::oss::bench {

/// Text of one script. Words are drawn by a generator with a fixed seed, so that every run sees the
/// same text and a branch predictor finds no short period in it.
enum class Script { ASCII, LATIN, CJK, EMOJI };

/// One row of the table: a text, and its form in the source and in the target code page.
struct Conversion {
    std::string name;
    /// A converter name, or null when the source is UTF-16 text.
    const char* from;
    const char* to;
    std::u16string text;
    /// The text in `from`; empty for UTF-16 text.
    std::string source;
    /// The text in `to`.
    std::string expected;

    bool fromText() const { return from == nullptr; }
    bool isTo(const char* codePage) const { return std::string(codePage) == to; }
    bool isFrom(const char* codePage) const {
        return from != nullptr && std::string(codePage) == from;
    }
    /// The bytes of the UTF-16 text.
    std::string textBytes() const;
    /// Bytes that a conversion reads.
    std::size_t sourceSize() const;
    /// `from`, or "UTF-16LE" for text, as iconv and GLib name what the text is held in.
    const char* bytesFrom() const { return fromText() ? "UTF-16LE" : from; }
    /// The bytes that bytesFrom() names.
    std::string bytes() const { return fromText() ? textBytes() : source; }
};

/// The first `characters` code units of an endless text.
std::u16string textOf(Script script, std::size_t characters);

/// The text in a code page of ICU.
std::string inCodePage(const std::u16string& text, const char* codePage);

/// All conversions that are measured.
const std::vector<Conversion>& conversions();

}  // namespace nx::oss::bench
