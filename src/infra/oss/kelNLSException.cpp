#include <infra/oss/kelNLSException.h>

namespace nx::oss {

NLSException::NLSException() = default;

NLSException::NLSException(const NLSException& other) = default;

NLSException& NLSException::operator=(const NLSException& other) = default;

NLSException::~NLSException() noexcept = default;

const char* NLSException::name() const { return "NLSException"; }

}  // namespace nx::oss
