#include "support/kelAllocationFaults.h"

#include <atomic>
#include <cstdlib>

#include <unicode/uclean.h>

namespace nx::test {

namespace {

constexpr std::size_t NEVER = 0;

thread_local std::size_t untilFailure = NEVER;
thread_local bool failed = false;
// An allocation that is carried out by another allocation function counts once. Volatile, since
// compilers take it that malloc() reads no variable of the program.
thread_local volatile bool nested = false;
std::atomic<long> alive{0};

}  // namespace

bool allocationMustFail() noexcept {
    if (!nested && untilFailure != NEVER && --untilFailure == 0) {
        failed = true;
        return true;
    }
    return false;
}

namespace {

void* allocate(std::size_t size) noexcept {
    if (allocationMustFail()) {
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

void* allocateForIcu(const void* /*context*/, std::size_t size) { return allocate(size); }

void* reallocateForIcu(const void* /*context*/, void* block, std::size_t size) {
    if (block == nullptr) {
        return allocate(size);
    }
    if (allocationMustFail()) {
        return nullptr;
    }
    nested = true;
    void* const moved = std::realloc(block, size);
    nested = false;
    return moved;
}

void releaseForIcu(const void* /*context*/, void* block) { release(block); }

void* allocateOrThrow(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

AllocationFaults::AllocationFaults(std::size_t failing) : failing_(failing) { failed = false; }

void AllocationFaults::arm() { untilFailure = failing_; }

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
    return nx::test::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return nx::test::allocate(size);
}
void operator delete(void* block) noexcept { nx::test::release(block); }
void operator delete[](void* block) noexcept { nx::test::release(block); }
void operator delete(void* block, std::size_t) noexcept { nx::test::release(block); }
void operator delete[](void* block, std::size_t) noexcept { nx::test::release(block); }
