#pragma once

namespace nx::oss::detail {

/// The file that an error names when the buffer that a conversion fills cannot grow, whoever owns
/// the buffer: the header of the conversions.
inline constexpr const char* CONVERSION_BUFFER_FILE = "include/infra/oss/kelConverter";

}  // namespace nx::oss::detail
