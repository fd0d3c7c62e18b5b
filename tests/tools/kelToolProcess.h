#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tests {

/// How a tool ended, and what it printed.
struct ToolResult {
    int status;  ///< 128 and the signal for one that a signal ended
    std::string out;
    std::string err;
};

using Words = std::vector<std::string>;

/// Starts one of the tools ("kelprops") and waits for its end.
ToolResult runTool(const std::string& tool, const Words& arguments, const std::string& input = "");
/// The same with standard output and standard error on one terminal; both are in `out`.
ToolResult runToolOnTerminal(const std::string& tool, const Words& arguments);
/// The same by a line of shell, in which $0 is the tool and $1 the first argument.
ToolResult runToolInShell(const std::string& line, const std::string& tool,
                          const Words& arguments = {});
/// Runs a program found along the path; status 127 when there is none.
ToolResult runProgram(const Words& command, const std::string& input = "");

/// A folder of its own for a test, gone with it.
class TestFolder {
  public:
    TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder();

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    /// Writes a file and returns its path.
    std::string file(const std::string& name, const std::string& content) const;
    std::string content(const std::string& name) const;
    /// The names of all that is there, in order.
    std::vector<std::string> names() const;

  private:
    std::string folder_;
};

/// A tool that runs while the test goes on.
class RunningTool {
  public:
    RunningTool(const TestFolder& folder, const std::string& tool, const Words& arguments);
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;
    ~RunningTool();

    /// The first line of output, as soon as it is there.
    std::string firstLine();
    void signal(int number) const;
    /// Waits for the end; `out` is without the first line.
    ToolResult end();

  private:
    const TestFolder& folder_;
    pid_t process_ = -1;
    int output_ = -1;
};

}  // namespace tests
