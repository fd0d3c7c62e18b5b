// The guide's page on buffers and streams.
#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelConverter.h>
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelOutputStream.h>
#include <infra/oss/kelSizeableBuffer.h>

#include <cstring>
#include <iostream>
#include <string>

namespace {

// [text]
// A line for a log: "request 7: X'01ff', 0.250000 s".
void describe(nx::oss::DataBuffer& line, int number, const char* bytes,
              int count, double seconds) {
    line.appendString("request ");
    line.appendNumber(number);
    line.appendString(": ");
    line.appendBinary(bytes, count, /*upperCase=*/false);
    line.appendString(", ");
    line.appendNumber(seconds);
    line.appendString(" s");
}
// [text]

// [bytes]
// A length in front of each part; parts may hold NULs.
void appendPart(nx::oss::ByteBuffer& frame, const char* bytes,
                unsigned char length) {
    const char prefix = static_cast<char>(length);
    frame.append(&prefix, 1);
    frame.append(bytes, length);
}
// [bytes]

// [scratch]
// Whether both texts are the same in a code page. Up to 511 bytes of each need
// no heap.
bool areEqualIn(const char* codePage, const icu::UnicodeString& a,
                const icu::UnicodeString& b) {
    nx::oss::SizeableBuffer<char, 512> first(0);
    nx::oss::SizeableBuffer<char, 512> second(0);
    return std::strcmp(nx::oss::Converter::convert(first, codePage, a),
                       nx::oss::Converter::convert(second, codePage, b)) == 0;
}
// [scratch]

// [stream]
// A stream into a string.
class StringStream : public nx::oss::OutputStream {
  public:
    using OutputStream::write;  // the forms for text would be hidden otherwise
    void write(char c) override { text += c; }

    std::string text;
};
// [stream]

// [full]
// Writes as much of the text as the array holds and tells how much that is.
unsigned long fill(char* array, unsigned long size, const char* text) {
    nx::oss::ByteArrayOutputStream out(array, size);
    try {
        out.write(text);
    } catch (const nx::oss::IOException&) {
        // full; what was written before stays
    }
    return out.getCount();
}
// [full]

}  // namespace

int main() {
    nx::oss::DataBuffer line;
    describe(line, 7, "\x01\xFF", 2, 0.25);
    std::cout << line.getString() << "\n";

    nx::oss::ByteBuffer frame(64);
    appendPart(frame, "ab", 2);
    appendPart(frame, "\0\0\0", 3);
    std::cout << frame.size() - 1 << " bytes\n";

    std::cout << std::boolalpha << areEqualIn("US-ASCII", u"\u00E4", u"\u00F6")
              << " " << areEqualIn("UTF-8", u"\u00E4", u"\u00F6") << "\n";

    StringStream stream;
    stream.write("two words");
    stream.write('.');
    std::cout << stream.text << "\n";

    char array[4];
    std::cout << fill(array, sizeof array, "abcdef") << " fit\n";
}
