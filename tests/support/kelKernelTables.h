#pragma once

#include <ostream>
#include <vector>

#include "infra/detail/kelKernels.h"

namespace nx::oss::test {

struct KernelTable {
    const char* name;
    const detail::Kernels* kernels;
};

inline void PrintTo(const KernelTable& table, std::ostream* out) { *out << table.name; }

/// Those that this processor runs, the fastest last.
inline std::vector<KernelTable> kernelTables() {
    std::vector<KernelTable> found = {{"Scalar", &detail::scalarKernels()}};
    if (detail::avx2Kernels() != nullptr) {
        found.push_back({"Avx2", detail::avx2Kernels()});
    }
    if (detail::avx512Kernels() != nullptr) {
        found.push_back({"Avx512", detail::avx512Kernels()});
    }
    return found;
}

}  // namespace nx::oss::test
