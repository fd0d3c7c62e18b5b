#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nx::oss::test {

/// Checks, counts and walks the bytes as UTF-8 and compares with the table of the Unicode Standard
/// and with ICU. The first difference in words, nothing when there is none.
std::optional<std::string> differenceInUtf8(std::string_view bytes);

}  // namespace nx::oss::test
