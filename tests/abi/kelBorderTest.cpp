// Exceptions that cross the borders between this program, the shared object and a plug-in that is
// loaded with its symbols kept to itself.
#include <dlfcn.h>

#include <exception>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelIOException.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include "kelLibraryErrorTable.h"
#include "kelLibraryErrors.h"

namespace nx::oss {
namespace {

using Raise = void (*)();
using Catch = const char* (*)(Raise);

// The plug-in, opened once for the whole program.
void* plugin() {
    static void* const handle = dlopen(KELINFRA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    return handle;
}

template <class Function>
Function pluginFunction(const char* name) {
    return reinterpret_cast<Function>(plugin() == nullptr ? nullptr : dlsym(plugin(), name));
}

std::string firstId(const BaseException& e) {
    std::string id;
    return e.messages.getFirstMessage().getMessageID().toUTF8String(id);
}

template <class Exception>
struct Case;
template <>
struct Case<BaseException> {
    static constexpr const char* FUNCTION = "raiseBase";
    static constexpr const char* NAME = "oss::BaseException";
};
template <>
struct Case<IOException> {
    static constexpr const char* FUNCTION = "raiseIO";
    static constexpr const char* NAME = "IOException";
};
template <>
struct Case<NLSException> {
    static constexpr const char* FUNCTION = "raiseNLS";
    static constexpr const char* NAME = "NLSException";
};
template <>
struct Case<SocketException> {
    static constexpr const char* FUNCTION = "raiseSocket";
    static constexpr const char* NAME = "oss::SocketException";
};
template <>
struct Case<util::Base64Exception> {
    static constexpr const char* FUNCTION = "raiseBase64";
    static constexpr const char* NAME = "Base64Exception";
};
template <>
struct Case<util::PropertiesException> {
    static constexpr const char* FUNCTION = "raiseProperties";
    static constexpr const char* NAME = "PropertiesException";
};

template <class Exception>
class Border : public testing::Test {
  protected:
    void SetUp() override { ASSERT_NE(raise, nullptr) << dlerror(); }

    Raise raise = pluginFunction<Raise>(Case<Exception>::FUNCTION);
};

using Classes = testing::Types<BaseException, IOException, NLSException, SocketException,
                               util::Base64Exception, util::PropertiesException>;
struct ClassNames {
    template <class Exception>
    static std::string GetName(int /*index*/) {
        return Case<Exception>::FUNCTION;
    }
};
TYPED_TEST_SUITE(Border, Classes, ClassNames);

TYPED_TEST(Border, IsCrossedByAnExceptionCaughtAsItself) {
    bool caught = false;
    try {
        this->raise();
    } catch (const TypeParam& e) {
        caught = true;
        EXPECT_EQ(typeid(e), typeid(TypeParam));
        EXPECT_STREQ(e.what(), Case<TypeParam>::NAME);
        EXPECT_EQ(firstId(e), "ERR_FROM_PLUGIN");
        EXPECT_EQ(e.messages.getFirstMessage().getMessageArgsCount(), 1u);
    }
    EXPECT_TRUE(caught);
}

TYPED_TEST(Border, IsCrossedByAnExceptionCaughtAsItsBaseClasses) {
    unsigned caught = 0;
    try {
        this->raise();
    } catch (const BaseException& e) {
        ++caught;
        EXPECT_STREQ(e.name(), Case<TypeParam>::NAME);
        EXPECT_NE(dynamic_cast<const TypeParam*>(&e), nullptr);
    }
    try {
        this->raise();
    } catch (const std::exception& e) {
        ++caught;
        EXPECT_STREQ(e.what(), Case<TypeParam>::NAME);
        EXPECT_NE(dynamic_cast<const BaseException*>(&e), nullptr);
    }
    EXPECT_EQ(caught, 2u);
}

TYPED_TEST(Border, IsCrossedByARethrow) {
    unsigned caught = 0;
    try {
        try {
            this->raise();
        } catch (const std::exception&) {
            throw;
        }
    } catch (const TypeParam& e) {
        ++caught;
        EXPECT_EQ(firstId(e), "ERR_FROM_PLUGIN");
    }
    EXPECT_EQ(caught, 1u);
}

TYPED_TEST(Border, IsCrossedByASlicedCopy) {
    try {
        this->raise();
        FAIL() << "nothing was thrown";
    } catch (const BaseException& e) {
        const BaseException sliced(e);
        EXPECT_STREQ(sliced.what(), "oss::BaseException");
        EXPECT_EQ(firstId(sliced), "ERR_FROM_PLUGIN");
    }
}

TYPED_TEST(Border, IsCrossedByAnExceptionPointerToAnotherThread) {
    std::exception_ptr kept;
    std::thread([&] {
        try {
            this->raise();
        } catch (...) {
            kept = std::current_exception();
        }
    }).join();
    ASSERT_NE(kept, nullptr);
    std::string seen;
    std::thread([&] {
        try {
            std::rethrow_exception(kept);
        } catch (const TypeParam& e) {
            seen = firstId(e);
        }
    }).join();
    EXPECT_EQ(seen, "ERR_FROM_PLUGIN");
}

TYPED_TEST(Border, IsCrossedInTheOtherDirection) {
    const auto caughtBy = pluginFunction<Catch>("catchByClass");
    ASSERT_NE(caughtBy, nullptr) << dlerror();
    EXPECT_STREQ(caughtBy(+[] { throw TypeParam(); }), Case<TypeParam>::NAME);
}

TEST(BorderOfTheLibrary, IsCrossedByErrorsOfEveryClassThatTheLibraryRaises) {
    ASSERT_EQ(test::countLibraryErrors(), test::ERROR_COUNT);
    for (std::size_t error = 0; error < test::ERROR_COUNT; ++error) {
        for (int handler = 0; handler < test::HANDLERS; ++handler) {
            EXPECT_STREQ(test::seenByHandler(error, handler), test::EXPECTED_ERRORS[error].seen)
                << test::HANDLER_NAMES[handler];
        }
    }
}

TEST(BorderOfTheLibrary, IsCrossedByAnErrorOfTheLibraryInsideThePlugin) {
    const auto fromLibrary = pluginFunction<Raise>("raiseFromLibrary");
    ASSERT_NE(fromLibrary, nullptr) << dlerror();
    EXPECT_THROW(fromLibrary(), NLSException);
}

}  // namespace
}  // namespace nx::oss
