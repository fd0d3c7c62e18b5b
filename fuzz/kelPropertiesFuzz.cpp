// Compares ExtendedProperties with the slow model: reading, storing and reading back, references.
//
// Input: one byte that says what is expanded, then properties text. The first pairs of the text
// give the name, the value and the list of names under way for the expansion of a single value.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/kelPropertiesOracle.h"

namespace {

using nx::test::Expansion;
using nx::test::ExpansionCase;
using nx::test::PropertiesModel;

// The slow ways are quadratic and recursive.
constexpr std::size_t LONGEST_INPUT = 4096;

void require(const std::string& difference) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

ExpansionCase expansionOf(std::uint8_t choice, const std::string& text) {
    ExpansionCase each{{}, {}, Expansion::ALL, {}, {}, {}};
    each.model.load(text);
    if (each.model.pairs.empty()) {
        return each;
    }
    const auto read = PropertiesModel::read(text);
    each.expansion = static_cast<Expansion>(choice & 3);
    each.name = read.front().first;
    each.value = read.front().second;
    each.stored = read.back().first;
    // Under another name than that of a pair, too.
    if ((choice & 4) != 0 && each.expansion != Expansion::STORED) {
        each.name += u"x";
    }
    for (std::size_t i = 1; i < read.size() && i <= (choice >> 4 & 3); ++i) {
        each.inProgress.push_back((choice & 8) != 0 ? read[i].first : read[i].second);
    }
    return each;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > LONGEST_INPUT) {
        return 0;
    }
    const std::string text(data + 1, data + size);
    require(nx::test::compareReading(text));
    require(nx::test::compareExpansion(expansionOf(data[0], text)));
    return 0;
}
