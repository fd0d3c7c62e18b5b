#include "kelprops/kelPropertyScan.h"

#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <optional>

#include <unicode/utf.h>

namespace tools {

namespace {

using nx::util::ExtendedProperties;

constexpr std::size_t DIGITS = 4;

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
bool isSpace(char c) { return c == ' ' || c == '\t'; }
bool isAssignment(char c) { return c == '=' || c == ':'; }
bool isComment(char c) { return c == '#' || c == '!'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

/// What is wrong with the escape of a number, of which `digits` and what follows them are given.
std::optional<OddEscape::Kind> judgeNumber(std::string_view digits, bool isFollowed) {
    if (digits.size() < DIGITS || !std::all_of(digits.begin(), digits.end(), isHexDigit)) {
        return OddEscape::NO_DIGITS;
    }
    const auto number = static_cast<UChar32>(std::stoul(std::string(digits), nullptr, 16));
    if (!U_IS_UNICODE_CHAR(number)) {
        return OddEscape::NO_CHARACTER;
    }
    return isFollowed ? std::nullopt : std::make_optional(OddEscape::AT_END);
}

/// What is wrong with the escape whose backslash `rest` stands behind.
std::optional<OddEscape::Kind> judgeEscape(std::string_view rest) {
    if (rest.empty()) {
        return OddEscape::NOTHING;
    }
    switch (rest[0]) {
        case ExtendedProperties::charN:
        case ExtendedProperties::charR:
        case ExtendedProperties::charT:
            return std::nullopt;
        case ExtendedProperties::charU:
            return judgeNumber(rest.substr(1, DIGITS), rest.size() > DIGITS + 1);
        default:
            return isLetter(rest[0]) || isDigit(rest[0]) ? std::make_optional(OddEscape::UNKNOWN)
                                                         : std::nullopt;
    }
}

/// The escape as it stands in the text, as far as its line goes.
std::string textOfEscape(OddEscape::Kind kind, std::string_view rest) {
    const std::size_t length =
        kind == OddEscape::UNKNOWN ? 1 : std::min(rest.find_first_of("\r\n"), DIGITS + 1);
    return "\\" + std::string(rest.substr(0, length));
}

}  // namespace

bool PropertyScan::next(ScannedLine& line) {
    const char* const data = text_.data();
    const std::size_t length = text_.size();
    line = ScannedLine();
    line.begin = pos_;
    if (pos_ < length) {
        ExtendedProperties::skipWhiteSpace(pos_, data, length);
    }
    if (pos_ >= length) {
        return false;
    }
    line.number = lineNumberAt(pos_);
    if (isLineEnd(data[pos_])) {
        ExtendedProperties::skipNewLine(pos_, data, length);
    } else if (isComment(data[pos_])) {
        scanComment(line);
    } else {
        scanPair(line);
    }
    line.end = pos_;
    return true;
}

void PropertyScan::scanComment(ScannedLine& line) {
    pos_ = std::min(text_.find_first_of("\r\n", pos_), text_.size());
    // Such a comment goes on as a line with nothing on it, which is a pair of empty texts.
    line.kind = pos_ == text_.size() ? ScannedLine::UNENDED_COMMENT : ScannedLine::COMMENT;
    ExtendedProperties::skipNewLine(pos_, text_.data(), text_.size());
}

void PropertyScan::scanPair(ScannedLine& line) {
    line.kind = ScannedLine::PAIR;
    line.keyBegin = pos_;
    line.key = scanPart(Part::KEY, line);
    ExtendedProperties::skipAssignOp(pos_, text_.data(), text_.size());
    line.valueBegin = pos_;
    line.value = scanPart(Part::VALUE, line);
    line.valueEnd = pos_;
    ExtendedProperties::skipNewLine(pos_, text_.data(), text_.size());
}

icu::UnicodeString PropertyScan::scanPart(Part part, ScannedLine& line) {
    icu::UnicodeString read;
    while (pos_ < text_.size()) {
        const char c = text_[pos_];
        if (isLineEnd(c) || (part == Part::KEY && (isSpace(c) || isAssignment(c)))) {
            break;
        }
        ++pos_;
        if (c == ExtendedProperties::charEscape) {
            noteOddEscape(pos_, line);
            ExtendedProperties::readEscaped(read, pos_, text_.data(), text_.size());
        } else {
            read.append(static_cast<char16_t>(static_cast<unsigned char>(c)));
        }
    }
    return read;
}

void PropertyScan::noteOddEscape(std::size_t behindBackslash, ScannedLine& line) {
    const std::string_view rest = text_.substr(behindBackslash);
    if (const std::optional<OddEscape::Kind> kind = judgeEscape(rest)) {
        line.oddEscapes.push_back(
            {*kind, lineNumberAt(behindBackslash - 1), textOfEscape(*kind, rest)});
    }
}

unsigned long PropertyScan::lineNumberAt(std::size_t pos) {
    for (; countedTo_ < pos; ++countedTo_) {
        const bool isFirstOfTwo = text_[countedTo_] == '\r' && countedTo_ + 1 < text_.size() &&
                                  text_[countedTo_ + 1] == '\n';
        lineEnds_ += isLineEnd(text_[countedTo_]) && !isFirstOfTwo ? 1 : 0;
    }
    return lineEnds_ + 1;
}

std::vector<ScannedLine> scanProperties(std::string_view text) {
    std::vector<ScannedLine> lines;
    ScannedLine line;
    for (PropertyScan scan(text); scan.next(line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace tools
