#include <Poco/AutoPtr.h>
#include <Poco/MemoryStream.h>
#include <Poco/Util/PropertyFileConfiguration.h>

#include <memory>
#include <sstream>

#include "kelPropertiesBench.h"

namespace nx::oss::bench {

namespace {

using Poco::Util::PropertyFileConfiguration;
using File = Poco::AutoPtr<PropertyFileConfiguration>;

File parse(const std::string& text) {
    Poco::MemoryInputStream in(text.data(), static_cast<std::streamsize>(text.size()));
    return new PropertyFileConfiguration(in);
}

/// Its references are ${name}.
std::string pocoText(const PropertiesSample& sample) {
    if (sample.shape != "refs") {
        return sample.text;
    }
    std::string text;
    bool opened = false;
    for (const char c : sample.text) {
        if (c == '%') {
            text += opened ? "}" : "${";
            opened = !opened;
        } else {
            text += c;
        }
    }
    return text;
}

double typed(const PropertyFileConfiguration& file, const std::string& key, ValueKind kind) {
    switch (kind) {
        case ValueKind::INTEGER:
            return file.getInt(key);
        case ValueKind::BOOLEAN:
            return static_cast<double>(file.getBool(key));
        default:
            return file.getDouble(key);
    }
}

void addReading(const PropertiesSample& sample, const File& file) {
    const auto raw = [file, &pairs = sample.pairs](std::size_t i) {
        return file->getRawString(pairs[i].first);
    };
    const auto expanded = [file, &pairs = sample.pairs](std::size_t i) {
        return file->getString(pairs[i].first);
    };
    addLookup(
        sample, "POCO getRawString",
        [raw](std::size_t i, const std::string& value) { return raw(i) == value; },
        [raw](std::size_t i) { benchmark::DoNotOptimize(raw(i)); });
    addLookup(
        sample, "POCO getString",
        [expanded](std::size_t i, const std::string& value) { return expanded(i) == value; },
        [expanded](std::size_t i) { benchmark::DoNotOptimize(expanded(i)); });
    addTyped(sample, "POCO", [file, &pairs = sample.pairs](std::size_t i) {
        return typed(*file, pairs[i].first, kindOf(i));
    });
}

// It expands at every reading: each value is read once, as the library's references are expanded
// once.
void readAll(const PropertyFileConfiguration& file, const PropertiesSample& sample) {
    for (const auto& [key, value] : sample.pairs) {
        benchmark::DoNotOptimize(file.getString(key));
    }
}

void addParse(const PropertiesSample& sample, const std::shared_ptr<std::string>& text) {
    const File file = parse(*text);
    for (const auto& [key, value] : sample.pairs) {
        require(file->getString(key) == value, sample.workload("parse", "POCO"));
    }
    addPerElement(sample.workload("parse", "line"), "POCO", sample.lines, [text, &sample] {
        const File parsed = parse(*text);
        if (sample.shape == "refs") {
            readAll(*parsed, sample);
        }
        benchmark::DoNotOptimize(parsed.get());
    });
}

}  // namespace

void addPropertiesPoco(const PropertiesSample& sample) {
    if (sample.shape == "unicode") {
        return;
    }
    const auto text = std::make_shared<std::string>(pocoText(sample));
    addParse(sample, text);
    if (sample.isPlain()) {
        const File file = parse(*text);
        addReading(sample, file);
        addPerElement("store " + std::to_string(sample.lines) + " [per pair]", "POCO", sample.lines,
                      [file] {
                          std::ostringstream out;
                          file->save(out);
                          benchmark::DoNotOptimize(out);
                      });
    }
}

}  // namespace nx::oss::bench
