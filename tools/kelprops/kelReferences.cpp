#include "kelprops/kelReferences.h"

#include <infra/util/kelPropertiesException.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <set>

#include "common/kelReport.h"

namespace tools {

namespace {

using nx::util::ExtendedProperties;

/// The names under expansion end with the one whose value holds the reference. In a cycle the name
/// referred to is one of them.
BadReference readFailure(const nx::util::PropertiesException& failure,
                         const std::list<icu::UnicodeString>& inProgress) {
    BadReference bad;
    bad.key = inProgress.back();
    bad.name = failure.messages.getFirstMessage().getMessageArgs().back();
    bad.report = describe(failure);
    if (isFailure(failure, "ERR_PROPERTIES_CYCLIC_REFERENCE")) {
        bad.way.assign(std::find(inProgress.begin(), inProgress.end(), bad.name), inProgress.end());
    }
    return bad;
}

/// Expands one value. False when a reference could not be, which was taken away then.
bool resolveOne(ExtendedProperties& properties, const icu::UnicodeString& key,
                std::vector<BadReference>& found) {
    std::list<icu::UnicodeString> inProgress;
    icu::UnicodeString value = properties.requireProperty(key);
    try {
        properties.resolveProperty(inProgress, key, value);
        properties.putProperty(key, value);
        return true;
    } catch (const nx::util::PropertiesException& failure) {
        found.push_back(readFailure(failure, inProgress));
        properties.putProperty(found.back().key, icu::UnicodeString());
        return false;
    }
}

}  // namespace

std::vector<BadReference> resolveAll(ExtendedProperties& properties) {
    std::vector<icu::UnicodeString> keys;
    std::transform(properties.begin(), properties.end(), std::back_inserter(keys),
                   [](const auto& pair) { return pair.first; });
    std::vector<BadReference> found;
    for (const icu::UnicodeString& key : keys) {
        while (!resolveOne(properties, key, found)) {
        }
    }
    return found;
}

std::vector<Reference> referencesIn(const ExtendedProperties& properties) {
    std::vector<Reference> references;
    for (const auto& [key, value] : properties) {
        std::set<icu::UnicodeString> seen;
        for (int begin = value.indexOf(u'%'); begin >= 0;) {
            const int end = value.indexOf(u'%', begin + 1);
            if (end < 0) {
                break;
            }
            const icu::UnicodeString name(value, begin + 1, end - begin - 1);
            if (seen.insert(name).second) {
                references.push_back({key, name});
            }
            begin = value.indexOf(u'%', end + 1);
        }
    }
    return references;
}

}  // namespace tools
