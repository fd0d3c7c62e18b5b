// Checks, counts and walks arbitrary bytes as UTF-8 and compares with the table of the Unicode
// Standard and with ICU.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "support/kelUtf8Oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto difference = nx::oss::test::differenceInUtf8(bytes)) {
        std::fprintf(stderr, "%s\n", difference->c_str());
        std::abort();
    }
    return 0;
}
