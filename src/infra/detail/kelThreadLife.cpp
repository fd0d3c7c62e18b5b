#include "infra/detail/kelThreadLife.h"

#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

extern "C" {
static void* kelinfraThread(void* life) {
    return static_cast<nx::oss::detail::ThreadLife*>(life)->run();
}
}

namespace nx::oss::detail {

namespace {

std::shared_ptr<ThreadLife> makeLife(ThreadLife::Body body, void* argument) {
    try {
        return std::make_shared<ThreadLife>(body, argument);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

/// Notes the end of the thread, however it comes about: by return, exit or cancellation.
class ThreadLife::End {
  public:
    explicit End(std::shared_ptr<ThreadLife> life) : life_(std::move(life)) {}
    ~End() {
        const std::lock_guard<std::mutex> lock(life_->mutex_);
        life_->ended_ = true;
    }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

  private:
    std::shared_ptr<ThreadLife> life_;
};

ThreadLife::ThreadLife(Body body, void* argument)
    : body_(body), argument_(argument), process_(::getpid()) {}

bool ThreadLife::isOfThisProcess() const { return process_ == ::getpid(); }

int ThreadLife::start(Body body, void* argument, pthread_t& id, std::shared_ptr<ThreadLife>& life) {
    std::shared_ptr<ThreadLife> created = makeLife(body, argument);
    if (created == nullptr) {
        return EAGAIN;  // what the system says when it lacks the memory for a thread
    }
    created->share_ = created;
    // The system may write an identifier although it fails.
    pthread_t createdId{};
    const int result = pthread_create(&createdId, nullptr, kelinfraThread, created.get());
    if (result != 0) {
        created->share_.reset();
        return result;
    }
    id = createdId;
    life = std::move(created);
    return 0;
}

int ThreadLife::cancel(pthread_t id) {
    // The thread cannot end while this is locked.
    const std::lock_guard<std::mutex> lock(mutex_);
    return ended_ ? 0 : pthread_cancel(id);
}

void* ThreadLife::run() {
    const End end(std::move(share_));
    return body_(argument_);
}

}  // namespace nx::oss::detail
