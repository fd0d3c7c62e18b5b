#include "infra/detail/kelAddressRecord.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "infra/detail/kelTraceScope.h"

namespace nx::oss::detail {

namespace {

constexpr unsigned long LONGEST_HOST = 1025;
constexpr unsigned long LONGEST_NAME = std::numeric_limits<std::uint16_t>::max();

// Where the parts of an entry stand.
constexpr unsigned long AT_FLAGS = 0;
constexpr unsigned long AT_FAMILY = 4;
constexpr unsigned long AT_TYPE = 8;
constexpr unsigned long AT_PROTOCOL = 12;
constexpr unsigned long AT_ADDRESS_LENGTH = 16;
constexpr unsigned long AT_ADDRESS = 24;

template <class Value>
Value readValue(const char* in) {
    Value value;
    std::memcpy(&value, in, sizeof value);
    return value;
}

template <class Value>
void writeValue(char* out, Value value) {
    std::memcpy(out, &value, sizeof value);
}

// The pointers may be null when there is nothing to copy.
void copyIfAny(void* out, const void* in, unsigned long length) {
    if (length > 0) {
        std::memcpy(out, in, length);
    }
}

unsigned long nameLengthOf(const addrinfo& entry) {
    return entry.ai_canonname == nullptr ? 0 : std::strlen(entry.ai_canonname);
}

// The bytes before the first entry.
//
// Required: a name without end is passed over for 1,025 bytes, and then a terminator and a port are
// passed over, whether or not they are there. A longer name makes the rest unreadable.
unsigned long headLength(const char* payload, unsigned long usedLength) {
    const unsigned long most = std::min(usedLength, LONGEST_HOST);
    const void* const end = most == 0 ? nullptr : std::memchr(payload, '\0', most);
    const unsigned long name =
        end == nullptr ? most : static_cast<unsigned long>(static_cast<const char*>(end) - payload);
    return name + sizeof '\0' + sizeof(std::uint16_t);
}

unsigned long readTraced(AddressEntry& entry, const char* in, unsigned long size) {
    TraceScope trace(TracePoint::SOCKET_DESERIALIZE);
    return readAddressEntry(entry, in, size);
}

template <class Block>
Block* allocate(unsigned long size) {
    return static_cast<Block*>(std::malloc(std::max(size, 1UL)));
}

}  // namespace

unsigned long readAddressEntry(AddressEntry& entry, const char* in, unsigned long size) {
    if (in == nullptr || size < SMALLEST_ENTRY) {
        return 0;
    }
    // Required: the length stands in 64 bits, of which only the low 32 count.
    const unsigned long length =
        static_cast<std::uint32_t>(readValue<std::uint64_t>(in + AT_ADDRESS_LENGTH));
    if (length > size - ENTRY_FRAME) {
        return 0;
    }
    const char* const name = in + ENTRY_FRAME + length;
    const auto nameLength = readValue<std::uint16_t>(in + AT_ADDRESS + length);
    if (nameLength > size - ENTRY_FRAME - length) {
        return 0;
    }
    addrinfo& address = entry.address;
    address.ai_flags = readValue<std::int32_t>(in + AT_FLAGS);
    address.ai_family = readValue<std::int32_t>(in + AT_FAMILY);
    address.ai_socktype = readValue<std::int32_t>(in + AT_TYPE);
    address.ai_protocol = readValue<std::int32_t>(in + AT_PROTOCOL);
    address.ai_addrlen = static_cast<socklen_t>(length);
    entry.bytes = in + AT_ADDRESS;
    address.ai_addr = reinterpret_cast<sockaddr*>(const_cast<char*>(entry.bytes));
    address.ai_canonname = nullptr;
    address.ai_next = nullptr;
    entry.name = name;
    entry.nameLength = nameLength;
    return ENTRY_FRAME + length + nameLength;
}

unsigned long writeAddressEntry(char* out, unsigned long size, const addrinfo& entry) {
    const unsigned long length = entry.ai_addrlen;
    const unsigned long nameLength = nameLengthOf(entry);
    const unsigned long whole = ENTRY_FRAME + length + nameLength;
    if (nameLength > LONGEST_NAME || size < whole) {
        return 0;
    }
    if (out != nullptr) {
        writeValue<std::int32_t>(out + AT_FLAGS, entry.ai_flags);
        writeValue<std::int32_t>(out + AT_FAMILY, entry.ai_family);
        writeValue<std::int32_t>(out + AT_TYPE, entry.ai_socktype);
        writeValue<std::int32_t>(out + AT_PROTOCOL, entry.ai_protocol);
        writeValue<std::uint64_t>(out + AT_ADDRESS_LENGTH, length);
        copyIfAny(out + AT_ADDRESS, entry.ai_addr, length);
        writeValue(out + AT_ADDRESS + length, static_cast<std::uint16_t>(nameLength));
        copyIfAny(out + ENTRY_FRAME + length, entry.ai_canonname, nameLength);
    }
    return whole;
}

bool RecordAddresses::read(const char* payload, unsigned long usedLength) {
    if (usedLength > RECORD_PAYLOAD) {
        return false;
    }
    unsigned long at = headLength(payload, usedLength);
    do {
        AddressEntry& entry = entries_[count_];
        const unsigned long size =
            at < usedLength ? readTraced(entry, payload + at, usedLength - at) : 0;
        if (size == 0) {
            return false;
        }
        link(entry);
        at += size;
    } while (at < usedLength);
    return true;
}

void RecordAddresses::link(AddressEntry& entry) {
    if (count_ > 0) {
        entries_[count_ - 1].address.ai_next = &entry.address;
    }
    ++count_;
}

bool copyAddressEntry(addrinfo& node, const AddressEntry& entry) {
    auto* const address = allocate<sockaddr>(entry.address.ai_addrlen);
    char* const name = entry.nameLength == 0 ? nullptr : allocate<char>(entry.nameLength + 1UL);
    if (address == nullptr || (entry.nameLength > 0 && name == nullptr)) {
        std::free(address);
        std::free(name);
        return false;
    }
    copyIfAny(address, entry.bytes, entry.address.ai_addrlen);
    if (name != nullptr) {
        std::memcpy(name, entry.name, entry.nameLength);
        name[entry.nameLength] = '\0';
    }
    node = entry.address;
    node.ai_addr = address;
    node.ai_canonname = name;
    node.ai_next = nullptr;
    return true;
}

addrinfo* copyAddresses(const RecordAddresses& addresses) {
    CopiedAddresses list;
    for (const AddressEntry* entry = addresses.end(); entry != addresses.begin();) {
        --entry;
        CopiedAddresses node(static_cast<addrinfo*>(std::calloc(1, sizeof(addrinfo))));
        if (!node || !copyAddressEntry(*node, *entry)) {
            return nullptr;
        }
        node->ai_next = list.release();
        list = std::move(node);
    }
    return list.release();
}

void freeNodes(addrinfo* list) {
    while (list != nullptr) {
        addrinfo* const next = list->ai_next;
        std::free(list->ai_canonname);
        std::free(list);
        list = next;
    }
}

void FreeCopiedAddresses::operator()(addrinfo* list) const {
    for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
        std::free(std::exchange(node->ai_addr, nullptr));
    }
    freeNodes(list);
}

}  // namespace nx::oss::detail
