#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/util/kelExtendedProperties.h>
#include <unicode/unistr.h>

#include <string>
#include <vector>

#include "kelInstructionProbe.h"

namespace nx::oss::bench {

namespace {

using util::ExtendedProperties;

constexpr int PAIRS = 100;

std::string keyOf(int i) { return "server.option" + std::to_string(i); }

std::string plainLines() {
    std::string text;
    for (int i = 0; i < PAIRS; ++i) {
        text += keyOf(i) + "=" + std::to_string(1000 * i) + "\n";
    }
    return text;
}

std::string linesWithReferences() {
    std::string text = "home=/opt/product\n";
    for (int i = 0; i < PAIRS; ++i) {
        text += keyOf(i) + "=%home%/part" + std::to_string(i) + "\n";
    }
    return text;
}

void countLoading() {
    count("ExtendedProperties::load, 100 lines", [text = plainLines()] {
        ExtendedProperties properties;
        properties.load(text.data(), text.size());
        keep(properties);
    });
    count("ExtendedProperties::loadFromString, 100 references", [text = linesWithReferences()] {
        ExtendedProperties properties;
        properties.loadFromString(text.data(), text.size(), /*flag=*/false, /*resolve=*/true);
        keep(properties);
    });
}

void countReading(const ExtendedProperties& properties) {
    const icu::UnicodeString key("server.option42");
    count("ExtendedProperties::requireProperty",
          [&properties, &key] { keep(properties.requireProperty(key)); });
    count("ExtendedProperties::getProperty with a default, absent",
          [&properties, absent = icu::UnicodeString("server.other"), &key] {
              keep(properties.getProperty(absent, key));
          });
    count("ExtendedProperties::hasProperty",
          [&properties, &key] { keep(properties.hasProperty(key)); });
    count("ExtendedProperties::getPropertyAsInt32",
          [&properties, &key] { keep(properties.getPropertyAsInt32(key, 0)); });
    count("ExtendedProperties::getPropertyAsUInt64",
          [&properties, &key] { keep(properties.getPropertyAsUInt64(key, 0UL)); });
    count("ExtendedProperties::getPropertyAsDouble",
          [&properties, &key] { keep(properties.getPropertyAsDouble(key, 0.0)); });
}

void countChanging(ExtendedProperties& properties) {
    const icu::UnicodeString key("server.option42");
    count("ExtendedProperties::putProperty, known key",
          [&properties, &key] { properties.putProperty(key, key); });
    count("ExtendedProperties::putProperty and removeProperty",
          [&properties, added = icu::UnicodeString("server.other")] {
              properties.putProperty(added, added);
              properties.removeProperty(added);
          });
    count("ExtendedProperties::copy, 100 pairs", [&properties] {
        ExtendedProperties copy;
        copy.copy(properties);
        keep(copy);
    });
    count("ExtendedProperties::store, 100 pairs",
          [&properties, bytes = std::vector<char>(PAIRS * 64)]() mutable {
              ByteArrayOutputStream stream(bytes.data(), bytes.size());
              properties.store(stream);
              keep(stream.getCount());
          });
}

}  // namespace

void countSettings() {
    countLoading();
    ExtendedProperties properties;
    const std::string text = plainLines();
    properties.load(text.data(), text.size());
    countReading(properties);
    countChanging(properties);
}

}  // namespace nx::oss::bench
