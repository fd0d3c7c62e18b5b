#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/kelReport.h"

namespace tools {

/// The name that stands for standard input.
constexpr const char* STANDARD_INPUT = "-";

/// What messages call the file.
std::string nameOf(const std::string& path);

/// Does the work for each file and returns the worst status. Goes on after a Failure, which is
/// reported.
ExitStatus forEachFile(const std::vector<std::string>& paths,
                       const std::function<ExitStatus(const std::string&)>& work);

/// Takes the numbers of standard input, output and error that the caller left closed, so that no
/// file or connection gets one of them and is read or written in its place. Reading or writing them
/// fails as before.
void occupyStandardDescriptors();

/// A file that is read from its beginning to its end, or standard input for "-". Throws Failure.
class InputFile {
  public:
    explicit InputFile(const std::string& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    /// Reads up to `size` bytes; fewer only at the end.
    std::size_t read(char* buffer, std::size_t size);

    /// How many bytes the file has; 0 when only reading tells.
    std::size_t expectedSize() const;

  private:
    std::string path_;
    int descriptor_;
};

/// The bytes of a file, or of standard input for "-". Throws Failure, also for one of more than
/// `largest` bytes.
std::string readWhole(const std::string& path, std::size_t largest);

/// Where a tool puts its bytes. Nothing is lost without a word: throws Failure.
class Output {
  public:
    Output(std::string name, int descriptor);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    void write(std::string_view bytes);
    void flush();

  protected:
    int descriptor() const { return descriptor_; }
    void setDescriptor(int descriptor) { descriptor_ = descriptor; }

  private:
    std::string name_;
    int descriptor_;
    std::string buffer_;
};

/// Standard output; flushed by runTool() at the end.
Output& standardOutput();
/// Writes the line to standard output.
void print(const std::string& line);

/// A file that gets all of its new content or stays as it is: what is written goes to a file
/// beside it, which takes its place in commit(). Without commit(), also when a signal ends the
/// tool, the file beside it goes. Links are followed, owner and permissions kept. What is no
/// regular file, a device say, is written directly.
class ReplacedFile : public Output {
  public:
    explicit ReplacedFile(const std::string& path) : ReplacedFile(path, path) {}
    /// Owner and permissions become those of the file `model`.
    ReplacedFile(const std::string& path, const std::string& model);
    ~ReplacedFile() override;

    void commit();

  private:
    void openBeside();
    void takeOver();

    std::string path_;
    std::string model_;
    std::string besides_;
};

/// While it is there, other tools that want to change the file wait, and others of its folder, too:
/// none overwrites what another one writes between its reading and writing.
class ChangeLock {
  public:
    explicit ChangeLock(const std::string& path);
    ChangeLock(const ChangeLock&) = delete;
    ChangeLock& operator=(const ChangeLock&) = delete;
    ~ChangeLock();

  private:
    int descriptor_;
};

}  // namespace tools
