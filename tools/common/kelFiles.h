#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tools {

/// The name that stands for standard input.
constexpr const char* STANDARD_INPUT = "-";

/// A file that is read from its beginning to its end, or standard input for "-". Throws Failure.
class InputFile {
  public:
    explicit InputFile(const std::string& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    /// Reads up to `size` bytes; fewer only at the end.
    std::size_t read(char* buffer, std::size_t size);

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
/// tool, the file beside it goes. Links are followed, permissions kept. What is no regular file, a
/// device say, is written directly.
class ReplacedFile : public Output {
  public:
    explicit ReplacedFile(const std::string& path);
    ~ReplacedFile() override;

    void commit();

  private:
    void openBeside();
    void takeOver();

    std::string path_;
    std::string besides_;
};

}  // namespace tools
