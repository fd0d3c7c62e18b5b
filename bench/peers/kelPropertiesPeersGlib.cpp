#include <glib.h>

#include <memory>

#include "kelPropertiesBench.h"

namespace nx::oss::bench {

namespace {

constexpr const char* GROUP = "settings";
constexpr const char* CONTENDER = "GLib GKeyFile";

struct FreeText {
    void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

std::shared_ptr<GKeyFile> parse(const std::string& text) {
    std::shared_ptr<GKeyFile> file(g_key_file_new(), g_key_file_free);
    require(g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE,
                                      nullptr) != 0,
            CONTENDER);
    return file;
}

double typed(GKeyFile* file, const char* key, ValueKind kind) {
    switch (kind) {
        case ValueKind::INTEGER:
            return g_key_file_get_integer(file, GROUP, key, nullptr);
        case ValueKind::BOOLEAN:
            return g_key_file_get_boolean(file, GROUP, key, nullptr);
        default:
            return g_key_file_get_double(file, GROUP, key, nullptr);
    }
}

void addReading(const PropertiesSample& sample, const std::shared_ptr<GKeyFile>& file) {
    const auto get = [file, &pairs = sample.pairs](std::size_t i) {
        return Text(g_key_file_get_string(file.get(), GROUP, pairs[i].first.c_str(), nullptr));
    };
    addLookup(
        sample, CONTENDER,
        [get](std::size_t i, const std::string& value) { return get(i).get() == value; },
        [get](std::size_t i) { benchmark::DoNotOptimize(get(i)); });
    addTyped(sample, CONTENDER, [file, &pairs = sample.pairs](std::size_t i) {
        return typed(file.get(), pairs[i].first.c_str(), kindOf(i));
    });
}

}  // namespace

void addPropertiesGlib(const PropertiesSample& sample) {
    if (!sample.isPlain() && sample.shape != "shuffled") {
        return;
    }
    const auto text = std::make_shared<std::string>(iniText(sample, GROUP));
    addPerElement(sample.workload("parse", "line"), CONTENDER, sample.lines,
                  [text] { benchmark::DoNotOptimize(parse(*text)); });
    if (sample.isPlain()) {
        const auto file = parse(*text);
        addReading(sample, file);
        addPerElement(
            "store " + std::to_string(sample.lines) + " [per pair]", CONTENDER, sample.lines,
            [file] {
                benchmark::DoNotOptimize(Text(g_key_file_to_data(file.get(), nullptr, nullptr)));
            });
    }
}

}  // namespace nx::oss::bench
