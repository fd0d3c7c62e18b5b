#pragma once

#include <cstddef>
#include <string_view>

#include <unicode/unistr.h>

#include <infra/oss/kelConstants.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

namespace detail {
class TokenList;
class UnitSet;
}  // namespace detail

/// Splits a text into tokens at any of a set of delimiters, once, and then hands the tokens out in
/// order, as UnicodeStrings or as bytes in a code page.
///
///     nx::oss::StringTokenizer words("alpha, beta", ", ");
///     while (words.hasMoreTokens()) {
///         use(words.getNextTokenString());
///     }
///
/// Delimiters are single UTF-16 code units. Delimiters between two tokens count as one separator,
/// however many they are, and those at the end are dropped, so that no empty token comes there.
///
/// Careful: delimiters at the very start are different: the first token is an empty one then, also
/// in a text of nothing but delimiters, which has this one token. And a delimiter above U+FFFF
/// stands for both halves of its surrogate pair, so that characters which share one half are cut.
///
/// Without delimiters, null or empty, the text is split at space, carriage return, line feed and
/// tab.
///
/// The tokens are copies: nothing of the text or of the delimiters is needed afterwards. They take
/// their units and four bytes each, all in one block; delimiters take no memory. A text in bytes is
/// decoded as a whole first. Splitting is linear in the text, handing out in the token.
///
/// The two kinds of operations share one position, so that they may be mixed. A tokenizer is not
/// copied. Throws std::bad_alloc when memory is exhausted.
///
/// Thread-safety: not synchronised; handing out changes the tokenizer, too.
class KELINFRA_EXPORT StringTokenizer {
  public:
    /// Splits `text`; a null (bogus) one counts as empty. The delimiters are NUL-terminated UTF-8,
    /// and byte tokens are UTF-8.
    StringTokenizer(const icu::UnicodeString& text, const char* delimiters = nullptr);
    /// Splits NUL-terminated bytes in `codePage`, an ICU converter name; null or empty means ICU's
    /// default, UTF-8. The delimiters are in this code page as well, and so are the byte tokens. A
    /// null or empty `text` has no tokens, and neither has any text in an unknown code page.
    ///
    /// Careful: of a longer name the first 64 bytes are taken.
    StringTokenizer(const char* text, const char* delimiters = nullptr,
                    const char* codePage = nullptr);
    StringTokenizer(const StringTokenizer&) = delete;
    StringTokenizer& operator=(const StringTokenizer&) = delete;
    ~StringTokenizer();

    /// Replaces all tokens by those of `text`, at the delimiters given, and starts again at the
    /// first one. The code page stays. When memory is exhausted there are no tokens afterwards.
    void parseString(const icu::UnicodeString& text, const icu::UnicodeString& delimiters);

    /// The first token, NUL-terminated, in the code page; the next one is the second then. "" when
    /// there are no tokens. Valid until bytes are asked for again, the text is replaced or the
    /// tokenizer is destroyed. What the code page cannot hold becomes its substitution character.
    ///
    /// Throws NLSException "ERR_CONV_CONVERSION_ERROR" (name, name), file "kelDataBuffer.cpp", line
    /// 657, for a token, even an empty one, in the code pages "UTF-16" and "UTF-32", in any case:
    /// their bytes hold NULs. A call that throws moves on to no token, but this one goes back to
    /// the first all the same.
    ///
    /// Careful: bytes end at their first NUL for the reader, which tokens of other code pages may
    /// hold as well ("UTF-16LE"), or have in their text. In an unknown code page every token is "".
    const char* getFirstToken();
    /// The next token in the same way; "" when all have been handed out.
    const char* getNextToken();

    /// The first token; the next one is the second then. Empty, never null (bogus), when there are
    /// no tokens.
    icu::UnicodeString getFirstTokenString();
    /// The next token; empty when all have been handed out.
    icu::UnicodeString getNextTokenString();

    /// Whether there is a next token; before any was asked for, whether there are tokens at all.
    bool hasMoreTokens() const;
    /// The number of all tokens, whatever has been handed out.
    int countTokens() const;

  private:
    KELINFRA_INTERNAL void parse(std::u16string_view text, const detail::UnitSet& delimiters,
                                 std::size_t spare = 0);
    KELINFRA_INTERNAL void encode(std::u16string_view token);
    KELINFRA_INTERNAL const char* handOutBlock();
    KELINFRA_INTERNAL const char* handOutBytes();
    KELINFRA_INTERNAL const char* getNextTokenTraced();
    KELINFRA_INTERNAL icu::UnicodeString handOutString();

    icu::UnicodeString tokenString_;  // refers to a token of the list
    DataBuffer tokenBytes_;
    char codePage_[Constants::CODEPAGE_NAME_SIZE + 1] = {};
    bool holdsAscii_ = false;  // as the same bytes, in a code page known for that
    int index_ = 0;
    int count_ = 0;
    // Why not an array of strings: the strings alone are 64 bytes each, ten times as much as the
    // units of a word, and are made again for the caller anyway.
    detail::TokenList* tokens_ = nullptr;
};

// Why inline: both are asked for once for every token.

KELINFRA_ALSO_EXPORTED inline bool StringTokenizer::hasMoreTokens() const {
    return index_ < count_;
}

KELINFRA_ALSO_EXPORTED inline int StringTokenizer::countTokens() const { return count_; }

}  // namespace nx::oss
