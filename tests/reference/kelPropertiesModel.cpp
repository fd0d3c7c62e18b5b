#include "reference/kelPropertiesModel.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace nx::test {

namespace {

using Text = PropertiesModel::Text;

/// Reads a text byte by byte.
class Reader {
  public:
    explicit Reader(const std::string& bytes) : bytes_(bytes) {}

    /// False when nothing was left. `found` tells whether there is a pair.
    bool line(bool& found, std::pair<Text, Text>& pair) {
        found = false;
        if (atEnd()) {
            return false;
        }
        whiteSpace();
        if (atEnd()) {
            return false;
        }
        if (isLineEnd()) {
            newLine();
            return true;
        }
        if (byte() == '!' || byte() == '#') {
            while (!atEnd() && !isLineEnd()) {
                ++pos_;
            }
            if (!atEnd()) {
                newLine();
                return true;
            }
        }
        pair.first = key();
        assignment();
        pair.second = value();
        found = true;
        return true;
    }

  private:
    bool atEnd() const { return pos_ >= bytes_.size(); }
    char byte() const { return bytes_[pos_]; }
    bool isLineEnd() const { return !atEnd() && (byte() == '\r' || byte() == '\n'); }
    bool isBlank() const { return !atEnd() && (byte() == ' ' || byte() == '\t'); }
    bool isBeforeLineEnd() const {
        return pos_ + 1 < bytes_.size() && (bytes_[pos_ + 1] == '\r' || bytes_[pos_ + 1] == '\n');
    }
    char16_t unit() { return static_cast<unsigned char>(bytes_[pos_++]); }

    void newLine() {
        const bool isReturn = byte() == '\r';
        ++pos_;
        if (isReturn && !atEnd() && byte() == '\n') {
            ++pos_;
        }
    }

    void whiteSpace() {
        while (!atEnd()) {
            if (isBlank()) {
                ++pos_;
            } else if (byte() == '\\' && isBeforeLineEnd()) {
                ++pos_;
                newLine();
            } else {
                return;
            }
        }
    }

    void assignment() {
        whiteSpace();
        if (!atEnd() && (byte() == ':' || byte() == '=')) {
            ++pos_;
            whiteSpace();
        }
    }

    Text key() {
        Text key;
        while (!atEnd() && !isLineEnd() && !isBlank() && byte() != ':' && byte() != '=') {
            character(key);
        }
        return key;
    }

    Text value() {
        Text value;
        while (!atEnd()) {
            if (isLineEnd()) {
                newLine();
                break;
            }
            character(value);
        }
        return value;
    }

    void character(Text& out) {
        if (byte() != '\\') {
            out += unit();
            return;
        }
        ++pos_;
        escape(out);
    }

    void escape(Text& out) {
        if (atEnd()) {
            return;
        }
        if (isLineEnd()) {
            newLine();
            whiteSpace();
            return;
        }
        const char16_t letter = unit();
        switch (letter) {
            case u'n':
                out += u'\n';
                break;
            case u'r':
                out += u'\r';
                break;
            case u't':
                out += u'\t';
                break;
            case u'u':
                out += fourDigits();
                break;
            default:
                out += letter;
        }
    }

    /// The unit that four digits name, or the letter itself and no digit used.
    char16_t fourDigits() {
        const std::size_t letter = pos_ - 1;
        if (bytes_.size() <= letter + 5) {
            return u'u';
        }
        static const std::string DIGITS = "0123456789abcdef0123456789ABCDEF";
        std::size_t number = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const std::size_t digit = DIGITS.find(bytes_[pos_ + i]);
            if (digit == std::string::npos) {
                return u'u';
            }
            number = number * 16 + digit % 16;
        }
        if ((number >= 0xD800 && number <= 0xDFFF) || (number >= 0xFDD0 && number <= 0xFDEF) ||
            number == 0xFFFE || number == 0xFFFF) {
            return u'u';
        }
        pos_ += 4;
        return static_cast<char16_t>(number);
    }

    std::string bytes_;
    std::size_t pos_ = 0;
};

constexpr std::size_t LONGEST_VALUE = 20'000;

bool isLead(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isTrail(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The code point that the unit at `i` belongs to.
unsigned codePointAt(const Text& text, std::size_t i) {
    std::size_t lead = i;
    if (isTrail(text[i]) && i > 0 && isLead(text[i - 1])) {
        lead = i - 1;
    }
    if (isLead(text[lead]) && lead + 1 < text.size() && isTrail(text[lead + 1])) {
        return 0x10000u + ((text[lead] - 0xD800u) << 10) + (text[lead + 1] - 0xDC00u);
    }
    return text[i];
}

std::string specialForm(char c) {
    switch (c) {
        case '\r':
            return "\\r";
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        case '!':
        case '#':
        case '\\':
        case ':':
        case '=':
            return std::string("\\") + c;
        default:
            return {};
    }
}

std::string formOf(unsigned codePoint, bool escapeBlank, bool escapeSpecial) {
    if (codePoint > 127) {
        char form[7];
        std::snprintf(form, sizeof form, "\\u%04X", codePoint & 0xFFFFu);
        return form;
    }
    const char c = static_cast<char>(codePoint);
    const std::string special = escapeSpecial ? specialForm(c) : std::string();
    if (!special.empty()) {
        return special;
    }
    return escapeBlank && c == ' ' ? "\\ " : std::string(1, c);
}

}  // namespace

std::vector<std::pair<Text, Text>> PropertiesModel::read(const std::string& bytes) {
    std::vector<std::pair<Text, Text>> pairs;
    Reader reader(bytes);
    bool found = false;
    std::pair<Text, Text> pair;
    while (reader.line(found, pair)) {
        if (found) {
            pairs.push_back(pair);
        }
    }
    return pairs;
}

void PropertiesModel::load(const std::string& bytes) {
    for (const auto& [key, value] : read(bytes)) {
        pairs.erase(key);
        pairs.emplace(key, value);
    }
}

PropertiesModel::Failure PropertiesModel::resolveAll() {
    std::list<Text> inProgress;
    for (auto& [key, value] : pairs) {
        Failure failure = resolve(inProgress, key, value);
        if (!failure.identifier.empty()) {
            return failure;
        }
    }
    return {};
}

PropertiesModel::Failure PropertiesModel::resolve(std::list<Text>& inProgress, const Text& name,
                                                  Text& value) {
    if (std::find(inProgress.begin(), inProgress.end(), name) != inProgress.end()) {
        return {"ERR_PROPERTIES_CYCLIC_REFERENCE", {name}};
    }
    inProgress.push_back(name);
    while (true) {
        const std::size_t first = value.find(u'%', 0);
        const std::size_t second = first == Text::npos ? Text::npos : value.find(u'%', first + 1);
        if (second == Text::npos) {
            inProgress.pop_back();
            return {};
        }
        const Text reference = value.substr(first + 1, second - first - 1);
        const auto found = pairs.find(reference);
        if (found == pairs.end()) {
            return {"ERR_PROPERTIES_BAD_REFERENCE", {name, reference}};
        }
        Failure failure = resolve(inProgress, reference, found->second);
        if (!failure.identifier.empty()) {
            return failure;
        }
        value.replace(first, second - first + 1, found->second);
        if (value.size() > LONGEST_VALUE) {
            throw TooLong();
        }
    }
}

std::string PropertiesModel::store() const {
    std::string out = "#saved by ExtendedProperties on \r\n";
    for (const Text& name : includes) {
        out += written(u"#include " + name, false, false) + "\r\n";
    }
    for (const auto& [key, value] : pairs) {
        out += written(key, true, true) + "=" + written(value, false, true) + "\r\n";
    }
    return out;
}

std::string PropertiesModel::written(const Text& text, bool escapeBlank, bool escapeSpecial) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        out += formOf(codePointAt(text, i), escapeBlank, escapeSpecial);
    }
    return out;
}

}  // namespace nx::test
