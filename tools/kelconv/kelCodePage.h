#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

namespace tools {

/// A code page as the library's converter knows it. All conversion goes through UTF-16, so that a
/// code page converts to itself like to any other: malformed bytes do not pass.
class CodePage {
  public:
    /// Throws UsageError for a name that the library does not know.
    explicit CodePage(std::string name);

    const std::string& name() const { return name_; }

    /// The text of the bytes; malformed ones become what the converter puts for them.
    icu::UnicodeString decode(std::string_view bytes) const;
    /// The bytes of the text, with whatever the converter puts in front and behind.
    std::string encode(const icu::UnicodeString& text) const;

    /// Whether what bytes mean may depend on those before them, beside a mark at the very start.
    bool hasState() const;

  private:
    std::string name_;
};

/// The names of all code pages that the library knows, each with its other names.
struct CodePageNames {
    std::string name;
    std::vector<std::string> others;
};
std::vector<CodePageNames> listCodePages();

}  // namespace tools
