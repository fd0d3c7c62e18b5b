#include "kelStartup.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

// Started again and again by scripts/startup: converts one text and says how much processor time
// the process has taken up to then, since it was started. With "idle" it converts nothing and says
// how much memory it holds.

namespace {

void printProcessorTime() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    std::printf("%ld\n", used.tv_sec * 1'000'000'000 + used.tv_nsec);
}

/// "Rss" is what is mapped and present, "Anonymous" what no other process can share.
void printMemory() {
    std::ifstream rollup("/proc/self/smaps_rollup");
    std::string line;
    while (std::getline(rollup, line)) {
        if (line.rfind("Rss:", 0) == 0 || line.rfind("Anonymous:", 0) == 0) {
            std::puts(line.c_str());
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    if (argc == 2 && std::strcmp(argv[1], "idle") == 0) {
        printMemory();
        return EXIT_SUCCESS;
    }
    if (convertFirstText() != FIRST_TEXT_LENGTH) {
        std::fputs("wrong result\n", stderr);
        return EXIT_FAILURE;
    }
    printProcessorTime();
    return EXIT_SUCCESS;
}
