#include <absl/strings/escaping.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

namespace {

// Its string view may be a type of its own.
absl::string_view viewOf(std::string_view text) { return {text.data(), text.size()}; }

}  // namespace

void addAbslAppend() {
    addAppend("absl StrAppend", [](std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            absl::StrAppend(&text, viewOf(APPENDED));
        }
        return text.size();
    });
}

void addAbsl(const SearchSample& sample) {
    addReplace(sample, "absl StrReplaceAll", [&sample](std::string_view replacement) {
        return absl::StrReplaceAll(sample.often, {{viewOf(NEEDLE), viewOf(replacement)}});
    });
}

void addAbsl(const HexSample& sample) {
    addCompared(encodeWorkload(sample), "absl", sample.digits,
                [&sample] { return absl::BytesToHexString(sample.bytes); });
    // Does not look whether the characters are digits.
    addCompared(decodeWorkload(sample), "(partial) absl", sample.bytes,
                [&sample] { return absl::HexStringToBytes(sample.digits); });
}

}  // namespace nx::oss::bench
