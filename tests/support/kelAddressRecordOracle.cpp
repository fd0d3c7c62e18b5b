#include "support/kelAddressRecordOracle.h"

#include <netdb.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <infra/oss/kelSocketException.h>

#include "reference/kelAddressRecordReference.h"
#include "support/kelAddressRecords.h"
#include "support/kelGuardedMemory.h"

namespace nx::test {

namespace {

using oss::Socket;
using oss::SocketException;

constexpr std::size_t LARGEST_ENTRY = 1UL << 16;

/// What differs between a node and the entry it should have been made from.
std::string compareNode(const addrinfo& node, const ReadEntry& entry) {
    if (node.ai_flags != entry.flags || node.ai_family != entry.family ||
        node.ai_socktype != entry.type || node.ai_protocol != entry.protocol) {
        return "numbers differ";
    }
    if (node.ai_addr == nullptr || node.ai_addrlen != entry.address.size() ||
        std::memcmp(node.ai_addr, entry.address.data(), entry.address.size()) != 0) {
        return "addresses differ";
    }
    if ((node.ai_canonname == nullptr) != entry.name.empty()) {
        return "one name is missing";
    }
    const std::string wanted = entry.name + '\0';
    return node.ai_canonname == nullptr ||
                   std::memcmp(node.ai_canonname, wanted.data(), wanted.size()) == 0
               ? ""
               : "names differ";
}

void release(addrinfo* list) {
    for (addrinfo* node = list; node != nullptr; node = node->ai_next) {
        std::free(node->ai_addr);
    }
    Socket::freeMyAddrInfo(list);
}

std::string compareList(const addrinfo* list, const std::vector<ReadEntry>& entries) {
    for (const ReadEntry& entry : entries) {
        if (list == nullptr) {
            return "too few addresses";
        }
        if (const std::string difference = compareNode(*list, entry); !difference.empty()) {
            return difference;
        }
        list = list->ai_next;
    }
    return list == nullptr ? "" : "too many addresses";
}

/// "" for the error that a malformed record must end in when errno is 0.
std::string compareError(const SocketException& error) {
    const oss::Message& message = error.messages.getFirstMessage();
    return error.messages.count() == 1 && message.getMessageID() == "NX_ERR_SOCKET_ERROR" &&
                   message.getFileName() == "kelSocket.cpp" && message.getMessageArgsCount() == 1 &&
                   message.getMessageArgs().front() == "0"
               ? ""
               : "the error differs";
}

std::string connectInVain(const AddressRecord& record) {
    Socket socket;
    try {
        errno = 0;
        socket.connect("host", 80, record, nullptr);
        return "connected from a malformed record";
    } catch (const SocketException& error) {
        return socket.getDescriptor() == -1 && socket.getPort() == 80 ? compareError(error)
                                                                      : "the socket differs";
    }
}

std::string rebuild(const AddressRecord& record,
                    const std::optional<std::vector<ReadEntry>>& entries) {
    try {
        errno = 0;
        addrinfo* const list = Socket::deserializeAddrInfoExternal(record);
        const std::string difference =
            entries ? compareList(list, *entries) : "a malformed record was taken";
        release(list);
        return difference;
    } catch (const SocketException& error) {
        return entries ? "a good record was refused" : compareError(error);
    }
}

}  // namespace

std::string compareRecord(std::string_view record) {
    static oss::test::GuardedMemory memory(sizeof(AddressRecord));
    auto* const guarded = memory.last<AddressRecord>(1);
    std::memcpy(guarded, record.data(), sizeof *guarded);
    const auto entries = readRecordSlowly(record.substr(0, sizeof *guarded));
    const std::string difference = rebuild(*guarded, entries);
    // A length of 0 makes connect() ask the resolver.
    if (!difference.empty() || entries || guarded->usedLength == 0) {
        return difference;
    }
    return connectInVain(*guarded);
}

std::string compareEntry(std::string_view bytes) {
    static oss::test::GuardedMemory memory(LARGEST_ENTRY);
    bytes = bytes.substr(0, LARGEST_ENTRY);
    char* const guarded = memory.last<char>(bytes.size());
    std::memcpy(guarded, bytes.data(), bytes.size());
    const auto entry = readEntrySlowly(bytes);
    addrinfo node = {};
    const unsigned long size = Socket::deserialize(&node, guarded, bytes.size());
    if (size != (entry ? entry->size : 0)) {
        return "sizes differ";
    }
    if (!entry) {
        return node.ai_addr == nullptr ? "" : "the node was changed";
    }
    std::string difference = compareNode(node, *entry);
    std::string again(entry->size, '?');
    if (difference.empty() && entry->name.find('\0') == std::string::npos &&
        (Socket::serialize(&again[0], again.size(), &node) != size ||
         again.substr(24) != std::string(guarded + 24, size - 24))) {
        difference = "writing it again differs";
    }
    std::free(node.ai_addr);
    std::free(node.ai_canonname);
    return difference;
}

}  // namespace nx::test
