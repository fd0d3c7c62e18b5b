#include <cstring>
#include <map>
#include <memory>
#include <unordered_map>

#include "kelPropertiesBench.h"

namespace nx::oss::bench {

namespace {

// What no reader of lines can do without: find the line's end and its separator, and put two
// strings into a container. It knows no escapes, comments or white space.
template <class Put>
void scan(const std::string& text, Put put) {
    const char* pos = text.data();
    const char* const end = pos + text.size();
    while (pos < end) {
        const auto* newline =
            static_cast<const char*>(std::memchr(pos, '\n', static_cast<std::size_t>(end - pos)));
        const char* const lineEnd = newline == nullptr ? end : newline;
        const auto* separator = static_cast<const char*>(
            std::memchr(pos, '=', static_cast<std::size_t>(lineEnd - pos)));
        put(std::string(pos, separator), std::string(separator + 1, lineEnd));
        pos = lineEnd + 1;
    }
}

using HashMap = std::unordered_map<std::string, std::string>;
using TreeMap = std::map<std::string, std::string>;

void fill(HashMap& map, const std::string& text) {
    scan(text, [&map](std::string&& key, std::string&& value) {
        map.insert_or_assign(std::move(key), std::move(value));
    });
}

void fill(TreeMap& map, const std::string& text) {
    scan(text, [&map](std::string&& key, std::string&& value) {
        map.insert_or_assign(map.end(), std::move(key), std::move(value));
    });
}

double numberOf(const std::string& value, ValueKind kind) {
    switch (kind) {
        case ValueKind::INTEGER:
            return static_cast<double>(std::strtol(value.c_str(), nullptr, 10));
        case ValueKind::BOOLEAN:
            return static_cast<double>(value == "true");
        default:
            return std::strtod(value.c_str(), nullptr);
    }
}

template <class Map>
void addStore(const PropertiesSample& sample, const std::string& contender,
              const std::shared_ptr<Map>& map) {
    addPerElement("store " + std::to_string(sample.lines) + " [per pair]", contender, sample.lines,
                  [map, out = std::string()]() mutable {
                      out.clear();
                      for (const auto& [key, value] : *map) {
                          out.append(key).append(1, '=').append(value).append("\r\n");
                      }
                      benchmark::DoNotOptimize(out.data());
                  });
}

template <class Map>
void addMap(const PropertiesSample& sample, const std::string& contender) {
    const auto map = std::make_shared<Map>();
    fill(*map, sample.text);
    addPerElement(sample.workload("parse", "line"), contender, sample.lines, [&text = sample.text] {
        Map parsed;
        fill(parsed, text);
        benchmark::DoNotOptimize(parsed);
    });
    if (!sample.isPlain()) {
        return;
    }
    const auto at = [map, &pairs = sample.pairs](std::size_t i) -> const std::string& {
        return map->find(pairs[i].first)->second;
    };
    addLookup(
        sample, contender, [at](std::size_t i, const std::string& value) { return at(i) == value; },
        [at](std::size_t i) { benchmark::DoNotOptimize(at(i)); });
    addTyped(sample, contender, [at](std::size_t i) { return numberOf(at(i), kindOf(i)); });
    addStore(sample, contender, map);
}

}  // namespace

void addPropertiesLimits(const PropertiesSample& sample) {
    if (sample.isPlain() || sample.shape == "shuffled") {
        addMap<HashMap>(sample, "(limit) scan + unordered_map");
        addMap<TreeMap>(sample, "(limit) scan + std::map");
    }
}

}  // namespace nx::oss::bench
