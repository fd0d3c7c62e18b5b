#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

#include "kelconv/kelCodePage.h"

namespace tools {

// The library converts whole texts: each conversion begins and ends in the state in which the code
// page begins. A stream is converted in pieces that can stand by themselves. Whether two pieces can
// is found out by converting: the texts of both together are the text of the whole, and what is put
// behind the first one reads as it does by itself. No knowledge of single code pages is needed.

/// Turns a stream of bytes into text, piece by piece.
class PieceDecoder {
  public:
    /// Pieces have about `pieceSize` bytes, more where a code page has no place to cut.
    PieceDecoder(const CodePage& page, std::size_t pieceSize);

    /// One piece: its bytes, and their text.
    struct Piece {
        std::string bytes;
        icu::UnicodeString text;
    };

    void add(std::string_view bytes) { pending_ += bytes; }
    /// Takes the next piece; false when more bytes are needed for it.
    bool take(Piece& piece);
    /// Takes all that is left, at the end of the stream.
    Piece takeRest();

  private:
    bool takeUpTo(std::size_t cut, const icu::UnicodeString& whole, Piece& piece);
    std::vector<std::string> prefixesFor(std::string_view before) const;
    std::vector<std::size_t> cuts() const;

    const CodePage& page_;
    bool hasState_;
    std::size_t wanted_;
    std::string pending_;
    std::string signature_;  // what the stream begins with that is no text, a byte order mark say
    std::string prefix_;     // what brings a new conversion into the state of this place
    bool isStart_ = true;
};

/// Turns text into a stream of bytes, piece by piece.
class PieceEncoder {
  public:
    explicit PieceEncoder(const CodePage& page);

    /// What the converter writes in front of every text, a byte order mark say; once in the stream.
    const std::string& signature() const { return signature_; }
    /// Bytes for the text, and for what was held back; empty when that has to be held back, too.
    std::string put(const icu::UnicodeString& text);
    /// Bytes for all that was held back, at the end of the stream.
    std::string putRest();

  private:
    std::string withoutSignature(std::string bytes);
    bool endsInFirstState(const icu::UnicodeString& text) const;
    std::string take(int length);

    const CodePage& page_;
    bool hasState_;
    std::string signature_;
    icu::UnicodeString held_;
    int wanted_ = 0;
    bool isStart_ = true;
};

}  // namespace tools
