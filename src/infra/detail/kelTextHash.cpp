#include "infra/detail/kelTextHash.h"

#include <sys/random.h>

#include <cstring>

namespace nx::oss::detail {

namespace {

__extension__ typedef unsigned __int128 Wide;

// Odd numbers with as many ones as zeros.
constexpr std::uint64_t MULTIPLIER = 0x9E3779B97F4A7C15;
constexpr std::uint64_t OTHER_MULTIPLIER = 0xD1B54A32D192ED03;

/// What differs from process to process. A factor of 0 makes a product forget the other factor, so
/// what a text is combined with has to be secret in both of them.
struct Secrets {
    std::uint64_t start;
    std::uint64_t block;
    std::uint64_t rest;
};

Secrets drawSecrets() {
    Secrets drawn;
    if (getrandom(&drawn, sizeof drawn, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof drawn)) {
        // The address of the library differs from process to process, too.
        const auto address = reinterpret_cast<std::uintptr_t>(&MULTIPLIER);
        drawn = {address, address * MULTIPLIER, address * OTHER_MULTIPLIER};
    }
    return drawn;
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
    static const Secrets SECRETS = drawSecrets();
    constexpr std::size_t BLOCK = 16;
    constexpr std::size_t WORD = 8;
    const char* in = static_cast<const char*>(bytes);
    std::uint64_t hash = SECRETS.start ^ mix(length ^ MULTIPLIER, OTHER_MULTIPLIER);
    std::size_t rest = length;
    for (; rest > BLOCK; rest -= BLOCK, in += BLOCK) {
        hash = mix(load(in, WORD) ^ SECRETS.block, load(in + WORD, WORD) ^ hash);
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
    hash = mix(mix(first ^ SECRETS.rest, last ^ hash), MULTIPLIER);
    return hash + static_cast<std::uint64_t>(hash == 0);
}

}  // namespace nx::oss::detail
