#include "kelprops/kelPropertyFile.h"

#include <infra/oss/kelOutputStream.h>

#include "common/kelFiles.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

/// A stream of the library that grows.
class StringStream : public nx::oss::OutputStream {
  public:
    using OutputStream::write;
    void write(char c) override { text_ += c; }
    const std::string& text() const { return text_; }

  private:
    std::string text_;
};

bool readsBackAs(const std::string& line, const icu::UnicodeString& key,
                 const icu::UnicodeString& value) {
    ExtendedProperties read;
    read.load(line.data(), line.size());
    const icu::UnicodeString* const found = read.getProperty(key, nullptr, false);
    return found != nullptr && *found == value;
}

}  // namespace

void define(ExtendedProperties& properties, const Definitions& definitions) {
    for (const auto& [key, value] : definitions) {
        if (!properties.hasProperty(key)) {
            properties.putProperty(key, value);
        }
    }
}

std::string readProperties(const std::string& path) { return readWhole(path, LARGEST_PROPERTIES); }

std::string writtenText(const icu::UnicodeString& text, bool isKey) {
    StringStream stream;
    ExtendedProperties::writeString(stream, text, isKey, /*escapeSpecial=*/true);
    return stream.text();
}

std::string writtenValue(const icu::UnicodeString& value) {
    std::string text = writtenText(value, /*isKey=*/false);
    for (std::size_t i = 0; i < text.size() && text[i] == ExtendedProperties::charBlank; i += 2) {
        text.insert(i, 1, ExtendedProperties::charEscape);
    }
    return text;
}

std::string writtenPair(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    return writtenText(key, /*isKey=*/true) + ExtendedProperties::charEquals + writtenValue(value);
}

bool survivesStore(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    return readsBackAs(writtenText(key, /*isKey=*/true) + ExtendedProperties::charEquals +
                           writtenText(value, /*isKey=*/false) + "\r\n",
                       key, value);
}

bool survivesWriting(const icu::UnicodeString& key, const icu::UnicodeString& value) {
    return readsBackAs(writtenPair(key, value) + "\n", key, value);
}

std::string storedText(ExtendedProperties& properties) {
    StringStream stream;
    properties.store(stream);
    return stream.text();
}

}  // namespace tools
