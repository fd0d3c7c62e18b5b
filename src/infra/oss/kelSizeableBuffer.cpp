#include <infra/oss/kelSizeableBuffer.h>

namespace nx::oss {

template class SizeableBuffer<char, 512>;
template class SizeableBuffer<char, 1026>;

}  // namespace nx::oss
