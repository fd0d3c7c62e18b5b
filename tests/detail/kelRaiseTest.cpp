#include "infra/detail/kelRaise.h"

#include <new>
#include <string>

#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>

#include "support/kelRaises.h"

namespace nx::oss::detail {
namespace {

using test::Report;

constexpr ErrorSite SITE{"ERR_X", "kelX.cpp", 12};

TEST(Raise, ThrowsOneRecordWithIdentifierFileLineAndDefaultLevel) {
    EXPECT_RAISES(IOException, raise<IOException>(SITE), Report("ERR_X").at("kelX.cpp", 12));
    EXPECT_RAISES(NLSException, raise<NLSException>(SITE), Report("ERR_X").at("kelX.cpp", 12));
}

TEST(Raise, LeavesTheTextOfTheRecordNull) {
    const auto exception = makeException<IOException>(SITE);
    EXPECT_TRUE(exception.messages.getFirstMessage().getMessageText().isBogus());
}

TEST(Raise, AddsArgumentsOfEveryKindInTheirOrder) {
    const std::string text = "string";
    const char* const pointer = "pointer";
    EXPECT_RAISES(IOException,
                  raise<IOException>(SITE, "literal", pointer, std::string_view("view"),
                                     icu::UnicodeString(u"\u00E9"), 7, -1L, 4000000000u),
                  Report("ERR_X")
                      .at("kelX.cpp", 12)
                      .with({"literal", "pointer", "view", "\xC3\xA9", "7", "-1", "-294967296"}));
    EXPECT_RAISES(IOException, raise<IOException>(SITE, std::string_view(text)),
                  Report("ERR_X").at("kelX.cpp", 12).with({"string"}));
}

TEST(Raise, KeepsEmptyArgumentsSoThatTheirNumberIsFixed) {
    const char* const null = nullptr;
    EXPECT_RAISES(
        IOException,
        raise<IOException>(SITE, "", null, std::string_view(), icu::UnicodeString(), "last"),
        Report("ERR_X").at("kelX.cpp", 12).with({"", "", "", "", "last"}));
}

TEST(Raise, TakesExactlyTheCharactersOfAView) {
    EXPECT_RAISES(IOException, raise<IOException>(SITE, std::string_view("abcdef", 3)),
                  Report("ERR_X").at("kelX.cpp", 12).with({"abc"}));
    EXPECT_RAISES(IOException, raise<IOException>(SITE, std::string_view("a\0b", 3)),
                  Report("ERR_X").at("kelX.cpp", 12).with({std::string("a\0b", 3)}));
}

TEST(ErrorSite, RecordsTheLineThatWritesItUnlessTheLineIsFixed) {
    constexpr unsigned long here = __LINE__ + 1;
    constexpr ErrorSite site{"ERR_X", "kelX.cpp"};
    EXPECT_EQ(site.line, here);
    EXPECT_EQ(SITE.line, 12u);
}

struct BuiltException : IOException {
    BuiltException(const char* id, unsigned long line) {
        messages.addMessage(Message(id, Message::DEFAULT, "kelBuilt.cpp", line));
    }
};

TEST(RaiseBuilt, ThrowsWhatTheConstructorMakesOfItsArguments) {
    EXPECT_RAISES(BuiltException, (raiseBuilt<BuiltException>("ERR_BUILT", 3ul)),
                  Report("ERR_BUILT").at("kelBuilt.cpp", 3));
}

TEST(RaiseBadAlloc, ThrowsTheAllocatorsException) { EXPECT_THROW(raiseBadAlloc(), std::bad_alloc); }

}  // namespace
}  // namespace nx::oss::detail
