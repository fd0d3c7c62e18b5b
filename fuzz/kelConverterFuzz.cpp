// Compares Converter with ICU's own string class.
//
// Input: target code page, source code page, form, capacity below or above the exact fit, then the
// source: bytes, or with an even form UTF-16 units in this machine's byte order.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "support/kelCodePages.h"
#include "support/kelConverterOracle.h"

namespace {

using nx::test::CODE_PAGE_ALIASES;
using nx::test::CODE_PAGES;
using nx::test::ConverterOracle;

constexpr std::size_t HEADER = 4;

const char* codePage(std::uint8_t choice) {
    const std::size_t index = choice % (std::size(CODE_PAGES) + std::size(CODE_PAGE_ALIASES));
    return index < std::size(CODE_PAGES) ? CODE_PAGES[index]
                                         : CODE_PAGE_ALIASES[index - std::size(CODE_PAGES)];
}

ConverterOracle oracle(const std::uint8_t* header, const std::string& source) {
    if ((header[2] & 1) != 0) {
        return {source, codePage(header[1]), codePage(header[0])};
    }
    icu::UnicodeString text;
    const auto units = static_cast<int32_t>(source.size() / sizeof(char16_t));
    std::memcpy(text.getBuffer(units), source.data(),
                static_cast<std::size_t>(units) * sizeof(char16_t));
    text.releaseBuffer(units);
    return {text, codePage(header[0])};
}

void require(const std::string& difference) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < HEADER) {
        return 0;
    }
    const std::string source(data + HEADER, data + size);
    const ConverterOracle wanted = oracle(data, source);
    const int capacity = wanted.size() + static_cast<std::int8_t>(data[3]);
    require(wanted.checkConversion((data[2] & 2) != 0, capacity));
    require(wanted.checkAll());
    return 0;
}
