#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "tools/kelToolProcess.h"

namespace {

using tests::runTool;
using tests::TestFolder;
using tests::ToolResult;
using tests::Words;

ToolResult kelconv(const Words& words, const std::string& input = "") {
    return runTool("kelconv", words, input);
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(Kelconv, ConvertsStandardInput) {
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1"}, "caf\xC3\xA9\n").out, "caf\xE9\n");
    EXPECT_EQ(kelconv({"--from", "ISO-8859-1", "-"}, "caf\xE9\n").out, "caf\xC3\xA9\n");
    EXPECT_EQ(kelconv({"--from=Shift_JIS", "--to=ISO-2022-JP"}, "\x82\xA0").out, "\x1B$B$\"\x1B(B");
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1"}, "").out, "");
    EXPECT_EQ(kelconv({"-tUTF-16BE"}, "a").out, std::string("\0a", 2));
}

TEST(Kelconv, ConvertsFilesOfManyPieces) {
    const TestFolder folder;
    // 5 bytes in UTF-8, 3 in Shift_JIS: characters lie across every limit of a piece.
    const std::string text = repeated("x\xE3\x81\x82\n", 40001);
    const std::string file = folder.file("in", text);
    ASSERT_EQ(kelconv({"-t", "Shift_JIS", "-o", folder.path("sjis"), file}).status, 0);
    EXPECT_EQ(folder.content("sjis"), repeated("x\x82\xA0\n", 40001));
    for (const char* const page : {"ISO-2022-JP", "UTF-7", "UTF-16", "GB18030", "ISO-2022-KR"}) {
        const std::string other = folder.path("other");
        ASSERT_EQ(kelconv({"-t", page, "-o", other, file}).status, 0) << page;
        ASSERT_EQ(kelconv({"-f", page, "-o", other, other}).status, 0) << page;
        EXPECT_TRUE(folder.content("other") == text) << page;
    }
}

TEST(Kelconv, DealsWithByteOrderMarks) {
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ(kelconv({"-t", "UTF-8"}, mark + "a").out, "a");
    EXPECT_EQ(kelconv({"-t", "UTF-8", "--bom=keep"}, mark + "a").out, mark + "a");
    EXPECT_EQ(kelconv({"-t", "UTF-8", "-bkeep"}, "a").out, "a");
    EXPECT_EQ(kelconv({"-t", "UTF-8", "--bom", "add"}, "a").out, mark + "a");
    EXPECT_EQ(kelconv({"-t", "UTF-8", "--bom", "add"}, mark + "a").out, mark + "a");
    EXPECT_EQ(kelconv({"-t", "UTF-16LE", "--bom", "add"}, "a").out, std::string("\xFF\xFE"
                                                                                "a\0",
                                                                                4));
    EXPECT_EQ(kelconv({"-t", "UTF-16"}, mark + "a").out, std::string("\xFF\xFE"
                                                                     "a\0",
                                                                     4));
    EXPECT_EQ(kelconv({"-t", "UTF-16", "--bom=keep"}, mark + "a").out, std::string("\xFF\xFE"
                                                                                   "a\0",
                                                                                   4));
    EXPECT_EQ(kelconv({"-f", "UTF-16"}, std::string("\xFE\xFF\0a", 4)).out, "a");
    EXPECT_EQ(kelconv({"-f", "UTF-16LE"}, std::string("\xFF\xFE"
                                                      "a\0",
                                                      4))
                  .out,
              "a");
}

TEST(Kelconv, ACharacterThatIsLostEndsTheWork) {
    const TestFolder folder;
    const std::string out = folder.file("out", "before");
    const ToolResult result =
        kelconv({"-t", "ISO-8859-1", "-o", out}, "abc\nx\xE2\x82\xAC \xE2\x82\xAC\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "kelconv: standard input: line 2, character 2: U+20AC '\xE2\x82\xAC' is no character "
              "of ISO-8859-1\n"
              "kelconv: nothing was written; --replace converts all the same\n");
    EXPECT_EQ(folder.content("out"), "before");
    EXPECT_EQ(folder.names(), Words{"out"});
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "--replace"}, "x\xE2\x82\xAC").out, "x\x1A");
}

TEST(Kelconv, MalformedBytesEndTheWork) {
    const ToolResult result = kelconv({"-t", "UTF-16"}, "a\xFF");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "kelconv: standard input: line 1, character 2: the bytes are no character of UTF-8\n"
              "kelconv: the output ends before it; --replace converts all the same\n");
    EXPECT_EQ(kelconv({"-t", "UTF-8", "-r"}, "a\xFF").out, "a\xEF\xBF\xBD");
    EXPECT_EQ(kelconv({"-f", "Shift_JIS"}, "a\x81").status, 1);
    EXPECT_EQ(kelconv({"-f", "UTF-16LE"}, "abc").status, 1);
    EXPECT_EQ(kelconv({"-f", "UTF-16LE"}, std::string("\x3D\xD8"
                                                      "a\0",
                                                      4))
                  .status,
              1);
}

TEST(Kelconv, AReplacementCharacterOfTheTextItselfIsKept) {
    EXPECT_EQ(kelconv({"-t", "UTF-16BE"}, "\xEF\xBF\xBD").out, "\xFF\xFD");
    EXPECT_EQ(kelconv({"-f", "UTF-16"}, std::string("\xFE\xFF\xFF\xFD", 4)).out, "\xEF\xBF\xBD");
    EXPECT_EQ(kelconv({"-f", "ISO-8859-1"}, "a\x1A").out, "a\x1A");
    EXPECT_EQ(kelconv({"-t", "UTF-16BE"}, "\xEF\xBF\xBD\xFF").status, 1);
}

TEST(KelconvCheck, ReportsEveryPlaceInEveryFile) {
    const TestFolder folder;
    const std::string good = folder.file("good", "caf\xC3\xA9\n");
    const std::string bad = folder.file("bad",
                                        "\xFF"
                                        "a\n\xF0\x9F\x98\x80\n");
    const ToolResult result = kelconv({"--check", "--to", "ISO-8859-1", good, bad});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out,
              good + ": no problem\n" + bad +
                  ": line 1, character 1: the bytes are no character of UTF-8\n" + bad +
                  ": line 2, character 1: U+1F600 '\xF0\x9F\x98\x80' is no character of "
                  "ISO-8859-1\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(kelconv({"-c", "-f", "UTF-8", good}).status, 0);
    EXPECT_EQ(kelconv({"-c", "-f", "UTF-8", bad, folder.path("none")}).status, 3);
}

TEST(KelconvCheck, ReportsNoMoreThanTwentyPlaces) {
    const ToolResult result = kelconv({"-c", "-f", "UTF-8"}, repeated("\xFF\n", 25));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 21);
    EXPECT_NE(result.out.find("standard input: and 5 more\n"), std::string::npos);
}

TEST(KelconvCheck, CountsLinesAcrossPieces) {
    const ToolResult result =
        kelconv({"-c", "-f", "UTF-8"}, repeated("some line of text\n", 20000) + "ab\xFF\n");
    EXPECT_EQ(result.out,
              "standard input: line 20001, character 3: the bytes are no character of UTF-8\n");
}

TEST(KelconvList, ShowsNamesThatCanBeUsed) {
    const ToolResult result = kelconv({"--list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("\nUTF-8 "), std::string::npos);
    EXPECT_NE(result.out.find("Shift_JIS"), std::string::npos);
    EXPECT_GE(std::count(result.out.begin(), result.out.end(), '\n'), 200);
    EXPECT_EQ(result.out.find('/'), std::string::npos);
}

TEST(KelconvOutput, KeepsTheFileThatIsThereUntilAllIsWritten) {
    const TestFolder folder;
    const std::string file = folder.file("f", "caf\xC3\xA9\n");
    ASSERT_EQ(chmod(file.c_str(), 0604), 0);
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "-o", file, file}).status, 0);
    EXPECT_EQ(folder.content("f"), "caf\xE9\n");
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0604U);
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "-o", "/dev/null"}, "a").status, 0);
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "-o", "/dev/full"}, "a").status, 3);
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "-o", "/nowhere/f"}, "a").status, 3);
    EXPECT_EQ(kelconv({"-t", "ISO-8859-1", "-o", "/"}, "a").status, 3);
}

TEST(KelconvOutput, ASignalLeavesNothingBeside) {
    const TestFolder folder;
    const std::string out = folder.file("out", "before");
    const std::string fifo = folder.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    tests::RunningTool tool(folder, "kelconv", {"-t", "UTF-16", "-o", out, fifo});
    FILE* const writer = std::fopen(fifo.c_str(), "w");
    std::fputs("a", writer);
    std::fflush(writer);
    // The file beside comes to be after the fifo was opened.
    for (int i = 0; i < 500 && folder.names().size() < 4; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(folder.names().size(), 4U);
    tool.signal(SIGTERM);
    EXPECT_EQ(tool.end().status, 128 + SIGTERM);
    std::fclose(writer);
    EXPECT_EQ(folder.names(), (Words{"fifo", "out", "running.err"}));
    EXPECT_EQ(folder.content("out"), "before");
}

/// Ignores a signal, as nohup does; what is started meanwhile ignores it, too.
class IgnoredSignal {
  public:
    explicit IgnoredSignal(int number) : number_(number), before_(std::signal(number, SIG_IGN)) {}
    IgnoredSignal(const IgnoredSignal&) = delete;
    IgnoredSignal& operator=(const IgnoredSignal&) = delete;
    ~IgnoredSignal() { std::signal(number_, before_); }

  private:
    int number_;
    void (*before_)(int);
};

TEST(KelconvOutput, ASignalThatTheCallerIgnoresDoesNotEndIt) {
    const TestFolder folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const IgnoredSignal ignored(SIGHUP);
    tests::RunningTool tool(folder, "kelconv",
                            {"-f", "ISO-8859-1", "-o", folder.path("out"), pipe});
    // More than a pipe holds: the tool has begun when it is written.
    const std::string text = repeated("0123456789abcdef", 20000);
    std::ofstream writer(pipe, std::ios::binary);
    writer << text << std::flush;
    tool.signal(SIGHUP);
    writer.close();
    EXPECT_EQ(tool.end().status, 0);
    EXPECT_TRUE(folder.content("out") == text);
}

TEST(KelconvOutput, IsKeptWhenItGrowsAboveTheLimitOfTheProcess) {
    const TestFolder folder;
    const std::string in = folder.file("in", repeated("0123456789abcdef", 20000));
    const std::string out = folder.file("out", "before");
    // Blocks of 512 or 1024 bytes, as the shell counts.
    const ToolResult result = tests::runToolInShell(
        R"(ulimit -c 0; ulimit -f 64; exec "$0" -f ISO-8859-1 -o "$1" "$2")", "kelconv", {out, in});
    EXPECT_EQ(result.status, 128 + SIGXFSZ);
    EXPECT_EQ(folder.content("out"), "before");
    EXPECT_EQ(folder.names(), (Words{"in", "out"}));
}

TEST(KelconvOutput, IsNotTakenForAStandardInputThatIsClosed) {
    const TestFolder folder;
    const std::string out = folder.file("out", "before");
    const ToolResult result =
        tests::runToolInShell(R"(exec "$0" -f ISO-8859-1 -o "$1" <&-)", "kelconv", {out});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "kelconv: cannot read standard input: Bad file descriptor\n");
    EXPECT_EQ(folder.content("out"), "before");
}

}  // namespace
