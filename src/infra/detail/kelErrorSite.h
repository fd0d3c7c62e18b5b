#pragma once

namespace nx::oss::detail {

/// Where an error is raised and what it is called: the three facts of every report that are known
/// when the code is written.
///
/// The line is the one that writes the site, unless it is fixed as part of the behaviour.
struct ErrorSite {
    constexpr ErrorSite(const char* errorIdentifier, const char* file,
                        unsigned long sourceLine = __builtin_LINE())
        : identifier(errorIdentifier), fileName(file), line(sourceLine) {}

    const char* identifier;
    const char* fileName;  ///< null where the report names no file
    unsigned long line;
};

}  // namespace nx::oss::detail
