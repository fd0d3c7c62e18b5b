#include "infra/detail/kelUnicodeBuffer.h"

#include <limits>

#include "infra/detail/kelKernels.h"
#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

char16_t* writableBuffer(icu::UnicodeString& text, std::size_t length) {
    constexpr std::size_t LONGEST = std::numeric_limits<int32_t>::max() - 64;
    char16_t* const buffer =
        length > LONGEST ? nullptr : text.getBuffer(static_cast<int32_t>(length));
    if (buffer == nullptr) {
        raiseBadAlloc();
    }
    return buffer;
}

void assignLatin1(icu::UnicodeString& text, const char* bytes, std::size_t length) {
    text.remove();
    kernels().latin1ToUtf16(bytes, length, writableBuffer(text, length));
    text.releaseBuffer(static_cast<int32_t>(length));
}

}  // namespace nx::oss::detail
