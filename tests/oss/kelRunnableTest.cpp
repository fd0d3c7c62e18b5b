#include <infra/oss/kelRunnable.h>

#include <type_traits>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

TEST(RunnableType, IsAnInterfaceWithAVirtualDestructor) {
    static_assert(std::is_abstract_v<Runnable>);
    static_assert(std::has_virtual_destructor_v<Runnable>);
    static_assert(std::is_same_v<decltype(&Runnable::run), void (Runnable::*)()>);
    static_assert(sizeof(Runnable) == sizeof(void*));
}

TEST(RunnableType, IsDeletedAndRunThroughItsBase) {
    struct Counter : Runnable {
        explicit Counter(int& count) : count_(count) {}
        ~Counter() override { count_ += 10; }
        void run() override { ++count_; }
        int& count_;
    };
    int count = 0;
    Runnable* const runnable = new Counter(count);
    runnable->run();
    EXPECT_EQ(1, count);
    delete runnable;
    EXPECT_EQ(11, count);
}

}  // namespace
}  // namespace nx::oss
