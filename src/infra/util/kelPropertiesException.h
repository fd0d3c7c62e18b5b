#pragma once

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>

namespace nx::util {

/// A missing, mistyped or unresolvable property.
///
/// See oss::BaseException for how to read it.
class KELINFRA_EXPORT PropertiesException : public oss::BaseException {
  public:
    PropertiesException();
    /// Copies all records in their order.
    PropertiesException(const PropertiesException& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    PropertiesException& operator=(const PropertiesException& other);
    ~PropertiesException() noexcept override;

    /// "PropertiesException".
    const char* name() const override;
};

}  // namespace nx::util
