#include <infra/util/kelPropertiesException.h>

namespace nx::util {

PropertiesException::PropertiesException() = default;

PropertiesException::PropertiesException(const PropertiesException& other) = default;

PropertiesException& PropertiesException::operator=(const PropertiesException& other) = default;

PropertiesException::~PropertiesException() noexcept = default;

const char* PropertiesException::name() const { return "PropertiesException"; }

}  // namespace nx::util
