// A host that opens the shared object at run time. It is built twice: the dynamic linker finds its
// trace functions only when the program exports them (HOST_EXPORTS).
#include <dlfcn.h>

#include <vector>

#include <gtest/gtest.h>

namespace {
std::vector<unsigned> exits;
}

extern "C" {
__attribute__((visibility("default"), used)) unsigned long trcGetCompFlag(unsigned) {
    return 0x20000;
}
__attribute__((visibility("default"), used)) void trcEntry(unsigned) {}
__attribute__((visibility("default"), used)) void trcExit(unsigned identifier, long) {
    exits.push_back(identifier);
}
}

namespace {

#ifdef HOST_EXPORTS
constexpr bool EXPORTS = true;
#else
constexpr bool EXPORTS = false;
#endif

using Operation = void (*)(void*);

TEST(LoadedHost, ReceivesEventsExactlyWhenItExportsItsTraceFunctions) {
    void* const library = dlopen(KELINFRA_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    // MessageList(), ~MessageList().
    const auto construct =
        reinterpret_cast<Operation>(dlsym(library, "_ZN2nx3oss11MessageListC1Ev"));
    const auto destroy = reinterpret_cast<Operation>(dlsym(library, "_ZN2nx3oss11MessageListD1Ev"));
    ASSERT_NE(construct, nullptr) << dlerror();
    ASSERT_NE(destroy, nullptr) << dlerror();
    alignas(8) unsigned char list[32];
    construct(list);
    destroy(list);
    const std::vector<unsigned> expected = {483919157, 483919165, 483919158};
    EXPECT_EQ(exits, EXPORTS ? expected : std::vector<unsigned>{});
}

}  // namespace
