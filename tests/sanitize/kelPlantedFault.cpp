// A program with the fault that its argument names. What finds none of them finds nothing
// elsewhere.
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

namespace {

void leak() {
    char* volatile block = new char[100];
    block[0] = 'x';
    block = nullptr;
}

void overflowABlock() {
    char* volatile block = new char[8];
    volatile std::size_t behind = 8;
    block[behind] = 'x';
    delete[] block;
}

void readWhatWasNeverWritten() {
    int* volatile block = new int[1];
    if (*block == 1) {
        std::puts("one");
    }
    delete[] block;
}

void overflowANumber() {
    volatile int number = std::numeric_limits<int>::max();
    number = number + 1;
}

void race() {
    int shared = 0;
    std::thread other([&] { ++shared; });
    ++shared;
    other.join();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string fault = argc == 2 ? argv[1] : "";
    const struct {
        const char* name;
        void (*plant)();
    } faults[] = {{"leak", leak},
                  {"overflow-of-a-block", overflowABlock},
                  {"unwritten", readWhatWasNeverWritten},
                  {"overflow-of-a-number", overflowANumber},
                  {"race", race}};
    for (const auto& known : faults) {
        if (fault == known.name) {
            known.plant();
            return EXIT_SUCCESS;
        }
    }
    std::fputs("unknown fault\n", stderr);
    return EXIT_FAILURE;
}
