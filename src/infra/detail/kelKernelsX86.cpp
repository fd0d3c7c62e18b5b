#include "infra/detail/kelKernels.h"

#if defined(__x86_64__)

#include "infra/detail/kelAvx2.h"
#include "infra/detail/kelAvx512.h"

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

constexpr Kernels makeAvx512() {
    Kernels table = AVX2;
    table.encodeBase64 = avx512::encodeBase64;
    table.decodeBase64 = avx512::decodeBase64;
    return table;
}

constexpr Kernels AVX512 = makeAvx512();

bool hasAvx2() noexcept {
    __builtin_cpu_init();  // static initialisers may come here before the compiler's own call
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
}

bool hasAvx512() noexcept {
    return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi");
}

}  // namespace

const Kernels* avx2Kernels() noexcept { return hasAvx2() ? &AVX2 : nullptr; }
const Kernels* avx512Kernels() noexcept { return hasAvx512() ? &AVX512 : nullptr; }

}  // namespace nx::oss::detail

#else

namespace nx::oss::detail {

const Kernels* avx2Kernels() noexcept { return nullptr; }
const Kernels* avx512Kernels() noexcept { return nullptr; }

}  // namespace nx::oss::detail

#endif
