#pragma once

#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include <infra/oss/kelSocket.h>

/// Address records in files, which hold the bytes of the record and nothing else.
namespace example {

using AddressRecord = nx::oss::Socket::_AddrInfoExternal;

inline void writeRecord(const std::string& path, const AddressRecord& record) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(&record), sizeof record);
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
}

/// A record from a file. The file may hold anything: only its size is checked here.
inline AddressRecord readRecord(const std::string& path) {
    AddressRecord record;
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&record), sizeof record);
    const bool complete = file.good();
    if (!complete && !file.eof()) {
        throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
    }
    if (!complete || file.peek() != std::ifstream::traits_type::eof()) {
        throw std::runtime_error(path + " does not hold the " + std::to_string(sizeof record) +
                                 " bytes of an address record");
    }
    return record;
}

/// The number of addresses. Throws the library's error for a record that cannot be used.
inline int countAddresses(const AddressRecord& record) {
    errno = 0;  // the error would report what it holds
    addrinfo* const list = nx::oss::Socket::deserializeAddrInfoExternal(record);
    int count = 0;
    for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
        std::free(node->ai_addr);
        ++count;
    }
    nx::oss::Socket::freeMyAddrInfo(list);
    return count;
}

/// What was resolved, as it stands in a record that countAddresses() has let through.
struct Target {
    icu::UnicodeString host;
    unsigned short port = 0;
};

inline Target targetOf(const AddressRecord& record) {
    constexpr unsigned long LONGEST_HOST = 1025;
    const char* const end =
        record.payload + std::min<unsigned long>(record.usedLength, LONGEST_HOST);
    const char* const nul = std::find(record.payload, end, '\0');
    Target target;
    target.host = icu::UnicodeString::fromUTF8(std::string(record.payload, nul));
    std::memcpy(&target.port, nul + 1, sizeof target.port);
    return target;
}

}  // namespace example
