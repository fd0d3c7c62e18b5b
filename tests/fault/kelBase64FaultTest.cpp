// Coding allocates nothing. Every allocation of its errors fails once, those that ICU makes for its
// strings included: the complete error or std::bad_alloc, and nothing leaked.
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <infra/util/kelBase64.h>
#include <infra/util/kelBase64Exception.h>

#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

namespace nx::util {
namespace {

using nx::test::AllocationFaults;
using nx::test::liveAllocations;
using nx::test::Report;

class IcuMemory : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(nx::test::watchIcuAllocations()); }
};
const testing::Environment* const ICU_MEMORY =
    testing::AddGlobalTestEnvironment(new IcuMemory);  // owned by the framework

constexpr const char* FILE_NAME = "src/infra/util/kelBase64";
constexpr std::size_t LENGTH = 77;  // more than a UnicodeString holds without the heap

const unsigned short* longText() {
    static const std::u16string text(LENGTH, u'Q');
    return reinterpret_cast<const unsigned short*>(text.c_str());
}

/// With each allocation failing, the operation throws the whole error or std::bad_alloc.
template <class Operation>
void expectErrorOrBadAlloc(const Operation& operation, const Report& report) {
    EXPECT_TRUE(nx::test::raises<Base64Exception>(operation, report));
    const auto failures = nx::test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        try {
            faults.arm();
            operation();
            faults.disarm();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::bad_alloc&) {
            faults.disarm();
        } catch (const Base64Exception& failure) {
            faults.disarm();
            EXPECT_TRUE(report.matches(failure));
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 0u) << "nothing was allocated";
}

TEST(Base64Faults, ErrorsAreCompleteOrBadAlloc) {
    char bytes[LENGTH];
    unsigned short units[4];
    expectErrorOrBadAlloc([&] { Base64::encode(units, 3, "A", 1); },
                          Report("ERR_BUFFER_SIZE_TOO_SMALL").at(FILE_NAME, 153).with({"3"}));
    expectErrorOrBadAlloc([&] { Base64::decode(bytes, 5, longText(), LENGTH); },
                          Report("ERR_BUFFER_SIZE_TOO_SMALL").at(FILE_NAME, 252).with({"5"}));
    expectErrorOrBadAlloc([&] { Base64::decode(u'!', false); },
                          Report("ERR_BASE64_INVALID_DATA").at(FILE_NAME, 112).with({"!"}));
    expectErrorOrBadAlloc(
        [&] { Base64::decode(bytes, LENGTH, longText(), LENGTH); },
        Report("ERR_BASE64_MISALIGNED_DATA").at(FILE_NAME, 372).with({std::string(LENGTH, 'Q')}));
}

TEST(Base64Faults, CodingNeedsNoMemory) {
    const std::string bytes(1000, 'x');
    unsigned short units[1336];
    char again[1000];
    const auto failures = nx::test::forEachAllocation([&](AllocationFaults& faults) {
        faults.arm();
        ASSERT_EQ(Base64::encode(units, 1336, bytes.data(), bytes.size()), 1336u);
        ASSERT_EQ(Base64::decode(again, 1000, units, 1336), 1000u);
    });
    EXPECT_EQ(failures, 0u);
    EXPECT_EQ(std::string(again, 1000), bytes);
}

}  // namespace
}  // namespace nx::util
