#pragma once

#include <string>

#include "common/kelReport.h"

namespace tools {

struct ServeOptions {
    unsigned long port;
    unsigned long maxLength;
    unsigned long
        timeoutMs;  ///< after which a connection on which nothing moves is ended; 0: never
    unsigned long connections;  ///< after which to stop; 0: no limit
    bool answers;
    std::string saveFile;  ///< empty for none
};

/// Serves clients, each in a thread of its own, until SIGINT or SIGTERM or the last connection.
ExitStatus serveItems(const ServeOptions& options);

}  // namespace tools
