#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelSizeableBuffer.h>
#include <malloc.h>

#include <list>
#include <string>
#include <vector>

#include "infra/detail/kelTraceScope.h"
#include "kelBench.h"

namespace nx::oss::bench {

namespace {

constexpr unsigned long SIZES[] = {10'000, 100'000, 1'000'000};

// The work grows with the size; what is reported is the cost per element.
template <class Run>
void addGrowth(const std::string& what, const std::string& contender, Run run) {
    for (const unsigned long size : SIZES) {
        addRow(what + ", " + std::to_string(size), contender, [run, size](benchmark::State& state) {
            for (auto step : state) {
                run(size);
            }
            state.counters["elements"] = static_cast<double>(size);
        });
    }
}

// Asks for one element more each time, as a reader of unknown length does.
void growSizeableBuffer(unsigned long size) {
    SizeableBuffer<char, 512> buffer(0);
    for (unsigned long n = 1; n <= size; ++n) {
        buffer.resize(n);
        buffer.data()[n - 1] = 'x';
    }
    benchmark::DoNotOptimize(buffer.data());
}

void growVectorOfBytes(unsigned long size) {
    std::vector<char> bytes;
    for (unsigned long n = 1; n <= size; ++n) {
        bytes.resize(n);
        bytes[n - 1] = 'x';
    }
    benchmark::DoNotOptimize(bytes.data());
}

void appendToByteBuffer(unsigned long size) {
    ByteBuffer buffer(0UL);
    for (unsigned long n = 0; n < size; ++n) {
        buffer.append("x", 1);
    }
    require(buffer.size() == size + 1, "ByteBuffer");
}

void appendToString(unsigned long size) {
    std::string bytes;
    for (unsigned long n = 0; n < size; ++n) {
        bytes.append("x", 1);
        benchmark::DoNotOptimize(bytes.data());
    }
    require(bytes.size() == size, "std::string");
}

const Message& record() {
    static const Message message = [] {
        Message built;
        built.setMessageID("ERR_BUFFER_SIZE_TOO_SMALL");
        built.setFileName("kelByteArrayOutputStream.cpp");
        built.setLineNumber(47);
        built.addArgument(64);
        return built;
    }();
    return message;
}

void addToMessageList(unsigned long size) {
    MessageList list;
    for (unsigned long n = 0; n < size; ++n) {
        list.addMessage(record());
    }
    require(list.count() == size, "MessageList");
}

void addToListOfMessages(unsigned long size) {
    std::list<Message> list;
    for (unsigned long n = 0; n < size; ++n) {
        list.push_back(record());
    }
    require(list.size() == size, "std::list");
}

unsigned long walk(MessageList& list) {
    unsigned long lines = 0;
    for (const Message* message = list.getFirstMsg(); message != nullptr;
         message = list.getNextMsg()) {
        lines += message->getLineNumber();
    }
    return lines;
}

unsigned long walk(const std::list<Message>& list) {
    unsigned long lines = 0;
    for (const Message& message : list) {
        lines += message.getLineNumber();
    }
    return lines;
}

void append(MessageList& list) { list.addMessage(record()); }
void append(std::list<Message>& list) { list.push_back(record()); }

template <class List>
void walkList(benchmark::State& state, unsigned long size) {
    List list;
    for (unsigned long n = 0; n < size; ++n) {
        append(list);
    }
    for (auto step : state) {
        benchmark::DoNotOptimize(walk(list));
    }
    state.counters["elements"] = static_cast<double>(size);
}

// Walks a list that exists already.
template <class List>
void addWalks(const std::string& contender) {
    for (const unsigned long size : SIZES) {
        addRow("MessageList walked, " + std::to_string(size), contender,
               [size](benchmark::State& state) { walkList<List>(state, size); });
    }
}

// An operation as small as any that is traced, with the bracket and without.

[[gnu::noinline]] unsigned long countTraced(unsigned long& counter) {
    const detail::TraceScope trace(detail::TracePoint::MESSAGE_LIST_ADD_MESSAGE);
    return ++counter;
}

[[gnu::noinline]] unsigned long countUntraced(unsigned long& counter) { return ++counter; }

template <unsigned long (*OPERATION)(unsigned long&)>
void callOperation(benchmark::State& state) {
    unsigned long counter = 0;
    for (auto step : state) {
        benchmark::DoNotOptimize(OPERATION(counter));
    }
}

// Pages that have been used once stay with the process: otherwise the larger sizes measure how the
// system hands out pages.
void keepPages() {
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_MMAP_MAX, 0);
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initialize(argc, argv);
    keepPages();
    addGrowth("SizeableBuffer grown byte by byte", "kelinfra", growSizeableBuffer);
    addGrowth("SizeableBuffer grown byte by byte", "std::vector", growVectorOfBytes);
    addGrowth("ByteBuffer appended byte by byte", "kelinfra", appendToByteBuffer);
    addGrowth("ByteBuffer appended byte by byte", "std::string", appendToString);
    addGrowth("MessageList appended", "kelinfra", addToMessageList);
    addGrowth("MessageList appended", "std::list<Message>", addToListOfMessages);
    addWalks<nx::oss::MessageList>("kelinfra");
    addWalks<std::list<nx::oss::Message>>("std::list<Message>");
    addRow("operation without host", "kelinfra, traced", callOperation<countTraced>);
    addRow("operation without host", "(limit) untraced", callOperation<countUntraced>);
    return run();
}
