#include "infra/detail/kelTextBlock.h"

#include <cstdlib>
#include <new>

#include "infra/detail/kelCheckedSize.h"

namespace nx::oss::detail {

namespace {

std::size_t withSpare(std::size_t room) { return sizeSum(room, room / 2); }

std::size_t blockSize(std::size_t room) { return sizeSum(room, sizeof(TextBlock)); }

/// The characters of a block in `memory`, which is null when there was none.
char* charactersOf(void* memory, const TextBlock& header) {
    if (memory == nullptr) {
        raiseBadAlloc();
    }
    return reinterpret_cast<char*>(new (memory) TextBlock(header) + 1);
}

}  // namespace

char* TextBlock::allocate(std::size_t room) {
    room = withSpare(room);
    return charactersOf(std::malloc(blockSize(room)), {room, 0});
}

char* TextBlock::allocateZeroed(std::size_t room) {
    // Zeroed pages come for free from the system; the spare ones are not touched until used.
    room = withSpare(room);
    return charactersOf(std::calloc(blockSize(room), 1), {room, 0});
}

char* TextBlock::extend(char* characters, std::size_t room) {
    const TextBlock header = of(characters);
    if (room <= header.room) {
        return characters;
    }
    // Why: large blocks move by exchanging pages, or need not move at all.
    room = withSpare(room);
    return charactersOf(std::realloc(&of(characters), blockSize(room)), {room, header.nulFree});
}

TextBlock& TextBlock::of(char* characters) { return reinterpret_cast<TextBlock*>(characters)[-1]; }

void TextBlock::release(char* characters) { std::free(&of(characters)); }

}  // namespace nx::oss::detail
