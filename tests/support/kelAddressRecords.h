#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <infra/oss/kelSocket.h>

/// Address records written byte by byte, to test readers with.
namespace nx::test {

using AddressRecord = oss::Socket::_AddrInfoExternal;

/// The `size` low bytes of a number, lowest first.
inline std::string bytesOf(std::uint64_t number, unsigned size) {
    std::string bytes;
    for (unsigned i = 0; i < size; ++i) {
        bytes.push_back(static_cast<char>(number >> (8 * i)));
    }
    return bytes;
}

/// What stands in an entry. The two lengths are the true ones unless a test says otherwise.
struct EntryText {
    std::string address;
    std::string name;
    int flags = 0;
    int family = 2;  // IPv4
    int type = 1;    // stream
    int protocol = 6;

    std::string bytes(std::uint64_t addressLength, std::uint64_t nameLength) const {
        return bytesOf(static_cast<std::uint32_t>(flags), 4) +
               bytesOf(static_cast<std::uint32_t>(family), 4) +
               bytesOf(static_cast<std::uint32_t>(type), 4) +
               bytesOf(static_cast<std::uint32_t>(protocol), 4) + bytesOf(addressLength, 8) +
               address + bytesOf(nameLength, 2) + name;
    }
    std::string bytes() const { return bytes(address.size(), name.size()); }
};

/// The socket address of a port of 127.0.0.1, or of another address of that network.
inline std::string loopbackAddress(unsigned long port, char last = 1) {
    return bytesOf(2, 2) + std::string(1, static_cast<char>(port >> 8)) +
           std::string(1, static_cast<char>(port)) + std::string("\x7f\0\0", 3) + last +
           std::string(8, '\0');
}

inline std::string loopbackEntry(unsigned long port) {
    return EntryText{loopbackAddress(port), ""}.bytes();
}

/// Host, terminator and port.
inline std::string recordHead(std::string_view host, unsigned short port) {
    return std::string(host) + '\0' + bytesOf(port, 2);
}

/// A record whose payload begins with `payload`, the rest being zero.
inline AddressRecord recordOf(std::string_view payload, std::size_t usedLength) {
    AddressRecord record{};
    record.usedLength = static_cast<unsigned short>(usedLength);
    std::memcpy(record.payload, payload.data(), payload.size());
    return record;
}

inline AddressRecord recordOf(std::string_view payload) {
    return recordOf(payload, payload.size());
}

/// A record of one address: a port of 127.0.0.1.
inline AddressRecord loopbackRecord(unsigned long port, std::string_view host = "example") {
    return recordOf(recordHead(host, static_cast<unsigned short>(port)) + loopbackEntry(port));
}

inline std::string bytesOf(const AddressRecord& record) {
    std::string bytes(sizeof record, '\0');
    std::memcpy(&bytes[0], &record, sizeof record);
    return bytes;
}

}  // namespace nx::test
