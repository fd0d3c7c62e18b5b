#include "reference/kelUtf8Reference.h"

#include <iterator>

#include "reference/kelUtf8Table.h"

namespace nx::oss::reference {

namespace {

std::size_t sizeByFirstByte(char first) {
    constexpr ByteRange FIRST[] = {{}, {0x00, 0x7F}, {0xC0, 0xDF}, {0xE0, 0xEF}, {0xF0, 0xF7}};
    for (std::size_t size = 1; size < std::size(FIRST); ++size) {
        if (FIRST[size].holds(first)) {
            return size;
        }
    }
    return 0;
}

}  // namespace

std::optional<std::size_t> wellFormedCharacters(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++count) {
        const std::size_t size = firstCharacter(text.substr(i));
        if (size == 0) {
            return std::nullopt;
        }
        i += size;
    }
    return count;
}

std::optional<std::size_t> charactersByFirstBytes(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++count) {
        const std::size_t size = sizeByFirstByte(text[i]);
        if (size == 0) {
            return std::nullopt;
        }
        i += size;
    }
    return count;
}

std::string characterAt(std::string_view text, std::size_t position) {
    return std::string(text.substr(position, sizeByFirstByte(text[position])));
}

}  // namespace nx::oss::reference
