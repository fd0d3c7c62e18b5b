#include <infra/oss/kelSizeableBuffer.h>

#include <climits>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/kelAllocationFaults.h"

namespace nx::oss {
namespace {

using Buffer = SizeableBuffer<char, 512>;

template <class T, unsigned long N>
void expectInline(const SizeableBuffer<T, N>& buffer) {
    const auto* const begin = reinterpret_cast<const char*>(&buffer);
    const auto* const data = reinterpret_cast<const char*>(buffer.data());
    EXPECT_GE(data, begin);
    EXPECT_LE(data + N * sizeof(T), begin + sizeof buffer);
    EXPECT_EQ(buffer.capacity(), N);
}

TEST(SizeableBufferConstructor, StartsWithTheInlineArray) {
    const SizeableBuffer<char, 512> small(0);
    expectInline(small);
    EXPECT_EQ(small.inlineCapacity(), 512u);
    EXPECT_EQ(small.maximumSize(), 0u);
    const SizeableBuffer<char, 1026> large(4096);
    expectInline(large);
    EXPECT_EQ(large.inlineCapacity(), 1026u);
    EXPECT_EQ(large.maximumSize(), 4096u);
}

TEST(SizeableBufferResize, UpToTheInlineCapacityNeedsNoHeap) {
    Buffer buffer(0);
    const long before = test::liveAllocations();
    for (const unsigned long n : {0ul, 1ul, 511ul, 512ul}) {
        EXPECT_TRUE(buffer.resize(n));
        expectInline(buffer);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(SizeableBufferResize, AboveTheInlineCapacityTakesAPowerOfTwoFromTheHeap) {
    Buffer buffer(0);
    EXPECT_TRUE(buffer.resize(513));
    EXPECT_EQ(buffer.capacity(), 1024u);
    buffer.data()[1023] = 'x';
    SizeableBuffer<char, 1026> conversion(0);
    EXPECT_TRUE(conversion.resize(1027));
    EXPECT_EQ(conversion.capacity(), 2048u);
    EXPECT_TRUE(conversion.resize(2049));
    EXPECT_EQ(conversion.capacity(), 4096u);
}

TEST(SizeableBufferResize, BackToTheInlineArrayKeepsTheHeapArrayForLater) {
    Buffer buffer(0);
    EXPECT_TRUE(buffer.resize(600));
    const char* const heap = buffer.data();
    const long before = test::liveAllocations();
    EXPECT_TRUE(buffer.resize(10));
    expectInline(buffer);
    EXPECT_TRUE(buffer.resize(1024));
    EXPECT_EQ(buffer.data(), heap);
    EXPECT_EQ(buffer.capacity(), 1024u);
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(SizeableBufferResize, AboveTheMaximumFallsBackToTheInlineArray) {
    Buffer buffer(1000);
    EXPECT_FALSE(buffer.resize(1001));
    expectInline(buffer);
    EXPECT_TRUE(buffer.resize(1000));
    EXPECT_EQ(buffer.capacity(), 1024u);
    // The capacity counts before the maximum.
    EXPECT_TRUE(buffer.resize(1024));
    EXPECT_FALSE(buffer.resize(1025));
    expectInline(buffer);
    EXPECT_FALSE(buffer.resize(ULONG_MAX));
    expectInline(buffer);
}

TEST(SizeableBufferResize, IsNotRestrictedByAMaximumBelowTheInlineCapacity) {
    Buffer buffer(10);
    EXPECT_TRUE(buffer.resize(512));
    expectInline(buffer);
    EXPECT_FALSE(buffer.resize(513));
    expectInline(buffer);
}

TEST(SizeableBufferResize, FallsBackToTheInlineArrayWhenAnAllocationFails) {
    const auto failures = test::forEachAllocation([](test::AllocationFaults& faults) {
        Buffer buffer(0);
        EXPECT_TRUE(buffer.resize(600));
        const long before = test::liveAllocations();
        try {
            faults.arm();
            buffer.resize(5000);
            faults.disarm();
            EXPECT_EQ(buffer.capacity(), 8192u);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            expectInline(buffer);
            EXPECT_EQ(test::liveAllocations(), before - 1);  // the old heap array is gone
            EXPECT_TRUE(buffer.resize(600));
            EXPECT_EQ(buffer.capacity(), 1024u);
        }
    });
    EXPECT_EQ(failures, 1u);
}

TEST(SizeableBufferResize, Above2To30ThrowsAndFallsBackToTheInlineArray) {
    Buffer buffer(0);
    EXPECT_THROW(buffer.resize((1ul << 30) + 1), std::bad_alloc);
    expectInline(buffer);
    EXPECT_THROW(buffer.resize(ULONG_MAX), std::bad_alloc);
    expectInline(buffer);
}

TEST(SizeableBuffer, FreesItsHeapArray) {
    const long before = test::liveAllocations();
    {
        Buffer buffer(0);
        buffer.resize(5000);
        test::keep(buffer.data());
        EXPECT_EQ(test::liveAllocations(), before + 1);
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(SizeableBuffer, HoldsAndDestroysElementsOfAnyType) {
    const long before = test::liveAllocations();
    {
        SizeableBuffer<std::string, 3> buffer(0);
        buffer.data()[2] = "a string that is too long for the object itself";
        EXPECT_TRUE(buffer.resize(5));
        EXPECT_EQ(buffer.capacity(), 8u);
        const auto& constBuffer = buffer;
        EXPECT_EQ(constBuffer.data()[4], "");
        buffer.data()[4] = "a string that is too long for the object itself";
    }
    EXPECT_EQ(test::liveAllocations(), before);
}

// The non-type parameter is an unsigned long, first and only for a deducing function.
template <unsigned long N>
unsigned long deduced(const SizeableBuffer<char, N>&) {
    return N;
}

TEST(SizeableBuffer, LetsItsInlineCapacityBeDeduced) {
    EXPECT_EQ(deduced(Buffer(0)), 512u);
    EXPECT_EQ(deduced<1026>(SizeableBuffer<char, 1026>(0)), 1026u);
}

class SizeableBufferGrowth : public testing::TestWithParam<unsigned long> {};

TEST_P(SizeableBufferGrowth, ReallocatesOncePerPowerOfTwo) {
    Buffer buffer(0);
    unsigned long capacity = buffer.capacity();
    unsigned long steps = 0;
    for (unsigned long n = 1; n <= GetParam(); ++n) {
        ASSERT_TRUE(buffer.resize(n));
        if (buffer.capacity() != capacity) {
            EXPECT_EQ(buffer.capacity(), 2 * capacity);
            capacity = buffer.capacity();
            ++steps;
        }
    }
    EXPECT_GE(capacity, GetParam());
    EXPECT_EQ(512ul << steps, capacity);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SizeableBufferGrowth, testing::Values(10'000, 100'000, 1'000'000));

}  // namespace
}  // namespace nx::oss
