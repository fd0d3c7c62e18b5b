#pragma once

#include <cstddef>
#include <new>

namespace nx::test {

/// Allocation functions that can fail, as bits.
constexpr unsigned OPERATOR_NEW = 1;
constexpr unsigned MALLOC = 2;  // in programs that link kelHeapFaults.cpp
constexpr unsigned ICU_MEMORY_FUNCTIONS = 4;
constexpr unsigned ALL_ALLOCATORS = OPERATOR_NEW | MALLOC | ICU_MEMORY_FUNCTIONS;

/// What comes after the allocation that fails.
enum class Failure { ONCE, FOR_EVER };

/// Makes operator new fail in the calling thread. Programs that link the test support use replaced
/// global allocation functions, which count and can throw std::bad_alloc.
///
///     forEachAllocation([&](auto& faults) {
///         Thing thing;                    // not counted
///         faults.arm();                   // the n-th allocation from here on fails
///         thing.operation();              // throws for n = 1, 2, ... until all succeed
///     });
class AllocationFaults {
  public:
    explicit AllocationFaults(std::size_t failing, unsigned allocators = ALL_ALLOCATORS,
                              Failure failure = Failure::ONCE);
    ~AllocationFaults() { disarm(); }
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    /// From now on the n-th allocation of this thread fails, and those after it if wanted. Only
    /// those of the given allocators count and fail.
    void arm();
    /// Allocations succeed again.
    void disarm();

  private:
    std::size_t failing_;
    unsigned allocators_;
    Failure failure_;
};

/// Whether the armed failure has happened in this thread.
bool allocationFailed();

/// Counts one allocation and tells whether it is the one that fails: for programs that let other
/// allocation functions fail as well.
bool allocationMustFail(unsigned allocator) noexcept;

/// Allocations by operator new that are alive, in all threads. Equal values before and after an
/// operation mean that it leaked nothing.
long liveAllocations();

/// Makes the compiler believe that the storage is used, so that it does not leave out the
/// allocation of an object that a test only creates and destroys.
void keep(const void* storage);

/// Lets ICU's own allocations fail and count like those of operator new, in the whole program from
/// here on. Returns whether ICU agreed.
///
/// ICU keeps caches, so an operation is to be run once before its allocations are counted.
bool watchIcuAllocations();

/// Runs `operation` with the first, the second, ... allocation failing until a run needs no more,
/// and returns the number of runs that failed. std::bad_alloc from the operation is caught; an
/// operation that looks at the state afterwards catches it itself and disarms first.
template <class Operation>
std::size_t forEachAllocation(const Operation& operation) {
    for (std::size_t failing = 1;; ++failing) {
        AllocationFaults faults(failing);
        try {
            operation(faults);
        } catch (const std::bad_alloc&) {
        }
        faults.disarm();
        if (!allocationFailed()) {
            return failing - 1;
        }
    }
}

}  // namespace nx::test
