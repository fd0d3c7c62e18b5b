#pragma once

#include <string>
#include <vector>

#include <unicode/unistr.h>

#include "kelconv/kelCodePage.h"
#include "kelconv/kelPieces.h"

namespace tools {

/// Finds what a conversion loses: the converter replaces it without a word.
class LossFinder {
  public:
    LossFinder(const CodePage& from, const CodePage& to);

    /// The next piece of the stream: a line of text for everything in it that is lost.
    std::vector<std::string> look(const PieceDecoder::Piece& piece);

  private:
    /// A character that stands for bytes that are none, and the bytes that mean itself.
    struct Substitute {
        char16_t character;
        std::string bytes;
    };

    bool isDamaged(const PieceDecoder::Piece& piece, const Substitute& substitute) const;
    bool isKept(UChar32 character);
    std::string place() const;
    void step(UChar32 character);

    const CodePage& from_;
    const CodePage& to_;
    std::size_t unitSize_;
    std::vector<Substitute> substitutes_;
    unsigned long line_ = 1;
    unsigned long column_ = 1;
};

}  // namespace tools
