#pragma once

#include <unicode/unistr.h>

#include <infra/oss/kelExport.h>

namespace nx::oss {

/// The library's build identification and its three parts, or that of another build.
///
///     nx::oss::BuildVersion().getBuildNumberString();  // "579"
///
/// A build version is product version, "-", protocol version, "-", build number:
/// "1.0.0.0-1.1-579".
///
/// Throws std::bad_alloc when memory is exhausted.
///
/// Thread-safety: not synchronised; const operations may run at the same time.
class KELINFRA_EXPORT BuildVersion {
  public:
    /// That of the library itself.
    BuildVersion();
    /// The parts of `buildVersion`; see tokenizeBuildVersionString().
    BuildVersion(const icu::UnicodeString& buildVersion);
    /// The same build version and parts.
    BuildVersion(const BuildVersion& other);
    /// Takes the build version and the parts of `other`.
    ///
    /// Careful: takes no const object and no temporary.
    BuildVersion& operator=(BuildVersion& other);

    /// @name The build version and its parts
    /// The strings are parts of the object: valid as long as it, and until it is assigned or
    /// tokenized.
    /// @{

    /// As given, null (bogus) when it was.
    const icu::UnicodeString& getBuildVersion() const;
    /// The first part, "1.0.0.0" for the library itself.
    const icu::UnicodeString& getProductVersion() const;
    /// The second part, "1.1" for the library itself.
    const icu::UnicodeString& getProtocolVersion() const;
    /// The third part, "579" for the library itself.
    const icu::UnicodeString& getBuildNumberString() const;
    /// @}

    /// Splits the build version at "-" and assigns the parts anew. Parts behind the third are
    /// dropped, missing ones are empty, never null (bogus), and several "-" count as one.
    ///
    /// Careful: a "-" at the start makes the product version empty: "-1.1-5" has the protocol
    /// version "1.1".
    void tokenizeBuildVersionString();

  private:
    icu::UnicodeString buildVersion_;
    icu::UnicodeString protocolVersion_;
    icu::UnicodeString productVersion_;
    icu::UnicodeString buildNumberString_;
};

}  // namespace nx::oss
