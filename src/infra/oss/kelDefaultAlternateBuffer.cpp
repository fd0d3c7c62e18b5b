#include <infra/oss/kelDefaultAlternateBuffer.h>

namespace nx::oss {

template class DefaultAlternateBuffer<char>;

}  // namespace nx::oss
