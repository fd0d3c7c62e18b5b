#include "infra/detail/kelPropertiesReader.h"

#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

#ifdef __SSE2__
// Why: the vectors that every x86-64 processor has; lines are too short for wider ones to pay.
using Block = __m128i;
constexpr std::size_t BLOCK_SIZE = sizeof(Block);

Block loadBlock(const char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

Block matches(Block block, char byte) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(byte)); }

/// A bit for each byte that ends a line or plays one of RolesWanted, the lowest for the first
/// byte.
template <std::uint8_t RolesWanted>
unsigned playersOf(Block block) {
    Block found = _mm_or_si128(matches(block, '\n'), matches(block, '\r'));
    if constexpr ((RolesWanted & ESCAPE) != 0) {
        found = _mm_or_si128(found, matches(block, '\\'));
    }
    if constexpr ((RolesWanted & WHITE_SPACE) != 0) {
        found = _mm_or_si128(found, _mm_or_si128(matches(block, ' '), matches(block, '\t')));
    }
    if constexpr ((RolesWanted & ASSIGNMENT) != 0) {
        found = _mm_or_si128(found, _mm_or_si128(matches(block, ':'), matches(block, '=')));
    }
    return static_cast<unsigned>(_mm_movemask_epi8(found));
}

void widen(Block block, char16_t* out) {
    const Block zero = _mm_setzero_si128();
    auto* const to = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(block, zero));
}

std::size_t firstOf(unsigned players) { return static_cast<std::size_t>(__builtin_ctz(players)); }
#endif

std::size_t findLineEnd(std::size_t pos, PropertiesText text) {
#ifdef __SSE2__
    for (; pos < text.length && text.length - pos >= BLOCK_SIZE; pos += BLOCK_SIZE) {
        const unsigned found = playersOf<LINE_END>(loadBlock(text.data + pos));
        if (found != 0) {
            return pos + firstOf(found);
        }
    }
#endif
    while (pos < text.length && !plays(text.data[pos], LINE_END)) {
        ++pos;
    }
    return pos;
}

/// Appends the bytes from `pos` up to one that plays one of ENDS, one code unit each. Returns where
/// that byte stands.
template <std::uint8_t ENDS>
std::size_t appendRun(UnitText& out, std::size_t pos, PropertiesText text) {
#ifdef __SSE2__
    for (; pos < text.length && text.length - pos >= BLOCK_SIZE; pos += BLOCK_SIZE) {
        const Block block = loadBlock(text.data + pos);
        widen(block, out.reserve(BLOCK_SIZE));
        const unsigned found = playersOf<ENDS>(block);
        if (found != 0) {
            out.advance(firstOf(found));
            return pos + firstOf(found);
        }
        out.advance(BLOCK_SIZE);
    }
#endif
    for (; pos < text.length && !plays(text.data[pos], ENDS); ++pos) {
        out.append(static_cast<unsigned char>(text.data[pos]));
    }
    return pos;
}

constexpr int NO_CHARACTER = -1;
int readEscape(std::size_t& pos, PropertiesText text);

/// Reads up to a byte that plays one of ENDS, escapes taken as what they stand for. Leaves `pos`
/// at that byte.
template <std::uint8_t ENDS>
void readText(UnitText& out, std::size_t& pos, PropertiesText text) {
    out.clear();
    pos = appendRun<ENDS>(out, pos, text);
    while (standsAt(pos, text, ESCAPE)) {
        ++pos;
        const int unit = readEscape(pos, text);
        if (unit != NO_CHARACTER) {
            out.append(static_cast<char16_t>(unit));
        }
        pos = appendRun<ENDS>(out, pos, text);
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

/// Surrogates and noncharacters are none.
bool isCharacter(int unit) {
    return !U16_IS_SURROGATE(static_cast<char16_t>(unit)) &&
           (unit < 0xFDD0 || (unit > 0xFDEF && unit < 0xFFFE));
}

constexpr std::size_t UNICODE_DIGITS = 4;

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
    return isCharacter(unit) ? unit : NO_CHARACTER;
}

/// `pos` stands behind the "u".
int readUnicodeEscape(std::size_t& pos, PropertiesText text) {
    const int unit = readCodeUnit(pos, text);
    if (unit == NO_CHARACTER) {
        return u'u';
    }
    pos += UNICODE_DIGITS;
    return unit;
}

/// What the escape stands for whose backslash is just before `pos`; NO_CHARACTER for nothing.
int readEscape(std::size_t& pos, PropertiesText text) {
    if (pos >= text.length) {
        return NO_CHARACTER;
    }
    const char letter = text.data[pos];
    if (plays(letter, LINE_END)) {
        skipNewLine(pos, text);
        skipWhiteSpace(pos, text);
        return NO_CHARACTER;
    }
    ++pos;
    switch (letter) {
        case 'n':
            return u'\n';
        case 'r':
            return u'\r';
        case 't':
            return u'\t';
        case 'u':
            return readUnicodeEscape(pos, text);
        default:
            return static_cast<unsigned char>(letter);
    }
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
    pos = findLineEnd(pos, text);
    skipNewLine(pos, text);
}

void readEscaped(icu::UnicodeString& out, std::size_t& pos, PropertiesText text) {
    const int unit = readEscape(pos, text);
    if (unit != NO_CHARACTER) {
        out.append(static_cast<char16_t>(unit));
    }
}

PropertyLine readPropertyLine(UnitText& key, UnitText& value, std::size_t& pos,
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
        pos = findLineEnd(pos, text);
        // Required: a comment that the text ends in goes on as a line with nothing left on it.
        if (pos < text.length) {
            skipNewLine(pos, text);
            return PropertyLine::NO_PAIR;
        }
    }
    readText<KEY_END>(key, pos, text);
    skipAssignOp(pos, text);
    readText<VALUE_END>(value, pos, text);
    skipNewLine(pos, text);
    return PropertyLine::PAIR;
}

PropertyLine readPropertyLine(icu::UnicodeString& key, icu::UnicodeString& value, std::size_t& pos,
                              PropertiesText text) {
    UnitText keyUnits;
    UnitText valueUnits;
    const PropertyLine line = readPropertyLine(keyUnits, valueUnits, pos, text);
    if (line == PropertyLine::PAIR) {
        key = toUnicodeString(keyUnits.view());
        value = toUnicodeString(valueUnits.view());
    }
    return line;
}

}  // namespace nx::oss::detail
