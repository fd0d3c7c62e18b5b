#pragma once

#include "infra/detail/kelRaise.h"

namespace nx::oss::detail {

/// a + b. Throws std::bad_alloc when the sum exceeds what a size can hold: nothing that large could
/// be allocated either.
inline unsigned long sizeSum(unsigned long a, unsigned long b) {
    unsigned long sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        raiseBadAlloc();
    }
    return sum;
}

/// a * b. Throws std::bad_alloc when the product exceeds what a size can hold.
inline unsigned long sizeProduct(unsigned long a, unsigned long b) {
    unsigned long product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        raiseBadAlloc();
    }
    return product;
}

}  // namespace nx::oss::detail
