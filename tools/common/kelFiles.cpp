#include "common/kelFiles.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace {

constexpr std::size_t BUFFER_SIZE = 65536;
constexpr int NO_DESCRIPTOR = -1;

std::string quotedNameOf(const std::string& path) {
    return path == STANDARD_INPUT ? nameOf(path) : "'" + nameOf(path) + "'";
}

/// The file that a link leads to, also one that is yet to be made; the path itself when it is none.
std::string followLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (real) {
        return real.get();
    }
    std::error_code failure;
    const std::filesystem::path target =
        errno == ENOENT ? std::filesystem::read_symlink(path, failure) : std::filesystem::path();
    return target.empty()
               ? path
               : followLinks((std::filesystem::path(path).parent_path() / target).string());
}

// The file beside another one that a signal must not leave behind. A handler may read it at any
// moment, so it is a plain array, and empty while it changes.
char unfinished[4096];
constexpr int ENDING_SIGNALS[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU, SIGXFSZ};

extern "C" void removeUnfinished(int signal) {
    unlink(unfinished);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Signals that the caller wants ignored, as nohup does, stay so.
void handleEndingSignals(void (*handler)(int)) {
    for (const int signal : ENDING_SIGNALS) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            std::signal(signal, handler);
        }
    }
}

void rememberUnfinished(const std::string& path) {
    unfinished[path.copy(unfinished, sizeof unfinished - 1)] = '\0';
    handleEndingSignals(removeUnfinished);
}

void forgetUnfinished() {
    handleEndingSignals(SIG_DFL);
    unfinished[0] = '\0';
}

mode_t permissionsOfNewFiles() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

std::string nameOf(const std::string& path) {
    return path == STANDARD_INPUT ? "standard input" : printable(path);
}

ExitStatus forEachFile(const std::vector<std::string>& paths,
                       const std::function<ExitStatus(const std::string&)>& work) {
    ExitStatus worst = ALL_WELL;
    for (const std::string& path : paths) {
        try {
            worst = std::max(worst, work(path));
        } catch (const Failure& failure) {
            complain(failure.what());
            worst = FAILED;
        }
    }
    return worst;
}

void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // Opened the wrong way round: what uses it fails. A new descriptor gets the lowest number.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", flags) != descriptor) {
            failWithErrno("open '/dev/null'");
        }
    }
}

InputFile::InputFile(const std::string& path)
    : path_(path),
      descriptor_(path == STANDARD_INPUT ? STDIN_FILENO
                                         : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ == NO_DESCRIPTOR) {
        failWithErrno("read " + quotedNameOf(path));
    }
}

InputFile::~InputFile() {
    if (descriptor_ != STDIN_FILENO) {
        close(descriptor_);
    }
}

std::size_t InputFile::read(char* buffer, std::size_t size) {
    std::size_t length = 0;
    while (length < size) {
        const ssize_t count = ::read(descriptor_, buffer + length, size - length);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            failWithErrno("read " + quotedNameOf(path_));
        }
        length += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return length;
}

std::size_t InputFile::expectedSize() const {
    struct stat status {};
    const bool isFile = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? static_cast<std::size_t>(status.st_size) : 0;
}

std::string readWhole(const std::string& path, std::size_t largest) {
    const auto refuseMoreThan = [&](std::size_t size) {
        if (size > largest) {
            throw Failure(quotedNameOf(path) + " has more than " + std::to_string(largest) +
                          " bytes, which is too much");
        }
    };
    InputFile file(path);
    refuseMoreThan(file.expectedSize());
    std::string content;
    content.reserve(file.expectedSize());
    std::vector<char> block(BUFFER_SIZE);
    while (const std::size_t length = file.read(block.data(), block.size())) {
        content.append(block.data(), length);
        refuseMoreThan(content.size());
    }
    return content;
}

Output::Output(std::string name, int descriptor)
    : name_(std::move(name)), descriptor_(descriptor) {}

void Output::write(std::string_view bytes) {
    buffer_.append(bytes);
    if (buffer_.size() >= BUFFER_SIZE) {
        flush();
    }
}

void Output::flush() {
    std::size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t count = ::write(descriptor_, buffer_.data() + done, buffer_.size() - done);
        if (count < 0 && errno != EINTR) {
            buffer_.clear();
            failWithErrno("write " + name_);
        }
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    buffer_.clear();
}

Output& standardOutput() {
    static Output output("standard output", STDOUT_FILENO);
    return output;
}

void print(const std::string& line) { standardOutput().write(line + "\n"); }

ReplacedFile::ReplacedFile(const std::string& path, const std::string& model)
    : Output("'" + printable(path) + "'", NO_DESCRIPTOR), path_(followLinks(path)), model_(model) {
    struct stat status {};
    const bool exists = stat(path_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        failWithErrno("write '" + printable(path) + "'");
    }
    if (exists && S_ISDIR(status.st_mode)) {
        throw Failure("cannot write '" + printable(path) + "': it is a folder");
    }
    if (!exists || S_ISREG(status.st_mode)) {
        openBeside();
        return;
    }
    setDescriptor(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
    if (descriptor() == NO_DESCRIPTOR) {
        failWithErrno("write '" + printable(path) + "'");
    }
}

void ReplacedFile::openBeside() {
    std::string pattern = path_ + ".XXXXXX";
    setDescriptor(mkostemp(pattern.data(), O_CLOEXEC));
    if (descriptor() == NO_DESCRIPTOR) {
        failWithErrno("write a file beside '" + printable(path_) + "'");
    }
    besides_ = pattern;
    rememberUnfinished(besides_);
}

ReplacedFile::~ReplacedFile() {
    if (descriptor() != NO_DESCRIPTOR) {
        close(descriptor());
    }
    if (!besides_.empty()) {
        unlink(besides_.c_str());
        forgetUnfinished();
    }
}

void ReplacedFile::takeOver() {
    struct stat status {};
    const bool exists = stat(model_.c_str(), &status) == 0;
    const mode_t permissions = exists ? status.st_mode & 07777 : permissionsOfNewFiles();
    // The group of a new file may be that of its folder.
    struct stat own {};
    const bool differs = exists && (fstat(descriptor(), &own) != 0 || status.st_uid != own.st_uid ||
                                    status.st_gid != own.st_gid);
    if (differs && fchown(descriptor(), status.st_uid, status.st_gid) != 0) {
        failWithErrno("give the new '" + printable(path_) + "' to its owner");
    }
    if (fchmod(descriptor(), permissions) != 0 || fsync(descriptor()) != 0) {
        failWithErrno("write '" + printable(path_) + "'");
    }
}

void ReplacedFile::commit() {
    flush();
    if (!besides_.empty()) {
        takeOver();
    }
    const int finished = descriptor();
    setDescriptor(NO_DESCRIPTOR);
    if (close(finished) != 0 ||
        (!besides_.empty() && rename(besides_.c_str(), path_.c_str()) != 0)) {
        failWithErrno("write '" + printable(path_) + "'");
    }
    if (!besides_.empty()) {
        besides_.clear();
        forgetUnfinished();
    }
}

/// The folder is locked, as the file itself gives way to another one. Where folders cannot be
/// locked, or not be read, there is no lock.
ChangeLock::ChangeLock(const std::string& path) {
    const std::string folder = std::filesystem::path(followLinks(path)).parent_path().string();
    descriptor_ = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (descriptor_ >= 0 && flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
}

ChangeLock::~ChangeLock() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

}  // namespace tools
