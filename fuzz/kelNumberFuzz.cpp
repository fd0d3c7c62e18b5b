// Parses arbitrary text in all six ways and compares values and errors with the C library.
//
// Input: a byte, odd for UTF-16 code units and even for UTF-8, then the text.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/kelNumberOracle.h"

namespace {

icu::UnicodeString textOf(const std::uint8_t* data, std::size_t size) {
    const char* const bytes = reinterpret_cast<const char*>(data);
    const auto length = static_cast<int32_t>(size);
    if (size == 0 || data[0] % 2 == 0) {
        return icu::UnicodeString::fromUTF8(size == 0 ? icu::StringPiece()
                                                      : icu::StringPiece(bytes + 1, length - 1));
    }
    icu::UnicodeString text;
    const int32_t units = (length - 1) / 2;
    char16_t* const buffer = text.getBuffer(units + 1);
    std::memcpy(buffer, bytes + 1, static_cast<std::size_t>(units) * sizeof *buffer);
    text.releaseBuffer(units);
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const auto difference = nx::oss::test::differenceInParsing(textOf(data, size))) {
        std::fprintf(stderr, "%s\n", difference->c_str());
        std::abort();
    }
    return 0;
}
