#include "infra/detail/kelPropertiesReader.h"

#include <cstdint>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss::detail {

namespace {

// What a byte does in the text. One byte may do several things.
enum Role : std::uint8_t {
    LINE_END = 1,     // CR, LF
    WHITE_SPACE = 2,  // blank, tab
    ASSIGNMENT = 4,   // ':', '='
    ESCAPE = 8,       // backslash
    COMMENT = 16      // '!', '#'
};

constexpr std::uint8_t KEY_END = LINE_END | WHITE_SPACE | ASSIGNMENT | ESCAPE;
constexpr std::uint8_t VALUE_END = LINE_END | ESCAPE;

struct RoleTable {
    constexpr RoleTable() {
        roles[static_cast<unsigned char>('\r')] = LINE_END;
        roles[static_cast<unsigned char>('\n')] = LINE_END;
        roles[static_cast<unsigned char>(' ')] = WHITE_SPACE;
        roles[static_cast<unsigned char>('\t')] = WHITE_SPACE;
        roles[static_cast<unsigned char>(':')] = ASSIGNMENT;
        roles[static_cast<unsigned char>('=')] = ASSIGNMENT;
        roles[static_cast<unsigned char>('\\')] = ESCAPE;
        roles[static_cast<unsigned char>('!')] = COMMENT;
        roles[static_cast<unsigned char>('#')] = COMMENT;
    }

    std::uint8_t roles[256] = {};
};

constexpr RoleTable ROLES;

bool plays(char byte, std::uint8_t roles) {
    return (ROLES.roles[static_cast<unsigned char>(byte)] & roles) != 0;
}

/// Whether a byte that plays one of `roles` stands at `pos`.
bool standsAt(std::size_t pos, PropertiesText text, std::uint8_t roles) {
    return pos < text.length && plays(text.data[pos], roles);
}

std::size_t findRole(std::size_t pos, PropertiesText text, std::uint8_t roles) {
    while (pos < text.length && !plays(text.data[pos], roles)) {
        ++pos;
    }
    return pos;
}

/// Appends the bytes from `pos` to `end` as one code unit each.
void appendRun(icu::UnicodeString& out, std::size_t pos, std::size_t end, PropertiesText text) {
    if (pos == end) {
        return;
    }
    const auto before = static_cast<std::size_t>(out.length());
    const std::size_t length = before + (end - pos);
    // Spare room in proportion keeps a value of many runs linear.
    const bool fits = length <= static_cast<std::size_t>(out.getCapacity());
    char16_t* const buffer = writableBuffer(out, fits ? length : length + before / 2);
    kernels().latin1ToUtf16(text.data + pos, end - pos, buffer + before);
    out.releaseBuffer(static_cast<int32_t>(length));
}

/// Reads up to a byte that plays one of `ends`, escapes taken as what they stand for. Leaves `pos`
/// at that byte.
void readText(icu::UnicodeString& out, std::size_t& pos, PropertiesText text, std::uint8_t ends) {
    out.remove();
    while (pos < text.length) {
        const std::size_t end = findRole(pos, text, ends);
        appendRun(out, pos, end, text);
        pos = end;
        if (!standsAt(pos, text, ESCAPE)) {
            break;
        }
        ++pos;
        readEscaped(out, pos, text);
    }
    if (out.isBogus()) {
        raiseBadAlloc();  // ICU tells of a failed allocation in no other way
    }
}

constexpr int NO_DIGIT = -1;

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : NO_DIGIT;
}

constexpr std::size_t UNICODE_DIGITS = 4;
constexpr int NO_CHARACTER = -1;

/// The character that four digits at `pos` name; NO_CHARACTER when they do not.
int readCodeUnit(std::size_t pos, PropertiesText text) {
    // Required: at least one byte has to follow the digits.
    if (text.length - pos <= UNICODE_DIGITS) {
        return NO_CHARACTER;
    }
    int unit = 0;
    for (std::size_t i = 0; i < UNICODE_DIGITS; ++i) {
        const int digit = hexValue(text.data[pos + i]);
        if (digit == NO_DIGIT) {
            return NO_CHARACTER;
        }
        unit = unit * 16 + digit;
    }
    return U_IS_UNICODE_CHAR(unit) ? unit : NO_CHARACTER;
}

/// `pos` stands behind the "u".
void readUnicodeEscape(icu::UnicodeString& out, std::size_t& pos, PropertiesText text) {
    const int unit = readCodeUnit(pos, text);
    if (unit == NO_CHARACTER) {
        out.append(u'u');
        return;
    }
    out.append(static_cast<char16_t>(unit));
    pos += UNICODE_DIGITS;
}

}  // namespace

void skipNewLine(std::size_t& pos, PropertiesText text) {
    if (pos < text.length && text.data[pos] == '\r') {
        ++pos;
        if (pos < text.length && text.data[pos] == '\n') {
            ++pos;
        }
    } else if (pos < text.length && text.data[pos] == '\n') {
        ++pos;
    }
}

void skipWhiteSpace(std::size_t& pos, PropertiesText text) {
    while (standsAt(pos, text, WHITE_SPACE | ESCAPE)) {
        if (text.data[pos] == '\\') {
            if (!standsAt(pos + 1, text, LINE_END)) {
                return;
            }
            ++pos;
            skipNewLine(pos, text);
        } else {
            ++pos;
        }
    }
}

void skipAssignOp(std::size_t& pos, PropertiesText text) {
    skipWhiteSpace(pos, text);
    if (standsAt(pos, text, ASSIGNMENT)) {
        ++pos;
        skipWhiteSpace(pos, text);
    }
}

void skipLine(std::size_t& pos, PropertiesText text) {
    pos = findRole(pos, text, LINE_END);
    skipNewLine(pos, text);
}

void readEscaped(icu::UnicodeString& out, std::size_t& pos, PropertiesText text) {
    if (pos >= text.length) {
        return;
    }
    const char letter = text.data[pos];
    if (plays(letter, LINE_END)) {
        skipNewLine(pos, text);
        skipWhiteSpace(pos, text);
        return;
    }
    ++pos;
    switch (letter) {
        case 'n':
            out.append(u'\n');
            break;
        case 'r':
            out.append(u'\r');
            break;
        case 't':
            out.append(u'\t');
            break;
        case 'u':
            readUnicodeEscape(out, pos, text);
            break;
        default:
            out.append(static_cast<char16_t>(static_cast<unsigned char>(letter)));
    }
}

PropertyLine readPropertyLine(icu::UnicodeString& key, icu::UnicodeString& value, std::size_t& pos,
                              PropertiesText text) {
    if (pos >= text.length) {
        return PropertyLine::NONE;
    }
    skipWhiteSpace(pos, text);
    if (pos >= text.length) {
        return PropertyLine::NONE;
    }
    if (standsAt(pos, text, LINE_END)) {
        skipNewLine(pos, text);
        return PropertyLine::NO_PAIR;
    }
    if (standsAt(pos, text, COMMENT)) {
        pos = findRole(pos, text, LINE_END);
        // Required: a comment that the text ends in goes on as a line with nothing left on it.
        if (pos < text.length) {
            skipNewLine(pos, text);
            return PropertyLine::NO_PAIR;
        }
    }
    readText(key, pos, text, KEY_END);
    skipAssignOp(pos, text);
    readText(value, pos, text, VALUE_END);
    skipNewLine(pos, text);
    return PropertyLine::PAIR;
}

}  // namespace nx::oss::detail
