// Reads arbitrary units as Base64 and compares result, error and every byte with a slow reader;
// then writes arbitrary bytes and reads them back.
//
// Input: a byte of switches, the capacity of the target, then the text. Switches: 1 takes the safe
// alphabet, 2 takes pairs of bytes as units instead of single ones.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "support/kelBase64Oracle.h"

namespace {

void require(const std::optional<std::string>& difference) {
    if (difference) {
        std::fprintf(stderr, "%s\n", difference->c_str());
        std::abort();
    }
}

std::u16string unitsOf(std::string_view bytes, bool pairs) {
    std::u16string units;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        unsigned unit = static_cast<unsigned char>(bytes[i]);
        if (pairs && i + 1 < bytes.size()) {
            unit |= static_cast<unsigned>(static_cast<unsigned char>(bytes[++i])) << 8;
        }
        units += static_cast<char16_t>(unit);
    }
    return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const bool safe = (data[0] & 1) != 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data + 2), size - 2);
    const std::u16string text = unitsOf(bytes, (data[0] & 2) != 0);
    require(nx::test::differenceInDecoding(text, text.size(), data[1], safe));
    require(nx::test::differenceInDecoding(text, text.size(), text.size(), safe));
    require(nx::test::differenceInEncoding(bytes, data[1], safe));
    require(nx::test::differenceInEncoding(bytes, 2 * size + 4, safe));
    return 0;
}
