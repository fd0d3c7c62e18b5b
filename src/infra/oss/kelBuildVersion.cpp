#include <infra/oss/kelBuildVersion.h>

#include <infra/oss/kelStringTokenizer.h>

#include "infra/detail/kelUnicodeBuffer.h"

namespace nx::oss {

namespace {

constexpr const char16_t* LIBRARY_BUILD = u"1.0.0.0-1.1-579";
constexpr const char* SEPARATOR = "-";

}  // namespace

BuildVersion::BuildVersion() : BuildVersion(icu::UnicodeString(LIBRARY_BUILD)) {}

BuildVersion::BuildVersion(const icu::UnicodeString& buildVersion)
    : buildVersion_(detail::copyOf(buildVersion)) {
    tokenizeBuildVersionString();
}

BuildVersion::BuildVersion(const BuildVersion& other) = default;

// Required: the parameter is not const, although nothing is changed through it.
BuildVersion& BuildVersion::operator=(BuildVersion& other) = default;

const icu::UnicodeString& BuildVersion::getBuildVersion() const { return buildVersion_; }

const icu::UnicodeString& BuildVersion::getProductVersion() const { return productVersion_; }

const icu::UnicodeString& BuildVersion::getProtocolVersion() const { return protocolVersion_; }

const icu::UnicodeString& BuildVersion::getBuildNumberString() const { return buildNumberString_; }

void BuildVersion::tokenizeBuildVersionString() {
    StringTokenizer parts(buildVersion_, SEPARATOR);
    productVersion_ = parts.getNextTokenString();
    protocolVersion_ = parts.getNextTokenString();
    buildNumberString_ = parts.getNextTokenString();
}

}  // namespace nx::oss
