#include <exception>
#include <string>
#include <type_traits>

#include <infra/oss/kelBaseException.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include "infra/detail/kelRaise.h"
#include "support/kelRaises.h"

// Catching by value is what two of the tests are about.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wcatch-value"
#endif

namespace nx::oss {
namespace {

using test::Report;
using test::utf8;

constexpr detail::ErrorSite SITE{"ERR_BUFFER_SIZE_TOO_SMALL", "kelByteArrayOutputStream.cpp", 47};

template <class Exception>
struct Named;
template <>
struct Named<BaseException> {
    static constexpr const char* NAME = "oss::BaseException";
};
template <>
struct Named<IOException> {
    static constexpr const char* NAME = "IOException";
};
template <>
struct Named<NLSException> {
    static constexpr const char* NAME = "NLSException";
};
template <>
struct Named<util::Base64Exception> {
    static constexpr const char* NAME = "Base64Exception";
};
template <>
struct Named<util::PropertiesException> {
    static constexpr const char* NAME = "PropertiesException";
};

template <class Exception>
class Exceptions : public testing::Test {};

using Classes = testing::Types<BaseException, IOException, NLSException, util::Base64Exception,
                               util::PropertiesException>;
struct ClassNames {
    template <class Exception>
    static std::string GetName(int /*index*/) {
        const std::string name = Named<Exception>::NAME;
        return name.substr(name.rfind(':') + 1);
    }
};
TYPED_TEST_SUITE(Exceptions, Classes, ClassNames);

Message record(const char* id) { return Message(id, Message::DEFAULT, "f.cpp", 1); }

std::string firstId(const BaseException& e) {
    return utf8(e.messages.getFirstMessage().getMessageID());
}

TYPED_TEST(Exceptions, NameThemselvesByTheirClass) {
    const TypeParam exception;
    EXPECT_STREQ(exception.name(), Named<TypeParam>::NAME);
    EXPECT_STREQ(exception.what(), Named<TypeParam>::NAME);
}

TYPED_TEST(Exceptions, KeepTheirNameBehindTheBaseClasses) {
    const TypeParam exception;
    const BaseException& base = exception;
    const std::exception& standard = exception;
    EXPECT_STREQ(base.name(), Named<TypeParam>::NAME);
    EXPECT_STREQ(base.what(), Named<TypeParam>::NAME);
    EXPECT_STREQ(standard.what(), Named<TypeParam>::NAME);
}

TYPED_TEST(Exceptions, NameOnlyTheClassWhateverTheRecordsSay) {
    TypeParam exception;
    exception.messages.addMessage(record("ERR_SOMETHING"));
    EXPECT_STREQ(exception.what(), Named<TypeParam>::NAME);
}

TYPED_TEST(Exceptions, StartWithoutRecords) {
    const TypeParam exception;
    EXPECT_TRUE(exception.messages.isEmpty());
    EXPECT_EQ(exception.messages.count(), 0u);
}

TYPED_TEST(Exceptions, CopyAllRecordsInOrderButNoCursor) {
    TypeParam exception;
    exception.messages.addMessage(record("A"));
    exception.messages.addMessage(record("B"));
    exception.messages.getFirstMsg();
    TypeParam copy(exception);
    EXPECT_EQ(copy.messages.count(), 2u);
    EXPECT_EQ(firstId(copy), "A");
    EXPECT_EQ(utf8(copy.messages.getHead()->getNext()->getMessageID()), "B");
    EXPECT_FALSE(copy.messages.hasMoreMsgs());
    exception.messages.clear();
    EXPECT_EQ(copy.messages.count(), 2u);
}

TYPED_TEST(Exceptions, AreAssignedDeeplyAndSafelyToThemselves) {
    TypeParam source;
    source.messages.addMessage(record("A"));
    TypeParam target;
    target.messages.addMessage(record("X"));
    target.messages.addMessage(record("Y"));
    target = source;
    EXPECT_EQ(target.messages.count(), 1u);
    EXPECT_EQ(firstId(target), "A");
    const TypeParam& alias = target;
    target = alias;
    EXPECT_EQ(target.messages.count(), 1u);
    source.messages.clear();
    EXPECT_EQ(firstId(target), "A");
}

TYPED_TEST(Exceptions, AreThrownWithOneCompleteRecord) {
    EXPECT_RAISES(
        TypeParam, detail::raise<TypeParam>(SITE, 64u),
        Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47).with({"64"}));
}

TYPED_TEST(Exceptions, AreCaughtAsTheirBaseClasses) {
    try {
        detail::raise<TypeParam>(SITE);
    } catch (const BaseException& e) {
        EXPECT_STREQ(e.name(), Named<TypeParam>::NAME);
        EXPECT_EQ(firstId(e), "ERR_BUFFER_SIZE_TOO_SMALL");
    }
    try {
        detail::raise<TypeParam>(SITE);
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), Named<TypeParam>::NAME);
    }
}

TYPED_TEST(Exceptions, SurviveTheCopyOfACatchByValue) {
    try {
        TypeParam exception;
        exception.messages.addMessage(record("A"));
        throw exception;
    } catch (TypeParam e) {  // NOLINT: the copy is the point
        EXPECT_EQ(e.messages.count(), 1u);
        EXPECT_EQ(firstId(e), "A");
        EXPECT_STREQ(e.what(), Named<TypeParam>::NAME);
    }
}

TYPED_TEST(Exceptions, AreSlicedToTheBaseClassByACatchByBaseValue) {
    bool caught = false;
    try {
        detail::raise<TypeParam>(SITE, "x");
    } catch (BaseException e) {  // NOLINT: the copy is the point
        caught = true;
        EXPECT_STREQ(e.what(), "oss::BaseException");
        EXPECT_EQ(firstId(e), "ERR_BUFFER_SIZE_TOO_SMALL");
        EXPECT_EQ(e.messages.getFirstMessage().getMessageArgsCount(), 1u);
    }
    EXPECT_TRUE(caught);
}

TYPED_TEST(Exceptions, SurviveARethrow) {
    const auto rethrow = [] {
        try {
            detail::raise<TypeParam>(SITE, "x");
        } catch (const std::exception&) {
            throw;
        }
    };
    EXPECT_RAISES(
        TypeParam, rethrow(),
        Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47).with({"x"}));
}

TYPED_TEST(Exceptions, OutliveTheirHandlerThroughAnExceptionPointer) {
    std::exception_ptr kept;
    try {
        detail::raise<TypeParam>(SITE);
    } catch (...) {
        kept = std::current_exception();
    }
    EXPECT_RAISES(TypeParam, std::rethrow_exception(kept),
                  Report("ERR_BUFFER_SIZE_TOO_SMALL").at("kelByteArrayOutputStream.cpp", 47));
}

TYPED_TEST(Exceptions, PromiseNotToThrowFromDestructorAndWhat) {
    static_assert(std::is_nothrow_destructible_v<TypeParam>);
    static_assert(noexcept(std::declval<const TypeParam&>().what()));
    SUCCEED();
}

TEST(ExceptionFamilies, AreToldApartByTheirClass) {
    static_assert(!std::is_base_of_v<IOException, NLSException>);
    static_assert(!std::is_base_of_v<NLSException, IOException>);
    bool asNls = false;
    try {
        detail::raise<NLSException>(SITE);
    } catch (const IOException&) {
        FAIL() << "caught as another family";
    } catch (const NLSException&) {
        asNls = true;
    }
    EXPECT_TRUE(asNls);
}

}  // namespace
}  // namespace nx::oss
