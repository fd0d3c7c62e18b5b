#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

std::atomic<const Kernels*> chosenKernels{nullptr};

const Kernels& chooseKernels() noexcept {
    const Kernels* fastest = avx512Kernels();
    if (fastest == nullptr) {
        fastest = avx2Kernels();
    }
    if (fastest == nullptr) {
        fastest = &scalarKernels();
    }
    chosenKernels.store(fastest, std::memory_order_relaxed);
    return *fastest;
}

}  // namespace nx::oss::detail
