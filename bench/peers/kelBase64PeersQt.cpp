#include <QByteArray>
#include <cstring>

#include "kelBase64Bench.h"

namespace nx::oss::bench {

void addQt(const Base64Sample& sample) {
    addEncoder(sample, "Qt", [](const std::string& bytes, char16_t* text) {
        const QByteArray encoded =
            QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())).toBase64();
        const auto size = static_cast<std::size_t>(encoded.size());
        widenText(encoded.data(), size, text);
        return size;
    });
    addDecoder(sample, "Qt", [](const std::u16string& text, char* bytes) {
        const std::string narrow = narrowed(text);
        const auto decoded = QByteArray::fromBase64Encoding(
            QByteArray::fromRawData(narrow.data(), static_cast<qsizetype>(narrow.size())),
            QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded) {
            return REFUSED;
        }
        const auto size = static_cast<std::size_t>(decoded.decoded.size());
        std::memcpy(bytes, decoded.decoded.data(), size);
        return size;
    });
}

}  // namespace nx::oss::bench
