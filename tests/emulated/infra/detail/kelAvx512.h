#pragma once

// In the place of the library's header of this name: AVX-512 in plain C++, so that any processor
// runs the kernels whose sources include it. The compiler's own intrinsics stay away.

#define SIMDE_NO_NATIVE
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512/and.h>
#include <simde/x86/avx512/cast.h>
#include <simde/x86/avx512/extract.h>
#include <simde/x86/avx512/loadu.h>
#include <simde/x86/avx512/madd.h>
#include <simde/x86/avx512/maddubs.h>
#include <simde/x86/avx512/mov_mask.h>
#include <simde/x86/avx512/multishift.h>
#include <simde/x86/avx512/or.h>
#include <simde/x86/avx512/packus.h>
#include <simde/x86/avx512/permutex2var.h>
#include <simde/x86/avx512/permutexvar.h>
#include <simde/x86/avx512/set1.h>
#include <simde/x86/avx512/srli.h>
#include <simde/x86/avx512/storeu.h>

// This alias takes four arguments in SIMDe 0.7.4, as the masked form does.
#undef _mm512_madd_epi16
#define _mm512_madd_epi16(a, b) simde_mm512_madd_epi16(a, b)

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "emulated/kelEmulatedKernels.h"

#define KELINFRA_AVX512 maybe_unused

// The program also holds the real kernels.
#define avx512 emulatedAvx512

namespace nx::oss::detail {

// What SIMDe 0.7.4 lacks. An element whose bit is clear is not touched in memory.

template <std::size_t SIZE>
__m512i loadSelected(__m512i otherwise, std::uint64_t selected, const void* src) {
    char bytes[64];
    std::memcpy(bytes, &otherwise, sizeof bytes);
    for (std::size_t i = 0; i < sizeof bytes / SIZE; ++i) {
        if ((selected >> i & 1) != 0) {
            std::memcpy(bytes + SIZE * i, static_cast<const char*>(src) + SIZE * i, SIZE);
        }
    }
    __m512i loaded;
    std::memcpy(&loaded, bytes, sizeof bytes);
    return loaded;
}

template <std::size_t SIZE>
void storeSelected(void* dest, std::uint64_t selected, __m512i elements) {
    char bytes[64];
    std::memcpy(bytes, &elements, sizeof bytes);
    for (std::size_t i = 0; i < sizeof bytes / SIZE; ++i) {
        if ((selected >> i & 1) != 0) {
            std::memcpy(static_cast<char*>(dest) + SIZE * i, bytes + SIZE * i, SIZE);
        }
    }
}

inline __m512i _mm512_maskz_loadu_epi8(std::uint64_t selected, const void* src) {
    return loadSelected<1>(_mm512_set1_epi16(0), selected, src);
}
inline __m512i _mm512_mask_loadu_epi16(__m512i otherwise, std::uint32_t selected, const void* src) {
    return loadSelected<2>(otherwise, selected, src);
}
inline void _mm512_mask_storeu_epi8(void* dest, std::uint64_t selected, __m512i bytes) {
    storeSelected<1>(dest, selected, bytes);
}
inline void _mm512_mask_storeu_epi16(void* dest, std::uint32_t selected, __m512i units) {
    storeSelected<2>(dest, selected, units);
}

}  // namespace nx::oss::detail
