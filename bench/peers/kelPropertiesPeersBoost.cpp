#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <memory>
#include <sstream>

#include "kelPropertiesBench.h"

namespace nx::oss::bench {

namespace {

using boost::property_tree::ptree;
constexpr const char* CONTENDER = "Boost ptree ini";

ptree parse(const std::string& text) {
    std::istringstream in(text);
    ptree tree;
    boost::property_tree::read_ini(in, tree);
    return tree;
}

ptree::path_type pathOf(const std::string& key) { return {key, '/'}; }

double typed(const ptree& tree, const std::string& key, ValueKind kind) {
    switch (kind) {
        case ValueKind::INTEGER:
            return tree.get<int>(pathOf(key));
        case ValueKind::BOOLEAN:
            return static_cast<double>(tree.get<bool>(pathOf(key)));
        default:
            return tree.get<double>(pathOf(key));
    }
}

void addReading(const PropertiesSample& sample, const std::shared_ptr<ptree>& tree) {
    const auto get = [tree, &pairs = sample.pairs](std::size_t i) {
        return tree->get<std::string>(pathOf(pairs[i].first));
    };
    addLookup(
        sample, CONTENDER,
        [get](std::size_t i, const std::string& value) { return get(i) == value; },
        [get](std::size_t i) { benchmark::DoNotOptimize(get(i)); });
    addTyped(sample, CONTENDER, [tree, &pairs = sample.pairs](std::size_t i) {
        return typed(*tree, pairs[i].first, kindOf(i));
    });
}

}  // namespace

void addPropertiesBoost(const PropertiesSample& sample) {
    if (!sample.isPlain() && sample.shape != "shuffled") {
        return;
    }
    addPerElement(sample.workload("parse", "line"), CONTENDER, sample.lines,
                  [&text = sample.text] { benchmark::DoNotOptimize(parse(text)); });
    if (sample.isPlain()) {
        const auto tree = std::make_shared<ptree>(parse(sample.text));
        addReading(sample, tree);
        addPerElement("store " + std::to_string(sample.lines) + " [per pair]", CONTENDER,
                      sample.lines, [tree] {
                          std::ostringstream out;
                          boost::property_tree::write_ini(out, *tree);
                          benchmark::DoNotOptimize(out);
                      });
    }
}

}  // namespace nx::oss::bench
