// The guide's page on performance: what is kept between calls, and items that
// travel together.
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelUTF8String.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

// [buffer]
// One buffer for all lines.
void writeLines(std::ostream& out, const std::vector<int>& numbers) {
    nx::oss::DataBuffer line;
    for (const int number : numbers) {
        line.clear(/*keepBytes=*/true);  // forgets, without zeroing 4 KiB
        line.appendString("item ");
        line.appendNumber(number);
        out.write(line.getString(), line.length()) << '\n';
    }
}
// [buffer]

// [scratch]
// One scratch buffer for all texts, which grows to the longest of them.
std::size_t sizeIn(const char* codePage,
                   const std::vector<icu::UnicodeString>& texts) {
    nx::oss::SizeableBuffer<char, 1026> scratch(0);
    std::size_t size = 0;
    for (const icu::UnicodeString& text : texts) {
        size += std::char_traits<char>::length(
            nx::oss::Converter::convert(scratch, codePage, text));
    }
    return size;
}
// [scratch]

// [formatter]
// One formatter for all numbers: making one costs more than a hundred.
icu::UnicodeString listOf(const std::vector<double>& numbers,
                          const char* localeName) {
    const nx::oss::Formatter formatter(nx::oss::Formatter::SHORT,
                                       nx::oss::Formatter::SHORT, localeName);
    icu::UnicodeString list;
    for (const double number : numbers) {
        formatter.formatNumber(list, number).append(u'\n');
    }
    return list;
}
// [formatter]

// [batch]
// The bytes that writeItem() would send, for one write() of many small items.
void appendItem(nx::oss::ByteBuffer& batch, const std::string& payload) {
    const auto size = static_cast<unsigned int>(payload.size());
    const char prefix[] = {
        static_cast<char>(size >> 24), static_cast<char>(size >> 16),
        static_cast<char>(size >> 8), static_cast<char>(size)};
    batch.append(prefix, sizeof prefix);
    batch.append(payload.data(), payload.size());
}

void sendTogether(nx::oss::Socket& socket,
                  const std::vector<std::string>& payloads) {
    nx::oss::ByteBuffer batch(4096);
    for (const std::string& payload : payloads) {
        appendItem(batch, payload);
    }
    socket.write(batch.data(), 0,
                 batch.size() - 1);  // size() counts the terminator
}
// [batch]

void exchangeItems() {
    nx::oss::SocketServer server;
    nx::oss::Socket client;
    nx::oss::Socket peer;
    const unsigned long timeoutMs = 5000;
    server.listen(0, 1, false);
    client.connect("127.0.0.1", server.getPort(), &timeoutMs);
    server.accept(peer, &timeoutMs);
    sendTogether(client, {"one", "", "three"});
    client.close();
    char item[16];
    unsigned long announced = 0;
    for (int i = 0; i < 3; ++i) {
        const unsigned long received =
            peer.readItem(item, announced, 0, sizeof item, false);
        std::cout << '[' << std::string(item, received) << ']';
    }
    std::cout << "\n";
}

}  // namespace

int main() {
    writeLines(std::cout, {1, 20, 300});
    std::cout << sizeIn("UTF-8", {u"a", u"\u00E9", u"\u20AC"}) << "\n";
    std::cout
        << nx::oss::UTF8String(listOf({1234.5, 0.25}, "fr_FR")).getString();
    exchangeItems();
}
