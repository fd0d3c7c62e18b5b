#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <thread>

#include <pthread.h>

#include <gtest/gtest.h>
#include <unicode/uclean.h>
#include <unicode/ucnv.h>

#include <infra/oss/kelConverter.h>
#include <infra/oss/kelNLSException.h>

#include "infra/detail/kelCodePageTable.h"

#include "support/kelAllocationFaults.h"
#include "support/kelRaises.h"

// The calls of the converter that keep something for each thread.
thread_local bool noKeys = false;
thread_local bool noRoomForKeys = false;

extern "C" {
int __real_pthread_key_create(pthread_key_t* key, void (*destroy)(void*));
int __real_pthread_setspecific(pthread_key_t key, const void* value);

int __wrap_pthread_key_create(pthread_key_t* key, void (*destroy)(void*)) {
    return noKeys ? EAGAIN : __real_pthread_key_create(key, destroy);
}

int __wrap_pthread_setspecific(pthread_key_t key, const void* value) {
    return noRoomForKeys ? ENOMEM : __real_pthread_setspecific(key, value);
}
}

namespace nx::oss {
namespace {

using icu::UnicodeString;
using test::utf8;

// ICU's allocator, counted and made to fail like operator new of the test support.
thread_local std::size_t untilIcuFails = 0;
thread_local bool icuFailed = false;
std::atomic<long> aliveInIcu{0};

bool icuFailsNow() {
    if (untilIcuFails != 0 && --untilIcuFails == 0) {
        icuFailed = true;
        return true;
    }
    return false;
}

void* U_CALLCONV icuAllocate(const void*, std::size_t size) {
    void* const block = icuFailsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
    aliveInIcu += block == nullptr ? 0 : 1;
    return block;
}

void* U_CALLCONV icuReallocate(const void*, void* old, std::size_t size) {
    if (icuFailsNow()) {
        return nullptr;
    }
    void* const block = std::realloc(old, size == 0 ? 1 : size);
    aliveInIcu += old == nullptr && block != nullptr ? 1 : 0;
    return block;
}

void U_CALLCONV icuFree(const void*, void* block) {
    aliveInIcu -= block == nullptr ? 0 : 1;
    std::free(block);
}

// Before any use of ICU, also before that of other static objects.
__attribute__((constructor)) void replaceIcuAllocator() {
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, icuAllocate, icuReallocate, icuFree, &status);
    if (U_FAILURE(status)) {
        std::abort();
    }
}

// The n-th allocation of this thread fails, until stop() tells whether one did.
class OperatorNew {
  public:
    static constexpr bool IN_ICU = false;

    explicit OperatorNew(std::size_t failing) : faults_(failing) { faults_.arm(); }
    bool stop() {
        faults_.disarm();
        return test::allocationFailed();
    }

  private:
    test::AllocationFaults faults_;
};

class Icu {
  public:
    static constexpr bool IN_ICU = true;

    explicit Icu(std::size_t failing) {
        icuFailed = false;
        untilIcuFails = failing;
    }
    bool stop() {
        untilIcuFails = 0;
        return icuFailed;
    }
};

// What a conversion may do when memory runs out: its result, or one of these.
constexpr const char* NO_MEMORY = "std::bad_alloc";
constexpr const char* CONVERSION_ERROR = "ERR_CONV_CONVERSION_ERROR";

struct Case {
    const char* name;
    std::function<std::string()> convert;
    std::string wanted;
};

std::string textTo(const char* codePage, const UnicodeString& text, int capacity) {
    std::string bytes(static_cast<std::size_t>(capacity), '\0');
    const int size = Converter::convertToBytes(bytes.data(), capacity, codePage, text);
    return bytes.substr(0, static_cast<std::size_t>(size));
}

std::string bytesTo(const char* to, const std::string& source, const char* from, int capacity) {
    std::string bytes(static_cast<std::size_t>(capacity), '\0');
    const int size = Converter::convertToBytes(bytes.data(), capacity, to, source.data(),
                                               static_cast<int>(source.size()), from);
    return bytes.substr(0, static_cast<std::size_t>(size));
}

std::string intoBuffer(const char* codePage, const UnicodeString& text) {
    SizeableBuffer<char, 16> buffer(0);
    return Converter::convert(buffer, codePage, text);
}

const std::string LONG_LATIN(5000, '\xE9');

std::ostream& operator<<(std::ostream& out, const Case& each) { return out << each.name; }

const Case CASES[] = {
    {"text to UTF-8", [] { return textTo("UTF-8", u"a\u00E9", 8); }, "a\xC3\xA9"},
    {"text to the default", [] { return textTo(nullptr, u"a\u00E9", 8); }, "a\xC3\xA9"},
    {"text to windows-1252", [] { return textTo("windows-1252", u"\u20AC", 8); }, "\x80"},
    {"text to Shift_JIS", [] { return textTo("Shift_JIS", u"\u3042", 8); }, "\x82\xA0"},
    {"text to ISO-2022-JP", [] { return textTo("ISO-2022-JP", u"\u3042", 16); }, "\x1B$B$\"\x1B(B"},
    {"size query",
     [] { return std::to_string(Converter::convert(nullptr, 0, "EUC-JP", u"\u3042a")); }, "4"},
    {"text that does not fit", [] { return textTo("KOI8-R", u"\u044F\u044F", 1); },
     "ERR_BUFFER_SIZE_TOO_SMALL"},
    {"text to an unknown code page", [] { return textTo("no-such", u"abc", 8); }, CONVERSION_ERROR},
    {"bytes from Shift_JIS", [] { return bytesTo("UTF-8", "\x82\xA0", "Shift_JIS", 8); },
     "\xE3\x81\x82"},
    {"bytes between two code pages", [] { return bytesTo("EUC-JP", "\x82\xA0", "Shift_JIS", 8); },
     "\xA4\xA2"},
    {"long bytes", [] { return bytesTo("ISO-8859-15", LONG_LATIN, "ISO-8859-1", 5000); },
     LONG_LATIN},
    {"long bytes to UTF-8",
     [] { return bytesTo("UTF-8", std::string(5000, 'a'), "windows-1252", 5000); },
     std::string(5000, 'a')},
    {"copied bytes", [] { return bytesTo("X", "abc", "X", 3); }, "abc"},
    {"template", [] { return intoBuffer("windows-1252", u"\u20AC"); }, "\x80"},
    {"template that grows",
     [] { return intoBuffer("windows-1252", UnicodeString(100, u'a', 100)); },
     std::string(100, 'a')},
};

class ConverterFaults : public testing::TestWithParam<Case> {
  protected:
    // `stop` ends the failing: what the test itself needs to tell the outcome is always there.
    template <class Stop>
    static std::string outcome(const Stop& stop) {
        try {
            std::string result = GetParam().convert();
            stop();
            return result;
        } catch (const NLSException& exception) {
            stop();
            return utf8(exception.messages.getFirstMessage().getMessageID());
        } catch (const std::bad_alloc&) {
            stop();
            return NO_MEMORY;
        }
    }
    static std::string outcome() {
        return outcome([] {});
    }

    // Each in a thread of its own, so that nothing is open yet and everything is closed after it.
    static void inNewThread(const std::function<void()>& work) {
        std::thread(work).join();
        ucnv_flushCache();
    }

    static void expectPromised(const std::string& result, std::size_t failing, bool inIcu) {
        const bool ofTemplate = std::string(GetParam().name).find("template") == 0;
        // ICU that gets no memory converts to nothing: an error, in the template an empty string.
        const bool nothing = inIcu && result == (ofTemplate ? "" : CONVERSION_ERROR);
        EXPECT_TRUE(result == GetParam().wanted || result == NO_MEMORY || nothing)
            << GetParam().name << ", allocation " << failing << " gives " << result.substr(0, 40);
    }

    // Caches of the process are filled, so that what is alive stays the same from here on.
    void SetUp() override {
        for (int i = 0; i < 2; ++i) {
            inNewThread([] { EXPECT_EQ(outcome(), GetParam().wanted); });
        }
        alive_ = test::liveAllocations();
        aliveInIcu_ = aliveInIcu;
    }

    // One conversion in which an allocation fails, and one after it. Returns whether one failed.
    template <class Allocator>
    static bool fails(std::size_t failing) {
        bool failed = false;
        std::string result;
        std::string later;
        inNewThread([&] {
            Allocator allocator(failing);
            result = outcome([&] { failed = allocator.stop(); });
            later = outcome();
        });
        expectPromised(result, failing, Allocator::IN_ICU);
        EXPECT_EQ(later, GetParam().wanted) << "after allocation " << failing;
        return failed;
    }

    // Stops at the first finding: what gtest keeps of it would count as alive.
    template <class Allocator>
    void failEachOnce() {
        bool failed = true;
        for (std::size_t failing = 1; failed && !HasFailure(); ++failing) {
            failed = fails<Allocator>(failing);
            if (!HasFailure()) {
                EXPECT_EQ(test::liveAllocations(), alive_) << "after allocation " << failing;
                EXPECT_EQ(aliveInIcu, aliveInIcu_) << "after ICU's allocation " << failing;
            }
        }
    }

  private:
    long alive_ = 0;
    long aliveInIcu_ = 0;
};

TEST_P(ConverterFaults, OfOperatorNewAreReportedAndLeakNothing) { failEachOnce<OperatorNew>(); }

TEST_P(ConverterFaults, OfIcuAreReportedAndLeakNothing) { failEachOnce<Icu>(); }

INSTANTIATE_TEST_SUITE_P(All, ConverterFaults, testing::ValuesIn(CASES), [](const auto& each) {
    std::string name = each.param.name;
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name;
});

TEST(ConverterFaultsOfThreads, WithoutRoomForTheThreadsConvertersEachUseOpensItsOwn) {
    const long before = test::liveAllocations();
    std::string first;
    std::string second;
    std::thread([&] {
        noRoomForKeys = true;
        first = textTo("Shift_JIS", u"\u3042", 8);
        second = textTo("Shift_JIS", u"\u3044", 8);
        noRoomForKeys = false;  // a sanitizer keeps something for its end, too
    }).join();
    EXPECT_EQ(first, "\x82\xA0");
    EXPECT_EQ(second, "\x82\xA2");
    EXPECT_EQ(test::liveAllocations(), before);
}

TEST(ConverterFaultsDeathTest, WithoutAKeyForThreadsEachUseOpensItsOwn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process that has not converted yet
    EXPECT_EXIT(
        {
            noKeys = true;
            const bool isRight = textTo("Shift_JIS", u"\u3042", 8) == "\x82\xA0" &&
                                 textTo("Shift_JIS", u"\u3044", 8) == "\x82\xA2";
            noKeys = false;
            std::exit(isRight ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// A code page whose table could not be made has none from then on, so each failure takes another.
template <class Allocator>
void expectNoTable(const char* codePage, std::size_t failing) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(codePage, &status);
    ASSERT_TRUE(U_SUCCESS(status)) << codePage;
    Allocator allocator(failing);
    const auto table = detail::CodePageTable::of(converter);
    EXPECT_TRUE(allocator.stop()) << codePage;
    EXPECT_EQ(table.value(), nullptr) << codePage;
    EXPECT_EQ(detail::CodePageTable::of(converter).value(), nullptr) << codePage;
    ucnv_close(converter);
}

TEST(CodePageTableFaults, LeaveTheCodePageToIcu) {
    expectNoTable<OperatorNew>("windows-1253", 1);
    expectNoTable<OperatorNew>("windows-1254", 2);
    expectNoTable<Icu>("windows-1255", 1);
    EXPECT_EQ(bytesTo("UTF-8", std::string(20'000, '\xE1'), "windows-1253", 40'000).substr(0, 4),
              "\xCE\xB1\xCE\xB1");
}

TEST(ConverterFaultProgram, CountsWhatIcuAllocates) {
    const long before = aliveInIcu;
    {
        const UnicodeString text(1000, u'x', 1000);
        EXPECT_EQ(aliveInIcu, before + 1);
    }
    EXPECT_EQ(aliveInIcu, before);
}

}  // namespace
}  // namespace nx::oss
