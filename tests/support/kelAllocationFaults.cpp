#include "support/kelAllocationFaults.h"

#include <atomic>
#include <cstdlib>

#include <unicode/uclean.h>

namespace nx::test {

namespace {

constexpr std::size_t NEVER = 0;

thread_local std::size_t untilFailure = NEVER;
thread_local unsigned failingSources = ALL_ALLOCATORS;
thread_local bool failsForEver = false;
thread_local bool failed = false;
// An allocation that is carried out by another allocation function counts once. Volatile, since
// compilers take it that malloc() reads no variable of the program.
thread_local volatile bool nested = false;
std::atomic<long> alive{0};

}  // namespace

bool allocationMustFail(unsigned allocator) noexcept {
    if (nested || untilFailure == NEVER || (failingSources & allocator) == 0) {
        return false;
    }
    if (--untilFailure != 0) {
        return false;
    }
    if (failsForEver) {
        untilFailure = 1;
    }
    failed = true;
    return true;
}

namespace {

void* allocate(std::size_t size, unsigned allocator) noexcept {
    if (allocationMustFail(allocator)) {
        return nullptr;
    }
    nested = true;
    void* const block = std::malloc(size == 0 ? 1 : size);
    nested = false;
    alive += block == nullptr ? 0 : 1;
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr) {
        --alive;
    }
    std::free(block);
}

void* allocateForIcu(const void* /*context*/, std::size_t size) {
    return allocate(size, ICU_MEMORY_FUNCTIONS);
}

void* reallocateForIcu(const void* /*context*/, void* block, std::size_t size) {
    if (block == nullptr) {
        return allocate(size, ICU_MEMORY_FUNCTIONS);
    }
    if (allocationMustFail(ICU_MEMORY_FUNCTIONS)) {
        return nullptr;
    }
    nested = true;
    void* const moved = std::realloc(block, size);
    nested = false;
    return moved;
}

void releaseForIcu(const void* /*context*/, void* block) { release(block); }

void* allocateOrThrow(std::size_t size) {
    void* const block = allocate(size, OPERATOR_NEW);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

AllocationFaults::AllocationFaults(std::size_t failing, unsigned allocators, Failure failure)
    : failing_(failing), allocators_(allocators), failure_(failure) {
    failed = false;
}

void AllocationFaults::arm() {
    failingSources = allocators_;
    failsForEver = failure_ == Failure::FOR_EVER;
    untilFailure = failing_;
}

void AllocationFaults::disarm() { untilFailure = NEVER; }

bool allocationFailed() { return failed; }

long liveAllocations() { return alive; }

void keep(const void* storage) { asm volatile("" : : "r"(storage) : "memory"); }

bool watchIcuAllocations() {
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, allocateForIcu, reallocateForIcu, releaseForIcu, &status);
    return U_SUCCESS(status);
}

}  // namespace nx::test

void* operator new(std::size_t size) { return nx::test::allocateOrThrow(size); }
void* operator new[](std::size_t size) { return nx::test::allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return nx::test::allocate(size, nx::test::OPERATOR_NEW);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return nx::test::allocate(size, nx::test::OPERATOR_NEW);
}
void operator delete(void* block) noexcept { nx::test::release(block); }
void operator delete[](void* block) noexcept { nx::test::release(block); }
void operator delete(void* block, std::size_t) noexcept { nx::test::release(block); }
void operator delete[](void* block, std::size_t) noexcept { nx::test::release(block); }
