#pragma once

#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

/// What an object looks like from outside: the words of its storage and the slots of its virtual
/// table.
namespace layout {

/// The word at that index.
template <class T>
const void* word(const T& object, std::size_t index) {
    const void* value = nullptr;
    std::memcpy(&value, reinterpret_cast<const char*>(&object) + index * sizeof value,
                sizeof value);
    return value;
}

template <class T>
unsigned long number(const T& object, std::size_t index) {
    return reinterpret_cast<unsigned long>(word(object, index));
}

/// The 32-bit number at an offset in bytes.
template <class T>
int numberAt(const T& object, std::size_t offset) {
    int value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&object) + offset, sizeof value);
    return value;
}

/// The byte at an offset.
template <class T>
int byteAt(const T& object, std::size_t offset) {
    return reinterpret_cast<const unsigned char*>(&object)[offset];
}

template <class Function, class T>
Function slot(const T& object, std::size_t index) {
    auto* const table = static_cast<void* const*>(word(object, 0));
    return reinterpret_cast<Function>(table[index]);
}

/// The first slot destroys, the second destroys and frees; leaks and double frees show under the
/// sanitizers.
template <class T>
void expectDestructorSlots(T* object) {
    slot<void (*)(void*)>(*object, 1)(object);
}

}  // namespace layout
