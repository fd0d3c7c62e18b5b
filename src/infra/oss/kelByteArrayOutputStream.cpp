#include <infra/oss/kelByteArrayOutputStream.h>

#include <infra/oss/kelIOException.h>

#include "infra/detail/kelRaise.h"
#include "infra/detail/kelTraceScope.h"

namespace nx::oss {

using detail::TraceExit;
using detail::TracePoint;

namespace {

constexpr detail::ErrorSite ARRAY_FULL{"ERR_BUFFER_SIZE_TOO_SMALL", "kelByteArrayOutputStream.cpp",
                                       47};

}  // namespace

ByteArrayOutputStream::ByteArrayOutputStream(char* buffer, unsigned long size)
    : buffer_(buffer), size_(size) {
    TraceExit trace(TracePoint::BYTE_ARRAY_OUTPUT_STREAM_CONSTRUCT);
}

ByteArrayOutputStream::~ByteArrayOutputStream() {
    TraceExit trace(TracePoint::BYTE_ARRAY_OUTPUT_STREAM_DESTROY);
}

void ByteArrayOutputStream::write(char c) {
    if (count_ >= size_) {
        detail::raise<IOException>(ARRAY_FULL, static_cast<unsigned int>(size_));
    }
    buffer_[count_++] = c;
}

char* ByteArrayOutputStream::roomFor(unsigned long count) {
    return count <= size_ - count_ ? buffer_ + count_ : nullptr;
}

void ByteArrayOutputStream::wroteUpTo(const char* end) {
    count_ = static_cast<unsigned long>(end - buffer_);
}

unsigned long ByteArrayOutputStream::getCount() const { return count_; }

}  // namespace nx::oss
