#define KELINFRA_BUILDS_INLINES
#include <infra/oss/kelStringTokenizer.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "infra/detail/kelTokenList.h"
#include "infra/detail/kelTokenScan.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"
#include "infra/detail/kelUnicodeBuffer.h"
#include "infra/detail/kelUnitText.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;
using detail::UnitSet;

namespace {

constexpr std::u16string_view DEFAULT_DELIMITERS = u" \r\n\t";

icu::UnicodeString decode(const char* text, const char* codePage) {
    return text == nullptr ? icu::UnicodeString()
                           : detail::decode(text, std::strlen(text), codePage);
}

/// Whether ASCII is the same bytes in the code page, for those that programs use most.
bool holdsAscii(const char* codePage) {
    const detail::CodePageKind kind = detail::kindOfName(codePage);
    return kind == detail::CodePageKind::UTF_8 || kind == detail::CodePageKind::LATIN_1;
}

/// Adds bytes that are the same units in UTF-16; false at the first that may be part of another.
bool addAscii(UnitSet& set, const char* text, const char* codePage) {
    if (!holdsAscii(codePage)) {
        return false;
    }
    for (; *text != '\0'; ++text) {
        const auto unit = static_cast<unsigned char>(*text);
        if (unit >= 0x80) {
            return false;
        }
        set.add(unit);
    }
    return true;
}

UnitSet setOf(std::u16string_view delimiters) {
    return UnitSet(delimiters.empty() ? DEFAULT_DELIMITERS : delimiters);
}

/// Why the short way: decoding a few delimiters takes as long as splitting a line.
UnitSet setOf(const char* delimiters, const char* codePage) {
    UnitSet set;
    if (delimiters == nullptr || *delimiters == '\0') {
        set.addAll(DEFAULT_DELIMITERS);
    } else if (!addAscii(set, delimiters, codePage)) {
        const icu::UnicodeString decoded = decode(delimiters, codePage);
        set.addAll(decoded.isEmpty() ? DEFAULT_DELIMITERS : detail::viewOf(decoded));
    }
    return set;
}

/// The units of a short text, without memory for a string.
class ShortDecoded {
  public:
    /// Units behind the text that can be read.
    static constexpr std::size_t SPARE = detail::COPIED_AT_ONCE;

    /// False for a text that is long, not in a usual code page, or malformed.
    bool decode(const char* text, const char* codePage) {
        const std::size_t length = text == nullptr ? 0 : strnlen(text, LONGEST);
        if (length == LONGEST || detail::kindOfName(codePage) != detail::CodePageKind::UTF_8) {
            return false;
        }
        const detail::Progress progress = detail::kernels().utf8ToUtf16(text, length, units_, ROOM);
        length_ = progress.written;
        return progress.read == length;
    }
    std::u16string_view view() const { return {units_, length_}; }

  private:
    static constexpr std::size_t LONGEST = 256;
    static constexpr std::size_t ROOM = LONGEST + SPARE;

    char16_t units_[ROOM];
    std::size_t length_ = 0;
};

/// Gives an empty string the units of a token.
[[gnu::always_inline]] inline void fill(icu::UnicodeString& string, std::u16string_view token) {
    using detail::COPIED_AT_ONCE;
    // So few have room in the object; there is nothing that could fail.
    char16_t* const buffer = token.size() <= COPIED_AT_ONCE
                                 ? string.getBuffer(static_cast<int32_t>(COPIED_AT_ONCE))
                                 : detail::writableBuffer(string, token.size());
    detail::copyToken(buffer, token.data(), token.size());
    string.releaseBuffer(static_cast<int32_t>(token.size()));
}

}  // namespace

StringTokenizer::StringTokenizer(const icu::UnicodeString& text, const char* delimiters)
    : tokenBytes_(DataBuffer::Unfilled()) {
    TraceExit trace(TracePoint::STRING_TOKENIZER_CONSTRUCT);
    holdsAscii_ = true;
    parse(detail::viewOf(text), setOf(delimiters, nullptr));
}

StringTokenizer::StringTokenizer(const char* text, const char* delimiters, const char* codePage)
    : tokenBytes_(DataBuffer::Unfilled()) {
    TraceExit trace(TracePoint::STRING_TOKENIZER_CONSTRUCT);
    if (codePage != nullptr) {
        std::memcpy(codePage_, codePage, strnlen(codePage, sizeof codePage_ - 1));
    }
    holdsAscii_ = holdsAscii(codePage_);
    const UnitSet set = setOf(delimiters, codePage_);
    ShortDecoded decoded;
    if (decoded.decode(text, codePage_)) {
        parse(decoded.view(), set, ShortDecoded::SPARE);
    } else {
        parse(detail::viewOf(decode(text, codePage_)), set);
    }
}

StringTokenizer::~StringTokenizer() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_DESTROY);
    delete tokens_;
}

void StringTokenizer::parseString(const icu::UnicodeString& text,
                                  const icu::UnicodeString& delimiters) {
    parse(detail::viewOf(text), setOf(detail::viewOf(delimiters)));
}

/// A carriage return with a line feed needs no care: as delimiters they count once in any case.
void StringTokenizer::parse(std::u16string_view text, const UnitSet& delimiters,
                            std::size_t spare) {
    TraceScope trace(TracePoint::STRING_TOKENIZER_PARSE_STRING);
    index_ = 0;
    count_ = 0;
    tokenBytes_.forget();
    if (tokens_ != nullptr) {
        tokenString_ = icu::UnicodeString();
        delete std::exchange(tokens_, nullptr);
    }
    detail::TokenScan scan(text, delimiters, spare);
    tokens_ = detail::TokenList::make(scan);
    count_ = tokens_ == nullptr ? 0 : static_cast<int>(tokens_->count());
}

/// Puts the next token into the buffer of bytes.
void StringTokenizer::encode(std::u16string_view token) {
    tokenBytes_.clearForText();
    tokenBytes_.appendString(icu::UnicodeString(/*isTerminated=*/false, token.data(),
                                                static_cast<int32_t>(token.size())),
                             codePage_);
}

/// Most tokens: short and ASCII, and nobody listens. Null, and nothing done, for others.
[[gnu::always_inline]] inline const char* StringTokenizer::handOutBlock() {
    static_assert(detail::COPIED_AT_ONCE >= detail::SHORT_BLOCK);
    if (!hasMoreTokens() || !holdsAscii_) {
        return nullptr;
    }
    const std::u16string_view token = tokens_->at(static_cast<std::size_t>(index_));
    const char* const bytes = tokenBytes_.replaceByBlock(token.data(), token.size());
    index_ += bytes == nullptr ? 0 : 1;
    return bytes;
}

const char* StringTokenizer::handOutBytes() {
    if (hasMoreTokens()) {
        encode(tokens_->at(static_cast<std::size_t>(index_)));
        ++index_;
    } else {
        tokenBytes_.clearForText();
    }
    return tokenBytes_.getString();
}

const char* StringTokenizer::getFirstToken() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_FIRST_TOKEN);
    index_ = 0;
    const char* const bytes = handOutBlock();
    return bytes != nullptr ? bytes : handOutBytes();
}

const char* StringTokenizer::getNextToken() {
    // Why: the bracket would take as long as most tokens.
    const char* const bytes = handOutBlock();
    return bytes != nullptr ? bytes : getNextTokenTraced();
}

[[gnu::noinline]] const char* StringTokenizer::getNextTokenTraced() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_NEXT_TOKEN);
    return handOutBytes();
}

[[gnu::always_inline]] inline icu::UnicodeString StringTokenizer::handOutString() {
    icu::UnicodeString token;
    if (hasMoreTokens()) {
        const std::u16string_view units = tokens_->at(static_cast<std::size_t>(index_));
        fill(token, units);
        tokenString_.setTo(/*isTerminated=*/false, units.data(),
                           static_cast<int32_t>(units.size()));
        ++index_;
    } else {
        tokenString_ = token;
    }
    return token;
}

icu::UnicodeString StringTokenizer::getFirstTokenString() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_FIRST_TOKEN_STRING);
    index_ = 0;
    return handOutString();
}

icu::UnicodeString StringTokenizer::getNextTokenString() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_NEXT_TOKEN_STRING);
    return handOutString();
}

}  // namespace nx::oss
