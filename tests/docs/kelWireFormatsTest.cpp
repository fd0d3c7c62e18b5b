// Compares every hex dump of docs/wire-formats.md with what the library writes.
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelSocket.h>

namespace nx::oss {
namespace {

/// Appends the bytes of a line, "00 01 02" or "00 x 3" up to two blanks, to `bytes`.
void appendBytes(std::string& bytes, const std::string& text) {
    std::istringstream in(text);
    std::string digits;
    while (in >> digits) {
        if (digits == "x") {
            std::size_t times = 0;
            ASSERT_TRUE(in >> times) << text;
            bytes.append(times - 1, bytes.back());
        } else {
            ASSERT_EQ(2U, digits.size()) << text;
            ASSERT_EQ(std::string::npos, digits.find_first_not_of("0123456789abcdef")) << text;
            bytes.push_back(static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16)));
        }
    }
}

/// A line "offset  bytes  meaning".
void appendLine(std::string& bytes, const std::string& line) {
    ASSERT_EQ(4U, line.find("  ")) << line;
    ASSERT_EQ(bytes.size(), std::strtoul(line.substr(0, 4).c_str(), nullptr, 16)) << line;
    const std::string rest = line.substr(6);
    appendBytes(bytes, rest.substr(0, rest.find("  ")));
}

/// The bytes of each dump of the document.
std::vector<std::string> dumps() {
    std::ifstream file(DOCUMENT);
    std::vector<std::string> result;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line == "```hex") {
            inside = true;
            result.emplace_back();
        } else if (line == "```") {
            inside = false;
        } else if (inside) {
            appendLine(result.back(), line);
        }
    }
    return result;
}

TEST(WireFormatsDocument, HoldsThreeDumps) {
    ASSERT_EQ(3U, dumps().size());
    EXPECT_EQ(9U + 4 + 4 + 258, dumps()[0].size());
    EXPECT_EQ(3000U, dumps()[1].size());
    EXPECT_EQ(26U + 28 + 3, dumps()[2].size());
}

/// Two connected descriptors.
struct Pair {
    Pair() { EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data())); }
    ~Pair() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    std::array<int, 2> ends{};
};

TEST(WireFormatsDocument, ShowsTheItemsAsTheyAreSent) {
    const Pair pair;
    Socket writer(static_cast<long>(pair.ends[0]));
    const std::string dump = dumps().at(0);
    writer.writeItem("hello", 0, 5);
    writer.writeItem("", 0, 0);
    writer.writeItem(std::string(258, 'x').data(), 0, 258);
    std::string sent(dump.size(), '?');
    EXPECT_EQ(sent.size(), Socket(static_cast<long>(pair.ends[1])).read(&sent[0], 0, sent.size()));
    EXPECT_EQ(dump, sent);
    writer.shutdownWrite();
    EXPECT_EQ(0, Socket(static_cast<long>(pair.ends[1])).readOnce(&sent[0], 0, 1));
}

TEST(WireFormatsDocument, ShowsTheRecordAsItIsExported) {
    Socket::_AddrInfoExternal record;
    ASSERT_EQ(0, Socket::exportAddrInfo("127.0.0.1", 8080, record));
    std::string bytes(sizeof record, '?');
    std::memcpy(&bytes[0], &record, sizeof record);
    EXPECT_EQ(dumps().at(1), bytes);
}

TEST(WireFormatsDocument, ShowsTheEntryAsItIsWrittenAndRead) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(443);
    address.sin6_addr = in6addr_loopback;
    char name[] = "db1";
    addrinfo entry{};
    entry.ai_flags = AI_CANONNAME;
    entry.ai_family = AF_INET6;
    entry.ai_socktype = SOCK_STREAM;
    entry.ai_protocol = IPPROTO_TCP;
    entry.ai_addrlen = sizeof address;
    entry.ai_addr = reinterpret_cast<sockaddr*>(&address);
    entry.ai_canonname = name;
    const std::string dump = dumps().at(2);
    std::string bytes(dump.size(), '?');
    EXPECT_EQ(bytes.size(), Socket::serialize(&bytes[0], bytes.size(), &entry));
    EXPECT_EQ(dump, bytes);

    addrinfo node;
    EXPECT_EQ(dump.size(), Socket::deserialize(&node, dump.data(), dump.size()));
    EXPECT_EQ(0, std::memcmp(node.ai_addr, &address, sizeof address));
    EXPECT_STREQ("db1", node.ai_canonname);
    std::free(node.ai_addr);
    std::free(node.ai_canonname);
}

}  // namespace
}  // namespace nx::oss
