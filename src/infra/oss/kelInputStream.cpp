#include <infra/oss/kelInputStream.h>

namespace nx::oss {

InputStream::~InputStream() = default;

void InputStream::close() {}

unsigned long InputStream::read(char* buffer, unsigned long offset, unsigned long length) {
    unsigned long count = 0;
    // A source that stores through the pointer at its end must not change the caller's array.
    for (char c = '\0'; count < length && read(&c) != 0; ++count) {
        buffer[offset + count] = c;
    }
    return count;
}

}  // namespace nx::oss
