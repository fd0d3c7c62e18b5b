#pragma once

#include <cstddef>

namespace nx::oss::detail {

/// Heap storage of a text buffer: characters behind a small hidden header.
///
/// The header tells two things that make n appends linear although the visible capacity grows in
/// fixed steps: how many characters the block really holds, and how many leading characters are
/// known to be no NULs.
struct TextBlock {
    std::size_t room;     ///< characters, the one for the terminator included
    std::size_t nulFree;  ///< leading characters known not to be NUL

    /// A block of at least `room` characters without values, with spare room in proportion to
    /// `room`. Throws std::bad_alloc.
    static char* allocate(std::size_t room);
    /// The same with all characters NUL.
    static char* allocateZeroed(std::size_t room);
    /// What allocate() returned, moved where needed to have at least `room` characters. The
    /// characters stay, further ones have no values. Throws std::bad_alloc; nothing is changed
    /// then.
    static char* extend(char* characters, std::size_t room);
    /// The header of what allocate() returned.
    static TextBlock& of(char* characters);
    static void release(char* characters);
};

}  // namespace nx::oss::detail
