#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

const Kernels* avx2Kernels() noexcept { return nullptr; }

}  // namespace nx::oss::detail
