#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kelRecordingHost.h"

namespace nx::test {

enum Records { EXIT, BOTH };

class Probe;

/// One identifier: its operation, what it records, and a call of every form of the operation.
struct Row {
    long identifier;
    const char* operation;
    Records records;
    void (*call)(Probe& calls);
};

/// Runs the calls of a row and compares what each records.
class Probe {
  public:
    explicit Probe(const Row& row) : row_(row) {}

    template <class Call>
    void operator()(const Call& call) {
        ++calls_;
        const Events events = identifiersOf(call);
        const long entries = std::count(events.begin(), events.end(), row_.identifier);
        const long exits = std::count(events.begin(), events.end(), -row_.identifier);
        if (row_.records == EXIT) {
            EXPECT_EQ(entries, 0) << "call " << calls_;
            EXPECT_EQ(exits, 1) << "call " << calls_;
            return;
        }
        ASSERT_GE(events.size(), 2u) << "call " << calls_;
        EXPECT_EQ(events.front(), row_.identifier) << "call " << calls_;
        EXPECT_EQ(events.back(), -row_.identifier) << "call " << calls_;
        EXPECT_EQ(entries, exits) << "call " << calls_;
    }

    int calls() const { return calls_; }

  private:
    const Row& row_;
    int calls_ = 0;
};

template <class T, class... Arguments>
void construct(Probe& calls, Arguments&&... arguments) {
    std::optional<T> object;
    calls([&] { object.emplace(arguments...); });
}

template <class T, class... Arguments>
void destroy(Probe& calls, Arguments&&... arguments) {
    std::optional<T> object(std::in_place, arguments...);
    calls([&] { object.reset(); });
}

/// The rows of the table, in the order of their identifiers.
std::vector<Row> rowsOfBuffersAndTexts();
std::vector<Row> rowsOfNetworkAndThreads();
std::vector<Row> rowsOfListsAndLocales();

}  // namespace nx::test
