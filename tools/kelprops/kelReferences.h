#pragma once

#include <string>
#include <vector>

#include <unicode/unistr.h>

#include <infra/util/kelExtendedProperties.h>

namespace tools {

/// A reference that cannot be expanded, as the library reports it.
struct BadReference {
    icu::UnicodeString key;  ///< whose value holds it
    icu::UnicodeString name;
    std::vector<icu::UnicodeString> way;  ///< from `name` back to `key`; empty unless it is a cycle
    std::string report;                   ///< the text of the library's error
};

/// Expands all references of the set, and collects every one that cannot be. A value with such a
/// reference is empty afterwards, so that those that refer to it are not blamed too.
std::vector<BadReference> resolveAll(nx::util::ExtendedProperties& properties);

/// One reference as it stands in a value.
struct Reference {
    icu::UnicodeString from;
    icu::UnicodeString to;
};

/// The references that stand in the values of a set that is not expanded, in key order, each once
/// for each key.
std::vector<Reference> referencesIn(const nx::util::ExtendedProperties& properties);

}  // namespace tools
