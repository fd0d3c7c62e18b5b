#include "kelprops/kelPropsCommands.h"

#include <infra/util/kelPropertiesException.h>

#include <algorithm>
#include <iterator>

#include "common/kelFiles.h"
#include "kelprops/kelPropsInput.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

/// Differences in key order, a line for each side.
std::vector<std::string> compare(const ExtendedProperties& a, const ExtendedProperties& b) {
    std::vector<std::string> lines;
    const auto only = [&](char side, const auto& pair) {
        lines.push_back(paint(side == '-' ? Colour::RED : Colour::GREEN,
                              side + shown(pair.first, pair.second)));
    };
    auto inA = a.begin();
    auto inB = b.begin();
    while (inA != a.end() || inB != b.end()) {
        const bool takeA = inB == b.end() || (inA != a.end() && inA->first <= inB->first);
        const bool takeB = inA == a.end() || (inB != b.end() && inB->first <= inA->first);
        if (!(takeA && takeB && inA->second == inB->second)) {
            if (takeA) {
                only('-', *inA);
            }
            if (takeB) {
                only('+', *inB);
            }
        }
        inA = takeA ? std::next(inA) : inA;
        inB = takeB ? std::next(inB) : inB;
    }
    return lines;
}

}  // namespace

ExitStatus diffCommand(const CommandLine& line) {
    ExtendedProperties sides[2];
    for (std::size_t i = 0; i < 2; ++i) {
        try {
            load(sides[i], line.arguments()[i], line);
        } catch (const nx::util::PropertiesException& failure) {
            // No difference: what cannot be expanded cannot be compared.
            complain(failure);
            throw Failure("the references of '" + printable(line.arguments()[i]) +
                          "' cannot be expanded; compare with --raw");
        }
    }
    const std::vector<std::string> lines = compare(sides[0], sides[1]);
    if (!line.has("quiet")) {
        std::for_each(lines.begin(), lines.end(), print);
    }
    return lines.empty() ? ALL_WELL : PROBLEM_FOUND;
}

}  // namespace tools
