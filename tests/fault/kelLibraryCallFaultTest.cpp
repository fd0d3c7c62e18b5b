// Calls of the system that the library makes for itself rather than for an operation: random bits,
// keys of threads, signals, messages on standard output. Whatever they fail
// with, the operations work. What is asked for once in a process fails in a process of its own.
#include <pthread.h>
#include <signal.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelThread.h>
#include <infra/util/kelExtendedProperties.h>

#include "support/kelLeave.h"
#include "support/kelLoopback.h"
#include "support/kelRaises.h"

namespace {

/// Which call fails, with what, and how often that has happened.
struct Failing {
    const char* call = "";
    int error = 0;
    ssize_t result = -1;
    int times = 0;
};
Failing failing;

bool fails(const char* call) {
    if (std::strcmp(failing.call, call) != 0) {
        return false;
    }
    ++failing.times;
    errno = failing.error;
    return true;
}

}  // namespace

// What --wrap makes of the calls and of their definitions.
extern "C" {
ssize_t __real_getrandom(void* bytes, size_t length, unsigned flags);
sighandler_t __real_signal(int number, sighandler_t handler);
int __real_pthread_key_create(pthread_key_t* key, void (*destroy)(void*));
int __real_pthread_setspecific(pthread_key_t key, const void* value);
int __real_pthread_setcancelstate(int state, int* before);

ssize_t __wrap_getrandom(void* bytes, size_t length, unsigned flags) {
    return fails("getrandom") ? failing.result : __real_getrandom(bytes, length, flags);
}
sighandler_t __wrap_signal(int number, sighandler_t handler) {
    return fails("signal") ? SIG_ERR : __real_signal(number, handler);
}
int __wrap_pthread_key_create(pthread_key_t* key, void (*destroy)(void*)) {
    return fails("pthread_key_create") ? failing.error : __real_pthread_key_create(key, destroy);
}
int __wrap_pthread_setspecific(pthread_key_t key, const void* value) {
    return fails("pthread_setspecific") ? failing.error : __real_pthread_setspecific(key, value);
}
int __wrap_pthread_setcancelstate(int state, int* before) {
    return fails("pthread_setcancelstate") ? failing.error
                                           : __real_pthread_setcancelstate(state, before);
}
}

namespace nx::oss {
namespace {

/// What a process finds out about itself is its exit status.
constexpr int RIGHT = 17;
constexpr int WRONG = 18;

[[noreturn]] void leave(bool right) {
    test::leaveAtOnce(right && failing.times > 0 ? RIGHT : WRONG);
}

/// An operation that needs the call, and that works without it.
struct Need {
    const char* call;
    bool (*works)();
};

bool settingsWork() {
    util::ExtendedProperties settings;
    for (int i = 0; i < 100; ++i) {
        settings.putPropertyAsInt32(icu::UnicodeString("key").append(static_cast<char16_t>(i + 1)),
                                    i);
    }
    return settings.requirePropertyAsInt32(icu::UnicodeString("key").append(u'\x32')) == 0x31 &&
           !settings.hasProperty("other");
}

bool conversionWorks() {
    char bytes[8];
    return Converter::convertToBytes(bytes, 8, "Shift_JIS", u"\u3042") == 2 &&
           Converter::convertToBytes(bytes, 8, "EUC-JP", u"\u3042") == 2 &&
           std::memcmp(bytes, "\xA4\xA2", 2) == 0;
}

bool loadingWorks() {
    const Socket::CSocketInitializer again;
    return true;
}

bool connectionWorks() {
    const test::Connection connection;
    return connection.socket.isOwner();
}

struct Row {
    const char* name;
    Need need;
    int error;
    ssize_t result = -1;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

const Row ROWS[] = {
    {"RandomEagain", {"getrandom", settingsWork}, EAGAIN},
    {"RandomEfault", {"getrandom", settingsWork}, EFAULT},
    {"RandomEintr", {"getrandom", settingsWork}, EINTR},
    {"RandomEinval", {"getrandom", settingsWork}, EINVAL},
    {"RandomEnosys", {"getrandom", settingsWork}, ENOSYS},
    {"RandomNothing", {"getrandom", settingsWork}, 0, 0},
    {"RandomOneByte", {"getrandom", settingsWork}, 0, 1},
    {"RandomAllButOneByte", {"getrandom", settingsWork}, 0, 7},
    {"KeyEagain", {"pthread_key_create", conversionWorks}, EAGAIN},
    {"KeyEnomem", {"pthread_key_create", conversionWorks}, ENOMEM},
    {"ValueEnomem", {"pthread_setspecific", conversionWorks}, ENOMEM},
    {"ValueEinval", {"pthread_setspecific", conversionWorks}, EINVAL},
    {"SignalEinval", {"signal", loadingWorks}, EINVAL},
    {"CancelStateEinval", {"pthread_setcancelstate", connectionWorks}, EINVAL},
};

class LibraryCallFault : public testing::TestWithParam<Row> {};

[[noreturn]] void runWithout(const Row& row) {
    failing = {row.need.call, row.error, row.result, 0};
    leave(row.need.works());
}

TEST_P(LibraryCallFault, LeavesTheOperationWorking) {
    testing::GTEST_FLAG(death_test_style) = "fast";  // no thread of this program runs
    EXPECT_EXIT(runWithout(GetParam()), testing::ExitedWithCode(RIGHT), "");
}

INSTANTIATE_TEST_SUITE_P(EveryCall, LibraryCallFault, testing::ValuesIn(ROWS),
                         [](const auto& row) { return std::string(row.param.name); });

/// Everything that the library prints on standard output is printed in vain.
[[noreturn]] void printInVain() {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    Converter::setDebugging(true);
    const bool converts = conversionWorks();
    const bool runs = thread_run_stub(nullptr) == nullptr;
    failing.times = 1;
    leave(converts && runs && std::ferror(stdout) != 0);
}

[[noreturn]] void printToAFullDevice() {
    if (std::freopen("/dev/full", "w", stdout) == nullptr) {
        leave(false);
    }
    printInVain();
}

[[noreturn]] void printToAClosedDescriptor() {
    ::close(STDOUT_FILENO);
    printInVain();
}

TEST(LibraryOutputFault, ChangesNoConversionAndNoThread) {
    testing::GTEST_FLAG(death_test_style) = "fast";
    EXPECT_EXIT(printToAFullDevice(), testing::ExitedWithCode(RIGHT), "");
    EXPECT_EXIT(printToAClosedDescriptor(), testing::ExitedWithCode(RIGHT), "");
}

}  // namespace
}  // namespace nx::oss
