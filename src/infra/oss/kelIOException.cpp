#include <infra/oss/kelIOException.h>

namespace nx::oss {

IOException::IOException() = default;

IOException::IOException(const IOException& other) = default;

IOException& IOException::operator=(const IOException& other) = default;

IOException::~IOException() noexcept = default;

const char* IOException::name() const { return "IOException"; }

}  // namespace nx::oss
