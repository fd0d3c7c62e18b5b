#include "kelInstructionProbe.h"

#include <gnu/libc-version.h>
#include <pthread.h>
#include <sys/random.h>
#include <sys/types.h>
#include <unicode/uversion.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// The library seeds its hash from here, so that look-ups take the same way in every run.
extern "C" ssize_t getrandom(void* buffer, size_t length, unsigned) {
    std::memset(buffer, 0x5A, length);
    return static_cast<ssize_t>(length);
}

namespace nx::oss::bench {

namespace {

constexpr std::size_t STACK_SIZE = 1 << 20;
constexpr std::size_t PAGE = 4096;
alignas(PAGE) char stack[STACK_SIZE];

/// What the counts depend on beside the library.
void printConditions() {
    UVersionInfo version;
    char icu[U_MAX_VERSION_STRING_LENGTH];
    u_getVersion(version);
    u_versionToString(version, icu);
    std::printf("g++ %s, ICU %s, glibc %s, %s\n", __VERSION__, icu, gnu_get_libc_version(),
                __builtin_cpu_supports("avx2") ? "AVX2" : "no AVX2");
}

void* countEverything(void*) {
    count("nothing", [] {});
    countText();
    countTokens();
    countBuffers();
    countNumbers();
    countMessages();
    countSettings();
    countNetwork();
    return nullptr;
}

/// A thread has a heap of its own, and here a stack at a place of its own: where memory lies, and
/// so how much of it is copied byte by byte, does not depend on what came before, on the name of
/// the folder, or on the environment.
void countInThread() {
    pthread_attr_t attributes;
    pthread_t thread;
    require(pthread_attr_init(&attributes) == 0, "pthread_attr_init");
    require(pthread_attr_setstack(&attributes, stack, sizeof stack) == 0, "pthread_attr_setstack");
    require(pthread_create(&thread, &attributes, countEverything, nullptr) == 0, "pthread_create");
    require(pthread_join(thread, nullptr) == 0, "pthread_join");
    pthread_attr_destroy(&attributes);
}

}  // namespace

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    if (argc == 2 && std::strcmp(argv[1], "--conditions") == 0) {
        printConditions();
    } else {
        countInThread();
    }
    return EXIT_SUCCESS;
}
