#pragma once

#include <list>
#include <string>

#include <infra/util/kelExtendedProperties.h>

#include "reference/kelPropertiesModel.h"

namespace nx::test {

/// Comparisons of ExtendedProperties with the slow model. Each gives "" or what differs.
///
/// The model stands in for the set as it should be: its pairs in order of their keys.

std::u16string text16(const icu::UnicodeString& text);
icu::UnicodeString icuText(const std::u16string& text);

/// The pairs of the set and of the model, and what looking them up finds.
std::string differenceOf(const util::ExtendedProperties& properties, const PropertiesModel& model);

/// Reads the text line by line, as a whole, and as a UnicodeString.
std::string compareReading(const std::string& bytes);

/// Stores a set with these pairs and include names, and reads it back.
std::string compareStoring(const PropertiesModel& model);

/// Which value is expanded, and how.
enum class Expansion {
    ALL,         ///< resolveProperties()
    STORED,      ///< resolveProperty() of the stored value of `name`
    OTHER_NAME,  ///< resolveProperty() of the stored value of `stored` under the name `name`
    FOREIGN      ///< resolveProperty() of a value that is not in the set
};

struct ExpansionCase {
    PropertiesModel model;
    std::list<std::u16string> inProgress;
    Expansion expansion;
    std::u16string name;
    std::u16string stored;  ///< for OTHER_NAME a key of the model
    std::u16string value;   ///< for FOREIGN
};

/// Pairs, list, value and error after the expansion. A case whose result outgrows the model is left
/// out.
std::string compareExpansion(ExpansionCase each);

}  // namespace nx::test
