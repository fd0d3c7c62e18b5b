// Reads arbitrary bytes as the quoted hexadecimal form and compares the outcome with a slow reader;
// then writes them in that form and reads them back.
//
// Input: the size of the target, then the text.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelNLSException.h>

namespace {

using nx::oss::DataBuffer;

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

int digitValue(char c) {
    const std::string digits = "0123456789abcdef";
    const std::size_t at = digits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    return at == std::string::npos || c == '\0' ? -1 : static_cast<int>(at);
}

/// The line of the error, or the bytes.
struct Outcome {
    unsigned long line = 0;
    std::string bytes;
};

Outcome readSlowly(const std::string& text, int size) {
    if (text.size() < 3 || (text.size() - 3) % 2 != 0) {
        return {1575, ""};
    }
    if (text[0] != 'X' || text[1] != '\'' || text.back() != '\'') {
        return {1585, ""};
    }
    std::string bytes;
    for (std::size_t i = 2; i + 1 < text.size(); i += 2) {
        const int high = digitValue(text[i]);
        const int low = digitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            return {1595, ""};
        }
        bytes.push_back(static_cast<char>(high * 16 + low));
    }
    return static_cast<int>(bytes.size()) > size ? Outcome{1610, ""} : Outcome{0, bytes};
}

Outcome read(const std::string& text, int size) {
    DataBuffer buffer;
    buffer.saveString(0, text.data(), static_cast<int>(text.size()));
    std::string target(static_cast<std::size_t>(size) + 1, '?');
    try {
        const int count = buffer.getBinary(target.data(), size);
        require(count <= size, "count");
        require(target.find_first_not_of('?', static_cast<std::size_t>(count)) == std::string::npos,
                "bytes behind the count");
        require(buffer.getBinary(nullptr, 0) == count, "size query");
        return {0, target.substr(0, static_cast<std::size_t>(count))};
    } catch (const nx::oss::NLSException& exception) {
        require(target.find_first_not_of('?') == std::string::npos, "bytes in spite of the error");
        return {exception.messages.getFirstMessage().getLineNumber(), ""};
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const Outcome wanted = readSlowly(text, data[0]);
    const Outcome got = read(text, data[0]);
    require(got.line == wanted.line, "error line");
    require(got.bytes == wanted.bytes, "bytes");

    DataBuffer written;
    written.appendBinary(text.data(), static_cast<int>(text.size()), (data[0] & 1) != 0);
    const std::string form(written.getString(), static_cast<std::size_t>(written.length()));
    if (!text.empty()) {
        require(read(form, static_cast<int>(text.size())).bytes == text, "round trip");
    }
    return 0;
}
