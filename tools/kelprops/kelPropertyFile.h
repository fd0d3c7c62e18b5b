#pragma once

#include <string>
#include <utility>
#include <vector>

#include <unicode/unistr.h>

#include <infra/util/kelExtendedProperties.h>

namespace tools {

/// The largest properties file that is taken; those that hold settings are far smaller.
constexpr std::size_t LARGEST_PROPERTIES = 256UL << 20U;

/// Keys that a program gives values before it reads the file.
using Definitions = std::vector<std::pair<icu::UnicodeString, icu::UnicodeString>>;

/// Puts those into the set that the file does not have itself.
void define(nx::util::ExtendedProperties& properties, const Definitions& definitions);

/// The bytes of a properties file, or of standard input for "-".
std::string readProperties(const std::string& path);

/// Key or value as the text of the format, in one line.
std::string writtenText(const icu::UnicodeString& text, bool isKey);
/// A value as it stands in a line. Blanks at its start are escaped, so that it reads back as it is
/// wherever that is possible.
std::string writtenValue(const icu::UnicodeString& value);
/// The line "key=value" for one pair, without line end.
std::string writtenPair(const icu::UnicodeString& key, const icu::UnicodeString& value);

/// Whether a pair is the same after it was stored and loaded by the library.
bool survivesStore(const icu::UnicodeString& key, const icu::UnicodeString& value);
/// Whether a pair is the same after the tool wrote it and the library loaded it.
bool survivesWriting(const icu::UnicodeString& key, const icu::UnicodeString& value);

/// The whole set as ExtendedProperties::store() writes it.
std::string storedText(nx::util::ExtendedProperties& properties);

}  // namespace tools
