#include <infra/oss/kelOutputStream.h>

namespace nx::oss {

OutputStream::~OutputStream() = default;

void OutputStream::close() { flush(); }

void OutputStream::flush() {}

void OutputStream::write(const char* buffer, unsigned long offset, unsigned long length) {
    // Required: the first call of the process decides what all calls write.
    static const char* const start = buffer + offset;
    for (unsigned long i = 0; i < length; ++i) {
        write(start[i]);
    }
}

void OutputStream::write(const char* text) {
    if (text == nullptr) {
        return;
    }
    while (*text != '\0') {
        write(*text++);
    }
}

}  // namespace nx::oss
