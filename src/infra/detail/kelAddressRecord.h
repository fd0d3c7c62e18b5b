#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <netdb.h>

namespace nx::oss::detail {

// The bytes of an address record behind its length: host name, port and entries. The format is
// described in docs/wire-formats.md. A record may come from anywhere, so whatever it says about its
// own sizes is compared with the room that there is before a byte is read.

/// Bytes of a record behind its length.
constexpr unsigned long RECORD_PAYLOAD = 2998;
/// Bytes of an entry without address and name.
constexpr unsigned long ENTRY_FRAME = 26;
/// Bytes that must be left for an entry to be read at all: one with an IPv4 address and no name.
constexpr unsigned long SMALLEST_ENTRY = 42;

/// An entry of a record where it stands: nothing is copied and nothing is aligned.
struct AddressEntry {
    /// ai_addr points to `bytes`, for the system to read; ai_canonname and ai_next are null.
    addrinfo address;
    /// The socket address, address.ai_addrlen bytes.
    const char* bytes;
    /// The canonical name, `nameLength` bytes without terminator.
    const char* name;
    std::uint16_t nameLength;
};

/// Reads the entry that begins at `in`, of which `size` bytes may be read. Returns its size, or 0
/// for a null `in`, for fewer than SMALLEST_ENTRY bytes, and when address or name would end behind
/// `size`; `entry` is of no use then.
unsigned long readAddressEntry(AddressEntry& entry, const char* in, unsigned long size);

/// Writes `entry` and returns its size. Returns 0 when it takes more than `size` bytes, or its name
/// more than its 16-bit length can say; nothing is written then. A null `out` is not written to.
unsigned long writeAddressEntry(char* out, unsigned long size, const addrinfo& entry);

/// The addresses of a record as a list that points into the record and takes no memory of its own.
class RecordAddresses {
  public:
    RecordAddresses() = default;
    RecordAddresses(const RecordAddresses&) = delete;
    RecordAddresses& operator=(const RecordAddresses&) = delete;

    /// Reads all entries of a payload of RECORD_PAYLOAD bytes, of which `usedLength` are said to be
    /// used. False when there is none or one of them is malformed. Records the trace points of
    /// Socket::deserialize for each entry; leaves errno alone. Called once.
    bool read(const char* payload, unsigned long usedLength);

    const AddressEntry* begin() const { return entries_.data(); }
    const AddressEntry* end() const { return entries_.data() + count_; }
    /// The list; valid after read() has returned true, as long as this object and the record.
    const addrinfo* first() const { return &entries_[0].address; }

  private:
    void link(AddressEntry& entry);

    // Every entry takes at least ENTRY_FRAME bytes, what is left behind it must be SMALLEST_ENTRY
    // bytes for the next one, and something stands before the first. The last of the array is the
    // one that is tried behind as many as there can be.
    static constexpr unsigned long RECORD_HEAD = 3;
    static constexpr std::size_t MOST_ENTRIES =
        (RECORD_PAYLOAD - RECORD_HEAD - SMALLEST_ENTRY) / ENTRY_FRAME + 1;

    std::array<AddressEntry, MOST_ENTRIES + 1> entries_;
    std::size_t count_ = 0;
};

/// Fills `node` with the entry; its address, which is never null, and its name, null when empty,
/// are blocks of their own from malloc(). False when memory is exhausted; `node` is unchanged then.
bool copyAddressEntry(addrinfo& node, const AddressEntry& entry);

/// A list whose nodes, addresses and names are blocks from malloc(), or null for want of memory.
addrinfo* copyAddresses(const RecordAddresses& addresses);

/// Frees names and nodes; the addresses stay. Null is an empty list.
void freeNodes(addrinfo* list);

/// Frees a list of copyAddresses() with its addresses.
struct FreeCopiedAddresses {
    void operator()(addrinfo* list) const;
};

using CopiedAddresses = std::unique_ptr<addrinfo, FreeCopiedAddresses>;

}  // namespace nx::oss::detail
