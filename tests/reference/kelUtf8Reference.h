#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Slow examination of UTF-8, byte by byte, with nothing of the library.
namespace nx::oss::reference {

/// Characters of a text that is well-formed by table 3-7 of the Unicode Standard.
std::optional<std::size_t> wellFormedCharacters(std::string_view text);

/// Characters, each as long as its first byte tells; nothing when a byte cannot be first.
std::optional<std::size_t> charactersByFirstBytes(std::string_view text);

/// The bytes from `position` to the end of the character that begins there: none where a byte
/// cannot be first, fewer than it announces at the end of the text.
std::string characterAt(std::string_view text, std::size_t position);

}  // namespace nx::oss::reference
