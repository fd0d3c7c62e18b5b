#pragma once

#include "common/kelCommandLine.h"

/// The commands of kelprops, each in a source of its own.
namespace tools {

ExitStatus checkCommand(const CommandLine& line);
ExitStatus getCommand(const CommandLine& line);
ExitStatus listCommand(const CommandLine& line);
ExitStatus resolveCommand(const CommandLine& line);
ExitStatus diffCommand(const CommandLine& line);
ExitStatus setCommand(const CommandLine& line);
ExitStatus graphCommand(const CommandLine& line);

}  // namespace tools
