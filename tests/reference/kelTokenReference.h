#pragma once

#include <string>
#include <vector>

namespace nx::test::reference {

/// The tokens of a text, one unit and one slot at a time: the slow way, which stores a text for
/// every delimiter.
std::vector<std::u16string> tokensOf(std::u16string text, const std::u16string& delimiters);

}  // namespace nx::test::reference
