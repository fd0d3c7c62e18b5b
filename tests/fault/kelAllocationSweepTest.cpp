// Every public operation while memory runs out. Each allocation that it makes, or that is made for
// it, fails: the first, the second, and so on until the operation gets by without a failure; once
// and for ever; those of operator new, of malloc() and its like, of ICU, and of all of them. What
// then happens has to be what the row of the operation promises, nothing may leak, and the subject
// has to work afterwards as if nothing had happened.
#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "kelAllocationSweep.h"
#include "support/kelHeapFaults.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace nx::test {

using namespace oss;
using icu::UnicodeString;

// --- What can be seen of an object or a result --------------------------------------------------

std::string stateOf(const char* text) { return text == nullptr ? "<null>" : text; }

std::string stateOf(const std::string& text) { return text; }

std::string stateOf(const UnicodeString& text) { return utf8(text); }

std::string stateOf(const icu::Locale& locale) { return locale.getName(); }

std::string stateOf(const std::list<UnicodeString>& texts) {
    std::string state;
    for (const UnicodeString& text : texts) {
        state += "|" + utf8(text);
    }
    return state;
}

std::string stateOf(const std::list<Socket>& sockets) {
    std::string state = std::to_string(sockets.size()) + " sockets";
    for (const Socket& socket : sockets) {
        state += " " + stateOf(socket);
    }
    return state;
}

std::string stateOf(const Message& message) {
    return utf8(message.getMessageID()) + "|" + utf8(message.getMessageText()) + "|" +
           std::to_string(message.getMessageLevel()) + "|" + utf8(message.getFileName()) + "|" +
           std::to_string(message.getLineNumber()) + stateOf(message.getMessageArgs());
}

std::string stateOf(const Message* message) {
    return message == nullptr ? "<null>" : stateOf(*message);
}

std::string stateOf(const MessageList& list) {
    std::string state = std::to_string(list.count()) + (list.hasMoreMsgs() ? "+" : "-");
    for (const Message* each = list.getHead(); each != nullptr; each = each->getNext()) {
        state += "\n" + stateOf(*each);
    }
    return state;
}

std::string stateOf(const BaseException& exception) {
    return exception.name() + (" " + stateOf(exception.messages));
}

std::string stateOf(const BuildVersion& version) {
    return utf8(version.getBuildVersion()) + "|" + utf8(version.getProductVersion()) + "|" +
           utf8(version.getProtocolVersion()) + "|" + utf8(version.getBuildNumberString());
}

std::string stateOf(const ByteArrayOutputStream& stream) {
    return "count " + std::to_string(stream.getCount());
}

std::string stateOf(const ByteBuffer& buffer) {
    return std::to_string(buffer.size() - 1) + ":" + std::string(buffer.data(), buffer.size() - 1);
}

std::string stateOf(const DataBuffer& buffer) {
    return std::to_string(buffer.length()) + "/" + std::to_string(buffer.capacity()) + ":" +
           std::string(buffer.getString(), static_cast<std::size_t>(buffer.length()));
}

std::string stateOf(const DefaultAlternateBuffer<char>& buffer) {
    return "size " + std::to_string(buffer.size()) + ", capacity " +
           std::to_string(buffer.capacity());
}

std::string stateOf(const Formatter& formatter) {
    UnicodeString number;
    formatter.formatNumber(number, 1234.5);
    return std::string(formatter.getLocale()) + " " + std::to_string(formatter.getDateStyle()) +
           " " + std::to_string(formatter.getTimeStyle()) + " " + utf8(number);
}

std::string stateOf(const StringTokenizer& tokenizer) {
    return std::to_string(tokenizer.countTokens()) + (tokenizer.hasMoreTokens() ? "+" : "-");
}

std::string stateOf(const UTF8Iterator& iterator) {
    return iterator.isEmpty() ? "without text"
                              : std::to_string(iterator.numChars()) + ":" + iterator.getString();
}

/// The number of a port or of a descriptor is another one each time.
std::string stateOf(const Socket& socket) {
    return (socket.getDescriptor() < 0 ? "unconnected " : "descriptor ") +
           (std::string(socket.isOwner() ? "owned " : "") + utf8(socket.getHostName())) +
           (socket.getPort() == 0 ? "" : " port");
}

std::string stateOf(const SocketServer& server) {
    return (server.getDescriptor() < 0 ? "idle " : "descriptor ") +
           std::string(server.isListening() ? "listening " : "") +
           (server.getPort() == 0 ? "" : "port");
}

/// Every pair, found by iteration and by its key.
std::string stateOf(const util::ExtendedProperties& properties) {
    std::string state;
    for (auto pair = properties.begin(); pair != properties.end(); ++pair) {
        state += utf8(pair->first) + "=" + utf8(pair->second);
        state += properties.getProperty(pair->first, nullptr, false) == &pair->second
                     ? "\n"
                     : " (not found)\n";
    }
    return state + stateOf(properties.getIncludes());
}

// --- Material -----------------------------------------------------------------------------------

const UnicodeString& borrowed() {
    static const UnicodeString text(
        true, u"a borrowed text that does not fit into the string object", 56);
    return text;
}

const UnicodeString& longText() {
    static const UnicodeString text(5'000, u'\u00E9', 5'000);
    return text;
}

const std::string& longBytes() {
    static const std::string bytes(6'000, 'l');
    return bytes;
}

Message longRecord() {
    Message message(LONG, Message::LEVEL_4, LONG, 17);
    message.setMessageText(LONG);
    message.addArgument(LONG);
    message.addArgument(2);
    return message;
}

namespace {

constexpr const char* NO_MEMORY = "std::bad_alloc";

/// Enough for everything that is made once and kept for later calls.
constexpr int WARM_UP = 40;

struct Kind {
    const char* name;
    unsigned allocators;
};

constexpr Kind KINDS[] = {{"operator new", OPERATOR_NEW},
                          {"malloc", MALLOC},
                          {"ICU", ICU_MEMORY_FUNCTIONS},
                          {"all", ALL_ALLOCATORS}};

const bool ICU_IS_WATCHED = watchIcuAllocations();

/// Discards what is printed.
class Sink : public std::streambuf {
  protected:
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

/// While it lives, nothing is printed on the standard error stream.
class Quiet {
  public:
    Quiet() : before_(std::cerr.rdbuf(&sink_)) {}
    ~Quiet() { std::cerr.rdbuf(before_); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

  private:
    Sink sink_;
    std::streambuf* before_;
};

/// How an operation ended, and what is to be seen of its subject then.
struct Outcome {
    std::string end;
    std::string state;
};

/// Runs the operation; allocations fail only while it runs, not while its end is told.
Outcome outcomeOf(Trial& trial, AllocationFaults* faults = nullptr) {
    const auto disarm = [&] {
        if (faults != nullptr) {
            faults->disarm();
        }
    };
    std::string end;
    try {
        if (faults != nullptr) {
            faults->arm();
        }
        trial.operate();
        disarm();
        end = trial.result();
        trial.forget();
    } catch (const std::bad_alloc&) {
        disarm();
        end = NO_MEMORY;
    } catch (const BaseException& e) {
        disarm();
        // The line is that of the source, which may change.
        Message record = e.messages.getFirstMessage();
        record.setLineNumber(0);
        end = "raises " + std::string(e.name()) + " " + stateOf(record);
    }
    return {end, trial.state()};
}

/// What is counted over the whole table.
struct Totals {
    std::size_t rows = 0;
    std::size_t points = 0;
    std::size_t pointsOf[std::size(KINDS)] = {};
    std::size_t absorbed = 0;
    std::set<std::string> names;
};
Totals totals;

class Sweep {
  public:
    explicit Sweep(const Row& row) : row_(row) {
        for (int i = 0; i < WARM_UP; ++i) {
            const std::unique_ptr<Trial> trial = row_.maker->make();
            before_ = trial->state();
            wanted_ = outcomeOf(*trial);
        }
    }

    void run() {
        const NoDescriptorLeak check;
        for (std::size_t kind = 0; kind < std::size(KINDS); ++kind) {
            for (const Failure failure : {Failure::ONCE, Failure::FOR_EVER}) {
                for (std::size_t position = 1; failsAt(position, kind, failure); ++position) {
                    ++totals.points;
                    ++totals.pointsOf[kind];
                    if (testing::Test::HasFailure()) {
                        return;
                    }
                }
            }
        }
    }

  private:
    /// Whether the operation made so many allocations that one of them failed.
    bool failsAt(std::size_t position, std::size_t kind, Failure failure) {
        unsigned allocators = KINDS[kind].allocators;
        if (row_.promise.withoutIcu) {
            allocators &= ~ICU_MEMORY_FUNCTIONS;
        }
        SCOPED_TRACE(std::string(row_.name) + ", allocation " + std::to_string(position) + " of " +
                     KINDS[kind].name + (failure == Failure::ONCE ? " once" : " for ever"));
        if (blocks_ == 0) {
            blocks_ = liveHeapBlocks();  // those of the trace above included
        }
        bool failed = false;
        {
            const std::unique_ptr<Trial> trial = row_.maker->make();
            AllocationFaults faults(position, allocators, failure);
            const Outcome outcome = outcomeOf(*trial, &faults);
            failed = allocationFailed();
            const bool complete = expectPromised(outcome, failed);
            if (!complete && !row_.promise.onlyOnce) {
                const Outcome again = outcomeOf(*trial);
                EXPECT_EQ(again.end, wanted_.end) << "when it is tried again";
                EXPECT_EQ(again.state, wanted_.state) << "when it is tried again";
            }
        }
        // What is kept for later calls may be given up, so that there may be less than before.
        EXPECT_LE(liveHeapBlocks(), blocks_) << "blocks are leaked";
        return failed;
    }

    /// Whether the operation came to its complete end.
    bool expectPromised(const Outcome& outcome, bool failed) const {
        const Promise& promise = row_.promise;
        if (failed && promise.refused != nullptr && outcome.end == "done" &&
            outcome.state == promise.refused) {
            return false;
        }
        if (outcome.end == wanted_.end) {
            EXPECT_EQ(outcome.state, wanted_.state);
            totals.absorbed += failed ? 1 : 0;
            return true;
        }
        EXPECT_TRUE(failed) << "ends in " << outcome.end << " though nothing failed";
        const bool said = promise.instead != nullptr && outcome.end == promise.instead;
        EXPECT_TRUE(outcome.end == NO_MEMORY || said) << "ends in " << outcome.end;
        if (!promise.halfDone) {
            EXPECT_EQ(outcome.state, promise.broken == nullptr ? before_ : promise.broken);
        }
        return false;
    }

    const Row& row_;
    std::string before_;
    Outcome wanted_;
    long blocks_ = 0;
};

const Rows& table() {
    static const Rows all = [] {
        Rows rows = rowsOfDiagnostics();
        for (const Rows& more :
             {rowsOfBuffers(), rowsOfTexts(), rowsOfNetwork(), rowsOfUtilities()}) {
            rows.insert(rows.end(), more.begin(), more.end());
        }
        return rows;
    }();
    return all;
}

/// The name of a row as the list of exported names has it.
std::string exportedName(const std::string& name) {
    const bool whole = name.rfind("nx::", 0) == 0 || name == "thread_run_stub";
    return whole ? name : "nx::oss::" + name;
}

/// Functions, not data and not what compilers make of classes.
bool isOperation(const std::string& name) {
    return name == "thread_run_stub" ||
           (name.find('(') != std::string::npos && name.find(" for ") == std::string::npos);
}

TEST(AllocationSweep, HasARowForEveryPublicOperation) {
    std::ifstream list(KELINFRA_EXPORTED_NAMES);
    ASSERT_TRUE(list) << KELINFRA_EXPORTED_NAMES;
    std::set<std::string> operations;
    for (std::string name; std::getline(list, name);) {
        if (isOperation(name)) {
            operations.insert(name);
        }
    }
    EXPECT_GE(operations.size(), 400u);
    std::set<std::string> rows;
    for (const Row& each : table()) {
        const std::string name = exportedName(each.name);
        rows.insert(name);
        EXPECT_TRUE(operations.count(name) == 1 || name.rfind("nx::oss::inline ", 0) == 0)
            << name << " is no exported name";
    }
    for (const std::string& operation : operations) {
        EXPECT_EQ(rows.count(operation), 1u) << operation << " has no row";
    }
}

TEST(AllocationSweep, WatchesTheAllocationsOfIcu) { EXPECT_TRUE(ICU_IS_WATCHED); }

class AllocationSweepRow : public testing::TestWithParam<std::size_t> {};

TEST_P(AllocationSweepRow, EndsAsPromisedLeaksNothingAndWorksAfterwards) {
    const Quiet quiet;
    const Row& each = table()[GetParam()];
    Sweep(each).run();
    ++totals.rows;
    totals.names.insert(each.name);
}

/// A number, for the names of a table may be alike, and letters.
std::string testName(std::size_t index) {
    std::string name = table()[index].name;
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return std::to_string(index) + "_" + name.substr(0, 60);
}

INSTANTIATE_TEST_SUITE_P(All, AllocationSweepRow, testing::Range(std::size_t{0}, table().size()),
                         [](const auto& row) { return testName(row.param); });

/// Says at the end what was done.
class Figures : public testing::Environment {
  public:
    void TearDown() override {
        std::cout << totals.names.size() << " operations in " << totals.rows << " rows, "
                  << totals.points << " points (";
        for (std::size_t kind = 0; kind < std::size(KINDS); ++kind) {
            std::cout << (kind == 0 ? "" : ", ") << KINDS[kind].name << " "
                      << totals.pointsOf[kind];
        }
        std::cout << "), " << totals.absorbed << " of them without effect\n";
        EXPECT_TRUE(totals.rows < table().size() || totals.points > 3'000);
    }
};
const testing::Environment* const FIGURES =
    testing::AddGlobalTestEnvironment(new Figures);  // owned by the framework

}  // namespace
}  // namespace nx::test
