#include <infra/oss/kelStringTokenizer.h>

#include <cstring>
#include <memory>
#include <utility>

#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTokenScan.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"
#include "infra/detail/kelUnicodeBuffer.h"
#include "infra/detail/kelUnitText.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr std::u16string_view DEFAULT_DELIMITERS = u" \r\n\t";

icu::UnicodeString decode(const char* text, const char* codePage) {
    return text == nullptr ? icu::UnicodeString()
                           : detail::decode(text, std::strlen(text), codePage);
}

std::unique_ptr<icu::UnicodeString[]> makeTokens(std::size_t count) {
    std::unique_ptr<icu::UnicodeString[]> tokens(new icu::UnicodeString[count]);
    if (tokens == nullptr) {
        detail::raiseBadAlloc();  // ICU's operator new returns null
    }
    return tokens;
}

void assign(icu::UnicodeString& token, std::u16string_view text) {
    std::memcpy(detail::writableBuffer(token, text.size()), text.data(),
                text.size() * sizeof(char16_t));
    token.releaseBuffer(static_cast<int32_t>(text.size()));
}

}  // namespace

StringTokenizer::StringTokenizer(const icu::UnicodeString& text, const char* delimiters) {
    TraceExit trace(TracePoint::STRING_TOKENIZER_CONSTRUCT);
    parseString(text, decode(delimiters, nullptr));
}

StringTokenizer::StringTokenizer(const char* text, const char* delimiters, const char* codePage) {
    TraceExit trace(TracePoint::STRING_TOKENIZER_CONSTRUCT);
    if (codePage != nullptr) {
        std::memcpy(codePage_, codePage, strnlen(codePage, sizeof codePage_ - 1));
    }
    parseString(decode(text, codePage_), decode(delimiters, codePage_));
}

StringTokenizer::~StringTokenizer() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_DESTROY);
    delete[] tokens_;
}

void StringTokenizer::parseString(const icu::UnicodeString& text,
                                  const icu::UnicodeString& delimiters) {
    TraceScope trace(TracePoint::STRING_TOKENIZER_PARSE_STRING);
    index_ = 0;
    count_ = 0;
    tokenBytes_.clear();
    tokenString_.remove();
    delete[] std::exchange(tokens_, nullptr);
    if (!text.isEmpty()) {
        split(detail::viewOf(text),
              delimiters.isEmpty() ? DEFAULT_DELIMITERS : detail::viewOf(delimiters));
    }
}

/// A carriage return with a line feed needs no care: as delimiters they count once in any case.
void StringTokenizer::split(std::u16string_view text, std::u16string_view delimiters) {
    const detail::UnitSet set(delimiters);
    detail::TokenScan scan(text, set);
    const std::size_t count = scan.count();
    auto tokens = makeTokens(count);
    scan.forEach(
        [next = tokens.get()](std::u16string_view token) mutable { assign(*next++, token); });
    tokens_ = tokens.release();
    count_ = static_cast<int>(count);
}

const char* StringTokenizer::getFirstToken() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_FIRST_TOKEN);
    index_ = 0;
    return handOutBytes();
}

const char* StringTokenizer::getNextToken() {
    TraceExit trace(TracePoint::STRING_TOKENIZER_GET_NEXT_TOKEN);
    return handOutBytes();
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

bool StringTokenizer::hasMoreTokens() const { return index_ < count_; }

int StringTokenizer::countTokens() const { return count_; }

const char* StringTokenizer::handOutBytes() {
    tokenBytes_.clear();
    if (hasMoreTokens()) {
        tokenBytes_.appendString(tokens_[index_], codePage_);
        ++index_;
    }
    return tokenBytes_.getString();
}

const icu::UnicodeString& StringTokenizer::handOutString() {
    if (hasMoreTokens()) {
        tokenString_ = tokens_[index_];  // long tokens share their storage
        ++index_;
    } else {
        tokenString_.remove();
    }
    return tokenString_;
}

}  // namespace nx::oss
