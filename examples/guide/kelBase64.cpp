// The guide's page on Base64.
#include <infra/oss/kelUTF8String.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>

#include <unicode/ustream.h>

#include <iostream>
#include <string>

namespace {

using nx::util::Base64;

// [encode]
icu::UnicodeString encoded(const std::string& bytes) {
    const std::size_t size = Base64::encodeSize(bytes.size());
    icu::UnicodeString text;
    auto* const units = reinterpret_cast<unsigned short*>(
        text.getBuffer(static_cast<int>(size)));
    Base64::encode(units, size, bytes.data(), bytes.size());
    text.releaseBuffer(static_cast<int>(size));
    return text;
}
// [encode]

// [decode]
std::string decoded(icu::UnicodeString text) {
    const auto length = static_cast<std::size_t>(text.length());
    // Errors show the text up to a zero unit, so there has to be one.
    const auto* const units =
        reinterpret_cast<const unsigned short*>(text.getTerminatedBuffer());
    std::string bytes(Base64::decodeSize(length), '\0');
    bytes.resize(Base64::decode(bytes.data(), bytes.size(), units, length));
    return bytes;
}
// [decode]

// [forgiving]
// Decodes text with line breaks in it, as mail has them.
std::string decodedLines(icu::UnicodeString text) {
    text.findAndReplace("\r", "").findAndReplace("\n", "");
    return decoded(text);
}
// [forgiving]

void tryToDecode(const icu::UnicodeString& text) {
    try {
        std::cout << decoded(text) << "\n";
    } catch (const nx::util::Base64Exception& failure) {
        icu::UnicodeString report;
        std::cout << failure.messages.getFirstMessage().toString(report)
                  << "\n";
    }
}

}  // namespace

int main() {
    std::cout << encoded("hello") << "\n";
    tryToDecode("aGVsbG8=");
    std::cout << decodedLines("aGVs\r\nbG8=\r\n") << "\n";
    tryToDecode("aGVsbG8");
    tryToDecode("aGVs*G8=");
    tryToDecode("aGVsbG8=\n");
}
