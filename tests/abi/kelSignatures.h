#pragma once

#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>
#include <unicode/unistr.h>

/// How tests say what the operations and constructors of the library look like. What differs does
/// not compile, what is not exported does not link.
namespace signatures {

using icu::UnicodeString;
using String = const UnicodeString&;
using Bytes = const char*;
using Size = unsigned long;

/// Types of operations of the class T: those that give nothing, those that give a result, and those
/// that leave the object as it is.
template <class T, class... P>
using Does = void (T::*)(P...);
template <class T, class R, class... P>
using Gives = R (T::*)(P...);
template <class T, class R, class... P>
using Reads = R (T::*)(P...) const;

/// The same type with the promise not to throw; nothing for a type that has it already.
template <class Pointer>
struct Promising {};
template <class R, class... P>
struct Promising<R (*)(P...)> {
    using Type = R (*)(P...) noexcept;
};
template <class R, class T, class... P>
struct Promising<R (T::*)(P...)> {
    using Type = R (T::*)(P...) noexcept;
};
template <class R, class T, class... P>
struct Promising<R (T::*)(P...) const> {
    using Type = R (T::*)(P...) const noexcept;
};

/// The address makes the linker look for the operation.
template <class Pointer>
[[gnu::noinline]] void require(Pointer pointer) {
    EXPECT_TRUE(pointer != nullptr);
}

/// There is an operation of exactly this type: parameters, result, const, noexcept, static or not,
/// and the class itself declares it, not a base class of it.
template <class Pointer, Pointer OPERATION>
void declares() {
    require(OPERATION);
}

/// Makes the call above ambiguous for an operation that promises more than it should: one that
/// waits may not be noexcept, since a thread can be cancelled in it.
template <class Pointer, typename Promising<Pointer>::Type OPERATION>
void declares();

/// Turns into a T and into nothing that a T converts to; Only<T&> refers to an object.
template <class T>
struct Only {
    template <class U, std::enable_if_t<std::is_same_v<U, T>, int> = 0>
    operator U() const;
};
template <class T>
struct Only<T&> {
    template <class U, std::enable_if_t<std::is_same_v<U, T>, int> = 0>
    operator U&() const;
};

/// There is a constructor with exactly these parameters. A T stands for a T and for a const T&.
template <class Class, class... P>
constexpr bool CONSTRUCTS = std::is_constructible_v<Class, Only<P>...>;

/// That constructor turns a P into an object without being asked.
template <class Class, class P>
constexpr bool CONVERTS = std::is_convertible_v<P, Class>;

/// A constant expression of exactly this type and value.
template <class T, class Constant>
constexpr bool is(Constant& constant, T value) {
    return std::is_same_v<Constant, const T> && constant == value;
}
template <class Constant>
constexpr bool isText(Constant& constant, std::string_view value) {
    return std::is_same_v<Constant, const char* const> && constant == value;
}

template <class Class>
constexpr bool COPYABLE = std::is_copy_constructible_v<Class>&& std::is_copy_assignable_v<Class>;

template <class Class>
constexpr bool NEVER_COPIED =
    !std::is_copy_constructible_v<Class> && !std::is_move_constructible_v<Class> &&
    !std::is_copy_assignable_v<Class> && !std::is_move_assignable_v<Class>;

/// Derived has Base as its one public base class of that type.
template <class Derived, class Base>
constexpr bool DERIVES = std::is_base_of_v<Base, Derived>&& std::is_convertible_v<Derived*, Base*>;

}  // namespace signatures
