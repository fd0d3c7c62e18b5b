// Every allocation of a properties set fails once, those that ICU makes for its strings included.
// After each failure nothing is leaked, no text is lost without a word, every pair that iteration
// shows is found by its key, and the operation succeeds when it is tried again.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include <sys/types.h>

#include <gtest/gtest.h>
#include <infra/oss/kelNLSException.h>
#include <infra/util/kelExtendedProperties.h>
#include <infra/util/kelPropertiesException.h>

#include "support/kelAllocationFaults.h"
#include "support/kelPropertiesSupport.h"
#include "support/kelRaises.h"

thread_local bool noRandomBytes = false;

extern "C" {
ssize_t __real_getrandom(void* bytes, std::size_t size, unsigned flags);

ssize_t __wrap_getrandom(void* bytes, std::size_t size, unsigned flags) {
    if (!noRandomBytes) {
        return __real_getrandom(bytes, size, flags);
    }
    errno = EAGAIN;
    return -1;
}
}

namespace nx::util {
namespace {

using icu::UnicodeString;
using test::AllocationFaults;
using test::liveAllocations;
using test::pairsOf;
using test::Report;
using test::shown;
using test::shownList;
using test::ShownList;
using test::ShownPairs;

class IcuMemory : public testing::Environment {
  public:
    void SetUp() override { ASSERT_TRUE(test::watchIcuAllocations()); }
};
const testing::Environment* const ICU_MEMORY =
    testing::AddGlobalTestEnvironment(new IcuMemory);  // owned by the framework

// Longer than what a UnicodeString holds without the heap.
const char* const LONG = "a text that does not fit into the string object itself";

// The same as a text, which is not made where allocations fail.
const UnicodeString& longText() {
    static const UnicodeString text(LONG);
    return text;
}

// Text that ICU has to copy to the heap whenever it is stored.
UnicodeString borrowed() {
    return {true, u"a borrowed text that does not fit into the string object", 56};
}
const char* const BORROWED = "a borrowed text that does not fit into the string object";

/// Pairs and include names; whether each pair is found, and no other.
struct State {
    ShownPairs pairs;
    ShownList includes;
    bool found;

    bool operator==(const State& other) const {
        return pairs == other.pairs && includes == other.includes && found == other.found;
    }
};

void PrintTo(const State& state, std::ostream* out) {
    *out << testing::PrintToString(state.pairs) << testing::PrintToString(state.includes)
         << (state.found ? "" : " and lookups find something else");
}

bool findsItsPairs(const ExtendedProperties& properties) {
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        if (properties.getProperty(it->first, nullptr, false) != &it->second) {
            return false;
        }
    }
    const auto isStored = [&](const UnicodeString& key) {
        return std::any_of(properties.begin(), properties.end(),
                           [&](const auto& pair) { return pair.first == key; });
    };
    for (const UnicodeString& key : {UnicodeString("new"), UnicodeString(LONG), borrowed(),
                                     UnicodeString("a"), UnicodeString("k3")}) {
        if (properties.hasProperty(key) != isStored(key)) {
            return false;
        }
    }
    return true;
}

State stateOf(const ExtendedProperties& properties) {
    return {pairsOf(properties), shownList(properties.getIncludes()), findsItsPairs(properties)};
}

using Change = std::function<void(ExtendedProperties&)>;
using Check = std::function<void(const ExtendedProperties& failed)>;

/// Runs `change` on what `make` makes with each allocation failing once. `check` looks at the set
/// after a failure.
std::size_t failEverywhere(const Change& make, const Change& change, const Check& check) {
    State wanted;
    {
        ExtendedProperties properties;
        make(properties);
        change(properties);
        wanted = stateOf(properties);
    }
    EXPECT_TRUE(wanted.found);
    return test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            ExtendedProperties properties;
            make(properties);
            try {
                faults.arm();
                change(properties);
                faults.disarm();
            } catch (const std::bad_alloc&) {
                faults.disarm();
                check(properties);
                change(properties);
            }
            EXPECT_EQ(stateOf(properties), wanted);
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
}

/// Either the whole change or none of it.
void expectAllOrNothing(const Change& make, const Change& change) {
    State before;
    {
        ExtendedProperties properties;
        make(properties);
        before = stateOf(properties);
    }
    const std::size_t failures = failEverywhere(
        make, change,
        [&](const ExtendedProperties& failed) { EXPECT_EQ(stateOf(failed), before); });
    EXPECT_GT(failures, 0u) << "nothing was allocated";
}

void makeEmpty(ExtendedProperties&) {}

/// As many pairs as the lookup holds without growing, and one include name.
void makeTen(ExtendedProperties& properties) {
    for (int i = 0; i < 10; ++i) {
        properties.putProperty(UnicodeString("k").append(static_cast<char16_t>(u'0' + i)), LONG);
    }
    properties.addInclude(LONG);
}

// --- Storing ------------------------------------------------------------------------------------

TEST(ExtendedPropertiesFaults, ConstructionLeaksNothing) {
    const auto failures = test::forEachAllocation([](AllocationFaults& faults) {
        const long outside = liveAllocations();
        try {
            faults.arm();
            const ExtendedProperties properties;
            faults.disarm();
            EXPECT_TRUE(properties.begin() == properties.end());
        } catch (const std::bad_alloc&) {
            faults.disarm();
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 0u);
}

TEST(ExtendedPropertiesFaults, PuttingANewPairIsAllOrNothing) {
    for (const Change& make : {Change(makeEmpty), Change(makeTen)}) {
        expectAllOrNothing(make, [](ExtendedProperties& p) { p.putProperty("new", "v"); });
        expectAllOrNothing(make,
                           [](ExtendedProperties& p) { p.putProperty(longText(), longText()); });
        expectAllOrNothing(make,
                           [](ExtendedProperties& p) { p.putProperty(borrowed(), borrowed()); });
        expectAllOrNothing(make, [](ExtendedProperties& p) { p.putPropertyAsInt64("new", -5); });
    }
}

TEST(ExtendedPropertiesFaults, ReplacingAValueIsAllOrNothing) {
    expectAllOrNothing(makeTen, [](ExtendedProperties& p) { p.putProperty("k3", borrowed()); });
}

TEST(ExtendedPropertiesFaults, ManyPutsKeepSetAndLookupInStep) {
    const Change putMany = [](ExtendedProperties& p) {
        for (int i = 0; i < 40; ++i) {
            p.putProperty(UnicodeString(static_cast<char16_t>(0x4E00 + i)), borrowed());
        }
    };
    const auto failures = failEverywhere(makeEmpty, putMany, [](const ExtendedProperties& failed) {
        EXPECT_TRUE(findsItsPairs(failed));
        for (const auto& pair : pairsOf(failed)) {
            EXPECT_EQ(pair.second, BORROWED);
        }
    });
    EXPECT_GT(failures, 40u);
}

TEST(ExtendedPropertiesFaults, RemovingAllocatesNothing) {
    const auto failures = failEverywhere(
        makeTen,
        [](ExtendedProperties& p) {
            p.removeProperty("k3");
            p.removeProperty("absent");
        },
        [](const ExtendedProperties&) { FAIL(); });
    EXPECT_EQ(failures, 0u);
}

TEST(ExtendedPropertiesFaults, CopyingIsAllOrNothing) {
    ExtendedProperties source;
    for (int i = 0; i < 30; ++i) {
        source.putProperty(UnicodeString(static_cast<char16_t>(0x4E00 + i)), borrowed());
    }
    source.addInclude("a");
    source.addInclude(borrowed());
    expectAllOrNothing(makeTen, [&](ExtendedProperties& p) { p.copy(source); });
    expectAllOrNothing(makeEmpty, [&](ExtendedProperties& p) { p.copy(source); });
}

TEST(ExtendedPropertiesFaults, AddingAnIncludeIsAllOrNothing) {
    expectAllOrNothing(makeTen, [](ExtendedProperties& p) { p.addInclude(borrowed()); });
}

// --- Looking up ---------------------------------------------------------------------------------

/// Reading changes nothing, whether it fails or not, and ends in its result or std::bad_alloc.
void expectReadingFails(const Change& make, const Change& read) {
    State before;
    {
        ExtendedProperties properties;
        make(properties);
        before = stateOf(properties);
    }
    failEverywhere(make, read,
                   [&](const ExtendedProperties& failed) { EXPECT_EQ(stateOf(failed), before); });
}

TEST(ExtendedPropertiesFaults, LookupsAllocateNothing) {
    const auto failures = failEverywhere(
        makeTen,
        [](ExtendedProperties& p) {
            EXPECT_TRUE(p.hasProperty("k3"));
            EXPECT_NE(p.getProperty("k3", nullptr, true), nullptr);
            EXPECT_EQ(p.getProperty("absent", nullptr, false), nullptr);
            EXPECT_EQ(p.requireProperty("k3"), longText());
        },
        [](const ExtendedProperties&) { FAIL(); });
    EXPECT_EQ(failures, 0u);
}

TEST(ExtendedPropertiesFaults, ADefaultIsCopiedOrStdBadAllocIsThrown) {
    expectReadingFails(makeTen, [](ExtendedProperties& p) {
        const UnicodeString result = p.getProperty("absent", borrowed());
        EXPECT_EQ(shown(result), BORROWED);
    });
}

TEST(ExtendedPropertiesFaults, TypedGettersEndInTheirNumberOrStdBadAlloc) {
    const UnicodeString padding(40, u' ', 40);
    const Change make = [&](ExtendedProperties& p) {
        p.putProperty("int", padding + u"-42" + padding);
        p.putProperty("unsigned", padding + u"42" + padding);
        p.putProperty("double", padding + u"2.5000000000000000000000000000000000000" + padding);
        p.putProperty("bool", padding + u"on" + padding);
    };
    expectReadingFails(make, [](ExtendedProperties& p) {
        EXPECT_EQ(p.requirePropertyAsInt32("int"), -42);
        EXPECT_EQ(p.requirePropertyAsInt64("int"), -42);
        EXPECT_EQ(p.requirePropertyAsUInt32("unsigned"), 42u);
        EXPECT_EQ(p.requirePropertyAsUInt64("unsigned"), 42u);
        EXPECT_EQ(p.requirePropertyAsDouble("double"), 2.5);
        EXPECT_TRUE(p.requirePropertyAsBoolean("bool"));
    });
}

/// `statement` raises the whole report, or std::bad_alloc, which passes through.
template <class Statement>
void expectReport(const Statement& statement, const Report& report) {
    try {
        statement();
        FAIL() << "nothing was thrown";
    } catch (const PropertiesException& e) {
        EXPECT_TRUE(report.matches(e));
    }
}

TEST(ExtendedPropertiesFaults, ErrorsOfGettersAreCompleteOrStdBadAlloc) {
    const char* const file = "src/infra/util/kelExtendedProperties";
    const auto wrongType = [&](const char* key, unsigned long line, const char* word) {
        return Report("ERR_PROPERTY_WRONG_TYPE").at(file, line).with({key, LONG, word});
    };
    const Report missing = Report("ERR_PROPERTY_MISSING").at(file, 629).with({std::string(LONG)});
    const Report reports[] = {wrongType("k3", 686, "boolean"), wrongType("k3", 724, "integer"),
                              wrongType("k3", 761, "integer"), wrongType("k3", 808, "int64"),
                              wrongType("k3", 844, "longint"), wrongType("k3", 890, "double")};
    const UnicodeString key(LONG);
    const UnicodeString wrong("k3");
    const Change calls[] = {
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsBoolean(wrong); }, reports[0]);
        },
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsInt32(wrong); }, reports[1]);
        },
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsUInt32(wrong); }, reports[2]);
        },
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsInt64(wrong); }, reports[3]);
        },
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsUInt64(wrong); }, reports[4]);
        },
        [&](ExtendedProperties& p) {
            expectReport([&] { p.requirePropertyAsDouble(wrong); }, reports[5]);
        },
        [&](ExtendedProperties& p) { expectReport([&] { p.requireProperty(key); }, missing); },
    };
    for (const Change& call : calls) {
        expectReadingFails(makeTen, call);
    }
}

// --- Reading ------------------------------------------------------------------------------------

const std::string TEXT =
    "a key that does not fit into the string object\\u0041x = and a value that does not either\n"
    "# a comment\n"
    "another long key with escapes\\t\\n\\r\\\\\\:\\u4E00...... : "
    "\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t"
    "\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t\\t"
    "\\t\n"
    "k3="
    "\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\"
    "u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u0042\\u00"
    "42\n"
    "k4=\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\\uZZZZ\n"
    "b=1\nc=2\nd=3\ne=4\nf=5\ng=6\nh=7\ni=8\nj=9\n";

TEST(ExtendedPropertiesFaults, LoadingKeepsThePairsReadBefore) {
    const ShownPairs complete = test::readPairs(TEXT);
    const auto failures = failEverywhere(
        makeEmpty, [](ExtendedProperties& p) { p.load(TEXT.data(), TEXT.size()); },
        [&](const ExtendedProperties& failed) {
            EXPECT_TRUE(findsItsPairs(failed));
            for (const auto& pair : pairsOf(failed)) {
                EXPECT_EQ(std::count(complete.begin(), complete.end(), pair), 1)
                    << testing::PrintToString(pair);
            }
        });
    EXPECT_GT(failures, 5u);
}

TEST(ExtendedPropertiesFaults, ReadingAnEscapeLosesNoText) {
    const auto failures = test::forEachAllocation([](AllocationFaults& faults) {
        UnicodeString out(27, u'x', 27);
        for (const char* const escape : {"n", "a", "u0041.", "uZZZZ."}) {
            UnicodeString full(out);
            while (full.length() < full.getCapacity()) {
                full.append(u'x');
            }
            const int length = full.length();
            std::size_t pos = 0;
            faults.arm();
            ExtendedProperties::readEscaped(full, pos, escape, 6 * (*escape == 'u') + 1);
            faults.disarm();
            EXPECT_EQ(full.length(), length + 1);
        }
    });
    EXPECT_GT(failures, 0u);
}

TEST(ExtendedPropertiesFaults, LoadingFromTextNamesTheConversionWhoseBufferIsNotThere) {
    const UnicodeString text =
        UnicodeString("a=1\nlong=").append(UnicodeString(600, u'v', 600)).append(u"\nb=2\n");
    ExtendedProperties warm;
    warm.loadFromString(text);
    int named = 0;
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            ExtendedProperties properties;
            makeTen(properties);
            const State before = stateOf(properties);
            try {
                faults.arm();
                properties.loadFromString(text);
                faults.disarm();
            } catch (const oss::NLSException& e) {
                faults.disarm();
                ++named;
                EXPECT_TRUE(Report("NX_ERR_OUT_OF_MEMORY")
                                .in("include/infra/oss/kelConverter")
                                .with({"Converter::convertToBytes()"})
                                .matches(e));
                EXPECT_EQ(stateOf(properties), before);
            } catch (const std::bad_alloc&) {
                faults.disarm();
            }
            EXPECT_TRUE(findsItsPairs(properties));
            properties.loadFromString(text);
            EXPECT_EQ(properties.requireProperty("long").length(), 600);
            EXPECT_EQ(pairsOf(properties).size(), 13u);
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 2u);
    EXPECT_EQ(named, 1);
}

// --- References ---------------------------------------------------------------------------------

void makeReferences(ExtendedProperties& p) {
    p.putProperty("a", "<%b%-%c%-%a long name that does not fit into the string object%>");
    p.putProperty("b", "%c%%c%%c% and more text that does not fit into the object");
    p.putProperty("c", LONG);
    p.putProperty("d", "%e% 100");
    p.putProperty("e", "100% of 1");
    p.putProperty("a long name that does not fit into the string object", "<%d%% of %c%>");
    p.putProperty("100", "per cent");
    p.putProperty(" of 1 100", "of it");
}

TEST(ExtendedPropertiesFaults, ResolvingLeavesValuesExpandedOrAsTheyWere) {
    ExtendedProperties original;
    makeReferences(original);
    ExtendedProperties resolved;
    resolved.copy(original);
    resolved.resolveProperties();
    const auto failures =
        failEverywhere([&](ExtendedProperties& p) { p.copy(original); },
                       [](ExtendedProperties& p) { p.resolveProperties(); },
                       [&](const ExtendedProperties& failed) {
                           EXPECT_TRUE(findsItsPairs(failed));
                           for (auto it = failed.begin(); it != failed.end(); ++it) {
                               EXPECT_TRUE(it->second == original.requireProperty(it->first) ||
                                           it->second == resolved.requireProperty(it->first))
                                   << shown(it->first) << "=" << shown(it->second);
                           }
                       });
    EXPECT_GT(failures, 5u);
}

/// Ends in the report or in std::bad_alloc; every allocation fails once.
void expectResolvingFails(const Change& make, const Report& report) {
    const auto failures = test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            ExtendedProperties properties;
            make(properties);
            try {
                faults.arm();
                properties.resolveProperties();
                FAIL() << "nothing was thrown";
            } catch (const PropertiesException& e) {
                faults.disarm();
                EXPECT_TRUE(report.matches(e));
            } catch (const std::bad_alloc&) {
                faults.disarm();
            }
            EXPECT_TRUE(findsItsPairs(properties));
            EXPECT_EQ(shown(properties.requireProperty("c")), LONG);
            EXPECT_RAISES(PropertiesException, properties.resolveProperties(), report);
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 3u);
}

TEST(ExtendedPropertiesFaults, ErrorsOfReferencesAreCompleteOrStdBadAlloc) {
    expectResolvingFails(
        [](ExtendedProperties& p) {
            p.putProperty("a", "%c%-%b%");
            p.putProperty("b", "%c%-%a name that does not fit into the string object%");
            p.putProperty("c", LONG);
        },
        Report("ERR_PROPERTIES_BAD_REFERENCE")
            .at("src/infra/util/kelExtendedProperties", 542)
            .with({"b", "a name that does not fit into the string object"}));
    expectResolvingFails(
        [](ExtendedProperties& p) {
            p.putProperty("a", "%c%-%b%");
            p.putProperty("b", "%c%-%a%");
            p.putProperty("c", LONG);
        },
        Report("ERR_PROPERTIES_CYCLIC_REFERENCE").at("<null>", 0).with({"a"}));
}

TEST(ExtendedPropertiesFaults, ResolvingABorrowedValueExpandsItOrThrows) {
    const auto failures = test::forEachAllocation([](AllocationFaults& faults) {
        const long outside = liveAllocations();
        {
            ExtendedProperties properties;
            properties.putProperty("b", LONG);
            const UnicodeString text(true, u"a borrowed value that is long enough: <%b%>", 43);
            UnicodeString value;
            value.fastCopyFrom(text);
            std::list<UnicodeString> inProgress;
            try {
                faults.arm();
                properties.resolveProperty(inProgress, borrowed(), value);
                faults.disarm();
            } catch (const std::bad_alloc&) {
                faults.disarm();
                inProgress.clear();
                properties.resolveProperty(inProgress, borrowed(), value);
            }
            EXPECT_EQ(shown(value),
                      "a borrowed value that is long enough: <" + std::string(LONG) + ">");
            EXPECT_TRUE(inProgress.empty());
        }
        EXPECT_EQ(liveAllocations(), outside);
    });
    EXPECT_GT(failures, 3u);
}

// --- Writing ------------------------------------------------------------------------------------

/// Keeps what is written without allocating.
class FixedStream : public oss::OutputStream {
  public:
    using OutputStream::write;
    void write(char c) override { bytes_[length_++] = c; }
    std::string written() const { return {bytes_, length_}; }

  private:
    char bytes_[4096];
    std::size_t length_ = 0;
};

TEST(ExtendedPropertiesFaults, StoringWritesEverythingOrThrows) {
    ExtendedProperties properties;
    makeTen(properties);
    properties.putProperty(u"\u4E00 \u00E9", borrowed());
    properties.addInclude(borrowed());
    const std::string complete = test::stored(properties);
    test::forEachAllocation([&](AllocationFaults& faults) {
        const long outside = liveAllocations();
        FixedStream stream;
        bool failed = false;
        try {
            faults.arm();
            properties.store(stream);
            faults.disarm();
        } catch (const std::bad_alloc&) {
            faults.disarm();
            failed = true;
        }
        const std::string written = stream.written();
        EXPECT_EQ(written, complete.substr(0, failed ? written.size() : std::string::npos));
        EXPECT_EQ(test::stored(properties), complete);
        EXPECT_EQ(liveAllocations(), outside + (written.size() > 15 ? 1 : 0));
    });
}

TEST(ExtendedPropertiesFaultsDeathTest, KeysAreFoundWhereTheSystemHasNoRandomBytes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // the first key of a process asks for them
    EXPECT_EXIT(
        {
            noRandomBytes = true;
            ExtendedProperties properties;
            properties.putProperty(u"key", u"value");
            const bool isFound = properties.hasProperty(u"key") && !properties.hasProperty(u"kez");
            std::exit(isFound ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace nx::util
