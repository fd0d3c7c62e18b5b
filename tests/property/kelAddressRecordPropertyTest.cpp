#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/kelAddressRecordOracle.h"
#include "support/kelAddressRecords.h"
#include "support/kelHeapFaults.h"
#include "support/kelRandomRun.h"

namespace nx::test {
namespace {

constexpr std::size_t PAYLOAD = 2998;

std::string padded(std::string payload) {
    payload.resize(PAYLOAD, '\0');
    return payload;
}

std::string recordBytes(std::size_t usedLength, const std::string& payload) {
    return bytesOf(usedLength, 2) + payload;
}

/// Both readers agree, and whatever the library allocated is gone again.
void expectAgreement(const std::string& record) {
    const long before = liveHeapBlocks();
    ASSERT_EQ("", compareRecord(record));
    ASSERT_EQ(before, liveHeapBlocks());
}

void expectEntryAgreement(const std::string& bytes) {
    const long before = liveHeapBlocks();
    ASSERT_EQ("", compareEntry(bytes));
    ASSERT_EQ(before, liveHeapBlocks());
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string namedEntry(const std::string& name) {
    return EntryText{loopbackAddress(80), name, -1, 10, 2, -17}.bytes();
}

/// The least that an entry can take: no address and no name.
std::string emptyEntry() { return EntryText{}.bytes(); }

struct PayloadRow {
    const char* name;
    std::string payload;
    // Above the size of a record the payload makes no difference; some rows show it.
    std::size_t last = 3100;
};

class AddressRecordEveryLength : public testing::TestWithParam<PayloadRow> {};

TEST_P(AddressRecordEveryLength, IsReadAsTheSlowReaderReadsIt) {
    const std::string payload = padded(GetParam().payload);
    for (std::size_t used = 0; used <= GetParam().last; ++used) {
        ASSERT_NO_FATAL_FAILURE(expectAgreement(recordBytes(used, payload))) << used;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Payloads, AddressRecordEveryLength,
    testing::Values(
        PayloadRow{"OneAddress", recordHead("example", 80) + loopbackEntry(80), 65535},
        PayloadRow{"NoHost", recordHead("", 80) + repeated(loopbackEntry(80), 71)},
        PayloadRow{"Names", recordHead("a.b", 80) + repeated(namedEntry("canonical"), 58)},
        PayloadRow{"EmptyEntries", recordHead("", 0) + repeated(emptyEntry(), 115)},
        PayloadRow{"Zeros", "", 65535}, PayloadRow{"NoNul", std::string(PAYLOAD, 'x'), 65535},
        PayloadRow{"HighBytes", std::string(PAYLOAD, '\xff')},
        PayloadRow{"HostOf1025Bytes",
                   recordHead(std::string(1025, 'h'), 80) + repeated(loopbackEntry(80), 46)},
        PayloadRow{"HostOf1026Bytes",
                   recordHead(std::string(1026, 'h'), 80) + repeated(loopbackEntry(80), 46)}),
    [](const auto& row) { return row.param.name; });

/// Lengths around everything that an entry of `room` bytes could be thought to hold.
std::vector<std::uint64_t> lengthsAround(std::uint64_t room) {
    std::vector<std::uint64_t> lengths{0,          1,          15,         16,
                                       17,         28,         110,        65535,
                                       65536,      0x7fffffff, 0x80000000, 0xffffffe5,
                                       0xffffffe6, 0xffffffff, 1UL << 32,  (1UL << 32) + 16,
                                       1UL << 63,  ~0UL};
    for (std::uint64_t near = room > 60 ? room - 60 : 0; near <= room + 2; ++near) {
        lengths.push_back(near);
    }
    return lengths;
}

/// An entry that claims these lengths, in `room` bytes of which the rest says `filler`. The length
/// of the name stands where the claimed length of the address puts it, if that is within the room.
std::string claimingEntry(std::size_t room, std::uint64_t address, std::uint64_t name,
                          char filler) {
    std::string bytes =
        bytesOf(0x0102030405060708, 8) + bytesOf(0x1112131415161718, 8) + bytesOf(address, 8);
    bytes.resize(std::max<std::size_t>(room, bytes.size()), filler);
    const std::uint64_t at = 24 + (address & 0xffffffff);
    if (at + 2 <= bytes.size()) {
        bytes.replace(at, 2, bytesOf(name, 2));
    }
    bytes.resize(room);
    return bytes;
}

TEST(AddressRecordEntry, IsReadAsTheSlowReaderReadsItAtEveryBoundaryOfItsLengths) {
    std::vector<std::size_t> rooms;
    for (std::size_t room = 0; room <= 80; ++room) {
        rooms.push_back(room);
    }
    rooms.insert(rooms.end(), {2900, 2995, 65536});
    for (const std::size_t room : rooms) {
        for (const std::uint64_t address : lengthsAround(room)) {
            const std::uint64_t left = room - 26 - (address & 0xffffffff);
            for (const std::uint64_t name :
                 {0UL, 1UL, left - 1, left, left + 1, 65534UL, 65535UL}) {
                ASSERT_NO_FATAL_FAILURE(
                    expectEntryAgreement(claimingEntry(room, address, name, 'x')))
                    << room << " " << address << " " << name;
            }
        }
    }
}

TEST(AddressRecordEntry, IsReadInPlaceAtEveryBoundaryOfItsLengths) {
    const std::string head = recordHead("h", 1);
    for (const std::size_t room : {42UL, 43UL, 100UL, PAYLOAD - head.size()}) {
        for (const std::uint64_t address : lengthsAround(room)) {
            const std::uint64_t left = room - 26 - (address & 0xffffffff);
            for (const std::uint64_t name : {0UL, 1UL, left - 1, left, left + 1, 65535UL}) {
                const std::string payload = head + claimingEntry(room, address, name, '\0');
                ASSERT_NO_FATAL_FAILURE(
                    expectAgreement(recordBytes(payload.size(), padded(payload))))
                    << room << " " << address << " " << name;
            }
        }
    }
}

/// Records that are nearly good, so that the readers get far into them.
class RandomRecords {
  public:
    explicit RandomRecords(std::uint64_t seed) : engine_(seed) {}

    std::string next() {
        std::string payload = oneIn(16) ? noise(number(PAYLOAD)) : plausible();
        std::size_t used = payload.size();
        if (oneIn(8)) {
            used = number(oneIn(2) ? 3100 : 65535);
        } else if (oneIn(4)) {
            used += number(60) - std::min<std::size_t>(30, used);
        }
        payload.resize(PAYLOAD, oneIn(2) ? '\0' : byte());
        for (std::size_t changes = oneIn(2) ? 0 : number(4); changes > 0; --changes) {
            payload[number(oneIn(2) ? PAYLOAD - 1 : 100)] = byte();
        }
        return recordBytes(used, payload);
    }

  private:
    std::size_t number(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit)(engine_);
    }
    bool oneIn(std::size_t count) { return number(count - 1) == 0; }
    char byte() { return static_cast<char>(number(255)); }

    std::string noise(std::size_t length) {
        std::string bytes;
        while (bytes.size() < length) {
            bytes.push_back(byte());
        }
        return bytes;
    }

    std::string plausible() {
        std::string payload =
            recordHead(std::string(oneIn(8) ? 1000 + number(60) : number(30), 'h'),
                       static_cast<unsigned short>(number(65535)));
        for (std::size_t entries = number(oneIn(8) ? 120 : 4); entries > 0; --entries) {
            payload += entry();
        }
        payload.resize(std::min(payload.size(), PAYLOAD));
        return payload;
    }

    std::string entry() {
        EntryText text{noise(oneIn(4) ? number(130) : 16), noise(oneIn(2) ? 0 : number(40))};
        text.flags = static_cast<int>(number(100));
        text.family = static_cast<int>(number(20));
        if (oneIn(8)) {
            return text.bytes(number(200), text.name.size());
        }
        return oneIn(8) ? text.bytes(text.address.size(), number(200)) : text.bytes();
    }

    std::mt19937_64 engine_;
};

TEST(AddressRecordProperty, IsReadAsTheSlowReaderReadsIt) {
    const RandomRun run(100000);
    RandomRecords records(run.seed());
    for (long round = 0; round < run.cases(); ++round) {
        ASSERT_NO_FATAL_FAILURE(expectAgreement(records.next())) << "seed " << run.seed();
    }
}

}  // namespace
}  // namespace nx::test
