#include "infra/detail/kelTokenList.h"

#include <algorithm>
#include <new>

#include "infra/detail/kelCheckedSize.h"
#include "infra/detail/kelTokenScan.h"

namespace nx::oss::detail {

TokenList* TokenList::make(TokenScan& scan) {
    const TokenScan::Sizes sizes = scan.measure();
    if (sizes.tokens == 0) {
        return nullptr;
    }
    const std::size_t size = sizeSum(sizeProduct(sizes.tokens + 1, sizeof(std::uint32_t)),
                                     sizeProduct(sizes.units + COPIED_AT_ONCE, sizeof(char16_t)));
    void* const block = ::operator new(sizeSum(sizeof(TokenList), size));
    auto* const list = new (block) TokenList(static_cast<std::uint32_t>(sizes.tokens));
    list->fill(scan);
    return list;
}

void TokenList::fill(TokenScan& scan) {
    auto* border = const_cast<std::uint32_t*>(borders());
    *border = 0;
    auto* const first = const_cast<char16_t*>(units());
    char16_t* next = first;
    const char16_t* const end = scan.endOfReadable();
    scan.forEach([&](const char16_t* token, std::size_t length) __attribute__((always_inline)) {
        if (static_cast<std::size_t>(end - token) >= COPIED_AT_ONCE) {
            copyToken(next, token, length);
        } else {
            std::copy_n(token, length, next);
        }
        next += length;
        *++border = static_cast<std::uint32_t>(next - first);
    });
}

}  // namespace nx::oss::detail
