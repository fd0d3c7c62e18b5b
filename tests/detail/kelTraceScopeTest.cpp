// A host that links the library statically: its functions are found through the same references.
#include "infra/detail/kelTraceScope.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Events = std::vector<std::string>;

unsigned long mask = 0;
Events events;
}  // namespace

extern "C" {
unsigned long trcGetCompFlag(unsigned component) { return component == 155 ? mask : 0; }
void trcEntry(unsigned identifier) { events.push_back("entry " + std::to_string(identifier)); }
void trcExit(unsigned identifier, long returnCode) {
    events.push_back("exit " + std::to_string(identifier) + " " + std::to_string(returnCode));
}
}

namespace nx::oss::detail {
namespace {

template <class Operation>
Events traced(const Operation& operation) {
    events.clear();
    mask = 0x20000;
    operation();
    mask = 0;
    return events;
}

void scoped() { TraceScope trace(TracePoint::SOCKET_CLOSE); }

TEST(TraceScope, RecordsEntryAndExit) {
    EXPECT_EQ(traced(scoped), (Events{"entry 483919126", "exit 483919126 0"}));
}

TEST(TraceExit, RecordsOnlyTheExit) {
    EXPECT_EQ(traced([] { TraceExit trace(TracePoint::SOCKET_ASSIGN); }),
              Events{"exit 483919125 0"});
}

TEST(TraceScope, RecordsNoExitWhenAnExceptionPasses) {
    EXPECT_EQ(traced([] {
                  try {
                      TraceScope trace(TracePoint::SOCKET_CLOSE);
                      throw 1;
                  } catch (int) {
                  }
              }),
              Events{"entry 483919126"});
}

TEST(TraceScope, RecordsTheExitOfAnOperationThatHandlesAnExceptionItself) {
    EXPECT_EQ(traced([] {
                  TraceScope trace(TracePoint::SOCKET_CLOSE);
                  try {
                      throw 1;
                  } catch (int) {
                  }
              }),
              (Events{"entry 483919126", "exit 483919126 0"}));
}

TEST(TraceScope, RecordsTheExitOfAnOperationThatRunsInsideAHandler) {
    EXPECT_EQ(traced([] {
                  try {
                      throw 1;
                  } catch (int) {
                      scoped();
                  }
              }),
              (Events{"entry 483919126", "exit 483919126 0"}));
}

TEST(TraceScope, RecordsTheExitOfAnOperationThatRunsDuringUnwinding) {
    struct Cleanup {
        ~Cleanup() { scoped(); }
    };
    EXPECT_EQ(traced([] {
                  try {
                      const Cleanup cleanup;
                      throw 1;
                  } catch (int) {
                  }
              }),
              (Events{"entry 483919126", "exit 483919126 0"}));
}

TEST(TraceScope, RecordsNoExitOfAnOperationThatFailsDuringUnwinding) {
    struct Cleanup {
        ~Cleanup() {
            try {
                TraceScope trace(TracePoint::SOCKET_CLOSE);
                throw 2;
            } catch (int) {
            }
        }
    };
    EXPECT_EQ(traced([] {
                  try {
                      const Cleanup cleanup;
                      throw 1;
                  } catch (int) {
                  }
              }),
              Events{"entry 483919126"});
}

}  // namespace
}  // namespace nx::oss::detail
