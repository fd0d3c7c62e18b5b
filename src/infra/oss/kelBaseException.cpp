#include <infra/oss/kelBaseException.h>

namespace nx::oss {

BaseException::BaseException() = default;

BaseException::BaseException(const BaseException& other) : std::exception(other) {
    messages.join(other.messages);
}

BaseException& BaseException::operator=(const BaseException& other) = default;

BaseException::~BaseException() noexcept = default;

const char* BaseException::what() const noexcept { return name(); }

const char* BaseException::name() const { return "oss::BaseException"; }

}  // namespace nx::oss
