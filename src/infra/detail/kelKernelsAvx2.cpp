#include "infra/detail/kelKernels.h"

#if defined(__x86_64__)

#include "infra/detail/kelAvx2.h"

namespace nx::oss::detail {
namespace {

constexpr Kernels AVX2{avx2::utf16ToUtf8,
                       avx2::utf8LengthOfUtf16,
                       avx2::utf8ToUtf16,
                       avx2::utf16ToLatin1,
                       avx2::latin1PrefixLength,
                       avx2::latin1ToUtf16,
                       avx2::latin1ToUtf8,
                       avx2::utf8LengthOfLatin1,
                       avx2::wellFormedUtf16Prefix,
                       avx2::swapUtf16,
                       avx2::copyUtf8Text,
                       avx2::countUtf8Characters,
                       avx2::encodeHex,
                       avx2::isHex,
                       avx2::decodeHex,
                       avx2::findText,
                       avx2::encodeBase64,
                       avx2::decodeBase64,
                       avx2::markUnitsOutside};

bool isSupported() noexcept {
    __builtin_cpu_init();  // static initialisers may come here before the compiler's own call
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
}

}  // namespace

const Kernels* avx2Kernels() noexcept { return isSupported() ? &AVX2 : nullptr; }

}  // namespace nx::oss::detail

#else

namespace nx::oss::detail {

const Kernels* avx2Kernels() noexcept { return nullptr; }

}  // namespace nx::oss::detail

#endif
