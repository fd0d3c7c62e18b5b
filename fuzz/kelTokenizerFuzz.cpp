// Splits arbitrary text at arbitrary delimiters and compares every token, as text and as bytes,
// with those that a slow splitter finds; then the same bytes through the constructor that decodes
// them.
//
// Input: the number of delimiters, the delimiters, then the text; all in units of two bytes, the
// lower one first, but for the number.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <infra/oss/kelStringTokenizer.h>

#include "reference/kelTokenReference.h"

namespace {

using icu::UnicodeString;
using nx::oss::StringTokenizer;
using Tokens = std::vector<std::u16string>;

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

std::u16string unitsOf(const std::uint8_t* data, std::size_t size) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        units += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    }
    return units;
}

UnicodeString textOf(const std::u16string& units) {
    return UnicodeString(units.data(), static_cast<int>(units.size()));
}

/// What a text buffer keeps: bytes above 4,096 end at their first NUL.
std::string bytesOf(const std::u16string& token) {
    std::string bytes;
    textOf(token).toUTF8String(bytes);
    return bytes.size() > 4096 ? bytes.c_str() : bytes;
}

void compare(StringTokenizer& tokenizer, const Tokens& wanted) {
    require(tokenizer.countTokens() == static_cast<int>(wanted.size()), "number of tokens");
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        require((i == 0 ? tokenizer.getFirstTokenString() : tokenizer.getNextTokenString()) ==
                    textOf(wanted[i]),
                "text of a token");
    }
    require(!tokenizer.hasMoreTokens(), "more tokens");
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const char* const got = i == 0 ? tokenizer.getFirstToken() : tokenizer.getNextToken();
        const std::string bytes = bytesOf(wanted[i]);
        require(std::string(got, bytes.size() + 1) == bytes + '\0', "bytes of a token");
    }
    require(*tokenizer.getNextToken() == '\0', "bytes behind the last token");
}

/// Bytes as the text that they are, up to their first NUL.
std::u16string decoded(const std::string& bytes) {
    const UnicodeString text = UnicodeString::fromUTF8(bytes.c_str());
    return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::u16string units = unitsOf(data + 1, size - 1);
    const std::size_t count = std::min<std::size_t>(data[0], units.size());
    const std::u16string delimiters = units.substr(0, count);
    const std::u16string text = units.substr(count);
    // In a block of just this size, without a terminator, so that reading beyond it is noticed.
    const std::vector<char16_t> block(text.begin(), text.end());
    StringTokenizer tokenizer("");
    tokenizer.parseString(
        UnicodeString(/*isTerminated=*/false, block.data(), static_cast<int>(block.size())),
        textOf(delimiters));
    compare(tokenizer, nx::test::reference::tokensOf(text, delimiters));

    const std::string raw(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string first = raw.substr(0, data[0]);
    const std::string rest = raw.substr(first.size());
    StringTokenizer ofBytes(rest.c_str(), first.c_str());
    compare(ofBytes, nx::test::reference::tokensOf(decoded(rest), decoded(first)));
    return 0;
}
