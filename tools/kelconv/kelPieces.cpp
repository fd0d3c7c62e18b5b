#include "kelconv/kelPieces.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <map>

namespace tools {

namespace {

/// Bytes that stay behind a cut, so that a character cut in two shows.
constexpr std::size_t LOOK_AHEAD = 64;
/// Places before it that are tried; a character has fewer bytes.
constexpr std::size_t PLACES = 16;
/// Line ends that are tried, where code pages often return to their first state.
constexpr std::size_t LINE_ENDS = 8;
constexpr std::size_t LONGEST_SIGNATURE = 8;

constexpr char ESC = '\x1B';
constexpr char SHIFT_OUT = '\x0E';

/// What shows the state of a code page: bytes that each state reads in another way. Single bytes,
/// shifts, the third and fourth set of characters, windows.
const std::string_view PROBES[] = {
    "z\\A~\x80\xA1\xC1\xE1", "\x0E!!A\x0F", "\x1BN!!A", "\x1BO!!A",
    "\x10\x80\x11\x80\x12\x80\x13\x80\x14\x80\x15\x80\x16\x80\x17\x80"};

std::string joined(std::string_view a, std::string_view b) {
    return std::string(a) + std::string(b);
}

/// Whether whatever follows `before`, whose text is given, reads as if it followed `instead`.
bool isInState(const CodePage& page, std::string_view before, const icu::UnicodeString& text,
               std::string_view instead) {
    return std::all_of(std::begin(PROBES), std::end(PROBES), [&](std::string_view probe) {
        return page.decode(joined(before, probe)) == text + page.decode(joined(instead, probe));
    });
}

/// The sequences that choose sets of characters, the last one for each set; see ISO 2022.
std::string designationsIn(std::string_view bytes) {
    std::map<char, std::string> last;
    for (std::size_t i = bytes.find(ESC); i < bytes.size(); i = bytes.find(ESC, i + 1)) {
        std::size_t end = i + 1;
        while (end < bytes.size() && bytes[end] >= 0x20 && bytes[end] <= 0x2F) {
            ++end;
        }
        const char set = bytes[end - 1] == '$' || bytes[end - 1] == ESC ? '(' : bytes[end - 1];
        last[set] = std::string(bytes.substr(i, end + 1 - i));
    }
    std::string all;
    for (const auto& [set, sequence] : last) {
        all += sequence;
    }
    return all;
}

bool isMark(UChar32 character) { return (U_GET_GC_MASK(character) & U_GC_M_MASK) != 0; }

}  // namespace

PieceDecoder::PieceDecoder(const CodePage& page, std::size_t pieceSize)
    : page_(page), hasState_(page.hasState()), wanted_(std::max(pieceSize, 4 * LOOK_AHEAD)) {}

bool PieceDecoder::take(Piece& piece) {
    if (pending_.size() < wanted_) {
        return false;
    }
    if (isStart_) {
        for (std::size_t length = 1; length <= LONGEST_SIGNATURE; ++length) {
            if (page_.decode(pending_.substr(0, length)).isEmpty()) {
                signature_ = pending_.substr(0, length);
            }
        }
        isStart_ = false;
    }
    const icu::UnicodeString whole = page_.decode(prefix_ + pending_);
    for (const std::size_t cut : cuts()) {
        if (takeUpTo(cut, whole, piece)) {
            return true;
        }
    }
    wanted_ = pending_.size() * 2;
    return false;
}

std::vector<std::size_t> PieceDecoder::cuts() const {
    std::vector<std::size_t> places;
    const std::size_t last = pending_.size() - LOOK_AHEAD;
    for (std::size_t i = 0; i < PLACES; ++i) {
        places.push_back(last - i);
    }
    std::size_t lineEnd = last;
    for (std::size_t i = 0; i < LINE_ENDS && lineEnd > 0; ++i) {
        lineEnd = pending_.rfind('\n', lineEnd - 1);
        if (lineEnd == std::string::npos || lineEnd == 0) {
            break;
        }
        places.push_back(lineEnd + 1);
    }
    return places;
}

std::vector<std::string> PieceDecoder::prefixesFor(std::string_view before) const {
    std::vector<std::string> prefixes{signature_};
    if (!signature_.empty()) {
        prefixes.emplace_back();
    }
    if (hasState_) {
        const std::string designations = designationsIn(joined(prefix_, before));
        prefixes.insert(prefixes.end(), {designations, designations + SHIFT_OUT, "~{", "+", "&"});
    }
    return prefixes;
}

bool PieceDecoder::takeUpTo(std::size_t cut, const icu::UnicodeString& whole, Piece& piece) {
    const std::string bytes = pending_.substr(0, cut);
    const std::string rest = pending_.substr(cut);
    const std::string before = prefix_ + bytes;
    const icu::UnicodeString text = page_.decode(before);
    // A mark belongs to the character before it; some code pages have a number for both.
    if (!whole.startsWith(text) || isMark(whole.char32At(text.length()))) {
        return false;
    }
    for (const std::string& prefix : prefixesFor(bytes)) {
        if (text + page_.decode(prefix + rest) == whole &&
            (!hasState_ || isInState(page_, before, text, prefix))) {
            piece = {bytes, text};
            pending_ = rest;
            prefix_ = prefix;
            return true;
        }
    }
    return false;
}

PieceDecoder::Piece PieceDecoder::takeRest() {
    Piece piece{pending_, page_.decode(prefix_ + pending_)};
    pending_.clear();
    return piece;
}

PieceEncoder::PieceEncoder(const CodePage& page) : page_(page), hasState_(page.hasState()) {
    const std::string one = page.encode(icu::UnicodeString(u'A'));
    const std::string two = page.encode(icu::UnicodeString(u"AA", 2));
    signature_ = one.substr(0, 2 * one.size() - std::min(2 * one.size(), two.size()));
}

std::string PieceEncoder::put(const icu::UnicodeString& text) {
    held_ += text;
    if (!hasState_) {
        return take(held_.length());
    }
    if (held_.length() < wanted_) {
        return "";
    }
    // Behind these, code pages return to their first state. A return that nothing else follows
    // before the next change of state would be malformed, so none is made up.
    for (const char16_t end : {u'\n', u' '}) {
        const int cut = held_.lastIndexOf(end) + 1;
        if (cut != 0 && endsInFirstState(held_.tempSubString(0, cut))) {
            return take(cut);
        }
    }
    wanted_ = held_.length() * 2;
    return "";
}

std::string PieceEncoder::putRest() { return take(held_.length()); }

bool PieceEncoder::endsInFirstState(const icu::UnicodeString& text) const {
    const std::string bytes = page_.encode(text);
    return isInState(page_, bytes, page_.decode(bytes), signature_);
}

/// Bytes for the first `length` units that were held back.
std::string PieceEncoder::take(int length) {
    if (length == 0) {
        return "";
    }
    std::string bytes = page_.encode(held_.tempSubString(0, length));
    held_.remove(0, length);
    wanted_ = 0;
    return withoutSignature(std::move(bytes));
}

std::string PieceEncoder::withoutSignature(std::string bytes) {
    if (!isStart_ && bytes.compare(0, signature_.size(), signature_) == 0) {
        bytes.erase(0, signature_.size());
    }
    isStart_ = false;
    return bytes;
}

}  // namespace tools
