#include <infra/oss/kelByteBuffer.h>

#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include "infra/detail/kelCheckedSize.h"
#include "infra/detail/kelCopyBytes.h"
#include "infra/detail/kelTraceScope.h"
#include "infra/detail/kelTranscode.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;
using detail::TraceScope;

namespace {

using Storage = DefaultAlternateBuffer<char>;

constexpr unsigned long TERMINATOR_SIZE = 1;

bool pointsInto(const Storage& storage, const char* bytes) {
    const std::less<> before;
    return storage.data() != nullptr && !before(bytes, storage.data()) &&
           before(bytes, storage.data() + storage.capacity());
}

void fill(Storage& target, const char* bytes, unsigned long length) {
    target.resize(detail::sizeSum(length, TERMINATOR_SIZE));
    if (target.data() == nullptr) {
        return;  // more than the target's maximum
    }
    std::memcpy(target.data(), bytes, length);
    target.data()[length] = '\0';
}

unsigned long contentLength(const Storage& storage) { return storage.size() - TERMINATOR_SIZE; }

void makeEmpty(Storage& storage) {
    storage.resize(TERMINATOR_SIZE);
    storage.data()[0] = '\0';
}

std::unique_ptr<Storage> filledStorage(const char* bytes, unsigned long length) {
    auto storage = std::make_unique<Storage>();
    if (bytes == nullptr || length == 0) {
        makeEmpty(*storage);
    } else {
        fill(*storage, bytes, length);
    }
    return storage;
}

/// Most appending: there is something to append, and it fits. False, and nothing done, otherwise.
[[gnu::always_inline]] inline bool appendInPlace(Storage& storage, const char* bytes,
                                                 unsigned long length) {
    const unsigned long size = storage.size();
    // A length of 0 is the largest one here.
    if (bytes == nullptr || length - 1 >= storage.capacity() - size) {
        return false;
    }
    storage.resize(size + length);
    char* const end = storage.data() + size - TERMINATOR_SIZE;
    detail::moveBytes(end, bytes, length);
    end[length] = '\0';
    return true;
}

}  // namespace

ByteBuffer::ByteBuffer(unsigned long capacity) {
    TraceExit trace(TracePoint::BYTE_BUFFER_CONSTRUCT);
    auto storage = std::make_unique<Storage>();
    storage->resize(detail::sizeSum(capacity, TERMINATOR_SIZE));
    makeEmpty(*storage);
    buffer_ = storage.release();
}

ByteBuffer::ByteBuffer(const char* bytes, unsigned long length) {
    TraceExit trace(TracePoint::BYTE_BUFFER_CONSTRUCT);
    buffer_ = filledStorage(bytes, length).release();
}

ByteBuffer::ByteBuffer(const icu::UnicodeString& text, const char* codePage) {
    TraceExit trace(TracePoint::BYTE_BUFFER_CONSTRUCT);
    buffer_ = filledStorage(nullptr, 0).release();
    try {
        set(text, codePage);
    } catch (...) {
        delete buffer_;  // which set() may have replaced
        throw;
    }
}

ByteBuffer::ByteBuffer(const ByteBuffer& other) {
    TraceExit trace(TracePoint::BYTE_BUFFER_CONSTRUCT);
    buffer_ = filledStorage(other.data(), contentLength(*other.buffer_)).release();
}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& other) {
    if (this != &other) {
        auto copy = filledStorage(other.data(), contentLength(*other.buffer_));
        delete std::exchange(buffer_, copy.release());
    }
    return *this;
}

ByteBuffer::~ByteBuffer() {
    TraceExit trace(TracePoint::BYTE_BUFFER_DESTROY);
    delete buffer_;
}

const char* ByteBuffer::data() const { return buffer_->data(); }

unsigned long ByteBuffer::size() const { return buffer_->size(); }

unsigned long ByteBuffer::capacity() const { return buffer_->capacity(); }

void ByteBuffer::append(const char* bytes, unsigned long length) {
    // Why: without a host that listens there is nothing to bracket, and the brackets would take as
    // long as a byte.
    if (detail::traceFacilityPresent() || !appendInPlace(*buffer_, bytes, length)) {
        appendTraced(bytes, length);
    }
}

[[gnu::noinline]] void ByteBuffer::appendTraced(const char* bytes, unsigned long length) {
    TraceScope trace(TracePoint::BYTE_BUFFER_APPEND);
    if (bytes == nullptr || length == 0 || appendInPlace(*buffer_, bytes, length)) {
        return;
    }
    const unsigned long oldLength = contentLength(*buffer_);
    const unsigned long newLength = detail::sizeSum(oldLength, length);
    // The old storage lives until both copies are made: the bytes may lie inside it.
    auto grown = std::make_unique<Storage>();
    grown->resize(detail::sizeSum(newLength, TERMINATOR_SIZE));
    std::memcpy(grown->data(), buffer_->data(), oldLength);
    std::memcpy(grown->data() + oldLength, bytes, length);
    grown->data()[newLength] = '\0';
    delete std::exchange(buffer_, grown.release());
}

void ByteBuffer::set(const icu::UnicodeString& text, const char* codePage) {
    TraceScope trace(TracePoint::BYTE_BUFFER_SET);
    clear();
    if (text.isEmpty()) {
        return;
    }
    const char16_t* const units = text.getBuffer();
    const auto count = static_cast<std::size_t>(text.length());
    const std::size_t length = detail::encode(nullptr, 0, codePage, units, count);
    if (length == 0) {
        return;
    }
    const unsigned long size = detail::sizeSum(length, TERMINATOR_SIZE);
    if (size > buffer_->capacity()) {
        // A new storage rather than a larger one: a failing allocation leaves this one in place.
        auto grown = std::make_unique<Storage>();
        grown->resize(size);
        delete std::exchange(buffer_, grown.release());
    }
    try {
        detail::encode(buffer_->data(), length, codePage, units, count);
    } catch (...) {
        makeEmpty(*buffer_);  // drops what was written before memory ran out
        throw;
    }
    buffer_->resize(size);
    buffer_->data()[length] = '\0';
}

void ByteBuffer::clear() {
    TraceScope trace(TracePoint::BYTE_BUFFER_CLEAR);
    makeEmpty(*buffer_);
}

bool ByteBuffer::compare(const char* bytes, unsigned long length) const {
    return bytes != nullptr && contentLength(*buffer_) == length &&
           (length == 0 || std::memcmp(buffer_->data(), bytes, length) == 0);
}

void ByteBuffer::copy(DefaultAlternateBuffer<char>& target, const char* bytes,
                      unsigned long length) {
    if (bytes == nullptr) {
        return;
    }
    if (pointsInto(target, bytes)) {
        // Growing frees the storage that the bytes lie in.
        const auto saved = filledStorage(bytes, length);
        fill(target, saved->data(), length);
        return;
    }
    fill(target, bytes, length);
}

}  // namespace nx::oss
