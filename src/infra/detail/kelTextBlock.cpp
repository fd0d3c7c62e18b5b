#include "infra/detail/kelTextBlock.h"

#include <cstdlib>
#include <new>

#include "infra/detail/kelCheckedSize.h"

namespace nx::oss::detail {

char* TextBlock::allocate(std::size_t room) {
    const std::size_t withSpare = sizeSum(room, room / 2);
    // Zeroed pages come for free from the system; the spare ones are not touched until used.
    void* const memory = std::calloc(sizeSum(withSpare, sizeof(TextBlock)), 1);
    if (memory == nullptr) {
        raiseBadAlloc();
    }
    auto* const block = new (memory) TextBlock{withSpare, 0};
    return reinterpret_cast<char*>(block + 1);
}

TextBlock& TextBlock::of(char* characters) { return reinterpret_cast<TextBlock*>(characters)[-1]; }

void TextBlock::release(char* characters) { std::free(&of(characters)); }

}  // namespace nx::oss::detail
