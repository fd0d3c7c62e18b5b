#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Base64 compared with the slow reference: result, error record, and every byte in and around the
/// destination, with the kernels that the processor allows and with the plain ones. The first
/// difference in words, nothing when there is none.
namespace nx::test {

/// Decodes the first `length` units of a text into `capacity` bytes.
std::optional<std::string> differenceInDecoding(const std::u16string& text, std::size_t length,
                                                std::size_t capacity, bool safe);

/// Encodes into `capacity` units, and decodes what comes out when they are enough.
std::optional<std::string> differenceInEncoding(std::string_view bytes, std::size_t capacity,
                                                bool safe);

}  // namespace nx::test
