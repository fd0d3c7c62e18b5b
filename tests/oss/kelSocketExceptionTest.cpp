#include <infra/oss/kelSocketException.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/kelRaises.h"

namespace nx::oss {
namespace {

using test::Report;
using test::utf8;

const icu::UnicodeString HOST = u"server1";

SocketException mapped(long error) { return {"kelSomewhere.cpp", 4711, &HOST, 8080, error}; }

TEST(SocketExceptionName, CarriesThePrefix) {
    const SocketException exception;
    EXPECT_STREQ("oss::SocketException", exception.name());
    EXPECT_STREQ("oss::SocketException", exception.what());
    const std::exception& standard = exception;
    EXPECT_STREQ("oss::SocketException", standard.what());
    const BaseException& base = exception;
    EXPECT_STREQ("oss::SocketException", base.name());
}

TEST(SocketExceptionType, IsABaseExceptionWithoutFieldsOfItsOwn) {
    static_assert(std::is_base_of_v<BaseException, SocketException>);
    static_assert(sizeof(SocketException) == sizeof(BaseException));
    EXPECT_EQ(0U, SocketException().messages.count());
}

TEST(SocketExceptionWithIdentifier, HoldsOneRecordWithHostThenPort) {
    const SocketException exception("ERR_SOCKET_TIMEOUT", "kelSocket.cpp", 12, &HOST, 8080);
    EXPECT_TRUE(Report("ERR_SOCKET_TIMEOUT")
                    .at("kelSocket.cpp", 12)
                    .with({"server1", "8080"})
                    .matches(exception));
}

TEST(SocketExceptionWithIdentifier, HasNoArgumentsWithoutHost) {
    const icu::UnicodeString* const noHost = nullptr;
    const SocketException exception("ERR_SOCKET_CLOSED", "kelSocket.cpp", 7, noHost, 8080);
    EXPECT_TRUE(Report("ERR_SOCKET_CLOSED").at("kelSocket.cpp", 7).matches(exception));
}

TEST(SocketExceptionWithIdentifier, KeepsAnEmptyHostAsAnArgument) {
    const icu::UnicodeString empty;
    const SocketException exception("ERR_SOCKET_CLOSED", "kelSocket.cpp", 7, &empty, 0);
    EXPECT_TRUE(
        Report("ERR_SOCKET_CLOSED").at("kelSocket.cpp", 7).with({"", "0"}).matches(exception));
}

TEST(SocketExceptionWithIdentifier, ShowsTheLow32BitsOfThePortSigned) {
    const SocketException high("ID", "f.cpp", 1, &HOST, 4294967295UL);
    EXPECT_TRUE(Report("ID").with({"server1", "-1"}).matches(high));
    const SocketException above("ID", "f.cpp", 1, &HOST, 4294967296UL + 80);
    EXPECT_TRUE(Report("ID").with({"server1", "80"}).matches(above));
}

TEST(SocketExceptionWithIdentifier, KeepsNothingOfThePointers) {
    char identifier[] = "ERR_SOCKET_CLOSED";
    char file[] = "kelSocket.cpp";
    icu::UnicodeString host = u"server1";
    const SocketException exception(identifier, file, 7, &host, 8080);
    std::memset(identifier, 'x', sizeof identifier - 1);
    std::memset(file, 'x', sizeof file - 1);
    host = u"changed";
    EXPECT_TRUE(Report("ERR_SOCKET_CLOSED")
                    .at("kelSocket.cpp", 7)
                    .with({"server1", "8080"})
                    .matches(exception));
}

struct ErrnoRow {
    long error;
    const char* identifier;
};

class SocketExceptionMapping : public testing::TestWithParam<ErrnoRow> {};

TEST_P(SocketExceptionMapping, ReplacesTheNumberByASpecificIdentifier) {
    EXPECT_TRUE(Report(GetParam().identifier)
                    .at("kelSomewhere.cpp", 4711)
                    .with({"server1", "8080"})
                    .matches(mapped(GetParam().error)));
}

TEST_P(SocketExceptionMapping, HasNoArgumentsWithoutHost) {
    const icu::UnicodeString* const noHost = nullptr;
    const SocketException exception("f.cpp", 3UL, noHost, 8080UL, GetParam().error);
    EXPECT_TRUE(Report(GetParam().identifier).at("f.cpp", 3).matches(exception));
}

INSTANTIATE_TEST_SUITE_P(EveryRow, SocketExceptionMapping,
                         testing::Values(ErrnoRow{32, "NX_ERR_SOCKET_BROKEN_PIPE"},
                                         ErrnoRow{98, "NX_ERR_SOCKET_ADDRESS_IN_USE"},
                                         ErrnoRow{104, "NX_ERR_SOCKET_CONNECTION_RESET"},
                                         ErrnoRow{107, "NX_ERR_SOCKET_NOT_CONNECTED"},
                                         ErrnoRow{108, "NX_ERR_SOCKET_SHUTDOWN"},
                                         ErrnoRow{110, "NX_ERR_SOCKET_TIMEOUT"},
                                         ErrnoRow{111, "NX_ERR_SOCKET_CONNECTION_REFUSED"}),
                         [](const auto& row) { return "Errno" + std::to_string(row.param.error); });

TEST(SocketExceptionMapping, NumbersAreThoseOfTheSystem) {
    EXPECT_EQ(32, EPIPE);
    EXPECT_EQ(98, EADDRINUSE);
    EXPECT_EQ(104, ECONNRESET);
    EXPECT_EQ(107, ENOTCONN);
    EXPECT_EQ(108, ESHUTDOWN);
    EXPECT_EQ(110, ETIMEDOUT);
    EXPECT_EQ(111, ECONNREFUSED);
}

TEST(SocketExceptionMapping, EveryOtherNumberIsTheFirstArgument) {
    for (long error = 0; error <= 133; ++error) {
        if (error == 32 || error == 98 || error == 104 || error == 107 || error == 108 ||
            error == 110 || error == 111) {
            continue;
        }
        EXPECT_TRUE(Report("NX_ERR_SOCKET_ERROR")
                        .at("kelSomewhere.cpp", 4711)
                        .with({std::to_string(error), "server1", "8080"})
                        .matches(mapped(error)));
    }
}

TEST(SocketExceptionMapping, ShowsNegativeAndLargeNumbersAsSigned32Bits) {
    EXPECT_TRUE(Report("NX_ERR_SOCKET_ERROR").with({"-1", "server1", "8080"}).matches(mapped(-1)));
    EXPECT_TRUE(
        Report("NX_ERR_SOCKET_ERROR").with({"0", "server1", "8080"}).matches(mapped(LONG_MIN)));
}

TEST(SocketExceptionMapping, ANumberThatEqualsARowInItsLow32BitsOnlyIsNotTheRow) {
    EXPECT_TRUE(Report("NX_ERR_SOCKET_ERROR")
                    .with({"32", "server1", "8080"})
                    .matches(mapped(4294967296L + 32)));
}

TEST(SocketExceptionMapping, WithoutHostAGenericFailureHasTheNumberOnly) {
    const icu::UnicodeString* const noHost = nullptr;
    const SocketException exception("f.cpp", 3UL, noHost, 8080UL, 22L);
    EXPECT_TRUE(Report("NX_ERR_SOCKET_ERROR").at("f.cpp", 3).with({"22"}).matches(exception));
}

TEST(SocketExceptionMapping, DoesNotLookAtErrno) {
    errno = EPIPE;
    EXPECT_TRUE(Report("NX_ERR_SOCKET_ERROR").with({"22", "server1", "8080"}).matches(mapped(22)));
}

TEST(SocketExceptionText, IsIdentifierAndArgumentsInBrackets) {
    icu::UnicodeString text;
    EXPECT_EQ("NX_ERR_SOCKET_CONNECTION_RESET: [] - [server1] [8080]",
              utf8(mapped(104).messages.getFirstMessage().toString(text)));
    EXPECT_EQ("NX_ERR_SOCKET_ERROR: [] - [22] [server1] [8080]",
              utf8(mapped(22).messages.getFirstMessage().toString(text)));
}

std::vector<std::string> identifiers(const MessageList& list) {
    std::vector<std::string> result;
    for (const Message* message = list.getHead(); message != nullptr;
         message = message->getNext()) {
        result.push_back(utf8(message->getMessageID()));
    }
    return result;
}

TEST(SocketExceptionCopy, HoldsItsOwnRecordsInTheSameOrder) {
    SocketException original = mapped(104);
    original.messages.addMessage(Message("SECOND", "", Message::DEFAULT));
    const SocketException copy(original);
    original.messages.clear();
    EXPECT_EQ((std::vector<std::string>{"NX_ERR_SOCKET_CONNECTION_RESET", "SECOND"}),
              identifiers(copy.messages));
}

TEST(SocketExceptionCopy, AssignmentReplacesTheRecords) {
    SocketException target = mapped(22);
    const SocketException source = mapped(104);
    target = source;
    EXPECT_TRUE(Report("NX_ERR_SOCKET_CONNECTION_RESET")
                    .at("kelSomewhere.cpp", 4711)
                    .with({"server1", "8080"})
                    .matches(target));
}

TEST(SocketExceptionCopy, AssignmentToItselfChangesNothing) {
    SocketException exception = mapped(104);
    const SocketException& same = exception;
    exception = same;
    EXPECT_EQ((std::vector<std::string>{"NX_ERR_SOCKET_CONNECTION_RESET"}),
              identifiers(exception.messages));
}

TEST(SocketExceptionThrow, TheRecordSurvivesRethrowingAndCatchingAsBaseException) {
    try {
        try {
            throw mapped(111);
        } catch (const BaseException&) {
            throw;
        }
    } catch (const BaseException& caught) {
        EXPECT_STREQ("oss::SocketException", caught.name());
        EXPECT_TRUE(Report("NX_ERR_SOCKET_CONNECTION_REFUSED")
                        .at("kelSomewhere.cpp", 4711)
                        .with({"server1", "8080"})
                        .matches(caught));
    }
}

}  // namespace
}  // namespace nx::oss
