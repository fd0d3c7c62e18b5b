#pragma once

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelExport.h>

namespace nx::oss {

/// A failure of text conversion, number parsing or locale support, or a list read while empty.
///
/// See BaseException for how to read it.
class KELINFRA_EXPORT NLSException : public BaseException {
  public:
    NLSException();
    /// Copies all records in their order.
    NLSException(const NLSException& other);
    /// Replaces the records by copies of those of `other`; assigning to itself does nothing.
    NLSException& operator=(const NLSException& other);
    ~NLSException() noexcept override;

    /// "NLSException".
    const char* name() const override;
};

}  // namespace nx::oss
