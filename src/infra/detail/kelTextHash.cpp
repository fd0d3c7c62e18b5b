#include "infra/detail/kelTextHash.h"

#include <sys/random.h>

#include <cstring>

namespace nx::oss::detail {

namespace {

__extension__ typedef unsigned __int128 Wide;

// Odd numbers with as many ones as zeros.
constexpr std::uint64_t MULTIPLIER = 0x9E3779B97F4A7C15;
constexpr std::uint64_t OTHER_MULTIPLIER = 0xD1B54A32D192ED03;

std::uint64_t drawSeed() {
    std::uint64_t seed = 0;
    if (getrandom(&seed, sizeof seed, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof seed)) {
        // Addresses differ from process to process, too.
        seed = reinterpret_cast<std::uintptr_t>(&seed);
    }
    return seed;
}

std::uint64_t load(const char* bytes, std::size_t count) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, count);
    return word;
}

/// Both halves of the product, folded: every bit of the operands reaches every bit of the result.
std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace

std::uint64_t hashText(const void* bytes, std::size_t length) {
    static const std::uint64_t SEED = drawSeed();
    constexpr std::size_t BLOCK = 16;
    constexpr std::size_t WORD = 8;
    const char* in = static_cast<const char*>(bytes);
    std::uint64_t hash = SEED ^ mix(length ^ MULTIPLIER, OTHER_MULTIPLIER);
    std::size_t rest = length;
    for (; rest > BLOCK; rest -= BLOCK, in += BLOCK) {
        hash = mix(load(in, WORD) ^ MULTIPLIER, load(in + WORD, WORD) ^ hash);
    }
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    if (rest >= WORD) {
        // The two words overlap unless the rest is a whole block.
        first = load(in, WORD);
        last = load(in + rest - WORD, WORD);
    } else if (rest > 0) {  // a null text has no address to read from
        first = load(in, rest);
    }
    hash = mix(mix(first ^ OTHER_MULTIPLIER, last ^ hash), MULTIPLIER);
    return hash == 0 ? 1 : hash;
}

}  // namespace nx::oss::detail
