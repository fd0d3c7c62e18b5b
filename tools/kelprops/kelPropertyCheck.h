#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

#include "kelprops/kelPropertyFile.h"

namespace tools {

/// Something in a properties file that its writer will not have meant.
struct PropertyProblem {
    unsigned long line;
    icu::UnicodeString key;
    std::string text;
};

/// What was found in one file.
struct PropertyReport {
    unsigned long properties = 0;
    std::vector<PropertyProblem> problems;  ///< in the order of the lines
};

/// Looks for every kind of problem. References may lead to a definition, too.
PropertyReport checkProperties(std::string_view text, const Definitions& definitions);

}  // namespace tools
