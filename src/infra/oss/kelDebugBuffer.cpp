#include <infra/oss/kelDebugBuffer.h>

namespace nx::oss {

DebugBuffer* DebugBuffer::instance_ = nullptr;

}  // namespace nx::oss
