#pragma once

#include <string>

#include <infra/util/kelExtendedProperties.h>

#include "common/kelCommandLine.h"
#include "kelprops/kelPropertyFile.h"

/// What the commands of kelprops do with their arguments before they begin.
namespace tools {

/// The keys that --define gives.
Definitions definitionsOf(const CommandLine& line);

/// The set of a file, its references expanded unless they are wanted as written. What was defined
/// serves to expand them, and does not stay.
void load(nx::util::ExtendedProperties& properties, const std::string& path,
          const CommandLine& line);

/// Whether anything has that name, or may have it.
bool exists(const std::string& path);

/// Helps who names the file last.
void requireFileFirst(const CommandLine& line);

/// "KEY=VALUE" for a person.
std::string shown(const icu::UnicodeString& key, const icu::UnicodeString& value);

}  // namespace tools
