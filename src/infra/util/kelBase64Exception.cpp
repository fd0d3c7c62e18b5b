#include <infra/util/kelBase64Exception.h>

namespace nx::util {

Base64Exception::Base64Exception() = default;

Base64Exception::Base64Exception(const Base64Exception& other) = default;

Base64Exception& Base64Exception::operator=(const Base64Exception& other) = default;

Base64Exception::~Base64Exception() noexcept = default;

const char* Base64Exception::name() const { return "Base64Exception"; }

}  // namespace nx::util
