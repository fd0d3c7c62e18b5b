// Every allocation of the tokenizer and of the build version fails once: operator new, the storage
// of text buffers and what ICU takes.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelStringTokenizer.h>

#include <malloc.h>

#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/kelAllocationFaults.h"
#include "support/kelHeapFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::forEachAllocation;
using test::liveHeapBlocks;

const bool ICU_IS_WATCHED = test::watchIcuAllocations();

UnicodeString longToken() { return UnicodeString(5'000, u'l', 5'000); }

UnicodeString longText() { return longToken().append(u',').append(longToken()).append(u",short"); }

TEST(TokenizerFaults, CountAllocationsOfIcu) { EXPECT_TRUE(ICU_IS_WATCHED); }

TEST(TokenizerFaults, FailedConstructionThrowsAndLeaksNothing) {
    const UnicodeString text = longText();
    const std::string bytes = std::string(5'000, 'l') + "\xC3\xA9," + std::string(5'000, 'm');
    const std::string delimiters = "," + std::string(1'000, '.');
    const std::string foreign = delimiters + "\xC3\xBC";
    const long before = liveHeapBlocks();
    const auto failuresOf = [](auto construct) {
        return forEachAllocation([&](auto& faults) {
            faults.arm();
            construct();
            EXPECT_FALSE(test::allocationFailed());
        });
    };
    EXPECT_EQ(failuresOf([&] { const StringTokenizer tokenizer(text, ","); }), 1u)
        << "all tokens together";
    EXPECT_EQ(failuresOf([&] { const StringTokenizer tokenizer(text, delimiters.c_str()); }), 1u);
    EXPECT_GT(failuresOf([&] {
                  const StringTokenizer tokenizer(bytes.c_str(), foreign.c_str(), "UTF-8");
              }),
              2u)
        << "the text and the delimiters are decoded";
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TokenizerFaults, ShortTokensTakeOneAllocationTogether) {
    const UnicodeString text(u"twenty-seven-units-may-be-s short and some more of them");
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  StringTokenizer tokenizer(text);
                  EXPECT_EQ(tokenizer.countTokens(), 7);
                  while (tokenizer.hasMoreTokens()) {
                      static_cast<void>(tokenizer.getNextTokenString());
                  }
                  for (const char* token = tokenizer.getFirstToken(); *token != '\0';) {
                      token = tokenizer.getNextToken();
                  }
              }),
              1u);
}

TEST(TokenizerFaults, FailedParseStringLeavesNoTokensAndIsUsableAfterwards) {
    const UnicodeString text = longText();
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        StringTokenizer tokenizer("old tokens");
        faults.arm();
        try {
            tokenizer.parseString(text, u",");
            EXPECT_FALSE(test::allocationFailed());
            EXPECT_EQ(tokenizer.countTokens(), 3);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(tokenizer.countTokens(), 0);
            EXPECT_FALSE(tokenizer.hasMoreTokens());
            EXPECT_STREQ(tokenizer.getFirstToken(), "");
            EXPECT_TRUE(tokenizer.getFirstTokenString().isEmpty());
            tokenizer.parseString(u"new", u",");
            EXPECT_STREQ(tokenizer.getFirstToken(), "new");
        }
    });
    EXPECT_EQ(failures, 1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TokenizerFaults, FailedByteTokenIsNotPassedOver) {
    StringTokenizer tokenizer(longText(), ",");
    const std::string token(5'000, 'l');
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        faults.arm();
        try {
            EXPECT_EQ(tokenizer.getFirstToken(), token);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(tokenizer.getNextToken(), token) << "the first one";
        }
        faults.disarm();
        tokenizer.getNextToken();
        EXPECT_STREQ(tokenizer.getNextToken(), "short");
    });
    EXPECT_GT(failures, 0u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(TokenizerFaults, FailedStringTokenIsNotPassedOver) {
    StringTokenizer tokenizer(longText(), ",");
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](auto& faults) {
        faults.arm();
        try {
            EXPECT_EQ(tokenizer.getFirstTokenString().length(), 5'000);
        } catch (const std::bad_alloc&) {
            faults.disarm();
            EXPECT_EQ(tokenizer.getNextTokenString().length(), 5'000) << "the first one";
        }
        faults.disarm();
        EXPECT_EQ(tokenizer.getNextTokenString().length(), 5'000);
        EXPECT_EQ(tokenizer.getNextTokenString().length(), 5);
    });
    EXPECT_EQ(failures, 1u) << "the storage of the caller's string";
    EXPECT_EQ(liveHeapBlocks(), before);
}

/// The bytes that this program has from the heap; 0 where a sanitizer hands them out.
std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST(TokenizerFaults, TenMillionDelimitersTakeNoMemory) {
    const UnicodeString run(10'000'000, u' ', 10'000'000);
    const UnicodeString between = UnicodeString(u"a").append(run).append(u"b");
    const std::size_t before = heapInUse();
    const std::size_t allocations = forEachAllocation([&](auto& faults) {
        faults.arm();
        StringTokenizer tokenizer(between);
        EXPECT_EQ(tokenizer.countTokens(), 2);
        EXPECT_LE(heapInUse(), before + 1'000);
        tokenizer.parseString(run, u"");
        EXPECT_EQ(tokenizer.countTokens(), 1);
        EXPECT_LE(heapInUse(), before + 1'000);
    });
    EXPECT_EQ(allocations, 2u) << "the tokens of each text, nothing besides for a while";
}

TEST(BuildVersionFaults, FailedOperationsThrowAndLeakNothing) {
    const UnicodeString text =
        UnicodeString(100, u'p', 100).append(u"-1.1-").append(UnicodeString(100, u'9', 100));
    const long before = liveHeapBlocks();
    EXPECT_GT(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  const BuildVersion version(text);
                  faults.disarm();
                  EXPECT_EQ(version.getProductVersion().length(), 100);
                  EXPECT_EQ(version.getBuildNumberString().length(), 100);
              }),
              2u);
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  const BuildVersion version;
                  faults.disarm();
                  EXPECT_EQ(test::utf8(version.getBuildNumberString()), "579");
              }),
              1u);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(BuildVersionFaults, CopiesShareTheirStorage) {
    BuildVersion version(UnicodeString(100, u'p', 100).append(u"-1.1-579"));
    BuildVersion target;
    EXPECT_EQ(forEachAllocation([&](auto& faults) {
                  faults.arm();
                  const BuildVersion copy(version);
                  target = version;
              }),
              0u);
    EXPECT_EQ(target.getProductVersion(), version.getProductVersion());
}

}  // namespace
}  // namespace nx::oss
