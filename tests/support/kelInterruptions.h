#pragma once

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace nx::test {

/// Sends the creating thread signals whose handler does not let system calls be restarted, again
/// and again until the end of the scope, so that one of them meets the thread waiting.
class Interruptions {
  public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, &before_);
        sender_ = std::thread([this, target = pthread_self()] { sendTo(target); });
    }
    ~Interruptions() {
        stop_ = true;
        sender_.join();
        sigaction(SIGUSR1, &before_, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

  private:
    void sendTo(pthread_t target) const {
        while (!stop_) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    struct sigaction before_ {};
    std::atomic<bool> stop_{false};
    std::thread sender_;
};

}  // namespace nx::test
