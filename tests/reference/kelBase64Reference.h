#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Slow Base64 on strings of the digits 0 and 1, with nothing of the library.
namespace nx::reference {

/// The padded text of some bytes.
std::u16string base64Of(std::string_view bytes, bool safe);

/// What reading a text must end in.
struct Base64Reading {
    std::string identifier;  ///< of the error; empty when there is none
    unsigned long line = 0;
    std::u16string argument;
    std::string bytes;  ///< written until then

    bool operator==(const Base64Reading& other) const {
        return identifier == other.identifier && line == other.line && argument == other.argument &&
               bytes == other.bytes;
    }
};

/// Reads `text` into `capacity` bytes. `whole` is what a reader sees that goes on to a zero unit.
Base64Reading readBase64(std::u16string_view text, std::u16string_view whole, std::size_t capacity,
                         bool safe);

}  // namespace nx::reference
