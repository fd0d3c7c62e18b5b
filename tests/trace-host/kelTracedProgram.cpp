// What traceHostTest.sh runs with the trace host: work before main, in it, in a thread, and at
// exit.
#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelRunnable.h>
#include <infra/oss/kelThread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

using namespace nx::oss;

namespace {

DataBuffer early("before main");

class Worker : public Runnable {
  public:
    void run() override {
        DataBuffer text;
        text.appendString("in the thread");
    }
};

/// Far down the stack, however the program is compiled.
__attribute__((noinline)) void failDeepDown(const DataBuffer& odd) {
    asm volatile("" : : "r"(__builtin_alloca(8192)) : "memory");
    char binary[4];
    odd.getBinary(binary, sizeof binary);
}

/// The operation that fails records no exit, which shows as soon as the stack is used from here on.
void fail() {
    const DataBuffer odd("X'0'");
    try {
        failDeepDown(odd);
    } catch (const NLSException&) {
        std::puts("caught");
    }
}

/// Adding is compiled into joining by some compilers, and takes place inside it for all of them.
void joinOneMore(MessageList& list) {
    MessageList more;
    more.addMessage(Message("ERR_MORE", "", Message::SEVERE));
    list.join(more);
}

}  // namespace

int main() {
    std::atexit([] { early.appendString(" and at exit"); });
    fail();
    Worker worker;
    Thread thread(&worker, /*deleteRunnable=*/false);
    thread.start();
    thread.join();
    errno = ELOOP;
    MessageList list;
    list.addMessage(Message("ERR_SAMPLE", "", Message::SEVERE));
    joinOneMore(list);
    std::puts(errno == ELOOP ? "errno is kept" : "errno is lost");
}
