#pragma once

// Several of g++ 12's intrinsics take a vector with any content as an operand that no mask selects.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

#include <cstddef>

/// Attributes of every function that runs 64-byte vectors, as KELINFRA_AVX2.
#define KELINFRA_AVX512 gnu::target("avx512f,avx512bw,avx512vl,avx512vbmi")

/// The kernels of avx512Kernels() that are not those of avx2Kernels().
///
/// This header is all that their sources know of the processor. On most machines they only run in
/// a test, which puts a header with intrinsics in plain C++ in the place of this one.
namespace nx::oss::detail::avx512 {
void encodeBase64(const char*, std::size_t, unsigned short*, bool) noexcept;
std::size_t decodeBase64(const unsigned short*, std::size_t, char*, bool) noexcept;
}  // namespace nx::oss::detail::avx512
