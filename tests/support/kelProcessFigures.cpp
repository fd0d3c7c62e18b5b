#include "support/kelProcessFigures.h"

#include <malloc.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>

namespace nx::test {

namespace {

std::size_t entriesOf(const std::filesystem::path& folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

/// The number behind "Rss:". Other files of the system tell the same with less exactness: they
/// leave out what each processor has not added up yet.
std::size_t residentKiB(const std::filesystem::path& folder) {
    std::ifstream file(folder / "smaps_rollup");
    for (std::string word; file >> word;) {
        std::size_t number = 0;
        if (word == "Rss:" && file >> number) {
            return number;
        }
    }
    throw std::system_error(errno, std::generic_category(), "cannot read smaps_rollup");
}

}  // namespace

ProcessFigures figuresOf(const std::string& process) {
    const std::filesystem::path folder = "/proc/" + process;
    return {residentKiB(folder), entriesOf(folder / "fd"), entriesOf(folder / "task")};
}

std::size_t heapBytes() {
    if (!MEMORY_TELLS) {
        return 0;
    }
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::ostream& operator<<(std::ostream& out, const ProcessFigures& figures) {
    return out << figures.residentKiB << " KiB resident, " << figures.descriptors
               << " descriptors, " << figures.threads << " threads";
}

}  // namespace nx::test
