#pragma once

#include <string>
#include <string_view>

#include <unicode/unistr.h>

namespace tools {

/// The text with one pair changed, or added behind its last line. All else stays as it is, comments
/// and order too. Throws Failure when the changed text would not read as it should.
std::string withProperty(std::string_view text, const icu::UnicodeString& key,
                         const icu::UnicodeString& value);

}  // namespace tools
