#include "kelGrowth.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <limits>
#include <utility>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT static_cast<void>(0)
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

namespace nx::oss::bench {

namespace {

constexpr std::size_t SIZES = 5;
/// A call that is shorter is repeated until it has lasted so long.
constexpr double LEAST_SECONDS = 0.005;

struct Options {
    std::size_t divisor = 1;
    int repetitions = 3;
    const char* filter = "";
    bool counting = false;
};

std::vector<Growth>& growths() {
    static std::vector<Growth> all;
    return all;
}

// Pages that have been used once stay with the process: otherwise the larger sizes measure how the
// system hands out pages.
void keepPages() {
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_MMAP_MAX, 0);
}

double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Bytes of memory that one run leaves in use while what it returns is held.
double heldBytes(const Run& run) {
    const std::size_t before = mallinfo2().uordblks;
    const Held held = run();
    return held == nullptr ? 0 : static_cast<double>(mallinfo2().uordblks - before);
}

double secondsOf(const Run& run) {
    const double start = threadSeconds();
    int calls = 0;
    do {
        run();
        ++calls;
    } while (threadSeconds() - start < LEAST_SECONDS);
    return (threadSeconds() - start) / calls;
}

/// One size of an operation.
struct Point {
    std::size_t elements;
    Run run;
    double held;
    double seconds = std::numeric_limits<double>::max();
};

std::vector<std::size_t> sizesOf(const Growth& growth, const Options& options) {
    std::vector<std::size_t> sizes;
    for (std::size_t i = SIZES; i-- > 0;) {
        sizes.push_back(std::max<std::size_t>(1, (growth.largest / options.divisor) >> i));
    }
    return sizes;
}

void print(const Growth& growth, const Point& point) {
    const auto elements = static_cast<double>(point.elements);
    std::printf("%s\t%zu\t%.6g\t%.6g\t%.6g\n", growth.what.c_str(), point.elements,
                point.seconds * 1e9, point.held / elements, growth.payload);
}

/// The least time of the repetitions, which go round the sizes, so that load from elsewhere meets
/// all of them alike.
void measure(const Growth& growth, const Options& options) {
    std::vector<Point> points;
    for (const std::size_t size : sizesOf(growth, options)) {
        Run run = growth.prepare(size);
        const double held = heldBytes(run);
        points.push_back({size, std::move(run), held});
    }
    for (int repetition = 0; repetition < options.repetitions; ++repetition) {
        for (Point& point : points) {
            point.seconds = std::min(point.seconds, secondsOf(point.run));
        }
    }
    for (const Point& point : points) {
        print(growth, point);
    }
    std::fflush(stdout);
}

/// For callgrind, which tells the counts of each "operation<tab>elements".
void countInstructions(const Growth& growth, const Options& options) {
    for (const std::size_t size : sizesOf(growth, options)) {
        const Run run = growth.prepare(size);
        run();
        CALLGRIND_TOGGLE_COLLECT;
        run();
        CALLGRIND_TOGGLE_COLLECT;
        const std::string name = growth.what + "\t" + std::to_string(size);
        CALLGRIND_DUMP_STATS_AT(name.c_str());
    }
}

Options optionsOf(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--count") {
            options.counting = true;
            continue;
        }
        require(++i < argc, "options are --divide N, --repetitions N, --filter TEXT, --count");
        if (word == "--divide") {
            options.divisor = std::max(1UL, std::strtoul(argv[i], nullptr, 10));
        } else if (word == "--repetitions") {
            options.repetitions = std::max(1, std::atoi(argv[i]));
        } else {
            require(word == "--filter", "an option is unknown");
            options.filter = argv[i];
        }
    }
    return options;
}

void runAll(const Options& options) {
    for (const Growth& growth : growths()) {
        if (growth.what.find(options.filter) == std::string::npos) {
            continue;
        }
        if (options.counting) {
            countInstructions(growth, options);
        } else {
            measure(growth, options);
        }
    }
}

}  // namespace

void addGrowth(Growth growth) { growths().push_back(std::move(growth)); }

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "kelGrowth: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace nx::oss::bench

// Prints "operation<tab>elements<tab>nanoseconds<tab>bytes held by an element<tab>bytes of payload
// of an element" for each size.
int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    try {
        const Options options = optionsOf(argc, argv);
        keepPages();
        addTextGrowth();
        addTokenGrowth();
        addMessageGrowth();
        addSettingsGrowth();
        addSocketGrowth();
        runAll(options);
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kelGrowth: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
