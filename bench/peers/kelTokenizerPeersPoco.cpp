#include <Poco/StringTokenizer.h>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

void addPoco(const TokenSample& sample) {
    addSplit<char>(sample, "POCO StringTokenizer", [](const std::string& text, auto take) {
        const Poco::StringTokenizer tokens(text, DELIMITERS,
                                           Poco::StringTokenizer::TOK_IGNORE_EMPTY);
        for (const std::string& token : tokens) {
            take(token);
        }
    });
}

}  // namespace nx::oss::bench
