#pragma once

#include <cstddef>

/// The kernels of avx512Kernels() that are not those of avx2Kernels(): the same sources, compiled
/// with AVX-512 in plain C++. Any processor runs them.
namespace nx::oss::detail::emulatedAvx512 {
void encodeBase64(const char*, std::size_t, unsigned short*, bool) noexcept;
std::size_t decodeBase64(const unsigned short*, std::size_t, char*, bool) noexcept;
}  // namespace nx::oss::detail::emulatedAvx512
