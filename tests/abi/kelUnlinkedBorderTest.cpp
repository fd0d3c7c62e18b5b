// A program that knows nothing of the library: a plug-in, whose symbols are kept to itself, brings
// it.
#include <dlfcn.h>

#include <exception>
#include <future>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "kelLibraryErrorTable.h"

namespace {

using nx::test::ERROR_COUNT;
using nx::test::EXPECTED_ERRORS;
using nx::test::HANDLER_NAMES;

bool knowsTheLibrary() { return dlsym(RTLD_DEFAULT, "_ZN2nx3oss11MessageListC1Ev") != nullptr; }

// Opened once for the whole program, which did not know the library before.
void* plugin() {
    static void* const handle =
        knowsTheLibrary() ? nullptr : dlopen(KELINFRA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    return handle;
}

template <class Function>
Function pluginFunction(const char* name) {
    return reinterpret_cast<Function>(plugin() == nullptr ? nullptr : dlsym(plugin(), name));
}

class UnlinkedProgram : public testing::TestWithParam<std::size_t> {
  protected:
    void SetUp() override {
        ASSERT_NE(raise, nullptr) << dlerror();
        ASSERT_NE(seenByHandler, nullptr) << dlerror();
        ASSERT_NE(countErrors, nullptr) << dlerror();
        ASSERT_EQ(countErrors(), ERROR_COUNT);
    }

    std::size_t (*countErrors)() = pluginFunction<std::size_t (*)()>("pluginCountErrors");
    void (*raise)(std::size_t) = pluginFunction<void (*)(std::size_t)>("pluginRaiseError");
    const char* (*seenByHandler)(std::size_t, int) =
        pluginFunction<const char* (*)(std::size_t, int)>("pluginSeenByHandler");
};

TEST_P(UnlinkedProgram, HasAPluginWhoseHandlersCatchErrorsOfTheLibrary) {
    for (int handler = 0; handler < static_cast<int>(std::size(HANDLER_NAMES)); ++handler) {
        EXPECT_STREQ(seenByHandler(GetParam(), handler), EXPECTED_ERRORS[GetParam()].seen)
            << HANDLER_NAMES[handler];
    }
}

TEST_P(UnlinkedProgram, CatchesErrorsOfTheLibraryAsStdException) {
    try {
        raise(GetParam());
        FAIL() << "nothing was thrown";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), EXPECTED_ERRORS[GetParam()].what);
    }
}

TEST_P(UnlinkedProgram, HandsErrorsOfTheLibraryToAnotherThread) {
    auto raised = std::async(std::launch::async, raise, GetParam());
    try {
        raised.get();
        FAIL() << "nothing was thrown";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), EXPECTED_ERRORS[GetParam()].what);
    }
}

TEST_P(UnlinkedProgram, StillDoesNotKnowTheLibrary) {
    EXPECT_FALSE(knowsTheLibrary());
    EXPECT_THROW(raise(GetParam()), std::exception);
    EXPECT_FALSE(knowsTheLibrary());
}

INSTANTIATE_TEST_SUITE_P(Errors, UnlinkedProgram, testing::Range<std::size_t>(0, ERROR_COUNT),
                         [](const auto& row) { return EXPECTED_ERRORS[row.param].name; });

// Each time with a thread that ends only after the plug-in is gone, and then gives its converters
// back to the library.
TEST(UnlinkedProgramThreads, EndAfterThePluginIsClosed) {
    for (int round = 0; round < 20; ++round) {
        void* const handle = dlopen(KELINFRA_SECOND_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
        const auto converts = reinterpret_cast<bool (*)()>(dlsym(handle, "pluginConverts"));
        ASSERT_NE(converts, nullptr) << dlerror();
        std::promise<bool> converted;
        std::promise<void> closed;
        std::thread thread([&] {
            converted.set_value(converts());
            closed.get_future().wait();
        });
        EXPECT_TRUE(converted.get_future().get());
        EXPECT_EQ(dlclose(handle), 0);
        EXPECT_EQ(dlopen(KELINFRA_SECOND_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
        closed.set_value();
        thread.join();
    }
}

}  // namespace
