#include <boost/algorithm/hex.hpp>
#include <boost/algorithm/searching/boyer_moore_horspool.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <iterator>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

void addBoost(const SearchSample& sample) {
    addCompared(indexOfWorkload(sample), "Boost Boyer-Moore-Horspool", indexOfNeedle(sample),
                [&sample] {
                    const auto found = boost::algorithm::boyer_moore_horspool_search(
                        sample.once.begin(), sample.once.end(), NEEDLE.begin(), NEEDLE.end());
                    return static_cast<std::size_t>(found.first - sample.once.begin());
                });
    addReplace(sample, "Boost replace_all_copy", [&sample](std::string_view replacement) {
        return boost::algorithm::replace_all_copy(sample.often, NEEDLE, replacement);
    });
}

void addBoost(const HexSample& sample) {
    addCompared(encodeWorkload(sample), "Boost hex", sample.digits, [&sample] {
        std::string digits;
        digits.reserve(2 * sample.bytes.size());
        boost::algorithm::hex_lower(sample.bytes, std::back_inserter(digits));
        return digits;
    });
    addCompared(decodeWorkload(sample), "Boost unhex", sample.bytes, [&sample] {
        std::string bytes;
        bytes.reserve(sample.digits.size() / 2);
        boost::algorithm::unhex(sample.digits, std::back_inserter(bytes));
        return bytes;
    });
}

}  // namespace nx::oss::bench
