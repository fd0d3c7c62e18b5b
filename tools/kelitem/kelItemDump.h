#pragma once

#include <string>

#include "common/kelFiles.h"
#include "common/kelReport.h"

namespace tools {

struct DumpOptions {
    unsigned long maxLength;
    unsigned long shownBytes;  ///< of each item
    bool asText;
};

/// Prints the items of a stream as they went over a connection. A stream that ends inside an item,
/// and a length above the limit, are problems; nothing behind it can be told apart.
ExitStatus dumpItems(InputFile& input, const DumpOptions& options);

}  // namespace tools
