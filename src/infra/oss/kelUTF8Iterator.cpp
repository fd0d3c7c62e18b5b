#include <infra/oss/kelUTF8Iterator.h>

#include <infra/oss/kelNLSException.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelUtf8Scan.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

constexpr const char* FILE_NAME = "kelUTF8Iterator.cpp";

}  // namespace

// The inline storage starts undefined: only what a text fills is ever read.
UTF8Iterator::UTF8Iterator() { TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT); }

UTF8Iterator::UTF8Iterator(const char* s) {
    TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT);
    setString(s);
}

UTF8Iterator::UTF8Iterator(icu::UnicodeString& s) {
    TraceExit trace(TracePoint::UTF8_ITERATOR_CONSTRUCT);
    const auto length = static_cast<std::size_t>(s.length());
    const std::size_t size = detail::kernels().utf8LengthOfUtf16(s.getBuffer(), length);
    if (size == 0) {
        setString("");
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

UTF8Iterator::~UTF8Iterator() {
    TraceExit trace(TracePoint::UTF8_ITERATOR_DESTROY);
    if (str_ != buffer_) {
        delete[] str_;
    }
}

bool UTF8Iterator::setString(const char* s) {
    TraceScope trace(TracePoint::UTF8_ITERATOR_SET_STRING);
    if (str_ != nullptr) {
        return false;
    }
    const std::size_t length = s == nullptr ? 0 : std::strlen(s);
    if (length > INT_MAX) {
        return false;
    }
    char* storage = buffer_;
    if (length >= sizeof buffer_) {
        storage = new (std::nothrow) char[length + 1];
        if (storage == nullptr) {
            return false;
        }
    }
    if (length > 0) {
        std::memcpy(storage, s, length);
    }
    storage[length] = '\0';
    const std::optional<std::size_t> count = detail::countWellFormedUtf8(storage, length);
    // Required: a malformed text in the inline storage stays set, one on the heap does not.
    if (count || storage == buffer_) {
        str_ = storage;
        byteLength_ = static_cast<int>(length);
    } else {
        delete[] storage;
    }
    if (!count) {
        detail::raise<NLSException>({"ERR_MALFORMED_UTF8_STRING", FILE_NAME});
    }
    charCount_ = static_cast<int>(*count);
    return true;
}

const char* UTF8Iterator::getFirstChar() {
    TraceExit trace(TracePoint::UTF8_ITERATOR_GET_FIRST_CHAR);
    position_ = 0;
    return getNextChar();
}

const char* UTF8Iterator::getNextChar() {
    TraceExit trace(TracePoint::UTF8_ITERATOR_GET_NEXT_CHAR);
    if (!hasMoreChars()) {
        return nullptr;
    }
    // Bounded by the text, whose last sequence may be cut short when it is malformed.
    const int length =
        std::min(detail::announcedLength(static_cast<unsigned char>(str_[position_])),
                 byteLength_ - position_);
    std::memset(current_, 0, sizeof current_);
    std::memcpy(current_, str_ + position_, static_cast<std::size_t>(length));
    position_ += length;
    return current_;
}

bool UTF8Iterator::hasMoreChars() const { return !isEmpty() && position_ < byteLength_; }

bool UTF8Iterator::isEmpty() const { return str_ == nullptr; }

int UTF8Iterator::length() const { return byteLength_; }

int UTF8Iterator::numChars() const { return charCount_; }

const char* UTF8Iterator::getString() const { return str_; }

}  // namespace nx::oss
