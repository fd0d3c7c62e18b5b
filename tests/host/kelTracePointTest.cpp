#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>

#include <climits>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "infra/detail/kelTracePoint.h"

namespace {

using Events = std::vector<std::string>;

// The host's trace facility, as far as this program needs it.
struct Facility {
    unsigned long mask = 0;
    Events events;
    unsigned long queries = 0;
    unsigned foreignComponents = 0;
    unsigned nonZeroReturnCodes = 0;
    std::function<void()> onEntry = [] {};
};

Facility& facility() {
    static auto* const instance = new Facility;  // outlives every static object of the program
    return *instance;
}

std::string entry(unsigned identifier) { return "entry " + std::to_string(identifier); }
std::string exitOf(unsigned identifier) { return "exit " + std::to_string(identifier); }

// Identifiers as the readers of recorded traces know them.
constexpr unsigned BUFFER_CONSTRUCT = 483919079;
constexpr unsigned BUFFER_DESTROY = 483919080;
constexpr unsigned BUFFER_APPEND = 483919081;
constexpr unsigned BUFFER_SET = 483919082;
constexpr unsigned BUFFER_CLEAR = 483919083;
constexpr unsigned LIST_CONSTRUCT = 483919157;
constexpr unsigned LIST_DESTROY = 483919158;
constexpr unsigned LIST_ADD = 483919159;
constexpr unsigned LIST_INSERT = 483919160;
constexpr unsigned LIST_JOIN = 483919161;
constexpr unsigned LIST_GET_FIRST_MESSAGE = 483919162;
constexpr unsigned LIST_GET_FIRST_MSG = 483919163;
constexpr unsigned LIST_GET_NEXT_MSG = 483919164;
constexpr unsigned LIST_CLEAR = 483919165;

constexpr unsigned long ALL = 0x20000;

// The events of one operation. Also checks component and return codes.
template <class Operation>
Events traced(const Operation& operation, unsigned long mask = ALL) {
    facility() = Facility();
    facility().mask = mask;
    operation();
    facility().mask = 0;
    EXPECT_EQ(facility().foreignComponents, 0u);
    EXPECT_EQ(facility().nonZeroReturnCodes, 0u);
    return facility().events;
}

}  // namespace

extern "C" {
unsigned long trcGetCompFlag(unsigned component) {
    ++facility().queries;
    facility().foreignComponents += component == 155 ? 0 : 1;
    return facility().mask;
}
void trcEntry(unsigned identifier) {
    facility().events.push_back(entry(identifier));
    facility().onEntry();
}
void trcExit(unsigned identifier, long returnCode) {
    facility().events.push_back(exitOf(identifier));
    facility().nonZeroReturnCodes += returnCode == 0 ? 0 : 1;
}
}

namespace nx::oss {
namespace {

Message record(const char* id) { return Message(id, Message::DEFAULT, "f.cpp", 1); }

MessageList listOfTwo() {
    MessageList list;
    list.addMessage(record("A"));
    list.addMessage(record("B"));
    return list;
}

// Storage for objects whose construction and destruction are looked at one by one.
template <class T>
struct Place {
    template <class... Arguments>
    T* construct(const Arguments&... arguments) {
        return ::new (static_cast<void*>(bytes)) T(arguments...);
    }
    alignas(T) unsigned char bytes[sizeof(T)];
};

const Events BOTH_CLEAR = {entry(LIST_CLEAR), exitOf(LIST_CLEAR)};

// --- MessageList --------------------------------------------------------------------------------

TEST(TraceMessageList, ConstructorsRecordTheirExitAfterWhatTheyCall) {
    Place<MessageList> place;
    const Message message = record("A");
    const MessageList source = listOfTwo();
    EXPECT_EQ(traced([&] { place.construct()->~MessageList(); }),
              (Events{exitOf(LIST_CONSTRUCT), entry(LIST_CLEAR), exitOf(LIST_CLEAR),
                      exitOf(LIST_DESTROY)}));
    MessageList* list = nullptr;
    EXPECT_EQ(traced([&] { list = place.construct(message); }),
              (Events{entry(LIST_ADD), exitOf(LIST_ADD), exitOf(LIST_CONSTRUCT)}));
    list->~MessageList();
    EXPECT_EQ(traced([&] { list = place.construct(source); }),
              (Events{entry(LIST_JOIN), entry(LIST_ADD), exitOf(LIST_ADD), entry(LIST_ADD),
                      exitOf(LIST_ADD), exitOf(LIST_JOIN), exitOf(LIST_CONSTRUCT)}));
    list->~MessageList();
}

TEST(TraceMessageList, ChangesRecordEntryAndExit) {
    MessageList list;
    const Message message = record("A");
    EXPECT_EQ(traced([&] { list.addMessage(message); }),
              (Events{entry(LIST_ADD), exitOf(LIST_ADD)}));
    EXPECT_EQ(traced([&] { list.insertMessage(message); }),
              (Events{entry(LIST_INSERT), exitOf(LIST_INSERT)}));
    EXPECT_EQ(traced([&] { list.clear(); }), BOTH_CLEAR);
}

TEST(TraceMessageList, JoinRecordsEachAdditionInsideItself) {
    MessageList list;
    const MessageList source = listOfTwo();
    const MessageList empty;
    EXPECT_EQ(traced([&] { list.join(source); }),
              (Events{entry(LIST_JOIN), entry(LIST_ADD), exitOf(LIST_ADD), entry(LIST_ADD),
                      exitOf(LIST_ADD), exitOf(LIST_JOIN)}));
    EXPECT_EQ(traced([&] { list.join(empty); }), (Events{entry(LIST_JOIN), exitOf(LIST_JOIN)}));
}

TEST(TraceMessageList, ReadingOperationsRecordOnlyTheirExit) {
    MessageList list = listOfTwo();
    const MessageList& constList = list;
    EXPECT_EQ(traced([&] { list.getFirstMessage(); }), Events{exitOf(LIST_GET_FIRST_MESSAGE)});
    EXPECT_EQ(traced([&] { constList.getFirstMessage(); }), Events{exitOf(LIST_GET_FIRST_MESSAGE)});
    EXPECT_EQ(traced([&] { list.getFirstMsg(); }), Events{exitOf(LIST_GET_FIRST_MSG)});
    EXPECT_EQ(traced([&] { list.getNextMsg(); }), Events{exitOf(LIST_GET_NEXT_MSG)});
    EXPECT_EQ(traced([&] { list.getNextMsg(); }), Events{exitOf(LIST_GET_NEXT_MSG)});
}

TEST(TraceMessageList, TrivialAccessorsAndAssignmentRecordNothing) {
    MessageList list = listOfTwo();
    const MessageList source = listOfTwo();
    EXPECT_EQ(traced([&] {
                  list.count();
                  list.isEmpty();
                  list.getHead();
                  list.hasMoreMsgs();
                  list = source;
              }),
              Events{});
    EXPECT_EQ(facility().queries, 0u);
}

TEST(TraceMessage, RecordsNothing) {
    EXPECT_EQ(traced([] {
                  Message message = record("A");
                  message.addArgument(1);
                  icu::UnicodeString text;
                  message.toString(text);
                  message.setMessage(Message());
              }),
              Events{});
}

// --- ByteBuffer ---------------------------------------------------------------------------------

TEST(TraceByteBuffer, ConstructorsShareOneExit) {
    Place<ByteBuffer> place;
    const ByteBuffer source("abc", 3);
    const icu::UnicodeString text("abc");
    const auto constructAndDestroy = [&](const auto&... arguments) {
        ByteBuffer* buffer = nullptr;
        Events events = traced([&] { buffer = place.construct(arguments...); });
        buffer->~ByteBuffer();
        return events;
    };
    EXPECT_EQ(constructAndDestroy(10ul), Events{exitOf(BUFFER_CONSTRUCT)});
    EXPECT_EQ(constructAndDestroy("abc", 3ul), Events{exitOf(BUFFER_CONSTRUCT)});
    EXPECT_EQ(constructAndDestroy(source), Events{exitOf(BUFFER_CONSTRUCT)});
    EXPECT_EQ(constructAndDestroy(text, "UTF-8"),
              (Events{entry(BUFFER_SET), entry(BUFFER_CLEAR), exitOf(BUFFER_CLEAR),
                      exitOf(BUFFER_SET), exitOf(BUFFER_CONSTRUCT)}));
}

TEST(TraceByteBuffer, DestructorRecordsItsExit) {
    Place<ByteBuffer> place;
    ByteBuffer* const buffer = place.construct(10ul);
    EXPECT_EQ(traced([&] { buffer->~ByteBuffer(); }), Events{exitOf(BUFFER_DESTROY)});
}

TEST(TraceByteBuffer, ChangesRecordEntryAndExitOnEveryPath) {
    ByteBuffer buffer(4);
    const Events append = {entry(BUFFER_APPEND), exitOf(BUFFER_APPEND)};
    EXPECT_EQ(traced([&] { buffer.append("abc", 3); }), append);
    EXPECT_EQ(traced([&] { buffer.append("0123456789", 10); }), append);
    EXPECT_EQ(traced([&] { buffer.append(nullptr, 3); }), append);
    EXPECT_EQ(traced([&] { buffer.append("", 0); }), append);
    const Events set = {entry(BUFFER_SET), entry(BUFFER_CLEAR), exitOf(BUFFER_CLEAR),
                        exitOf(BUFFER_SET)};
    for (const char* text : {"", "abc", "a text that needs a larger storage"}) {
        const icu::UnicodeString unicode(text);
        EXPECT_EQ(traced([&] { buffer.set(unicode, "UTF-8"); }), set);
        EXPECT_EQ(traced([&] { buffer.set(unicode, "no-such-code-page"); }), set);
    }
    EXPECT_EQ(traced([&] { buffer.clear(); }), (Events{entry(BUFFER_CLEAR), exitOf(BUFFER_CLEAR)}));
}

TEST(TraceByteBuffer, ReadingAndCopyingRecordNothing) {
    ByteBuffer buffer("abc", 3);
    const ByteBuffer source("xyz", 3);
    EXPECT_EQ(traced([&] {
                  buffer.compare("abc", 3);
                  buffer.data();
                  buffer.size();
                  buffer.capacity();
                  DefaultAlternateBuffer<char> target;
                  ByteBuffer::copy(target, "abc", 3);
                  buffer = source;
              }),
              Events{});
}

// --- Exceptions ---------------------------------------------------------------------------------

TEST(TraceException, CopyConstructsAListAndJoins) {
    Place<IOException> place;
    IOException source;
    source.messages.addMessage(record("A"));
    IOException* copy = nullptr;
    EXPECT_EQ(traced([&] { copy = place.construct(source); }),
              (Events{exitOf(LIST_CONSTRUCT), entry(LIST_JOIN), entry(LIST_ADD), exitOf(LIST_ADD),
                      exitOf(LIST_JOIN)}));
    EXPECT_EQ(traced([&] { copy->~IOException(); }),
              (Events{entry(LIST_CLEAR), exitOf(LIST_CLEAR), exitOf(LIST_DESTROY)}));
}

TEST(TraceExit, IsNotRecordedWhenAnExceptionLeavesTheOperation) {
    const Events events = traced([] {
        try {
            MessageList().getFirstMessage();
        } catch (const NLSException&) {
        }
    });
    for (const auto& event : events) {
        EXPECT_NE(event, exitOf(LIST_GET_FIRST_MESSAGE));
    }
    EXPECT_FALSE(events.empty());
    ByteBuffer buffer(0);
    EXPECT_EQ(traced([&] { EXPECT_THROW(buffer.append("x", ULONG_MAX), std::bad_alloc); }),
              Events{entry(BUFFER_APPEND)});
    EXPECT_EQ(traced([] { EXPECT_THROW(ByteBuffer failing(ULONG_MAX), std::bad_alloc); }),
              Events{});
}

TEST(TraceExit, IsRecordedByADestructorThatRunsDuringUnwinding) {
    EXPECT_EQ(traced([] {
                  try {
                      const MessageList list;
                      throw 1;
                  } catch (int) {
                  }
              }),
              (Events{exitOf(LIST_CONSTRUCT), entry(LIST_CLEAR), exitOf(LIST_CLEAR),
                      exitOf(LIST_DESTROY)}));
}

// --- Masks --------------------------------------------------------------------------------------

struct MaskRow {
    unsigned long mask;
    bool entry;
    bool exit;
};

class TraceMask : public testing::TestWithParam<MaskRow> {};

TEST_P(TraceMask, SelectsEntryAndExit) {
    const MaskRow& row = GetParam();
    ByteBuffer buffer(0);
    Events both;
    if (row.entry) {
        both.push_back(entry(BUFFER_APPEND));
    }
    if (row.exit) {
        both.push_back(exitOf(BUFFER_APPEND));
    }
    EXPECT_EQ(traced([&] { buffer.append("abc", 3); }, row.mask), both);
    MessageList list;
    EXPECT_EQ(traced([&] { list.getFirstMsg(); }, row.mask),
              row.exit ? Events{exitOf(LIST_GET_FIRST_MSG)} : Events{});
}

INSTANTIATE_TEST_SUITE_P(Rows, TraceMask,
                         testing::Values(MaskRow{0, false, false}, MaskRow{0x1, true, false},
                                         MaskRow{0x2, false, true}, MaskRow{0x3, true, true},
                                         MaskRow{0x80, false, false}, MaskRow{0x81, true, false},
                                         MaskRow{0x82, false, true}, MaskRow{0x20000, true, true},
                                         MaskRow{0x20083, true, true}, MaskRow{0x4, false, false},
                                         MaskRow{0x10000, false, false},
                                         MaskRow{0x100000000, false, false},
                                         MaskRow{0xFFFFFFFFFFFDFF7C, false, false},
                                         MaskRow{0xFFFFFFFFFFFFFFFF, true, true}));

TEST(TraceMaskQuery, IsMadeAfreshAtEveryPoint) {
    ByteBuffer buffer(0);
    traced([&] { buffer.append("abc", 3); }, 0);
    EXPECT_EQ(facility().queries, 2u);
    MessageList list;
    traced([&] { list.getNextMsg(); }, 0);
    EXPECT_EQ(facility().queries, 1u);
}

TEST(TraceMaskQuery, SeesAChangeBetweenEntryAndExit) {
    ByteBuffer buffer(0);
    facility() = Facility();
    facility().mask = 0x20000;
    facility().onEntry = [] { facility().mask = 0; };
    buffer.append("abc", 3);
    EXPECT_EQ(facility().events, Events{entry(BUFFER_APPEND)});
    facility().events.clear();
    facility().mask = 0x1;
    facility().onEntry = [] { facility().mask = 0x2; };
    buffer.append("abc", 3);
    EXPECT_EQ(facility().events, (Events{entry(BUFFER_APPEND), exitOf(BUFFER_APPEND)}));
    facility() = Facility();
}

// --- The table ----------------------------------------------------------------------------------

using detail::TracePoint;

struct PointRow {
    TracePoint point;
    unsigned identifier;
};

// clang-format off
constexpr PointRow POINTS[] = {
    {TracePoint::BYTE_ARRAY_OUTPUT_STREAM_CONSTRUCT, 483919077},
    {TracePoint::BYTE_ARRAY_OUTPUT_STREAM_DESTROY, 483919078},
    {TracePoint::BYTE_BUFFER_CONSTRUCT, 483919079},
    {TracePoint::BYTE_BUFFER_DESTROY, 483919080},
    {TracePoint::BYTE_BUFFER_APPEND, 483919081},
    {TracePoint::BYTE_BUFFER_SET, 483919082},
    {TracePoint::BYTE_BUFFER_CLEAR, 483919083},
    {TracePoint::CONVERTER_CONSTRUCT, 483919084},
    {TracePoint::CONVERTER_DESTROY, 483919085},
    {TracePoint::CONVERTER_CONVERT_TEXT, 483919086},
    {TracePoint::CONVERTER_CONVERT_BYTES, 483919087},
    {TracePoint::DATA_BUFFER_CONSTRUCT, 483919088},
    {TracePoint::DATA_BUFFER_DESTROY, 483919089},
    {TracePoint::DATA_BUFFER_CLEAR, 483919090},
    {TracePoint::DATA_BUFFER_SAVE_STRING, 483919091},
    {TracePoint::DATA_BUFFER_APPEND_STRING, 483919092},
    {TracePoint::DATA_BUFFER_INSERT_STRING, 483919093},
    {TracePoint::DATA_BUFFER_APPEND_NUMBER, 483919094},
    {TracePoint::DATA_BUFFER_INSERT_NUMBER, 483919095},
    {TracePoint::DATA_BUFFER_SAVE_BINARY, 483919096},
    {TracePoint::DATA_BUFFER_GET_BINARY, 483919097},
    {TracePoint::DATA_BUFFER_INDEX_OF, 483919098},
    {TracePoint::DATA_BUFFER_OCCURRENCES, 483919099},
    {TracePoint::DATA_BUFFER_REPLACE, 483919100},
    {TracePoint::DATA_BUFFER_REPLACE_ALL, 483919101},
    {TracePoint::UTF8_ITERATOR_CONSTRUCT, 483919102},
    {TracePoint::UTF8_ITERATOR_DESTROY, 483919103},
    {TracePoint::UTF8_ITERATOR_SET_STRING, 483919104},
    {TracePoint::UTF8_ITERATOR_GET_FIRST_CHAR, 483919105},
    {TracePoint::UTF8_ITERATOR_GET_NEXT_CHAR, 483919106},
    {TracePoint::STRING_TOKENIZER_CONSTRUCT, 483919107},
    {TracePoint::STRING_TOKENIZER_DESTROY, 483919108},
    {TracePoint::STRING_TOKENIZER_PARSE_STRING, 483919109},
    {TracePoint::STRING_TOKENIZER_GET_FIRST_TOKEN, 483919110},
    {TracePoint::STRING_TOKENIZER_GET_NEXT_TOKEN, 483919111},
    {TracePoint::STRING_TOKENIZER_GET_FIRST_TOKEN_STRING, 483919112},
    {TracePoint::STRING_TOKENIZER_GET_NEXT_TOKEN_STRING, 483919113},
    {TracePoint::SOCKET_SERVER_CONSTRUCT, 483919114},
    {TracePoint::SOCKET_SERVER_DESTROY, 483919115},
    {TracePoint::SOCKET_SERVER_LISTEN, 483919116},
    {TracePoint::SOCKET_SERVER_ACCEPT, 483919117},
    {TracePoint::SOCKET_SERVER_SHUTDOWN_READ, 483919118},
    {TracePoint::SOCKET_SERVER_SHUTDOWN_WRITE, 483919119},
    {TracePoint::SOCKET_SERVER_SHUTDOWN_READ_WRITE, 483919120},
    {TracePoint::SOCKET_SERVER_SET_REUSE_ADDRESS, 483919121},
    {TracePoint::SOCKET_SERVER_GET_PORT_STATIC, 483919122},
    {TracePoint::SOCKET_CONSTRUCT, 483919123},
    {TracePoint::SOCKET_DESTROY, 483919124},
    {TracePoint::SOCKET_ASSIGN, 483919125},
    {TracePoint::SOCKET_CLOSE, 483919126},
    {TracePoint::SOCKET_CONNECT, 483919127},
    {TracePoint::SOCKET_WRITE, 483919128},
    {TracePoint::SOCKET_READ, 483919129},
    {TracePoint::SOCKET_READ_ONCE, 483919130},
    {TracePoint::SOCKET_WRITE_ITEM, 483919131},
    {TracePoint::SOCKET_READ_ITEM, 483919132},
    {TracePoint::SOCKET_SET_NON_BLOCKING, 483919133},
    {TracePoint::SOCKET_SET_TCP_NO_DELAY, 483919134},
    {TracePoint::SOCKET_SHUTDOWN_READ, 483919135},
    {TracePoint::SOCKET_SHUTDOWN_WRITE, 483919136},
    {TracePoint::SOCKET_SHUTDOWN_READ_WRITE, 483919137},
    {TracePoint::SOCKET_CLOSE_STATIC, 483919138},
    {TracePoint::SOCKET_SET_NON_BLOCKING_STATIC, 483919139},
    {TracePoint::SOCKET_GET_SOCKET_ERROR_STATIC, 483919140},
    {TracePoint::SOCKET_SELECT, 483919141},
    {TracePoint::SOCKET_FROM_LIST_TO_FD_SET, 483919142},
    {TracePoint::SOCKET_HIGHEST_VALUE, 483919143},
    {TracePoint::SOCKET_REMOVE_IF_NOT_IN_SET, 483919144},
    {TracePoint::SOCKET_EXPORT_ADDR_INFO, 483919145},
    {TracePoint::SOCKET_SERIALIZE, 483919146},
    {TracePoint::SOCKET_DESERIALIZE, 483919147},
    {TracePoint::SOCKET_DESERIALIZE_ADDR_INFO_EXTERNAL, 483919148},
    {TracePoint::SOCKET_FREE_MY_ADDR_INFO, 483919149},
    {TracePoint::SOCKET_DNS_LOOKUP, 483919150},
    {TracePoint::SOCKET_GET_IPV4_BY_NAME, 483919151},
    {TracePoint::THREAD_CONSTRUCT, 483919152},
    {TracePoint::THREAD_DESTROY, 483919153},
    {TracePoint::THREAD_START, 483919154},
    {TracePoint::THREAD_JOIN, 483919155},
    {TracePoint::THREAD_STOP, 483919156},
    {TracePoint::MESSAGE_LIST_CONSTRUCT, 483919157},
    {TracePoint::MESSAGE_LIST_DESTROY, 483919158},
    {TracePoint::MESSAGE_LIST_ADD_MESSAGE, 483919159},
    {TracePoint::MESSAGE_LIST_INSERT_MESSAGE, 483919160},
    {TracePoint::MESSAGE_LIST_JOIN, 483919161},
    {TracePoint::MESSAGE_LIST_GET_FIRST_MESSAGE, 483919162},
    {TracePoint::MESSAGE_LIST_GET_FIRST_MSG, 483919163},
    {TracePoint::MESSAGE_LIST_GET_NEXT_MSG, 483919164},
    {TracePoint::MESSAGE_LIST_CLEAR, 483919165},
    {TracePoint::NLS_UTILITY_CONSTRUCT, 483919166},
    {TracePoint::NLS_UTILITY_DESTROY, 483919167},
    {TracePoint::NLS_UTILITY_GET_INSTANCE, 483919168},
    {TracePoint::NLS_UTILITY_IS_SUPPORTED, 483919169},
    {TracePoint::NLS_UTILITY_GET_STANDARD_LOCALE_VALUE, 483919170},
    {TracePoint::NLS_UTILITY_GET_LOCALE, 483919171},
    {TracePoint::NLS_UTILITY_GET_ENVIRONMENT_LOCALE, 483919172},
};
// clang-format on

TEST(TracePoints, HaveTheIdentifiersThatReadersOfTracesKnow) {
    static_assert(std::size(POINTS) == 96);
    for (const auto& row : POINTS) {
        EXPECT_EQ(static_cast<unsigned>(row.point), row.identifier);
    }
}

TEST(TracePoints, BelongToComponent155) { EXPECT_EQ(detail::TRACE_COMPONENT, 155u); }

}  // namespace
}  // namespace nx::oss
