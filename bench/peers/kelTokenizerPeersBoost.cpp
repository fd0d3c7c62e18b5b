#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/tokenizer.hpp>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

void addBoost(const TokenSample& sample) {
    addSplit<char>(sample, "boost::tokenizer", [](const std::string& text, auto take) {
        const boost::char_separator<char> separator(DELIMITERS);
        for (const std::string& token : boost::tokenizer(text, separator)) {
            take(token);
        }
    });
    addSplit<char>(sample, "boost::split", [](const std::string& text, auto take) {
        std::vector<std::string> tokens;
        boost::split(tokens, text, boost::is_any_of(DELIMITERS), boost::token_compress_on);
        for (const std::string& token : tokens) {
            if (!token.empty()) {  // there is an empty one behind delimiters at the end
                take(token);
            }
        }
    });
}

}  // namespace nx::oss::bench
