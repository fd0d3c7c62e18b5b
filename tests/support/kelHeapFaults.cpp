#include "support/kelHeapFaults.h"

#include <atomic>
#include <cstddef>

#include "support/kelAllocationFaults.h"

namespace {

std::atomic<long> alive{0};

void* counted(void* block) {
    alive += block == nullptr ? 0 : 1;
    return block;
}

}  // namespace

long nx::test::liveHeapBlocks() { return alive; }

// The linker sends every call of the linked objects to the wrappers.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return nx::test::allocationMustFail(nx::test::MALLOC) ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return nx::test::allocationMustFail(nx::test::MALLOC) ? nullptr
                                                          : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (nx::test::allocationMustFail(nx::test::MALLOC)) {
        return nullptr;
    }
    void* const moved = __real_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

void __wrap_free(void* block) {
    alive -= block == nullptr ? 0 : 1;
    __real_free(block);
}
}
