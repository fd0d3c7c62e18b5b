#pragma once

#include <string>

#include "common/kelCommandLine.h"

namespace tools {

/// A script that makes a shell (bash, zsh or fish) complete the command line of the tool. Throws
/// UsageError for another shell.
std::string completionOf(const Tool& tool, const std::string& shell);

}  // namespace tools
