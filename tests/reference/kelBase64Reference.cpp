#include "reference/kelBase64Reference.h"

#include <bitset>

namespace nx::reference {

namespace {

std::u16string_view alphabet(bool safe) {
    return safe ? u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"
                : u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

/// As an error argument the text ends at a zero.
Base64Reading misaligned(unsigned long line, std::u16string_view whole, const std::string& bytes) {
    return {"ERR_BASE64_MISALIGNED_DATA", line, std::u16string(whole.substr(0, whole.find(u'\0'))),
            bytes};
}

/// The low 32 bits as a signed number.
std::u16string shownCapacity(std::size_t capacity) {
    const std::string digits = std::to_string(static_cast<int>(capacity));
    return {digits.begin(), digits.end()};
}

Base64Reading readPadding(std::u16string_view text, std::u16string_view whole, std::size_t at,
                          const std::string& bits, const std::string& bytes) {
    const std::size_t wanted = at % 4 == 2 ? 2 : 1;
    if (at % 4 < 2) {
        return misaligned(289, whole, bytes);
    }
    if (wanted == 2 && text.substr(at, 2) != u"==") {
        return misaligned(298, whole, bytes);
    }
    if (bits.find('1', bytes.size() * 8) != std::string::npos) {
        return misaligned(313, whole, bytes);
    }
    if (at + wanted != text.size()) {
        return misaligned(321, whole, bytes);
    }
    return {"", 0, u"", bytes};
}

}  // namespace

std::u16string base64Of(std::string_view bytes, bool safe) {
    std::string bits;
    for (const char byte : bytes) {
        bits += std::bitset<8>(static_cast<unsigned char>(byte)).to_string();
    }
    while (bits.size() % 6 != 0) {
        bits += "00";
    }
    std::u16string text;
    for (std::size_t i = 0; i < bits.size(); i += 6) {
        text += alphabet(safe)[std::bitset<6>(bits, i, 6).to_ulong()];
    }
    while (text.size() % 4 != 0) {
        text += u'=';
    }
    return text;
}

Base64Reading readBase64(std::u16string_view text, std::u16string_view whole, std::size_t capacity,
                         bool safe) {
    std::string bits;
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'=') {
            return readPadding(text, whole, i, bits, bytes);
        }
        const std::size_t value = alphabet(safe).find(text[i]);
        if (value == std::u16string_view::npos) {
            return {"ERR_BASE64_INVALID_DATA", 112, std::u16string(1, text[i]), bytes};
        }
        bits += std::bitset<6>(value).to_string();
        if (bits.size() / 8 > bytes.size()) {
            if (bytes.size() == capacity) {
                return {"ERR_BUFFER_SIZE_TOO_SMALL", 252, shownCapacity(capacity), bytes};
            }
            bytes += static_cast<char>(std::bitset<8>(bits, bytes.size() * 8, 8).to_ulong());
        }
    }
    return text.size() % 4 == 0 ? Base64Reading{"", 0, u"", bytes} : misaligned(372, whole, bytes);
}

}  // namespace nx::reference
