// Reads arbitrary bytes as an address record and as one of its entries, right before memory that
// nobody may read, and compares with a slow reader.
//
// Input: the record as it lies in memory, its length first; what is missing is zero. The bytes
// behind its length are tried as an entry, too.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/kelAddressRecordOracle.h"

namespace {

constexpr std::size_t RECORD_SIZE = 3000;
constexpr std::size_t LENGTH_SIZE = 2;

void require(const std::string& difference, const char* what) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s: %s\n", what, difference.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string record(bytes.substr(0, RECORD_SIZE));
    record.resize(RECORD_SIZE);
    require(nx::test::compareRecord(record), "record");
    require(nx::test::compareEntry(bytes.substr(std::min(size, LENGTH_SIZE))), "entry");
    return 0;
}
