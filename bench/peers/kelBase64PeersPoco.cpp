#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>
#include <Poco/MemoryStream.h>

#include "kelBase64Bench.h"

namespace nx::oss::bench {

void addPoco(const Base64Sample& sample) {
    addEncoder(sample, "POCO",
               [room = std::string(sample.text.size(), '\0')](const std::string& bytes,
                                                              char16_t* text) mutable {
                   Poco::MemoryOutputStream out(room.data(),
                                                static_cast<std::streamsize>(room.size()));
                   Poco::Base64Encoder encoder(out);
                   encoder.rdbuf()->setLineLength(0);
                   encoder.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
                   encoder.close();
                   const auto size = static_cast<std::size_t>(out.charsWritten());
                   widenText(room.data(), size, text);
                   return size;
               });
    addDecoder(sample, "POCO", [](const std::u16string& text, char* bytes) {
        const std::string narrow = narrowed(text);
        Poco::MemoryInputStream in(narrow.data(), static_cast<std::streamsize>(narrow.size()));
        Poco::Base64Decoder decoder(in);
        decoder.read(bytes, static_cast<std::streamsize>(narrow.size() / 4 * 3));
        return decoder.bad() ? REFUSED : static_cast<std::size_t>(decoder.gcount());
    });
}

}  // namespace nx::oss::bench
