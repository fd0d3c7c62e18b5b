// Buffers of bytes and text, and streams.
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelPrintStream.h>

#include "kelAllocationSweep.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

namespace {

ByteBuffer someBytes() { return {"some bytes", 10}; }

DataBuffer nearlyFull() { return DataBuffer(std::string(4'090, 't').c_str()); }

template <class Operation>
Row onBytes(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, someBytes, operation, promise);
}

template <class Operation>
Row onText(const char* name, const Operation& operation, Promise promise = {}) {
    return row(name, nearlyFull, operation, promise);
}

Rows rowsOfByteBuffers() {
    static const ByteBuffer source(longBytes().data(), 6'000);
    return {
        builds<ByteBuffer>("ByteBuffer::ByteBuffer(char const*, unsigned long)",
                           [](auto& it) { it.emplace(longBytes().data(), 6'000UL); }),
        builds<ByteBuffer>("ByteBuffer::ByteBuffer(icu::UnicodeString const&, char const*)",
                           [](auto& it) { it.emplace(longText(), "Shift_JIS"); }),
        builds<ByteBuffer>("ByteBuffer::ByteBuffer(nx::oss::ByteBuffer const&)",
                           [](auto& it) { it.emplace(source); }),
        builds<ByteBuffer>("ByteBuffer::ByteBuffer(unsigned long)",
                           [](auto& it) { it.emplace(1'000UL); }),
        destroys<ByteBuffer>("ByteBuffer::~ByteBuffer()", [](auto& it) { it.emplace(1'000UL); }),
        onBytes("ByteBuffer::append(char const*, unsigned long)",
                [](ByteBuffer& b) { b.append(longBytes().data(), 6'000); }),
        onBytes("ByteBuffer::capacity() const", [](ByteBuffer& b) { return b.capacity(); }),
        onBytes("ByteBuffer::clear()", [](ByteBuffer& b) { b.clear(); }),
        onBytes("ByteBuffer::compare(char const*, unsigned long) const",
                [](ByteBuffer& b) { return b.compare("some bytes", 10); }),
        row(
            "ByteBuffer::copy(nx::oss::DefaultAlternateBuffer<char>&, char const*, unsigned long)",
            [] { return DefaultAlternateBuffer<char>(); },
            [](DefaultAlternateBuffer<char>& target) {
                ByteBuffer::copy(target, longBytes().data(), 6'000);
            }),
        onBytes("ByteBuffer::data() const", [](ByteBuffer& b) { return b.data(); }),
        onBytes("ByteBuffer::operator=(nx::oss::ByteBuffer const&)",
                [](ByteBuffer& b) { b = source; }),
        onBytes("ByteBuffer::set(icu::UnicodeString const&, char const*)",
                [](ByteBuffer& b) { b.set(longText(), "EUC-JP"); }, {"0:"}),
        onBytes("ByteBuffer::size() const", [](ByteBuffer& b) { return b.size(); }),
    };
}

char storage[8];
char array[4];
char out[4];
const char one = '?';

/// A buffer with storage on the heap.
struct Grown {
    Grown() : buffer(0UL) { buffer.resize(10); }
    std::string state() const { return stateOf(buffer); }
    DefaultAlternateBuffer<char> buffer;
};

template <class Operation>
Row onGrown(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Grown(); }, [=](Grown& it) { return operation(it.buffer); }, promise);
}

Rows rowsOfAlternateBuffers() {
    using Buffer = DefaultAlternateBuffer<char>;
    constexpr const char* const GONE = "size 0, capacity 0";
    return {
        builds<Buffer>("DefaultAlternateBuffer<char>::DefaultAlternateBuffer()",
                       [](auto& it) { it.emplace(); }),
        builds<Buffer>("DefaultAlternateBuffer<char>::DefaultAlternateBuffer(char*, unsigned long, "
                       "unsigned long)",
                       [](auto& it) { it.emplace(storage, 8UL, 0UL); }),
        builds<Buffer>("DefaultAlternateBuffer<char>::DefaultAlternateBuffer(unsigned long)",
                       [](auto& it) { it.emplace(100UL); }),
        destroys<Buffer>("DefaultAlternateBuffer<char>::~DefaultAlternateBuffer()",
                         [](auto& it) {
                             it.emplace();
                             it->resize(100);
                         }),
        onGrown("DefaultAlternateBuffer<char>::capacity() const",
                [](Buffer& b) { return b.capacity(); }),
        onGrown("DefaultAlternateBuffer<char>::data()",
                [](Buffer& b) { return b.data() != nullptr; }),
        onGrown("DefaultAlternateBuffer<char>::data() const",
                [](Buffer& b) { return std::as_const(b).data() != nullptr; }),
        onGrown("DefaultAlternateBuffer<char>::defaultSize() const",
                [](Buffer& b) { return b.defaultSize(); }),
        onGrown("DefaultAlternateBuffer<char>::maximumSize() const",
                [](Buffer& b) { return b.maximumSize(); }),
        onGrown("DefaultAlternateBuffer<char>::resize(unsigned long)",
                [](Buffer& b) { b.resize(1'000); }, {GONE}),
        onGrown("DefaultAlternateBuffer<char>::size() const", [](Buffer& b) { return b.size(); }),
    };
}

template <unsigned long N>
void addSizeable(Rows& rows, const std::string& number) {
    using Buffer = SizeableBuffer<char, N>;
    static std::list<std::string> kept;
    const auto named = [&](const char* member) {
        return kept.emplace_back("SizeableBuffer<char, " + number + ">::" + member).c_str();
    };
    const auto add = [&](const char* member, const auto& operation) {
        rows.push_back(row(
            named(member), [] { return Buffer(0); }, operation));
    };
    rows.push_back(
        builds<Buffer>(named("SizeableBuffer(unsigned long)"), [](auto& it) { it.emplace(0UL); }));
    rows.push_back(destroys<Buffer>(named("~SizeableBuffer()"), [](auto& it) {
        it.emplace(0UL);
        it->resize(5'000);
    }));
    add("capacity() const", [](Buffer& b) { return b.capacity(); });
    add("data()", [](Buffer& b) { return b.data() != nullptr; });
    add("data() const", [](Buffer& b) { return std::as_const(b).data() != nullptr; });
    add("inlineCapacity() const", [](Buffer& b) { return b.inlineCapacity(); });
    add("maximumSize() const", [](Buffer& b) { return b.maximumSize(); });
    add("resize(unsigned long)", [](Buffer& b) { return b.resize(5'000); });
}

/// The rows of one kind of number.
template <class Number>
void addNumber(Rows& rows, const std::string& type) {
    static const std::string append = "DataBuffer::appendNumber(" + type + ")";
    static const std::string insert = "DataBuffer::insertNumber(int, " + type + ")";
    // Of two values at least one needs more than the six bytes left.
    static const Number value = static_cast<Number>(101);
    const auto full = [] { return DataBuffer(std::string(4'095, 't').c_str()); };
    rows.push_back(row(append.c_str(), full, [](DataBuffer& b) { b.appendNumber(value); }));
    rows.push_back(row(insert.c_str(), full, [](DataBuffer& b) { b.insertNumber(2, value); }));
}

Rows rowsOfDataBuffers() {
    static const DataBuffer source(longBytes().c_str());
    Rows rows = {
        builds<DataBuffer>("DataBuffer::DataBuffer()", [](auto& it) { it.emplace(); }),
        builds<DataBuffer>("DataBuffer::DataBuffer(char const*)",
                           [](auto& it) { it.emplace(longBytes().c_str()); }),
        builds<DataBuffer>("DataBuffer::DataBuffer(icu::UnicodeString const&, char const*)",
                           [](auto& it) { it.emplace(longText(), "Shift_JIS"); }),
        builds<DataBuffer>("DataBuffer::DataBuffer(icu::UnicodeString const&, char const*)",
                           [](auto& it) { it.emplace(longText(), "utf-16"); }),
        builds<DataBuffer>("DataBuffer::DataBuffer(int)", [](auto& it) { it.emplace(10'000); }),
        builds<DataBuffer>("DataBuffer::DataBuffer(nx::oss::DataBuffer const&)",
                           [](auto& it) { it.emplace(source); }),
        destroys<DataBuffer>("DataBuffer::~DataBuffer()", [](auto& it) { it.emplace(10'000); }),
        onText("DataBuffer::appendBinary(char const*, int, bool)",
               [](DataBuffer& b) { b.appendBinary(longBytes().data(), 100, false); }),
        onText("DataBuffer::appendString(char const*)",
               [](DataBuffer& b) { b.appendString(longBytes().c_str()); }),
        onText("DataBuffer::appendString(char const*, int)",
               [](DataBuffer& b) { b.appendString(longBytes().data(), 4'999); }),
        onText("DataBuffer::appendString(icu::UnicodeString const&, char const*)",
               [](DataBuffer& b) { b.appendString(longText(), "Shift_JIS"); }),
        onText("DataBuffer::appendString(icu::UnicodeString const&, char const*)",
               [](DataBuffer& b) { b.appendString(longText(), nullptr); }),
        onText("DataBuffer::appendString(icu::UnicodeString const&, char const*)",
               [](DataBuffer& b) { b.appendString(longText(), "UTF-32"); }),
        onText("DataBuffer::appendString(nx::oss::DataBuffer const&)",
               [](DataBuffer& b) { b.appendString(b); }),
        onText("DataBuffer::capacity() const", [](DataBuffer& b) { return b.capacity(); }),
        row(
            "DataBuffer::clear(bool)", [] { return DataBuffer(longBytes().c_str()); },
            [](DataBuffer& b) { b.clear(); }),
        row(
            "DataBuffer::getBinary(char*, int) const", [] { return DataBuffer("X'0102'"); },
            [](DataBuffer& b) { return b.getBinary(out, 4); }),
        row(
            "DataBuffer::getBinary(char*, int) const", [] { return DataBuffer("X'0102030405'"); },
            [](DataBuffer& b) { return b.getBinary(out, 4); }),
        onText("DataBuffer::getString() const", [](DataBuffer& b) { return b.getString(); }),
        onText("DataBuffer::indexOf(int, char const*) const",
               [](DataBuffer& b) { return b.indexOf(3, "tt"); }),
        onText("DataBuffer::indexOf(int, int, char const*) const",
               [](DataBuffer& b) { return b.indexOf(3, 9, "tt"); }),
        onText("DataBuffer::insertBinary(int, char const*, int, bool)",
               [](DataBuffer& b) { b.insertBinary(1, longBytes().data(), 2'047, false); }),
        onText("DataBuffer::insertString(int, char const*)",
               [](DataBuffer& b) { b.insertString(7, b.getString() + 3); }),
        onText("DataBuffer::insertString(int, char const*, int)",
               [](DataBuffer& b) { b.insertString(5, b.getString() + 1, 97); }),
        onText("DataBuffer::insertString(int, icu::UnicodeString const&, char const*)",
               [](DataBuffer& b) { b.insertString(9, longText(), "windows-1252"); }),
        onText("DataBuffer::insertString(int, nx::oss::DataBuffer const&)",
               [](DataBuffer& b) { b.insertString(-1, source); }),
        onText("DataBuffer::length() const", [](DataBuffer& b) { return b.length(); }),
        onText("DataBuffer::occurrences(char const*) const",
               [](DataBuffer& b) { return b.occurrences("tt"); }),
        onText("DataBuffer::operator=(icu::UnicodeString const&)",
               [](DataBuffer& b) { b = longText(); }, {"0/4096:"}),
        onText("DataBuffer::operator=(nx::oss::DataBuffer const&)",
               [](DataBuffer& b) { b = source; }),
        onText("DataBuffer::replace(char const*, char const*, int)",
               [](DataBuffer& b) { return b.replace("t", longBytes().c_str(), 3); }),
        onText("DataBuffer::replace(char const*, char const*, int, int)",
               [](DataBuffer& b) { return b.replace("t", b.getString(), 3, 2); }),
        onText("DataBuffer::replaceAll(char const*, char const*)",
               [](DataBuffer& b) { return b.replaceAll(b.getString() + 4'080, "TEXT OF MORE"); }),
        onText("DataBuffer::saveBinary(int, char const*, int, bool)",
               [](DataBuffer& b) { b.saveBinary(1, b.getString(), 4'000, true); }),
        onText("DataBuffer::saveString(int, char const*, int)",
               [](DataBuffer& b) { b.saveString(3, longBytes().data(), 5'000); }),
    };
    forEachNumberType(
        [&rows](auto number, const char* type) { addNumber<decltype(number)>(rows, type); });
    return rows;
}

class Source : public InputStream {
  public:
    using InputStream::read;
    unsigned long read(char* c) override {
        *c = 'x';
        return 1;
    }
    static std::string state() { return "endless"; }
};

/// An array of four characters, three of them written.
struct Array {
    Array() { stream.write("abc"); }
    std::string state() const { return stateOf(stream); }
    char bytes[4] = {};
    ByteArrayOutputStream stream{bytes, 4};
};

template <class Operation>
Row onArray(const char* name, const Operation& operation, Promise promise = {}) {
    return row(
        name, [] { return Array(); }, [=](Array& it) { operation(it.stream); }, promise);
}

template <class T>
Row prints(const char* name, const T& value) {
    return callOf(name, [=] { *ossOut << value; });
}

Rows rowsOfStreams() {
    return {
        builds<ByteArrayOutputStream>(
            "ByteArrayOutputStream::ByteArrayOutputStream(char*, unsigned long)",
            [](auto& it) { it.emplace(array, 4UL); }),
        destroys<ByteArrayOutputStream>("ByteArrayOutputStream::~ByteArrayOutputStream()",
                                        [](auto& it) { it.emplace(array, 4UL); }),
        row(
            "ByteArrayOutputStream::getCount() const", [] { return Array(); },
            [](Array& it) { return it.stream.getCount(); }),
        onArray("ByteArrayOutputStream::write(char)",
                [](ByteArrayOutputStream& s) { s.write('d'); }),
        row(
            "ByteArrayOutputStream::write(char)", [] { return ByteArrayOutputStream(array, 0); },
            [](ByteArrayOutputStream& s) { s.write('e'); }),
        row(
            "InputStream::close()", [] { return Source(); }, [](Source& s) { s.close(); }),
        row(
            "InputStream::read(char*, unsigned long, unsigned long)", [] { return Source(); },
            [](Source& s) { return s.read(array, 0, 4); }),
        destroys<Source>("InputStream::~InputStream()", [](auto& it) { it.emplace(); }),
        onArray("OutputStream::close()", [](OutputStream& s) { s.close(); }),
        onArray("OutputStream::flush()", [](OutputStream& s) { s.flush(); }),
        onArray("OutputStream::write(char const*)", [](OutputStream& s) { s.write("d"); }),
        // What does not fit is refused after the characters that do.
        onArray("OutputStream::write(char const*)", [](OutputStream& s) { s.write("def"); },
                {"count 4", nullptr, false, /*onlyOnce=*/true}),
        onArray("OutputStream::write(char const*, unsigned long, unsigned long)",
                [](OutputStream& s) { s.write(&one, 0, 1); }),
        destroys<ByteArrayOutputStream>("OutputStream::~OutputStream()",
                                        [](auto& it) { it.emplace(array, 4UL); }),
        callOf("PrintStream::getPrintStream()",
               [] { return PrintStream::getPrintStream() == ossOut; }),
        prints("PrintStream::operator<<(char const*)", "text"),
        prints("PrintStream::operator<<(char)", 'c'),
        prints("PrintStream::operator<<(double)", 1e300),
        prints("PrintStream::operator<<(float)", 0.1F),
        callOf("PrintStream::operator<<(icu::UnicodeString const&)", [] { *ossOut << longText(); }),
        prints("PrintStream::operator<<(int)", -1),
        prints("PrintStream::operator<<(long)", -1L),
        prints("PrintStream::operator<<(short)", static_cast<short>(-1)),
        prints("PrintStream::operator<<(signed char)", static_cast<signed char>('c')),
        prints("PrintStream::operator<<(unsigned char)", static_cast<unsigned char>('c')),
        prints("PrintStream::operator<<(unsigned int)", 1U),
        prints("PrintStream::operator<<(unsigned long)", 1UL),
        prints("PrintStream::operator<<(unsigned short)", static_cast<unsigned short>(1)),
        destroys<PrintStream>("PrintStream::~PrintStream()", [](auto& it) { it.emplace(); }),
    };
}

}  // namespace

Rows rowsOfBuffers() {
    Rows rows = rowsOfByteBuffers();
    addSizeable<512>(rows, "512ul");
    addSizeable<1026>(rows, "1026ul");
    for (const Rows& more : {rowsOfAlternateBuffers(), rowsOfDataBuffers(), rowsOfStreams()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

}  // namespace nx::test
