#pragma once

#include <functional>
#include <vector>

namespace nx::test {

/// A host that records. Linked into a program it brings the three trace functions; it records what
/// the calling thread does while one of the functions below runs an operation, nothing else.
using Events = std::vector<long>;

/// The mask that the host answers with; at first everything is traced.
extern unsigned long hostMask;

/// The identifiers of the operation's events, negative for an exit.
Events identifiersOf(const std::function<void()>& operation);

/// The serial numbers of the events, negative for an exit; errors of the library are left aside.
Events eventsOf(const std::function<void()>& operation);

bool contains(const Events& events, const Events& part);

/// The operation is entered first and left last, whatever it calls.
void expectBracket(long serial, const std::function<void()>& operation);

/// Only the exit is recorded, as the last event.
void expectExitOnly(long serial, const std::function<void()>& operation);

void expectNothing(const std::function<void()>& operation);

/// A result that is not looked at.
template <class T>
void ignore(const T&) {}

}  // namespace nx::test
