#include "kelconv/kelLoss.h"

#include <algorithm>
#include <cstdio>

#include "common/kelReport.h"

namespace tools {

namespace {

constexpr char16_t SUBSTITUTES[] = {0xFFFD, 0x001A};

/// How often the bytes stand in the text, at places that are multiples of the unit's size.
std::size_t occurrences(const std::string& text, const std::string& bytes, std::size_t unitSize) {
    std::size_t count = 0;
    for (std::size_t at = text.find(bytes); at != std::string::npos;
         at = text.find(bytes, at + 1)) {
        count += at % unitSize == 0 ? 1 : 0;
    }
    return count;
}

std::string codePoint(UChar32 character) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(character));
    const std::string shown = printable(icu::UnicodeString(character));
    return std::string(text) + (shown[0] == '\\' ? "" : " '" + shown + "'");
}

}  // namespace

LossFinder::LossFinder(const CodePage& from, const CodePage& to) : from_(from), to_(to) {
    const std::size_t one = from.encode(icu::UnicodeString(u'A')).size();
    const std::size_t two = from.encode(icu::UnicodeString(u"AA", 2)).size();
    unitSize_ = std::max<std::size_t>(1, two - std::min(one, two));
    const std::size_t signature = 2 * one - std::min(2 * one, two);
    for (const char16_t character : SUBSTITUTES) {
        const std::string bytes = from.encode(icu::UnicodeString(character));
        const bool meansItself = from.decode(bytes) == icu::UnicodeString(character);
        substitutes_.push_back({character, meansItself ? bytes.substr(signature) : ""});
    }
}

bool LossFinder::isDamaged(const PieceDecoder::Piece& piece, const Substitute& substitute) const {
    const std::size_t shown = static_cast<std::size_t>(
        std::count(piece.text.getBuffer(), piece.text.getBuffer() + piece.text.length(),
                   substitute.character));
    if (shown == 0 || substitute.bytes.empty()) {
        return shown != 0;
    }
    const std::string reversed(substitute.bytes.rbegin(), substitute.bytes.rend());
    return shown > std::max(occurrences(piece.bytes, substitute.bytes, unitSize_),
                            unitSize_ == 1 ? 0 : occurrences(piece.bytes, reversed, unitSize_));
}

bool LossFinder::isKept(UChar32 character) {
    const icu::UnicodeString text(character);
    return to_.decode(to_.encode(text)) == text;
}

std::string LossFinder::place() const {
    return "line " + std::to_string(line_) + ", character " + std::to_string(column_) + ": ";
}

void LossFinder::step(UChar32 character) {
    ++column_;
    if (character == u'\n' || character == 0x85) {
        ++line_;
        column_ = 1;
    }
}

std::vector<std::string> LossFinder::look(const PieceDecoder::Piece& piece) {
    icu::UnicodeString damage;
    for (const Substitute& substitute : substitutes_) {
        if (isDamaged(piece, substitute)) {
            damage += substitute.character;
        }
    }
    const bool isAllKept = to_.decode(to_.encode(piece.text)) == piece.text;
    std::vector<std::string> losses;
    for (int i = 0; i < piece.text.length(); i = piece.text.moveIndex32(i, 1)) {
        const UChar32 character = piece.text.char32At(i);
        if (damage.indexOf(character) >= 0) {
            losses.push_back(place() + "the bytes are no character of " + from_.name());
        } else if (!isAllKept && !isKept(character)) {
            losses.push_back(place() + codePoint(character) + " is no character of " + to_.name());
        }
        step(character);
    }
    return losses;
}

}  // namespace tools
