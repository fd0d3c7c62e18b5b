// The guide's page on threads: work that is divided, and a thread that is asked
// to end.
#include <infra/oss/kelRunnable.h>
#include <infra/oss/kelThread.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

// [work]
// Counts a character in a part of a text.
class Count : public nx::oss::Runnable {
  public:
    Count(const std::string& text, std::size_t begin, std::size_t end)
        : text_(text), begin_(begin), end_(end) {}

    void run() override {
        for (std::size_t i = begin_; i < end_; ++i) {
            result += text_[i] == 'a' ? 1 : 0;
        }
    }

    int result = 0;  // for who has joined

  private:
    const std::string& text_;
    std::size_t begin_;
    std::size_t end_;
};
// [work]

// [start]
// Throws when the system cannot start one more thread.
void requireStart(nx::oss::Thread& thread) {
    if (const int code = thread.start(); code != 0) {
        throw std::system_error(code, std::generic_category(),
                                "cannot start a thread");
    }
}
// [start]

// [divide]
int countInTwoThreads(const std::string& text) {
    Count first(text, 0, text.size() / 2);
    Count second(text, text.size() / 2, text.size());
    nx::oss::Thread other(&second, /*deleteRunnable=*/false);
    requireStart(other);
    first.run();  // this thread works, too
    other.join();
    return first.result + second.result;
}
// [divide]

// [flag]
// Does a piece of work again and again until it is told to end.
class Ticker : public nx::oss::Runnable {
  public:
    void run() override {
        while (!ending_) {
            ++ticks;
            nx::oss::Thread::sleep(1);
        }
    }
    void end() { ending_ = true; }

    std::atomic<int> ticks{0};

  private:
    std::atomic<bool> ending_{false};
};
// [flag]

}  // namespace

int main() {
    std::cout << countInTwoThreads("an abacus, a sample, and a banana") << "\n";

    Ticker ticker;
    nx::oss::Thread thread(&ticker, /*deleteRunnable=*/false);
    requireStart(thread);
    while (ticker.ticks < 3) {
        nx::oss::Thread::sleep(1);
    }
    ticker.end();
    std::cout << thread.join() << "\n";
}
