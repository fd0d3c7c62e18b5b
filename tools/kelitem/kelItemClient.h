#pragma once

#include <string>
#include <vector>

#include <unicode/unistr.h>

#include "common/kelReport.h"

namespace tools {

/// Where a client connects to, and how long it waits.
struct Server {
    icu::UnicodeString host;
    unsigned long port;
    unsigned long timeoutMs;  ///< for the connection, and for each read and write; 0: no limit
    unsigned long maxLength;
};

/// What a client does with the answers to its items.
enum class Answers { NONE, COUNT, PRINT, CHECK };

struct SendOptions {
    std::vector<std::string> files;
    std::vector<std::string> texts;  ///< instead of files
    bool byLines;
    Answers answers;
    bool quiet;
};

/// Sends files, or their lines, as items.
ExitStatus sendItems(const Server& server, const SendOptions& options);

struct PingOptions {
    unsigned long count;
    unsigned long intervalMs;
    unsigned long size;
    bool quiet;
};

/// Measures the time from an item to its answer. SIGINT ends it early, with what was measured.
ExitStatus pingItems(const Server& server, const PingOptions& options);

}  // namespace tools
