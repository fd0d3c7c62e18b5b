#pragma once

#include <string>

#include "support/kelRaises.h"

namespace nx::test {

/// The two errors of Converter.
inline Report conversionError(std::string fromCodePage, std::string toCodePage) {
    return Report("ERR_CONV_CONVERSION_ERROR")
        .in("kelConverter.cpp")
        .with({std::move(fromCodePage), std::move(toCodePage)});
}

inline Report bufferError(int capacity) {
    return Report("ERR_BUFFER_SIZE_TOO_SMALL")
        .in("kelConverter.cpp")
        .with({std::to_string(capacity)});
}

}  // namespace nx::test
