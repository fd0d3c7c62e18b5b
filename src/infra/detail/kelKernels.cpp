#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

std::atomic<const Kernels*> chosenKernels{nullptr};

namespace {

const Kernels& fasterOr(const Kernels* faster, const Kernels& other) {
    return faster != nullptr ? *faster : other;
}

}  // namespace

const Kernels& chooseKernels() noexcept {
    const Kernels& fastest = fasterOr(avx512Kernels(), fasterOr(avx2Kernels(), scalarKernels()));
    chosenKernels.store(&fastest, std::memory_order_relaxed);
    return fastest;
}

}  // namespace nx::oss::detail
