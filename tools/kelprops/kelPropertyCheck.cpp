#include "kelprops/kelPropertyCheck.h"

#include <map>
#include <utility>

#include "common/kelReport.h"
#include "kelprops/kelPropertyFile.h"
#include "kelprops/kelPropertyScan.h"
#include "kelprops/kelReferences.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;
constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";

using Places = std::map<icu::UnicodeString, unsigned long>;

/// What is wrong with an escape, and what to do.
std::string explain(const OddEscape& escape) {
    const std::string shown = "'" + printable(escape.text) + "'";
    switch (escape.kind) {
        case OddEscape::NO_DIGITS:
            return shown +
                   " has not four hexadecimal digits, so it reads as the letters that "
                   "stand there; write \\u and four digits, or \\\\u for a backslash";
        case OddEscape::NO_CHARACTER:
            return shown +
                   " is no character (a surrogate or a noncharacter), so it reads as the "
                   "letters that stand there; characters above U+FFFF cannot be written";
        case OddEscape::AT_END:
            return shown +
                   " ends the file, so it reads as the letters that stand there; end the "
                   "last line";
        case OddEscape::NOTHING:
            return "the backslash that ends the file is lost; take it away, or write \\\\";
        default:
            return shown + " is no escape: the backslash is lost; write \\\\ for a backslash";
    }
}

/// Looks at the lines of one file.
class PropertyChecker {
  public:
    PropertyChecker(std::string_view text, const Definitions& definitions)
        : text_(text), definitions_(definitions) {}

    PropertyReport check() {
        checkEncoding();
        for (PropertyScan scan(text_); scan.next(line_);) {
            checkLine();
        }
        checkReferences();
        PropertyReport report;
        report.properties = places_.size();
        for (auto& entry : problems_) {
            report.problems.push_back(std::move(entry.second));
        }
        return report;
    }

  private:
    void add(unsigned long line, const icu::UnicodeString& key, const std::string& text) {
        problems_.emplace(line, PropertyProblem{line, key, text});
    }

    /// Marks of other encodings at the start of the file.
    void checkEncoding() {
        const std::string_view start = text_.substr(0, 3);
        if (start == UTF8_MARK) {
            add(1, icu::UnicodeString(),
                "the file begins with a byte order mark of UTF-8, which becomes part of the first "
                "key; take it away");
        } else if (start.substr(0, 2) == "\xFF\xFE" || start.substr(0, 2) == "\xFE\xFF") {
            add(1, icu::UnicodeString(),
                "the file is in UTF-16, but it is read as ISO-8859-1; convert it: kelconv --from "
                "UTF-16 --to ISO-8859-1");
        }
    }

    void checkLine() {
        if (line_.kind == ScannedLine::UNENDED_COMMENT) {
            add(line_.number, line_.key,
                "the comment ends the file without a line end, so it yields a property with empty "
                "key and value; end the line");
        }
        if (line_.kind == ScannedLine::PAIR) {
            checkUtf8();
            checkStore(line_.value, line_.number, "the value");
        }
        for (const OddEscape& escape : line_.oddEscapes) {
            add(escape.line, line_.key, explain(escape));
        }
        if (line_.kind == ScannedLine::PAIR || line_.kind == ScannedLine::UNENDED_COMMENT) {
            checkRepetition();
        }
    }

    void checkRepetition() {
        const auto [place, isNew] = places_.insert({line_.key, line_.number});
        if (!isNew) {
            add(line_.number, line_.key,
                "the key is there already, in line " + std::to_string(place->second) +
                    ", which has no effect; take one of them away");
            place->second = line_.number;
        }
    }

    /// Bytes above 127 that make up characters of UTF-8. Reports the first one of a line.
    void checkUtf8() {
        const bool hasMark = line_.begin == 0 && text_.substr(0, 3) == UTF8_MARK;
        const icu::UnicodeString text = icu::UnicodeString::fromUTF8(
            std::string(text_.substr(line_.keyBegin, line_.valueEnd - line_.keyBegin)));
        if (hasMark || text.indexOf(char16_t{0xFFFD}) >= 0) {
            return;
        }
        for (int i = 0; i < text.length(); ++i) {
            if (text.charAt(i) > 0x7F) {
                addUtf8(icu::UnicodeString(text.char32At(i)));
                return;
            }
        }
    }

    void addUtf8(const icu::UnicodeString& character) {
        const bool isInReach = survivesWriting(line_.key, character);
        add(line_.number, line_.key,
            "'" + printable(character) +
                "' is written in UTF-8, but the file is read as ISO-8859-1, so it becomes several "
                "characters; " +
                (isInReach ? "write " + writtenText(character, /*isKey=*/false)
                           : "the format has no place for characters above U+FFFF"));
    }

    void checkStore(const icu::UnicodeString& value, unsigned long line, const std::string& what) {
        if (!survivesStore(line_.key, value)) {
            add(line, line_.key,
                what + " does not survive a store and a load" +
                    (value.startsWith(u" ", 1)
                         ? ": blanks at its start are lost; let the program add them"
                         : ""));
        }
    }

    void checkReferences() {
        ExtendedProperties properties;
        properties.load(text_.data(), text_.size());
        define(properties, definitions_);
        for (const BadReference& bad : resolveAll(properties)) {
            add(places_[bad.key], bad.key, bad.report + ": " + explainReference(bad));
        }
        checkExpanded(properties);
    }

    static std::string explainReference(const BadReference& bad) {
        if (bad.way.empty()) {
            return "there is no property '" + printable(bad.name) +
                   "' to put in; two % make a reference of the text between them";
        }
        std::string way;
        for (const icu::UnicodeString& name : bad.way) {
            way += printable(name) + " -> ";
        }
        return "the value needs itself: " + way + printable(bad.name);
    }

    /// Values that only what was put in for a reference has made unfit.
    void checkExpanded(const ExtendedProperties& expanded) {
        ExtendedProperties written;
        written.load(text_.data(), text_.size());
        for (const auto& [key, value] : expanded) {
            line_.key = key;
            if (written.hasProperty(key) && survivesStore(key, written.requireProperty(key))) {
                checkStore(value, places_[key], "the value, references expanded,");
            }
        }
    }

    std::string_view text_;
    const Definitions& definitions_;
    ScannedLine line_;
    Places places_;                                           // where each key stands last
    std::multimap<unsigned long, PropertyProblem> problems_;  // by their lines
};

}  // namespace

PropertyReport checkProperties(std::string_view text, const Definitions& definitions) {
    return PropertyChecker(text, definitions).check();
}

}  // namespace tools
