#pragma once

#include <string>

#include "common/kelCommandLine.h"

namespace tools {

/// How the command is called, on one line.
std::string synopsisOf(const Tool& tool, const Command& command);
/// The text of --help for a tool with several commands.
std::string helpOf(const Tool& tool);
/// The text of --help for one command.
std::string helpOf(const Tool& tool, const Command& command);
/// The text of --version.
std::string versionOf(const Tool& tool);

}  // namespace tools
