// What programs that were compiled against an earlier build of the library rely on in the classes
// of threads.
#include <infra/oss/kelThread.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "kelObjectStorage.h"

namespace nx::oss {
namespace {

using layout::byteAt;
using layout::expectDestructorSlots;
using layout::number;
using layout::numberAt;
using layout::slot;
using layout::word;

static_assert(!std::is_polymorphic_v<Thread>);
static_assert(sizeof(Thread) == 152);
static_assert(sizeof(Runnable) == 8);

struct Work : Runnable {
    void run() override { ran = true; }
    bool ran = false;
};

TEST(ThreadAbi, HoldsItsFieldsInTheirOrder) {
    constexpr std::size_t RUNNING = 32 + sizeof(pthread_mutex_t) + sizeof(pthread_attr_t);
    Work work;
    Thread thread(&work, false);
    EXPECT_EQ(word(thread, 0), static_cast<Runnable*>(&work));
    EXPECT_EQ(byteAt(thread, 8), 0);
    EXPECT_EQ(numberAt(thread, 12), 5);
    EXPECT_EQ(word(thread, 2), nullptr);
    EXPECT_EQ(byteAt(thread, RUNNING), 0);
    EXPECT_EQ(byteAt(thread, RUNNING + 1), 1);
    thread.setPriority(-7);
    EXPECT_EQ(numberAt(thread, 12), -7);
    thread.setName("name");
    EXPECT_EQ(word(thread, 2), thread.getName());
    EXPECT_EQ(thread.start(), 0);
    EXPECT_NE(number(thread, 3), 0u);
    EXPECT_EQ(byteAt(thread, RUNNING), 1);
    EXPECT_EQ(thread.join(), 0);
    EXPECT_EQ(byteAt(thread, RUNNING), 0);
    EXPECT_EQ(byteAt(thread, RUNNING + 1), 0);
    const Thread owner(nullptr, true);
    EXPECT_EQ(byteAt(owner, 8), 1);
}

TEST(ThreadAbi, KeepsMutexAndAttributesBehindTheIdentifier) {
    Thread thread(nullptr, false);
    auto* const begin = reinterpret_cast<char*>(&thread);
    auto* const mutex = reinterpret_cast<pthread_mutex_t*>(begin + 32);
    EXPECT_EQ(::pthread_mutex_trylock(mutex), 0);
    EXPECT_EQ(::pthread_mutex_unlock(mutex), 0);
    auto* const attributes =
        reinterpret_cast<pthread_attr_t*>(begin + 32 + sizeof(pthread_mutex_t));
    int state = -1;
    EXPECT_EQ(::pthread_attr_getdetachstate(attributes, &state), 0);
    EXPECT_EQ(state, PTHREAD_CREATE_JOINABLE);
    EXPECT_EQ(thread.setDetachState(), 0);
    EXPECT_EQ(::pthread_attr_getdetachstate(attributes, &state), 0);
    EXPECT_EQ(state, PTHREAD_CREATE_DETACHED);
}

TEST(RunnableAbi, HasDestructorsAndRunInItsVirtualTable) {
    Work work;
    slot<void (*)(void*)>(work, 2)(&work);
    EXPECT_TRUE(work.ran);
    expectDestructorSlots(new Work);
}

}  // namespace
}  // namespace nx::oss
