// Many threads at once in what the library promises to any number of them, and in the few
// operations that one thread may call while another is inside. The thread sanitizer sees all of it.
#include <locale.h>

#include <atomic>
#include <clocale>
#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSUtility.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>
#include <infra/oss/kelThread.h>

#include "support/kelLoopback.h"
#include "support/kelProcessRuns.h"
#include "support/kelRaises.h"
#include "support/kelThreads.h"
#include "support/kelTogether.h"

namespace nx::test {
namespace {

using icu::UnicodeString;
using oss::Formatter;
using oss::NLSUtility;
using oss::Socket;
using oss::SocketServer;

/// The process is in a locale that is not the initial one; every thread looks at it all the time.
class WatchedLocale : public testing::Environment {
  public:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, NAME), nullptr); }
    void TearDown() override { EXPECT_EQ(changes, 0u); }

    static void look() {
        const bool changed = std::setlocale(LC_ALL, nullptr) != std::string(NAME) ||
                             ::uselocale(nullptr) != LC_GLOBAL_LOCALE;
        changes += changed ? 1 : 0;
    }

  private:
    static constexpr const char* NAME = "C.UTF-8";
    static std::atomic<unsigned long> changes;
};
std::atomic<unsigned long> WatchedLocale::changes{0};

const testing::Environment* const WATCHED_LOCALE =
    testing::AddGlobalTestEnvironment(new WatchedLocale);

/// Every line that `write` gives, in all threads at once, is as it is when one thread is alone.
void expectSameInAllThreads(long rounds, const std::function<std::string()>& write) {
    const std::string alone = write();
    const auto same = together([&](int /*thread*/) {
        long count = 0;
        for (long round = 0; round < rounds; ++round) {
            count += write() == alone ? 1 : 0;
            WatchedLocale::look();
        }
        return count;
    });
    EXPECT_EQ(same, std::vector<long>(16, rounds));
}

/// Numbers as the formatter writes them, and what it makes of its own text again.
std::string numbersOf(const Formatter& formatter) {
    std::string lines;
    for (const double value : {0.0, -1.0, 1234.5, -9876543.25, 1e15}) {
        UnicodeString text;
        formatter.formatNumber(text, value);
        double back = 0;
        long whole = 0;
        const bool isFraction = formatter.parseAs(back, text);
        const bool isWhole = formatter.parseAs(whole, text);
        lines += utf8(text) + ' ' + std::to_string(isFraction ? back : 0.0) + ' ' +
                 std::to_string(isWhole ? whole : 0L) + '\n';
    }
    return lines;
}

TEST(ThreadScenario, OneFormatterServesAllThreads) {
    const Formatter german(Formatter::SHORT, Formatter::SHORT, "de_DE");
    EXPECT_EQ(numbersOf(german).substr(0, 8), "0 0.0000");
    expectSameInAllThreads(wantedRuns(50), [&] { return numbersOf(german); });
}

TEST(ThreadScenario, TheDefaultFormatterServesAllThreads) {
    expectSameInAllThreads(wantedRuns(50),
                           [] { return numbersOf(Formatter::getDefaultInstance()); });
}

TEST(ThreadScenario, EveryThreadChangesAFormatterOfItsOwn) {
    expectSameInAllThreads(wantedRuns(10), [] {
        std::string lines;
        Formatter formatter(Formatter::SHORT, Formatter::SHORT, "en_US");
        for (const char* const locale : {"de_DE", "fr_FR", "ar_EG", "hi_IN", "pt_BR"}) {
            formatter.setSettings(Formatter::LONG, Formatter::LONG, locale);
            lines += numbersOf(formatter);
        }
        return lines;
    });
}

TEST(ThreadScenario, StrictNumbersAreTheSameInAllThreads) {
    expectSameInAllThreads(wantedRuns(100), [] {
        UnicodeString text;
        for (const char16_t* const number : {u"1.5", u" 0x1.8p4 ", u"123456789.0123456789e-3"}) {
            Formatter::doubleToString(text, Formatter::stringToDouble(number));
        }
        Formatter::int32ToString(text, Formatter::stringToInt32(u"-42"));
        Formatter::uint64ToString(text, Formatter::stringToUint64(u"18446744073709551615"));
        return utf8(text);
    });
}

TEST(ThreadScenario, TheLocaleTableIsTheSameInAllThreads) {
    expectSameInAllThreads(wantedRuns(50), [] {
        NLSUtility& locales = NLSUtility::getInstance();
        std::string lines = locales.getEnvironmentLocale();
        for (int i = 0; i < locales.getNumPrimaryLocales(); ++i) {
            const std::string key = locales.getPrimaryLocales()[i];
            icu::Locale locale;
            locales.getLocale(locale, (key + ".UTF-8").c_str());
            lines += locales.getStandardLocaleValue(key.c_str());
            lines += locales.isSupported(key.c_str()) ? locale.getName() : "unknown";
        }
        return lines + NLSUtility::getDefaultCodePage() + locales.getDefaultLocale();
    });
}

/// Accepts until the server is stopped: the number of connections.
unsigned long acceptUntilStopped(SocketServer& server, std::atomic<unsigned long>& accepted) {
    constexpr unsigned long SLICE_MS = 5;
    std::list<Socket> connections;
    for (;;) {
        try {
            WatchedLocale::look();
            Socket& target = connections.emplace_back();
            server.accept(target, &SLICE_MS);
            ++accepted;
        } catch (const oss::SocketException& e) {
            connections.pop_back();
            const oss::Message& message = e.messages.getFirstMessage();
            if (utf8(message.getMessageID()) != "ERR_SOCKET_TIMEOUT") {
                EXPECT_EQ(utf8(message.getMessageID()), "NX_ERR_SOCKET_ERROR");
                EXPECT_EQ(utf8(message.getMessageArgs().front()), "22");
                return connections.size();
            }
        }
    }
}

void stopAServerWhileItAccepts(bool both, unsigned long connectionsBefore) {
    SocketServer server;
    server.listen(0, 64, true);
    std::atomic<unsigned long> accepted{0};
    unsigned long kept = 0;
    {
        const JoinedThread acceptor([&] { kept = acceptUntilStopped(server, accepted); });
        std::vector<FileDescriptor> clients;
        for (unsigned long i = 0; i < connectionsBefore; ++i) {
            clients.push_back(connectTo(server.getPort()));
        }
        while (accepted < connectionsBefore) {
            std::this_thread::yield();
        }
        // One more, which may or may not be taken.
        clients.push_back(connectTo(server.getPort()));
        both ? server.shutdownReadWrite() : server.shutdownRead();
    }
    EXPECT_EQ(kept, accepted);
    EXPECT_LE(accepted, connectionsBefore + 1);
    EXPECT_FALSE(server.isListening());
}

TEST(ThreadScenario, AServerIsStoppedWhileAnotherThreadAccepts) {
    const NoDescriptorLeak noLeak;
    const long rounds = wantedRuns(50);
    const auto done = together<4>([&](int thread) {
        for (long round = 0; round < rounds; ++round) {
            stopAServerWhileItAccepts(thread % 2 == 0, static_cast<unsigned long>(round % 4));
        }
        return 1;
    });
    EXPECT_EQ(done, std::vector<int>(4, 1));
}

/// A thread waits for bytes that never come; two others shut the connection down, each through a
/// copy of its own.
void endAReadFromElsewhere() {
    Connection connection;
    Socket first = connection.socket;
    Socket second = connection.socket;
    char byte = 0;
    unsigned long received = 99;
    {
        const JoinedThread reader([&] { received = connection.socket.read(&byte, 0, 1); });
        const JoinedThread reading([&] { first.shutdownRead(); });
        const JoinedThread everything([&] {
            try {
                second.shutdownReadWrite();
            } catch (const oss::SocketException& e) {
                EXPECT_EQ(utf8(e.messages.getFirstMessage().getMessageID()),
                          "NX_ERR_SOCKET_NOT_CONNECTED");
            }
        });
    }
    EXPECT_EQ(received, 0u);
    connection.socket.close();
}

TEST(ThreadScenario, AConnectionIsShutDownThroughCopiesWhileAnotherThreadReads) {
    const NoDescriptorLeak noLeak;
    const long rounds = wantedRuns(50);
    const auto done = together<4>([&](int /*thread*/) {
        for (long round = 0; round < rounds; ++round) {
            endAReadFromElsewhere();
            WatchedLocale::look();
        }
        return 1;
    });
    EXPECT_EQ(done, std::vector<int>(4, 1));
}

/// Counts how often it has begun to run, and how often it has left.
class Counted : public oss::Runnable {
  public:
    explicit Counted(bool waits) : waits_(waits) {}
    void run() override {
        const Leaving leaving{left_};
        begun_.open();
        if (waits_) {
            never_.wait();
        }
    }
    void awaitBegin() { begun_.wait(); }
    void awaitEnd() { left_.wait(); }

  private:
    struct Leaving {
        ~Leaving() { left.open(); }
        Gate& left;
    };

    bool waits_;
    Gate begun_;
    Gate left_;
    Gate never_;
};

void startAndJoin() {
    Counted work(false);
    oss::Thread thread(&work, false);
    ASSERT_EQ(0, thread.start());
    ASSERT_EQ(0, thread.join());
    work.awaitEnd();
}

void startAndDetach() {
    Counted work(false);
    oss::Thread thread(&work, false);
    ASSERT_EQ(0, thread.start());
    ASSERT_EQ(0, thread.detach());
    work.awaitEnd();
}

void startAndStop() {
    Counted work(true);
    oss::Thread thread(&work, false);
    ASSERT_EQ(0, thread.start());
    work.awaitBegin();
    ASSERT_EQ(0, thread.stop());
    ASSERT_EQ(0, thread.join());
    work.awaitEnd();
}

void detachAndDestroy() {
    Counted work(true);
    {
        oss::Thread thread(&work, false);
        ASSERT_EQ(0, thread.start());
        work.awaitBegin();
        ASSERT_EQ(0, thread.detach());
    }
    work.awaitEnd();
}

void startWithARunnableToDelete() {
    oss::Thread thread(new Counted(false), true);
    ASSERT_EQ(0, thread.start());
    thread.setName("named");
    ASSERT_EQ(0, thread.join());
}

TEST(ThreadScenario, FourThreadsLeadThreadsThroughTheirLives) {
    using Life = void (*)();
    constexpr Life LIVES[] = {startAndJoin, startAndDetach, startAndStop, detachAndDestroy,
                              startWithARunnableToDelete};
    const long rounds = wantedRuns(100);
    const auto done = together<4>([&](int thread) {
        for (long round = 0; round < rounds; ++round) {
            LIVES[static_cast<std::size_t>(round + thread) % std::size(LIVES)]();
            WatchedLocale::look();
        }
        return 1;
    });
    EXPECT_EQ(done, std::vector<int>(4, 1));
}

}  // namespace
}  // namespace nx::test
