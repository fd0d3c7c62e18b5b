#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

namespace tools {

/// An escape that does not stand for what its writer will have meant.
struct OddEscape {
    enum Kind {
        NO_DIGITS,     ///< \u without four hexadecimal digits
        NO_CHARACTER,  ///< \u with the number of a surrogate or a noncharacter
        AT_END,        ///< \uXXXX, right, but nothing follows it
        UNKNOWN,       ///< a letter or digit that is no escape: the backslash is lost
        NOTHING        ///< a backslash as the last byte
    };
    Kind kind;
    unsigned long line;
    std::string text;  ///< as it stands in the file
};

/// What one logical line of a properties text is, and where. Positions are byte offsets.
struct ScannedLine {
    enum Kind { BLANK, COMMENT, PAIR, UNENDED_COMMENT };
    Kind kind = BLANK;
    std::size_t begin = 0;
    std::size_t end = 0;       ///< behind the line end
    unsigned long number = 0;  ///< of the physical line in which key or comment stand, from 1
    std::size_t keyBegin = 0;
    std::size_t valueBegin = 0;
    std::size_t valueEnd = 0;  ///< at the line end
    icu::UnicodeString key;
    icu::UnicodeString value;
    std::vector<OddEscape> oddEscapes;
};

/// Walks over the logical lines of a text, as ExtendedProperties::loadLine() reads them.
class PropertyScan {
  public:
    explicit PropertyScan(std::string_view text) : text_(text) {}

    /// The next line; false when nothing is left.
    bool next(ScannedLine& line);

  private:
    enum class Part { KEY, VALUE };

    void scanComment(ScannedLine& line);
    void scanPair(ScannedLine& line);
    icu::UnicodeString scanPart(Part part, ScannedLine& line);
    void noteOddEscape(std::size_t behindBackslash, ScannedLine& line);
    unsigned long lineNumberAt(std::size_t pos);

    std::string_view text_;
    std::size_t pos_ = 0;
    std::size_t countedTo_ = 0;
    unsigned long lineEnds_ = 0;
};

/// All lines of the text.
std::vector<ScannedLine> scanProperties(std::string_view text);

}  // namespace tools
