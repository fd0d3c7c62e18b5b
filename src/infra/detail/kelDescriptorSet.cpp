#include "infra/detail/kelDescriptorSet.h"

#include <cerrno>

#include <sys/select.h>

#include "infra/detail/kelCancellation.h"

namespace nx::oss::detail {

namespace {

fd_set* systemSet(std::uint64_t* words) { return reinterpret_cast<fd_set*>(words); }

long countDescriptors(const std::uint64_t* words, unsigned long count) {
    long descriptors = 0;
    for (unsigned long i = 0; words != nullptr && i < count; ++i) {
        // Why: few are ready as a rule, and without a machine instruction each count is a call.
        if (words[i] != 0) {
            descriptors += __builtin_popcountll(words[i]);
        }
    }
    return descriptors;
}

}  // namespace

int awaitDescriptors(long highest, std::uint64_t* readWords, std::uint64_t* writeWords,
                     std::uint64_t* exceptWords, timeval* limit) {
    const int ready = cancellable([&] {
        return ::select(static_cast<int>(highest) + 1, systemSet(readWords), systemSet(writeWords),
                        systemSet(exceptWords), limit);
    });
    if (ready < 0) {
        return ready;
    }
    // The system does not look at descriptors above the process's table of open files and leaves
    // their bits as they were. More bits than it counted: one of them is not open.
    const unsigned long words = descriptorWords(highest);
    if (countDescriptors(readWords, words) + countDescriptors(writeWords, words) +
            countDescriptors(exceptWords, words) >
        ready) {
        errno = EBADF;
        return -1;
    }
    return ready;
}

}  // namespace nx::oss::detail
