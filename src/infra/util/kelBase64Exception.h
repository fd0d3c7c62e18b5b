#pragma once

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>

namespace nx::util {

/// Malformed or misaligned Base64 data, or a buffer too small for the result.
///
/// See oss::BaseException for how to read it.
class KELINFRA_EXPORT Base64Exception : public oss::BaseException {
  public:
    Base64Exception();
    /// Copies all records in their order.
    Base64Exception(const Base64Exception& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    Base64Exception& operator=(const Base64Exception& other);
    ~Base64Exception() noexcept override;

    /// "Base64Exception".
    const char* name() const override;
};

}  // namespace nx::util
