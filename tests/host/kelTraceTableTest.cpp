// The whole table of trace points: every traced operation, in all its forms, runs under a host that
// records. In which order an operation and those that it calls are recorded is looked at by the
// other tests of this folder.
#include <ostream>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "kelTraceTable.h"

namespace nx::test {

void PrintTo(const Row& row, std::ostream* out) { *out << row.identifier; }

namespace {

std::vector<Row> table() {
    std::vector<Row> rows = rowsOfBuffersAndTexts();
    for (const auto& more : {rowsOfNetworkAndThreads(), rowsOfListsAndLocales()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

TEST(TraceTable, HasOneRowForEachOfThe96Identifiers) {
    long next = 483919077;
    std::set<std::string> operations;
    for (const Row& row : table()) {
        EXPECT_EQ(row.identifier, next++) << row.operation;
        operations.insert(row.operation);
    }
    EXPECT_EQ(next, 483919173);
    EXPECT_EQ(operations.size(), 96u);
}

class TraceTableRow : public testing::TestWithParam<Row> {};

TEST_P(TraceTableRow, RecordsItsIdentifierInEveryFormOfTheOperation) {
    ASSERT_NE(GetParam().call, nullptr);
    Probe calls(GetParam());
    GetParam().call(calls);
    EXPECT_GT(calls.calls(), 0) << "the row calls nothing";
}

INSTANTIATE_TEST_SUITE_P(All, TraceTableRow, testing::ValuesIn(table()),
                         [](const auto& each) { return std::string(each.param.operation); });

}  // namespace
}  // namespace nx::test
