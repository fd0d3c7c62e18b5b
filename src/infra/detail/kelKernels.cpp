#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

std::atomic<const Kernels*> chosenKernels{nullptr};

const Kernels& chooseKernels() noexcept {
    const Kernels* vector = avx2Kernels();
    const Kernels& fastest = vector != nullptr ? *vector : scalarKernels();
    chosenKernels.store(&fastest, std::memory_order_relaxed);
    return fastest;
}

}  // namespace nx::oss::detail
