#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace nx::oss::detail {

class UnitSet;

/// How far a conversion got.
struct Progress {
    std::size_t read;     ///< code units of the source consumed: whole characters
    std::size_t written;  ///< code units of the destination written
};

constexpr std::size_t NO_COUNT = static_cast<std::size_t>(-1);

/// The hot loops over text, one table per instruction set.
///
/// All tables give the same results, unit for unit. A kernel reads nothing outside its source,
/// writes nothing outside the part of the destination that it reports as written, allocates nothing
/// and throws nothing. Sizes are code units (bytes for UTF-8 and Latin-1). A length of 0 is
/// allowed, with any pointers. Source and destination do not overlap; UTF-16 is in the machine's
/// byte order.
///
/// Malformed text is converted, not refused: U+FFFD stands for each lone surrogate of UTF-16 and
/// for each maximal subpart of an ill-formed sequence of UTF-8 (a truncated sequence at the end of
/// the source is ill-formed). Results equal those of ICU's "UTF-8" converter.
struct Kernels {
    /// Stops before the first character that does not fit into `capacity` bytes.
    Progress (*utf16ToUtf8)(const char16_t* src, std::size_t length, char* dest,
                            std::size_t capacity) noexcept;

    /// Bytes that utf16ToUtf8 writes when there is room.
    std::size_t (*utf8LengthOfUtf16)(const char16_t* src, std::size_t length) noexcept;

    /// Stops before the first character that does not fit into `capacity` units; `length` units are
    /// always enough.
    Progress (*utf8ToUtf16)(const char* src, std::size_t length, char16_t* dest,
                            std::size_t capacity) noexcept;

    /// Converts up to the first unit above U+00FF; `dest` has room for `length` bytes. Returns the
    /// units converted.
    std::size_t (*utf16ToLatin1)(const char16_t* src, std::size_t length, char* dest) noexcept;

    /// Number of leading units that are at most U+00FF.
    std::size_t (*latin1PrefixLength)(const char16_t* src, std::size_t length) noexcept;

    /// `dest` has room for `length` units.
    void (*latin1ToUtf16)(const char* src, std::size_t length, char16_t* dest) noexcept;

    /// Stops before the first character that does not fit into `capacity` bytes.
    Progress (*latin1ToUtf8)(const char* src, std::size_t length, char* dest,
                             std::size_t capacity) noexcept;

    /// Bytes that latin1ToUtf8 writes when there is room.
    std::size_t (*utf8LengthOfLatin1)(const char* src, std::size_t length) noexcept;

    /// Number of leading units that form well-formed UTF-16: the position of the first lone
    /// surrogate, or `length`.
    std::size_t (*wellFormedUtf16Prefix)(const char16_t* src, std::size_t length) noexcept;

    /// Writes the units with their two bytes exchanged; `dest` has room for 2 * `length` bytes and
    /// need not be aligned.
    void (*swapUtf16)(const char16_t* src, std::size_t length, char* dest) noexcept;

    /// Copies the text and the terminator behind it, and checks and counts the text in the same
    /// pass: its characters, or NO_COUNT unless it is well-formed UTF-8. The copy is made in either
    /// case; `dest` has room for `length` + 1 bytes.
    std::size_t (*copyUtf8Text)(const char* src, std::size_t length, char* dest) noexcept;

    /// As detail::countUtf8Characters(), with NO_COUNT in place of nothing: it is returned in a
    /// register.
    std::size_t (*countUtf8Characters)(const char* src, std::size_t length) noexcept;

    /// Two hexadecimal digits for each byte; `dest` has room for 2 * `length` bytes.
    void (*encodeHex)(const char* src, std::size_t length, char* dest, bool upperCase) noexcept;

    /// True if all characters are hexadecimal digits of either case.
    bool (*isHex)(const char* src, std::size_t length) noexcept;

    /// The bytes of 2 * `count` characters that are all hexadecimal digits; `dest` has room for
    /// `count` bytes.
    void (*decodeHex)(const char* src, std::size_t count, char* dest) noexcept;

    /// The first match of the needle before the first NUL of the text, null when there is none;
    /// linear time. Both are NUL-terminated, so text[length] is NUL; the needle is not empty.
    const char* (*findText)(const char* text, std::size_t length, const char* needle,
                            std::size_t needleLength) noexcept;

    /// Base64 of 3 * `groups` bytes, in the URL-safe alphabet if `safe`; `dest` has room for
    /// 4 * `groups` units. Their objects may be of any type.
    void (*encodeBase64)(const char* src, std::size_t groups, unsigned short* dest,
                         bool safe) noexcept;

    /// The bytes of leading groups of four units that are all characters of the alphabet (the
    /// padding is none), up to the first group that is not; `dest` has room for 3 * `groups` bytes.
    /// Returns the groups decoded.
    std::size_t (*decodeBase64)(const unsigned short* src, std::size_t groups, char* dest,
                                bool safe) noexcept;

    /// One bit for each unit, 64 to a word and the first one lowest: set for the units outside the
    /// set. The last word is filled up with zeros; `marks` has room for all of them.
    void (*markUnitsOutside)(const char16_t* src, std::size_t length, const UnitSet& set,
                             std::uint64_t* marks) noexcept;
};

[[gnu::visibility("hidden")]] extern const Kernels SCALAR_TABLE;

/// The plain version: it runs everywhere and defines what the others compute.
inline const Kernels& scalarKernels() noexcept { return SCALAR_TABLE; }

/// The version for 32-byte vectors, or null where the processor lacks AVX2, BMI, BMI2 or
/// POPCNT.
const Kernels* avx2Kernels() noexcept;

/// The version above with 64-byte vectors for Base64, or null where the processor lacks one of the
/// F, BW, VL and VBMI parts of AVX-512 besides.
const Kernels* avx512Kernels() noexcept;

/// Zero until the first call of kernels() has chosen.
[[gnu::visibility("hidden")]] extern std::atomic<const Kernels*> chosenKernels;

/// Looks at the processor and remembers the choice.
[[gnu::cold]] const Kernels& chooseKernels() noexcept;

/// The fastest table that this processor runs.
///
/// The pointer and the tables are constants of the image, so that static initialisers and
/// destructors may call this too, and threads that make the choice at the same time make the same.
inline const Kernels& kernels() noexcept {
    const Kernels* chosen = chosenKernels.load(std::memory_order_relaxed);
    return chosen != nullptr ? *chosen : chooseKernels();
}

}  // namespace nx::oss::detail
