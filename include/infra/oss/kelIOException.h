#pragma once

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A failure of a buffer or a stream.
///
/// See BaseException for how to read it.
class KELINFRA_EXPORT IOException : public BaseException {
  public:
    IOException();
    /// Copies all records in their order.
    IOException(const IOException& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    IOException& operator=(const IOException& other);
    ~IOException() noexcept override;

    /// "IOException".
    const char* name() const override;
};

}  // namespace nx::oss
