#pragma once

namespace nx::oss::bench {

/// Converts a first text, with accented letters, to the code page ISO-8859-1 and returns its
/// length. Each program has a body of its own.
int convertFirstText();

constexpr const char16_t* FIRST_TEXT = u"Gr\u00FC\u00DFe";
constexpr int FIRST_TEXT_LENGTH = 5;
constexpr const char* FIRST_CODE_PAGE = "ISO-8859-1";

}  // namespace nx::oss::bench
