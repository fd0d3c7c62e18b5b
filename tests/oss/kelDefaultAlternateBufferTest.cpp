#include <infra/oss/kelDefaultAlternateBuffer.h>

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "support/kelAllocationFaults.h"

namespace nx::oss {
namespace {

using Buffer = DefaultAlternateBuffer<char>;

void expectWithoutStorage(const Buffer& buffer) {
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(buffer.size(), 0u);
    EXPECT_EQ(buffer.capacity(), 0u);
}

TEST(DefaultAlternateBufferConstructor, LeavesAllFieldsZero) {
    const Buffer buffer;
    expectWithoutStorage(buffer);
    EXPECT_EQ(buffer.maximumSize(), 0u);
    EXPECT_EQ(buffer.defaultSize(), 0u);
}

TEST(DefaultAlternateBufferConstructor, WithAMaximumSetsOnlyTheMaximum) {
    const Buffer buffer(100);
    expectWithoutStorage(buffer);
    EXPECT_EQ(buffer.maximumSize(), 100u);
    EXPECT_EQ(buffer.defaultSize(), 0u);
}

TEST(DefaultAlternateBufferConstructor, WithADefaultStorageDoesNotUseItYet) {
    char storage[16];
    const Buffer buffer(storage, sizeof storage, 100);
    expectWithoutStorage(buffer);
    EXPECT_EQ(buffer.maximumSize(), 100u);
    EXPECT_EQ(buffer.defaultSize(), 16u);
}

struct GrowthRow {
    unsigned long size;
    unsigned long capacity;
};

class DefaultAlternateBufferGrowth : public testing::TestWithParam<GrowthRow> {};

TEST_P(DefaultAlternateBufferGrowth, TakesTheSmallestPowerOfTwoFromFourUpward) {
    Buffer buffer;
    buffer.resize(GetParam().size);
    ASSERT_NE(buffer.data(), nullptr);
    EXPECT_EQ(buffer.size(), GetParam().size);
    EXPECT_EQ(buffer.capacity(), GetParam().capacity);
    buffer.data()[GetParam().size - 1] = 'x';
}

INSTANTIATE_TEST_SUITE_P(Rows, DefaultAlternateBufferGrowth,
                         testing::Values(GrowthRow{1, 4}, GrowthRow{2, 4}, GrowthRow{3, 4},
                                         GrowthRow{4, 4}, GrowthRow{5, 8}, GrowthRow{7, 8},
                                         GrowthRow{8, 8}, GrowthRow{9, 16}, GrowthRow{16, 16},
                                         GrowthRow{17, 32}, GrowthRow{63, 64}, GrowthRow{64, 64},
                                         GrowthRow{65, 128}, GrowthRow{127, 128},
                                         GrowthRow{129, 256}, GrowthRow{1023, 1024},
                                         GrowthRow{1024, 1024}, GrowthRow{1025, 2048},
                                         GrowthRow{1000000, 1048576}, GrowthRow{1048577, 2097152}));

TEST(DefaultAlternateBufferResize, WithinTheCapacityOnlySetsTheSize) {
    Buffer buffer;
    buffer.resize(64);
    char* const storage = buffer.data();
    storage[0] = 'a';
    for (const unsigned long n : {1ul, 63ul, 64ul, 0ul, 10ul}) {
        buffer.resize(n);
        EXPECT_EQ(buffer.size(), n);
        EXPECT_EQ(buffer.capacity(), 64u);
        EXPECT_EQ(buffer.data(), storage);
        EXPECT_EQ(buffer.data()[0], 'a');
    }
}

TEST(DefaultAlternateBufferResize, ToZeroWithoutStorageChangesNothing) {
    char storage[4];
    Buffer buffer(storage, sizeof storage, 0);
    buffer.resize(0);
    expectWithoutStorage(buffer);
}

TEST(DefaultAlternateBufferResize, AboveTheMaximumLeavesNoStorage) {
    Buffer buffer(100);
    buffer.resize(101);
    expectWithoutStorage(buffer);
    EXPECT_EQ(buffer.maximumSize(), 100u);
}

TEST(DefaultAlternateBufferResize, AboveTheMaximumFreesTheHeapArray) {
    const long before = test::liveAllocations();
    Buffer buffer(100);
    buffer.resize(20);
    test::keep(buffer.data());
    EXPECT_EQ(test::liveAllocations(), before + 1);
    buffer.resize(101);
    expectWithoutStorage(buffer);
    EXPECT_EQ(test::liveAllocations(), before);
    buffer.resize(100);
    EXPECT_EQ(buffer.capacity(), 128u);
}

// The capacity is compared before the maximum: a capacity above the maximum is used.
TEST(DefaultAlternateBufferResize, AboveTheMaximumButWithinTheCapacityIsGranted) {
    Buffer buffer(100);
    buffer.resize(65);
    ASSERT_EQ(buffer.capacity(), 128u);
    buffer.resize(101);
    EXPECT_EQ(buffer.size(), 101u);
    EXPECT_NE(buffer.data(), nullptr);
    buffer.resize(128);
    EXPECT_EQ(buffer.size(), 128u);
    buffer.resize(129);
    expectWithoutStorage(buffer);
}

TEST(DefaultAlternateBufferResize, AtTheMaximumIsGranted) {
    Buffer buffer(100);
    buffer.resize(100);
    EXPECT_EQ(buffer.size(), 100u);
    EXPECT_EQ(buffer.capacity(), 128u);
}

TEST(DefaultAlternateBufferResize, UsesTheDefaultStorageUpToItsSize) {
    char storage[16];
    for (const unsigned long n : {1ul, 15ul, 16ul}) {
        Buffer buffer(storage, sizeof storage, 0);
        const long before = test::liveAllocations();
        buffer.resize(n);
        EXPECT_EQ(buffer.data(), storage);
        EXPECT_EQ(buffer.capacity(), 16u);
        EXPECT_EQ(buffer.size(), n);
        EXPECT_EQ(test::liveAllocations(), before);
    }
}

TEST(DefaultAlternateBufferResize, MovesFromTheDefaultStorageToTheHeapAndFreesOnlyTheHeap) {
    const long before = test::liveAllocations();
    char storage[16];
    {
        Buffer buffer(storage, sizeof storage, 0);
        buffer.resize(10);
        buffer.resize(17);
        test::keep(buffer.data());
        EXPECT_NE(buffer.data(), storage);
        EXPECT_EQ(buffer.capacity(), 32u);
        EXPECT_EQ(buffer.defaultSize(), 16u);
        EXPECT_EQ(test::liveAllocations(), before + 1);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(DefaultAlternateBufferResize, ReturnsToTheDefaultStorageAfterARefusal) {
    char storage[16];
    Buffer buffer(storage, sizeof storage, 20);
    buffer.resize(17);
    buffer.resize(33);
    expectWithoutStorage(buffer);
    buffer.resize(5);
    EXPECT_EQ(buffer.data(), storage);
    EXPECT_EQ(buffer.capacity(), 16u);
}

TEST(DefaultAlternateBufferResize, UsesAllOfADefaultStorageThatIsLargerThanTheMaximum) {
    char storage[16];
    Buffer buffer(storage, sizeof storage, 8);
    buffer.resize(8);
    EXPECT_EQ(buffer.data(), storage);
    EXPECT_EQ(buffer.capacity(), 16u);
    buffer.resize(16);
    EXPECT_EQ(buffer.size(), 16u);
}

TEST(DefaultAlternateBufferResize, RefusesAMaximumBeforeItLooksAtTheDefaultStorage) {
    char storage[16];
    Buffer buffer(storage, sizeof storage, 8);
    buffer.resize(9);
    expectWithoutStorage(buffer);
}

TEST(DefaultAlternateBufferResize, FreesTheOldHeapArrayWhenItGrows) {
    const long before = test::liveAllocations();
    Buffer buffer;
    for (unsigned long n = 1; n < 100000; n = n * 2 + 1) {
        buffer.resize(n);
        test::keep(buffer.data());
        EXPECT_EQ(test::liveAllocations(), before + 1);
    }
}

TEST(DefaultAlternateBufferResize, Above2To30ThrowsTheAllocatorsExceptionAndLeavesNoStorage) {
    for (const unsigned long n :
         {(1ul << 30) + 1, (1ul << 31) - 1, 1ul << 31, (1ul << 31) + 1, 1ul << 32, ULONG_MAX}) {
        Buffer buffer;
        buffer.resize(10);
        EXPECT_THROW(buffer.resize(n), std::bad_alloc) << n;
        expectWithoutStorage(buffer);
        buffer.resize(10);
        EXPECT_EQ(buffer.capacity(), 16u);
    }
}

TEST(DefaultAlternateBufferResize, To2To30IsAskedFromTheAllocator) {
    Buffer buffer;
    buffer.resize(10);
    test::AllocationFaults faults(1);
    faults.arm();
    EXPECT_THROW(buffer.resize(1ul << 30), std::bad_alloc);
    faults.disarm();
    EXPECT_TRUE(test::allocationFailed()) << "refused without asking";
    expectWithoutStorage(buffer);
}

TEST(DefaultAlternateBufferResize, BeyondTheMaximumNeverReachesTheAllocator) {
    Buffer buffer(100);
    EXPECT_NO_THROW(buffer.resize(ULONG_MAX));
    expectWithoutStorage(buffer);
}

TEST(DefaultAlternateBuffer, HoldsAndDestroysElementsOfAnyType) {
    const long before = test::liveAllocations();
    {
        DefaultAlternateBuffer<std::string> buffer;
        buffer.resize(5);
        ASSERT_EQ(buffer.capacity(), 8u);
        buffer.data()[4] = "a string that is too long for the object itself";
        const auto& constBuffer = buffer;
        EXPECT_EQ(constBuffer.data()[4], "a string that is too long for the object itself");
        EXPECT_EQ(buffer.data()[0], "");
        EXPECT_EQ(test::liveAllocations(), before + 2);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

}  // namespace
}  // namespace nx::oss
