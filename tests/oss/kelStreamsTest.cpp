#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelOutputStream.h>

#include <string>
#include <type_traits>

#include "support/kelGuardedBuffer.h"
#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::GuardedBuffer;
using test::Report;

// --- InputStream --------------------------------------------------------------------------------

/// Yields the characters of a text, then scribbles and tells that there was none.
class TextSource : public InputStream {
  public:
    explicit TextSource(std::string text, unsigned long told = 1)
        : text_(std::move(text)), told_(told) {}

    using InputStream::read;
    unsigned long read(char* c) override {
        ++calls_;
        if (next_ == text_.size()) {
            *c = '!';
            return 0;
        }
        *c = text_[next_++];
        return told_;
    }
    int calls() const { return calls_; }

  private:
    std::string text_;
    unsigned long told_;
    std::size_t next_ = 0;
    int calls_ = 0;
};

TEST(InputStreamRead, StoresAtTheOffsetAndStopsAtTheEnd) {
    std::string buffer(16, '.');
    TextSource source("ab");
    EXPECT_EQ(source.read(buffer.data(), 5, 4), 2U);
    EXPECT_EQ(buffer, ".....ab.........");
    EXPECT_EQ(source.calls(), 3);
}

TEST(InputStreamRead, ReadsNoMoreThanAskedFor) {
    std::string buffer(4, '.');
    TextSource source("abcd");
    EXPECT_EQ(source.read(buffer.data(), 1, 2), 2U);
    EXPECT_EQ(buffer, ".ab.");
    EXPECT_EQ(source.calls(), 2);
    EXPECT_EQ(source.read(buffer.data(), 0, 4), 2U);
    EXPECT_EQ(buffer, "cdb.");
}

TEST(InputStreamRead, DoesNotAskTheSourceForNoCharacters) {
    TextSource source("ab");
    EXPECT_EQ(source.read(nullptr, 0, 0), 0U);
    EXPECT_EQ(source.calls(), 0);
}

TEST(InputStreamRead, CountsAnyNumberThatIsNotZeroAsOneCharacter) {
    std::string buffer(4, '.');
    TextSource source("abc", /*told=*/7);
    EXPECT_EQ(source.read(buffer.data(), 0, 4), 3U);
    EXPECT_EQ(buffer, "abc.");
}

TEST(InputStreamClose, DoesNothing) {
    TextSource source("ab");
    InputStream& stream = source;
    stream.close();
    char c = '\0';
    EXPECT_EQ(stream.read(&c), 1U);
    EXPECT_EQ(c, 'a');
    EXPECT_TRUE(std::has_virtual_destructor_v<InputStream>);
    EXPECT_TRUE(std::is_abstract_v<InputStream>);
}

// --- OutputStream -------------------------------------------------------------------------------

class TextSink : public OutputStream {
  public:
    ~TextSink() override = default;

    using OutputStream::write;
    void write(char c) override { text.push_back(c); }
    void flush() override { ++flushes; }

    std::string text;
    int flushes = 0;
};

TEST(OutputStreamWrite, WritesATextWithoutItsTerminator) {
    TextSink sink;
    OutputStream& stream = sink;
    stream.write("text");
    stream.write("");
    stream.write(static_cast<const char*>(nullptr));
    stream.write('!');
    EXPECT_EQ(sink.text, "text!");
}

TEST(OutputStreamClose, FlushesThroughTheVirtualTable) {
    TextSink sink;
    OutputStream& stream = sink;
    stream.close();
    stream.close();
    EXPECT_EQ(sink.flushes, 2);
}

TEST(OutputStreamDestructor, NeitherFlushesNorCloses) {
    struct Counter : TextSink {
        explicit Counter(int& count) : count_(count) {}
        void flush() override { ++count_; }
        void close() override { ++count_; }
        int& count_;
    };
    int count = 0;
    delete static_cast<OutputStream*>(new Counter(count));
    EXPECT_EQ(count, 0);
}

TEST(OutputStreamFlush, DoesNothingByItself) {
    struct Plain : OutputStream {
        void write(char) override {}
    } plain;
    plain.flush();
    plain.close();
    EXPECT_TRUE(std::is_abstract_v<OutputStream>);
}

// --- ByteArrayOutputStream ----------------------------------------------------------------------

TEST(ByteArrayOutputStream, FillsTheArrayAndNothingBehindIt) {
    GuardedBuffer array(3);
    ByteArrayOutputStream stream(array.data(), 3);
    EXPECT_EQ(stream.getCount(), 0U);
    stream.write('a');
    stream.write("bc");
    EXPECT_EQ(stream.getCount(), 3U);
    EXPECT_EQ(array.first(3), "abc");
    EXPECT_TRUE(array.guardsIntact());
}

TEST(ByteArrayOutputStream, WritesNoTerminator) {
    GuardedBuffer array(8);
    ByteArrayOutputStream stream(array.data(), 8);
    stream.write("ab");
    stream.write("");
    EXPECT_EQ(stream.getCount(), 2U);
    EXPECT_TRUE(array.untouchedAfter(2));
}

TEST(ByteArrayOutputStream, RaisesWhenTheArrayIsFullAndKeepsItsState) {
    GuardedBuffer array(3);
    ByteArrayOutputStream stream(array.data(), 3);
    stream.write("abc");
    for (int i = 0; i < 2; ++i) {
        EXPECT_RAISES(
            IOException, stream.write('d'),
            Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47).with({"3"}));
        EXPECT_EQ(stream.getCount(), 3U);
        EXPECT_EQ(array.first(3), "abc");
        EXPECT_TRUE(array.guardsIntact());
    }
}

TEST(ByteArrayOutputStream, OfSizeZeroRaisesOnTheFirstCharacter) {
    ByteArrayOutputStream stream(nullptr, 0);
    EXPECT_RAISES(
        IOException, stream.write('a'),
        Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47).with({"0"}));
    EXPECT_EQ(stream.getCount(), 0U);
}

TEST(ByteArrayOutputStream, KeepsWhatATextWroteBeforeTheArrayWasFull) {
    GuardedBuffer array(2);
    ByteArrayOutputStream stream(array.data(), 2);
    EXPECT_RAISES(
        IOException, stream.write("abc"),
        Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47).with({"2"}));
    EXPECT_EQ(array.first(2), "ab");
    EXPECT_EQ(stream.getCount(), 2U);
}

TEST(ByteArrayOutputStream, CloseAndFlushChangeNothing) {
    char array[4] = {};
    ByteArrayOutputStream stream(array, 4);
    stream.write('a');
    stream.flush();
    stream.close();
    stream.write('b');
    EXPECT_EQ(std::string(array, 2), "ab");
    EXPECT_EQ(stream.getCount(), 2U);
}

}  // namespace
}  // namespace nx::oss
