// Every allocation of a text buffer fails once: its storage, the copies that it makes of its own
// text, and ICU's converters. After each failure the buffer is as before and goes on working.
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessage.h>
#include <infra/oss/kelNLSException.h>

#include <functional>
#include <memory>
#include <string>

#include "support/kelAllocationFaults.h"
#include "support/kelHeapFaults.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::AllocationFaults;
using test::forEachAllocation;
using test::liveHeapBlocks;

std::string contentOf(const DataBuffer& buffer) {
    return {buffer.getString(), static_cast<std::size_t>(buffer.length())};
}

struct Operation {
    const char* name;
    std::function<void(DataBuffer&)> run;
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

const std::string LONG(5'000, 'l');

const Operation OPERATIONS[] = {
    {"SaveString", [](DataBuffer& b) { b.saveString(3, LONG.data(), 5'000); }},
    {"AppendString", [](DataBuffer& b) { b.appendString(LONG.c_str()); }},
    {"AppendItself", [](DataBuffer& b) { b.appendString(b); }},
    {"InsertItself", [](DataBuffer& b) { b.insertString(7, b.getString() + 3); }},
    {"InsertAPartOfItself", [](DataBuffer& b) { b.insertString(7, b.getString() + 3, 5); }},
    {"AppendBuffer", [](DataBuffer& b) { b.appendString(DataBuffer(LONG.c_str())); }},
    {"AppendUnicode",
     [](DataBuffer& b) { b.appendString(icu::UnicodeString(LONG.c_str()), "UTF-8"); }},
    {"AppendOtherCodePage",
     [](DataBuffer& b) { b.appendString(icu::UnicodeString(LONG.c_str()), "Shift_JIS"); }},
    {"InsertUnicode",
     [](DataBuffer& b) { b.insertString(9, icu::UnicodeString(LONG.c_str()), nullptr); }},
    {"SaveBinary", [](DataBuffer& b) { b.saveBinary(1, LONG.data(), 5'000, true); }},
    {"BinaryOfItself", [](DataBuffer& b) { b.saveBinary(1, b.getString(), 4'000, true); }},
    {"ReplaceAllGrowing", [](DataBuffer& b) { b.replaceAll("t", "TEXT"); }},
    {"ReplaceByItself", [](DataBuffer& b) { b.replace("t", b.getString(), 1, 1); }},
    {"ReplaceItsOwnText",
     [](DataBuffer& b) { b.replaceAll(b.getString() + 3'990, "xxxxxxxxxxxx"); }},
    {"ReplaceTheNth", [](DataBuffer& b) { b.replace("t", LONG.c_str(), 3); }},
    {"AppendCounted", [](DataBuffer& b) { b.appendString(LONG.data(), 4'999); }},
    {"InsertCounted", [](DataBuffer& b) { b.insertString(5, LONG.data(), 97); }},
    {"InsertBuffer", [](DataBuffer& b) { b.insertString(-1, DataBuffer(LONG.c_str())); }},
    {"AppendNumber", [](DataBuffer& b) { b.appendNumber(-1.7e308); }},
    {"InsertNumber", [](DataBuffer& b) { b.insertNumber(2, 1.7e308); }},
    {"AppendBinary", [](DataBuffer& b) { b.appendBinary(LONG.data(), 47, false); }},
    {"InsertBinary", [](DataBuffer& b) { b.insertBinary(1, LONG.data(), 2'047, false); }},
    {"AssignBuffer", [](DataBuffer& b) { b = DataBuffer(LONG.c_str()); }},
};

class DataBufferFaults : public testing::TestWithParam<Operation> {};

TEST_P(DataBufferFaults, LeaveTheBufferAsItWasAndUsable) {
    const std::string content(4'000, 't');
    {
        DataBuffer warm(content.c_str());
        for (int i = 0; i < 30; ++i) {  // until all that is kept for later calls has been made
            warm = DataBuffer(content.c_str());
            GetParam().run(warm);
        }
    }
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
        DataBuffer buffer(content.c_str());
        try {
            faults.arm();
            GetParam().run(buffer);
            faults.disarm();
        } catch (const std::bad_alloc&) {
            faults.disarm();
            ASSERT_EQ(contentOf(buffer), content);
            ASSERT_EQ(buffer.capacity(), 4096);
            GetParam().run(buffer);
            ASSERT_NE(contentOf(buffer), content);
        }
    });
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(liveHeapBlocks(), before);
}

// On the heap there is spare room, so that the buffer is asked for more than that.
TEST(DataBufferFaultsOf, GrowingOnTheHeapLeaveTheBufferAsItWas) {
    const std::string content(6'000, 't');
    const std::string more(100'000, 'm');
    const std::function<void(DataBuffer&)> operations[] = {
        [&](DataBuffer& b) { b.saveString(3'000, more.data(), 100'000); },
        [&](DataBuffer& b) { b.insertString(0, icu::UnicodeString(more.c_str()), "UTF-8"); },
        [&](DataBuffer& b) { b.appendBinary(more.data(), 100'000, true); },
        [&](DataBuffer& b) { b.replaceAll("t", "twenty-one characters"); },
        [&](DataBuffer& b) { b = DataBuffer(more.c_str()); },
    };
    const long before = liveHeapBlocks();
    for (const auto& operation : operations) {
        const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
            DataBuffer buffer(content.c_str());
            buffer.saveString(5'990, "\0", 1);
            const std::string whole = contentOf(buffer);
            try {
                faults.arm();
                operation(buffer);
                faults.disarm();
            } catch (const std::bad_alloc&) {
                faults.disarm();
                ASSERT_EQ(contentOf(buffer), whole);
                ASSERT_EQ(buffer.capacity(), 10'096);
            }
        });
        EXPECT_GE(failures, 1U);
    }
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(DataBufferFaultProgram, CountsTheBlocksOfABufferOnTheHeap) {
    const long before = liveHeapBlocks();
    {
        const DataBuffer buffer(5'000);
        EXPECT_EQ(liveHeapBlocks(), before + 1);
    }
    EXPECT_EQ(liveHeapBlocks(), before);
}

INSTANTIATE_TEST_SUITE_P(All, DataBufferFaults, testing::ValuesIn(OPERATIONS),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(DataBufferFaultsOf, GrowingOnTheHeapLeavesTheBufferAsItWas) {
    const std::string content(10'000, 'h');
    const std::string much(100'000, 'm');
    const std::function<void(DataBuffer&)> growing[] = {
        [&](DataBuffer& b) { b.appendString(much.c_str()); },
        [&](DataBuffer& b) { b.insertString(5'000, much.c_str()); },
        [](DataBuffer& b) { b.replaceAll("h", "replacement"); },
    };
    for (const auto& grow : growing) {
        const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
            DataBuffer buffer(content.c_str());
            try {
                faults.arm();
                grow(buffer);
                faults.disarm();
            } catch (const std::bad_alloc&) {
                faults.disarm();
                ASSERT_EQ(contentOf(buffer), content);
                ASSERT_EQ(buffer.capacity(), 14'096);
            }
        });
        EXPECT_GE(failures, 1U);
    }
}

TEST(DataBufferFaultsOf, AssigningUnicodeTextLeaveAnEmptyBuffer) {
    const icu::UnicodeString text(LONG.c_str());
    const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
        DataBuffer buffer("before");
        try {
            faults.arm();
            buffer = text;
            faults.disarm();
        } catch (const std::bad_alloc&) {
            faults.disarm();
            ASSERT_EQ(contentOf(buffer), "");
        }
    });
    EXPECT_GE(failures, 1U);
}

TEST(DataBufferFaultsOf, ConstructorsLeakNothing) {
    const DataBuffer source(LONG.c_str());
    const icu::UnicodeString text(LONG.c_str());
    const long before = liveHeapBlocks();
    const std::function<void()> constructors[] = {
        [] { DataBuffer buffer(10'000); },
        [] { DataBuffer buffer(LONG.c_str()); },
        [&] { DataBuffer buffer(text, "UTF-8"); },
        [&] { DataBuffer buffer(source); },
    };
    for (const auto& construct : constructors) {
        EXPECT_GE(forEachAllocation([&](AllocationFaults& faults) {
                      faults.arm();
                      construct();
                  }),
                  1U);
    }
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(MessageFaultsOf, BinaryDataAddTheArgumentOrNothing) {
    const long before = liveHeapBlocks();
    const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
        Message message;
        try {
            faults.arm();
            message.addBinary(LONG.data(), 5'000);
            faults.disarm();
        } catch (const std::bad_alloc&) {
            faults.disarm();
            ASSERT_EQ(message.getMessageArgsCount(), 0U);
        }
    });
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(liveHeapBlocks(), before);
}

TEST(DataBufferFaultsOf, ReadingAndNumbersNeedNoMemory) {
    DataBuffer buffer;
    buffer.appendBinary(LONG.data(), 1'000, true);
    char out[1'000];
    const std::size_t failures = forEachAllocation([&](AllocationFaults& faults) {
        faults.arm();
        buffer.getBinary(out, 1'000);
        buffer.indexOf(0, "6C");
        buffer.occurrences("6C");
        buffer.replaceAll("6C", "6c");
        buffer.replaceAll("6c", "6");
        buffer.insertNumber(0, -1.7e308);
        buffer.appendNumber(12UL);
        buffer.insertString(4, "in place");
        Formatter::doubleToString(out, 999, 1.5);
    });
    EXPECT_EQ(failures, 0U);
}

TEST(ByteArrayOutputStreamFaults, ReportTheFullArrayOrTheLackOfMemory) {
    char array[1];
    forEachAllocation([&](AllocationFaults& faults) {
        ByteArrayOutputStream stream(array, 1);
        stream.write('a');
        try {
            faults.arm();
            stream.write('b');
        } catch (const IOException& e) {
            faults.disarm();
            EXPECT_EQ(e.messages.getHead()->getMessageArgs().size(), 1U);
        } catch (const std::bad_alloc&) {
            faults.disarm();
        }
        EXPECT_EQ(stream.getCount(), 1U);
    });
}

}  // namespace
}  // namespace nx::oss
