#include "kelPropertiesBench.h"

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/util/kelExtendedProperties.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <random>

namespace nx::oss::bench {

namespace {

using util::ExtendedProperties;

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    char text[256];
    std::snprintf(text, sizeof text, pattern, arguments...);
    return text;
}

std::string keyOf(std::size_t i) { return format("server%03zu.option%06zu", i / 1000, i); }

std::string plainValue(std::size_t i) {
    switch (kindOf(i)) {
        case ValueKind::INTEGER:
            return std::to_string(i * 7 + 1);
        case ValueKind::BOOLEAN:
            return i % 2 == 0 ? "true" : "false";
        default:
            return format("%zu.25", i);
    }
}

void add(PropertiesSample& sample, const std::string& line, const std::string& key,
         const std::string& value) {
    sample.text += line;
    sample.pairs.emplace_back(key, value);
}

void addPlainLine(PropertiesSample& sample, std::size_t i) {
    add(sample, keyOf(i) + "=" + plainValue(i) + "\n", keyOf(i), plainValue(i));
}

// Comments, blank lines, continuation lines, escapes and both separators.
void addRichLine(PropertiesSample& sample, std::size_t i) {
    const std::string key = keyOf(i);
    switch (i % 5) {
        case 0:
            return add(sample, "# What option " + std::to_string(i) + " does\n" + key + ": yes\n",
                       key, "yes");
        case 1:
            return add(sample, "\n" + key + " = first part,\\\nsecond part\n", key,
                       "first part,second part");
        case 2:
            return add(sample, key + "=C:\\\\program\\\\data\n", key, "C:\\program\\data");
        case 3:
            return add(sample, key + "=one\\ttwo\\nthree\n", key, "one\ttwo\nthree");
        default:
            return addPlainLine(sample, i);
    }
}

void addUnicodeLine(PropertiesSample& sample, std::size_t i) {
    if (i % 2 == 0) {
        return addPlainLine(sample, i);
    }
    add(sample, keyOf(i) + "=caf\\u00E9 \\u03B1\\u03B2\\u03B3 " + std::to_string(i) + "\n",
        keyOf(i), "caf\u00E9 \u03B1\u03B2\u03B3 " + std::to_string(i));
}

// A third of the values refer to values that refer to another.
void addReferenceLine(PropertiesSample& sample, std::size_t i) {
    if (i % 3 != 0) {
        return addPlainLine(sample, i);
    }
    const std::string name = "/option" + std::to_string(i);
    if (i == 0) {
        return add(sample, keyOf(0) + "=/opt/application\n", keyOf(0), "/opt/application");
    }
    if (i < 30) {
        return add(sample, keyOf(i) + "=%" + keyOf(0) + "%" + name + "\n", keyOf(i),
                   "/opt/application" + name);
    }
    const std::size_t base = 3 * (1 + i % 9);
    add(sample, keyOf(i) + "=%" + keyOf(base) + "%" + name + "\n", keyOf(i),
        "/opt/application/option" + std::to_string(base) + name);
}

using AddLine = void (*)(PropertiesSample& sample, std::size_t i);

PropertiesSample makeSample(const std::string& shape, std::size_t lines, AddLine addLine) {
    PropertiesSample sample{shape, lines, {}, {}};
    for (std::size_t i = 0; i < lines; ++i) {
        addLine(sample, i);
    }
    return sample;
}

PropertiesSample shuffledSample(std::size_t lines) {
    std::vector<std::size_t> order(lines);
    for (std::size_t i = 0; i < lines; ++i) {
        order[i] = i;
    }
    std::shuffle(order.begin(), order.end(), std::mt19937(4711));
    PropertiesSample sample{"shuffled", lines, {}, {}};
    for (const std::size_t i : order) {
        addPlainLine(sample, i);
    }
    return sample;
}

std::vector<std::size_t> sizes() {
    std::vector<std::size_t> sizes{100, 10'000};
    if (!isSmallRun()) {
        sizes.push_back(200'000);
    }
    return sizes;
}

std::vector<PropertiesSample> allSamples() {
    std::vector<PropertiesSample> samples;
    const auto add = [&samples](auto sampleOf) {
        for (const std::size_t size : sizes()) {
            samples.push_back(sampleOf(size));
        }
    };
    add([](std::size_t size) { return makeSample("plain", size, addPlainLine); });
    add(shuffledSample);
    add([](std::size_t size) { return makeSample("rich", size, addRichLine); });
    add([](std::size_t size) { return makeSample("unicode", size, addUnicodeLine); });
    add([](std::size_t size) { return makeSample("refs", size, addReferenceLine); });
    return samples;
}

std::string utf8Of(const icu::UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

std::vector<icu::UnicodeString> keysOf(const PropertiesSample& sample) {
    std::vector<icu::UnicodeString> keys;
    for (const auto& [key, value] : sample.pairs) {
        keys.push_back(icu::UnicodeString::fromUTF8(key));
    }
    return keys;
}

void addParse(const PropertiesSample& sample, const ExtendedProperties& expected) {
    const std::string workload = sample.workload("parse", "line");
    for (const auto& [key, value] : sample.pairs) {
        require(utf8Of(expected.requireProperty(icu::UnicodeString::fromUTF8(key))) == value,
                workload);
    }
    addPerElement(workload, "kelinfra", sample.lines,
                  [&text = sample.text, resolve = sample.shape == "refs"] {
                      ExtendedProperties properties;
                      properties.loadFromString(text.data(), text.size(), /*flag=*/false, resolve);
                      benchmark::DoNotOptimize(properties.begin());
                  });
}

void addReading(const PropertiesSample& sample,
                const std::shared_ptr<ExtendedProperties>& properties) {
    const auto keys = std::make_shared<std::vector<icu::UnicodeString>>(keysOf(sample));
    addLookup(
        sample, "kelinfra",
        [&](std::size_t i, const std::string& value) {
            return utf8Of(properties->requireProperty((*keys)[i])) == value;
        },
        [properties, keys](std::size_t i) {
            benchmark::DoNotOptimize(properties->requireProperty((*keys)[i]));
        });
    addTyped(sample, "kelinfra", [properties, keys](std::size_t i) -> double {
        switch (kindOf(i)) {
            case ValueKind::INTEGER:
                return properties->requirePropertyAsInt32((*keys)[i]);
            case ValueKind::BOOLEAN:
                return properties->requirePropertyAsBoolean((*keys)[i]);
            default:
                return properties->requirePropertyAsDouble((*keys)[i]);
        }
    });
}

void addStore(const PropertiesSample& sample,
              const std::shared_ptr<ExtendedProperties>& properties) {
    const std::string workload = "store " + std::to_string(sample.lines) + " [per pair]";
    const auto bytes = std::make_shared<std::vector<char>>(sample.text.size() * 2 + 4096);
    ByteArrayOutputStream out(bytes->data(), bytes->size());
    properties->store(out);
    ExtendedProperties again;
    again.load(bytes->data(), out.getCount());
    require(std::equal(again.begin(), again.end(), properties->begin(), properties->end()),
            workload);
    addPerElement(workload, "kelinfra", sample.lines, [properties, bytes] {
        ByteArrayOutputStream stream(bytes->data(), bytes->size());
        properties->store(stream);
        benchmark::DoNotOptimize(stream.getCount());
    });
}

void addOurs(const PropertiesSample& sample) {
    const auto properties = std::make_shared<ExtendedProperties>();
    properties->loadFromString(sample.text.data(), sample.text.size());
    addParse(sample, *properties);
    if (sample.isPlain()) {
        addReading(sample, properties);
        addStore(sample, properties);
    }
}

void addPeers(const PropertiesSample& sample) {
    addPropertiesLimits(sample);
#ifdef KELINFRA_BENCH_GLIB
    addPropertiesGlib(sample);
#endif
#ifdef KELINFRA_BENCH_POCO
    addPropertiesPoco(sample);
#endif
#ifdef KELINFRA_BENCH_BOOST
    addPropertiesBoost(sample);
#endif
#ifdef KELINFRA_BENCH_QT
    addPropertiesQt(sample);
#endif
}

}  // namespace

std::string PropertiesSample::workload(const std::string& verb, const std::string& unit) const {
    return verb + " " + shape + " " + std::to_string(lines) + " [per " + unit + "]";
}

std::string iniText(const PropertiesSample& sample, const std::string& group) {
    std::string text = group.empty() ? "" : "[" + group + "]\n";
    for (const auto& [key, value] : sample.pairs) {
        text += key;
        text += '=';
        text += value;
        text += '\n';
    }
    return text;
}

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    pinToOneProcessor();
    static const std::vector<PropertiesSample> samples = allSamples();
    for (const PropertiesSample& sample : samples) {
        addOurs(sample);
        addPeers(sample);
    }
    return run();
}
