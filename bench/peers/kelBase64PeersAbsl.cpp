#include <absl/strings/escaping.h>

#include "kelBase64Bench.h"

namespace nx::oss::bench {

void addAbsl(const Base64Sample& sample) {
    addEncoder(sample, "absl", [](const std::string& bytes, char16_t* text) {
        std::string encoded;
        absl::Base64Escape(bytes, &encoded);
        widenText(encoded.data(), encoded.size(), text);
        return encoded.size();
    });
    addDecoder(sample, "absl", [](const std::u16string& text, char* bytes) {
        std::string decoded;
        if (!absl::Base64Unescape(narrowed(text), &decoded)) {
            return REFUSED;
        }
        decoded.copy(bytes, decoded.size());
        return decoded.size();
    });
}

}  // namespace nx::oss::bench
