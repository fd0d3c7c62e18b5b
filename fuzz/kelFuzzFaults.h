#pragma once

#include <cstddef>
#include <new>

#include "support/kelAllocationFaults.h"

/// Fails allocations of operator new, of malloc() and its like, and of ICU, for targets made with
/// FAULTS.

/// Before ICU is used for the first time.
inline const bool ICU_ALLOCATIONS_FAIL = nx::test::watchIcuAllocations();

/// Carries out an operation of the library with its `failing`-th allocation failing, 0 for none.
/// False when it threw std::bad_alloc, which is what it may do instead.
template <class Operation>
bool carriedOut(std::size_t failing, const Operation& operation) {
    nx::test::AllocationFaults faults(failing);
    faults.arm();
    try {
        operation();
        return true;
    } catch (const std::bad_alloc&) {
        if (!nx::test::allocationFailed()) {
            throw;
        }
        return false;
    }
}
