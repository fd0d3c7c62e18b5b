#define KELINFRA_BUILDS_INLINES
#include <infra/oss/kelUTF8Iterator.h>

#include <infra/oss/kelNLSException.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelUtf8Scan.h"

namespace nx::oss {

using detail::NO_COUNT;
using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr const char* FILE_NAME = "kelUTF8Iterator.cpp";

[[noreturn]] void raiseMalformed() {
    detail::raise<NLSException>({"ERR_MALFORMED_UTF8_STRING", FILE_NAME});
}

}  // namespace

const UTF8Iterator::TraceMaskFunction UTF8Iterator::TRACE_MASK = trcGetCompFlag;

// The inline storage starts undefined: only what a text fills is ever read.
UTF8Iterator::UTF8Iterator(icu::UnicodeString& s) {
    TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT);
    const auto length = static_cast<std::size_t>(s.length());
    const std::size_t size = detail::kernels().utf8LengthOfUtf16(s.getBuffer(), length);
    if (size < sizeof buffer_) {
        takeUtf16(s.getBuffer(), length);
        return;
    }
    const auto bytes = std::make_unique<char[]>(size + 1);
    detail::kernels().utf16ToUtf8(s.getBuffer(), length, bytes.get(), size);
    setString(bytes.get());
}

UTF8Iterator::UTF8Iterator(const UTF8Iterator& other) {
    TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT);
    setString(other.getString());
}

void UTF8Iterator::traceConstruction() { TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT); }

void UTF8Iterator::traceNextChar() { TraceExit trace(TracePoint::UTF8_ITERATOR_GET_NEXT_CHAR); }

void UTF8Iterator::traceFirstChar() { TraceExit trace(TracePoint::UTF8_ITERATOR_GET_FIRST_CHAR); }

void UTF8Iterator::constructTraced(const char* s) {
    TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT);
    setStringTraced(s);
}

void UTF8Iterator::destroy() {
    TraceExit trace(TracePoint::UTF8_ITERATOR_DESTROY);
    if (str_ != buffer_) {
        delete[] str_;
    }
}

bool UTF8Iterator::setStringTraced(const char* s) {
    TraceScope trace(TracePoint::UTF8_ITERATOR_SET_STRING);
    return str_ == nullptr && take(s);
}

bool UTF8Iterator::take(const char* s) {
    if (s == nullptr) {
        s = "";
    }
    const std::size_t length = std::strlen(s);
    if (length >= sizeof buffer_) {
        return takeLong(s, length);
    }
    const std::size_t characters = detail::kernels().copyUtf8Text(s, length, buffer_);
    // Required: a malformed text in the inline storage stays set, one on the heap does not.
    str_ = buffer_;
    byteLength_ = static_cast<int>(length);
    if (characters == NO_COUNT) {
        raiseMalformed();
    }
    charCount_ = static_cast<int>(characters);
    return true;
}

/// A text that the inline storage is too small for.
bool UTF8Iterator::takeLong(const char* s, std::size_t length) {
    if (length > INT_MAX) {
        return false;
    }
    std::unique_ptr<char[]> storage(new (std::nothrow) char[length + 1]);
    if (storage == nullptr) {
        return false;
    }
    const std::size_t characters = detail::kernels().copyUtf8Text(s, length, storage.get());
    if (characters == NO_COUNT) {
        raiseMalformed();
    }
    str_ = storage.release();
    byteLength_ = static_cast<int>(length);
    charCount_ = static_cast<int>(characters);
    return true;
}

/// The character that its first byte announces, as far as the text reaches.
UTF8Iterator::Step UTF8Iterator::stepInMalformed() const {
    const char* const text = str_ + position_;
    // Required: a byte that begins no character is nothing, and is not stepped over.
    const int announced = detail::announcedLength(static_cast<unsigned char>(*text));
    const int size = std::min(announced, byteLength_ - position_);
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, text, static_cast<std::size_t>(size));
    return {firstLowest(bytes), static_cast<std::uint32_t>(size)};
}

/// A text that fits the inline storage in UTF-8: converted there, and well-formed by that.
void UTF8Iterator::takeUtf16(const char16_t* text, std::size_t length) {
    TraceScope trace(TracePoint::UTF8_ITERATOR_SET_STRING);
    const std::size_t size =
        detail::kernels().utf16ToUtf8(text, length, buffer_, sizeof buffer_ - 1).written;
    buffer_[size] = '\0';
    str_ = buffer_;
    const std::size_t terminated = std::strlen(buffer_);
    byteLength_ = static_cast<int>(terminated);
    charCount_ = static_cast<int>(detail::kernels().countUtf8Characters(buffer_, terminated));
}

}  // namespace nx::oss
