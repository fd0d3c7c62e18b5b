#include "kelRecordingHost.h"

#include <infra/oss/kelBaseException.h>

#include <algorithm>

#include <gtest/gtest.h>

namespace nx::test {

namespace {

constexpr long TRACE_BLOCK = 0x1CD80000;

// Where the events of this thread go, if anywhere.
thread_local Events* recorded = nullptr;

}  // namespace

unsigned long hostMask = 0x20000;

extern "C" {
unsigned long trcGetCompFlag(unsigned component) {
    return component == 155 && recorded != nullptr ? hostMask : 0;
}
void trcEntry(unsigned identifier) { recorded->push_back(static_cast<long>(identifier)); }
void trcExit(unsigned identifier, long returnCode) {
    EXPECT_EQ(returnCode, 0);
    recorded->push_back(-static_cast<long>(identifier));
}
}

Events identifiersOf(const std::function<void()>& operation) {
    Events events;
    recorded = &events;
    try {
        operation();
    } catch (...) {
        recorded = nullptr;
        throw;
    }
    recorded = nullptr;
    return events;
}

Events eventsOf(const std::function<void()>& operation) {
    Events events = identifiersOf([&] {
        try {
            operation();
        } catch (const oss::BaseException&) {
        }
    });
    for (long& event : events) {
        event -= event > 0 ? TRACE_BLOCK : -TRACE_BLOCK;
    }
    return events;
}

bool contains(const Events& events, const Events& part) {
    return std::search(events.begin(), events.end(), part.begin(), part.end()) != events.end();
}

void expectBracket(long serial, const std::function<void()>& operation) {
    const Events events = eventsOf(operation);
    ASSERT_GE(events.size(), 2u) << serial;
    EXPECT_EQ(events.front(), serial);
    EXPECT_EQ(events.back(), -serial);
}

void expectExitOnly(long serial, const std::function<void()>& operation) {
    const Events events = eventsOf(operation);
    ASSERT_FALSE(events.empty()) << serial;
    EXPECT_EQ(events.back(), -serial);
    EXPECT_EQ(std::count(events.begin(), events.end(), serial), 0);
}

void expectNothing(const std::function<void()>& operation) {
    EXPECT_EQ(eventsOf(operation), Events());
}

}  // namespace nx::test
