#include <absl/strings/str_split.h>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

void addAbsl(const TokenSample& sample) {
    addSplit<char>(sample, "absl StrSplit", [](const std::string& text, auto take) {
        const std::vector<std::string> tokens =
            absl::StrSplit(text, absl::ByAnyChar(DELIMITERS), absl::SkipEmpty());
        for (const std::string& token : tokens) {
            take(token);
        }
    });
    addSplit<char>(sample, "(partial) absl StrSplit to views",
                   [](const std::string& text, auto take) {
                       const std::vector<absl::string_view> tokens =
                           absl::StrSplit(text, absl::ByAnyChar(DELIMITERS), absl::SkipEmpty());
                       for (const absl::string_view token : tokens) {
                           take({token.data(), token.size()});
                       }
                   });
}

}  // namespace nx::oss::bench
