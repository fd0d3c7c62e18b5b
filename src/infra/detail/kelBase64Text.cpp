#include "infra/detail/kelBase64Text.h"

#include "infra/detail/kelBase64Steps.h"
#include "infra/detail/kelKernels.h"

namespace nx::oss::detail {

namespace {

using Outcome = DecodedBase64::Outcome;

unsigned short loadUnit(const unsigned short* src) {
    unsigned short unit;
    std::memcpy(&unit, src, sizeof unit);
    return unit;
}

void storeUnit(unsigned short* dest, unsigned short unit) { std::memcpy(dest, &unit, sizeof unit); }

/// The last one or two bytes: zeros complete the group, and padding replaces what is made of zeros
/// only.
void encodeRest(const char* src, std::size_t length, unsigned short* dest, bool safe) {
    const Base64Pairs& pairs = safe ? BASE64_SAFE_PAIRS : BASE64_PAIRS;
    std::uint32_t bits = static_cast<std::uint32_t>(static_cast<unsigned char>(src[0])) << 16;
    storeUnit(dest + 2, BASE64_PADDING);
    if (length == 2) {
        bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(src[1])) << 8;
        encodeBase64Pair(pairs, bits, dest + 2);
    }
    encodeBase64Pair(pairs, bits >> 12, dest);
    storeUnit(dest + 3, BASE64_PADDING);
}

/// Groups that kernels may try: those that have room. Why not one that ends in padding: it would
/// stop them a whole vector earlier.
std::size_t groupsToTry(const unsigned short* src, std::size_t length, std::size_t capacity) {
    const std::size_t whole = length / BASE64_GROUP_UNITS;
    const bool isPadded =
        whole != 0 && loadUnit(src + BASE64_GROUP_UNITS * whole - 1) == BASE64_PADDING;
    const std::size_t groups = isPadded ? whole - 1 : whole;
    return BASE64_GROUP_BYTES * groups <= capacity ? groups : capacity / BASE64_GROUP_BYTES;
}

/// The rule: character by character. It decides about every text; kernels only go ahead of it where
/// whole groups are well-formed and have room.
class Base64Rule {
  public:
    Base64Rule(const unsigned short* src, std::size_t length, char* dest, std::size_t capacity,
               bool safe)
        : src_(src), length_(length), dest_(dest), capacity_(capacity), safe_(safe) {}

    /// Goes on behind groups that are decoded already.
    DecodedBase64 decodeBehind(std::size_t groups) {
        read_ = BASE64_GROUP_UNITS * groups;
        written_ = BASE64_GROUP_BYTES * groups;
        const Outcome outcome = decodeUnits();
        return {outcome, read_, written_};
    }

  private:
    Outcome decodeUnits() {
        for (; read_ < length_; ++read_) {
            const unsigned short unit = loadUnit(src_ + read_);
            if (unit == BASE64_PADDING) {
                return endAtPadding();
            }
            const int value = base64Value(unit, safe_);
            if (value == NO_BASE64_VALUE) {
                return Outcome::FOREIGN_UNIT;
            }
            if (!take(static_cast<unsigned>(value))) {
                return Outcome::NO_ROOM;
            }
        }
        return Outcome::INCOMPLETE_GROUP;  // kernels decode a text of whole groups
    }

    /// The first character of a group only waits; each of the others completes a byte. False if
    /// there is no room for it.
    bool take(unsigned value) {
        const unsigned waiting = 2 * (read_ % BASE64_GROUP_UNITS);  // bits of value that complete
        if (waiting != 0 && !store(bits_ | value >> (6 - waiting))) {
            return false;
        }
        bits_ = value << (2 + waiting) & 0xFF;
        return true;
    }

    bool store(unsigned byte) {
        if (written_ >= capacity_) {
            return false;
        }
        dest_[written_++] = static_cast<char>(byte);
        return true;
    }

    Outcome endAtPadding() {
        const std::size_t place = read_ % BASE64_GROUP_UNITS;
        if (place < 2) {
            return Outcome::EARLY_PADDING;
        }
        if (place == 2) {
            if (read_ + 1 >= length_ || loadUnit(src_ + read_ + 1) != BASE64_PADDING) {
                return Outcome::MISSING_PADDING;
            }
            ++read_;
        }
        ++read_;
        if (bits_ != 0) {
            return Outcome::STRAY_BITS;
        }
        return read_ == length_ ? Outcome::DONE : Outcome::DATA_BEHIND;
    }

    const unsigned short* src_;
    std::size_t length_;
    char* dest_;
    std::size_t capacity_;
    bool safe_;
    std::size_t read_ = 0;
    std::size_t written_ = 0;
    unsigned bits_ = 0;  // of the last character, in front of those that complete the byte
};

/// Apart, since it needs the room on the stack that whole groups do without.
[[gnu::noinline]] DecodedBase64 decodeRest(std::size_t groups, const unsigned short* src,
                                           std::size_t length, char* dest, std::size_t capacity,
                                           bool safe) {
    return Base64Rule(src, length, dest, capacity, safe).decodeBehind(groups);
}

}  // namespace

int base64Value(unsigned short unit, bool safe) {
    const Base64Places& places = safe ? BASE64_SAFE_PLACES : BASE64_PLACES;
    const std::uint32_t value = unit < 0x100 ? places.of[3][unit] : Base64Places::FOREIGN;
    return value == Base64Places::FOREIGN ? NO_BASE64_VALUE : static_cast<int>(value);
}

void encodeBase64(const char* src, std::size_t length, unsigned short* dest, bool safe) {
    const std::size_t groups = length / BASE64_GROUP_BYTES;
    const std::size_t rest = length % BASE64_GROUP_BYTES;
    // Why: the kernel comes last, so that nothing need be kept for afterwards; short texts show it.
    if (rest != 0) {
        encodeRest(src + length - rest, rest, dest + BASE64_GROUP_UNITS * groups, safe);
    }
    kernels().encodeBase64(src, groups, dest, safe);
}

DecodedBase64 decodeBase64(const unsigned short* src, std::size_t length, char* dest,
                           std::size_t capacity, bool safe) {
    const std::size_t groups = groupsToTry(src, length, capacity);
    const std::size_t done = kernels().decodeBase64(src, groups, dest, safe);
    if (BASE64_GROUP_UNITS * done == length) {
        return {Outcome::DONE, length, BASE64_GROUP_BYTES * done};
    }
    return decodeRest(done, src, length, dest, capacity, safe);
}

}  // namespace nx::oss::detail
