#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <infra/oss/kelSocketServer.h>

#include <regex>

#include "kelitem/kelStatistics.h"
#include "tools/kelToolProcess.h"

namespace {

using nx::oss::Socket;
using tests::runTool;
using tests::TestFolder;
using tests::ToolResult;
using tests::Words;

const std::string HOST = "127.0.0.1";

ToolResult kelitem(const Words& words, const std::string& input = "") {
    return runTool("kelitem", words, input);
}

/// "kelitem serve" with options, and its port.
class ServedItems {
  public:
    explicit ServedItems(Words options = {}) : tool_(folder_, "kelitem", withServe(options)) {
        const std::string line = tool_.firstLine();
        EXPECT_TRUE(std::regex_match(line, std::regex("listening on port [1-9][0-9]*"))) << line;
        port_ = line.substr(line.rfind(' ') + 1);
    }

    const std::string& port() const { return port_; }
    void signal(int number) { tool_.signal(number); }
    ToolResult end() { return tool_.end(); }
    ToolResult stop() {
        signal(SIGTERM);
        return end();
    }
    void connect(Socket& socket) const {
        const unsigned long timeoutMs = 10000;
        socket.connect(icu::UnicodeString::fromUTF8(HOST), std::stoul(port_), &timeoutMs);
    }

  private:
    static Words withServe(Words options) {
        options.insert(options.begin(), "serve");
        return options;
    }

    TestFolder folder_;
    tests::RunningTool tool_;
    std::string port_;
};

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(KelitemServe, AnswersItemsUntilASignalComes) {
    for (const int number : {SIGTERM, SIGINT}) {
        ServedItems server;
        Socket client;
        server.connect(client);
        client.writeItem("hello", 0, 5);
        char answer[8] = {};
        unsigned long announced = 0;
        EXPECT_EQ(client.readItem(answer, announced, 0, sizeof answer, false), 5U);
        EXPECT_STREQ(answer, "hello");
        server.signal(number);
        const ToolResult result = server.end();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "1 connection, 1 item, 5 bytes\n");
        EXPECT_EQ(result.err, "");
    }
}

TEST(KelitemServe, WithoutItsPortLeavesWhatAnotherOneSaves) {
    const TestFolder folder;
    const std::string saved = folder.path("saved");
    ServedItems server({"--save", saved});
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "ab"}).status, 0);
    const ToolResult second = kelitem({"serve", "--port", server.port(), "--save", saved});
    EXPECT_EQ(second.status, 3);
    EXPECT_EQ(second.err.rfind("kelitem: cannot listen on port " + server.port() + "\n", 0), 0U);
    EXPECT_EQ(folder.content("saved"), std::string("\0\0\0\2ab", 6));
    EXPECT_EQ(server.stop().status, 0);
}

TEST(KelitemServe, EndsWhenItCannotSave) {
    ServedItems server({"--save", "/dev/full"});
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "ab"}).status, 3);
    const ToolResult result = server.end();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "1 connection, 0 items, 0 bytes\n");
    EXPECT_EQ(result.err, "kelitem: cannot write '/dev/full': No space left on device\n");
}

TEST(KelitemServe, SavesNothingOfItsOwnWhereStandardOutputIsClosed) {
    const TestFolder folder;
    const ToolResult result = tests::runToolInShell(R"(exec "$0" serve --save "$1" >&-)", "kelitem",
                                                    {folder.path("saved")});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "kelitem: cannot write standard output: Bad file descriptor\n");
    EXPECT_EQ(folder.content("saved"), "");
}

TEST(KelitemSend, RefusesAFileThatIsTooLongWithoutReadingIt) {
    const TestFolder folder;
    const std::string file = folder.file("long", "");
    ASSERT_EQ(truncate(file.c_str(), (1L << 32U) + 1), 0);
    ServedItems server;
    const ToolResult result = kelitem({"send", HOST, server.port(), file});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "kelitem: '" + file + "' has more than 4294967295 bytes, which is too much\n");
    EXPECT_EQ(server.stop().status, 0);
}

TEST(KelitemServe, StopsAfterTheWantedConnections) {
    ServedItems server({"--connections", "2"});
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "a"}).status, 0);
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "bc"}).status, 0);
    const ToolResult result = server.end();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "2 connections, 2 items, 3 bytes\n");
}

TEST(KelitemServe, AnItemAboveTheLimitEndsTheConnectionWithTheLibrarysError) {
    ServedItems server({"--max-length", "4"});
    const ToolResult fitting = kelitem({"send", HOST, server.port(), "-x", "abcd"});
    EXPECT_EQ(fitting.status, 0) << fitting.err;
    const ToolResult refused = kelitem({"send", HOST, server.port(), "-x", "abcde"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_TRUE(std::regex_search(
        refused.err,
        std::regex("^kelitem: (ERR_SOCKET_CLOSED|NX_ERR_SOCKET_(CONNECTION_RESET|BROKEN_PIPE)): "
                   "\\[\\] - \\[127\\.0\\.0\\.1\\] \\[[0-9]+\\]\nkelitem: the other side")))
        << refused.err;
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", ""}).status, 0) << "it goes on serving";
    const ToolResult result = server.stop();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err.rfind(
                  "kelitem: client 2: ERR_DEST_BUFFER_TOO_SMALL: [] - [4] [5]: an item was", 0),
              0U)
        << result.err;
}

TEST(KelitemServe, ALengthThatNothingFollowsIsReported) {
    // A server that is stopped reports no client that has not ended; this one waits for both.
    ServedItems server({"--max-length", "268435456", "--connections", "2"});
    Socket client;
    server.connect(client);
    client.write(
        "\x10\0\0\0"
        "a",
        0, 5);
    client.close();
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "a"}).status, 0);
    const ToolResult result = server.end();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err,
                         "client 1: the other side closed after 1 of 268435456 bytes of an item"))
        << result.err;
}

TEST(KelitemServe, AConnectionThatEndsInsideALengthIsReported) {
    ServedItems server;
    Socket client;
    server.connect(client);
    client.write("\0\0", 0, 2);
    client.shutdownWrite();
    char byte = 0;
    EXPECT_EQ(client.readOnce(&byte, 0, 1), 0);
    EXPECT_TRUE(
        contains(server.stop().err, "client 1: the other side sent 2 of the 4 bytes of a length"));
}

TEST(KelitemServe, AConnectionOnWhichNothingMovesIsEnded) {
    ServedItems server({"--timeout", "50"});
    Socket client;
    server.connect(client);
    char byte = 0;
    EXPECT_EQ(client.readOnce(&byte, 0, 1), 0);
    const ToolResult result = server.stop();
    EXPECT_EQ(result.err,
              "kelitem: client 1: NX_ERR_SOCKET_ERROR: [] - [11] [] [0]: nothing moved "
              "in time; allow more with --timeout\n");
}

TEST(KelitemServe, ASignalEndsConnectedClients) {
    ServedItems server;
    Socket idle;
    server.connect(idle);
    Socket inside;
    server.connect(inside);
    inside.write("\0\0\0\x09half", 0, 8);
    EXPECT_EQ(kelitem({"send", HOST, server.port(), "-x", "a"}).status, 0);
    const ToolResult result = server.stop();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "3 connections, 1 item, 1 byte\n");
    EXPECT_EQ(result.err, "");
}

TEST(KelitemServe, APortInUseIsAFailure) {
    ServedItems server;
    const ToolResult result = kelitem({"serve", "--port", server.port()});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(
        result.err.rfind("kelitem: cannot listen on port " + server.port() +
                             "\nkelitem: NX_ERR_SOCKET_ADDRESS_IN_USE: [] - [localhost] [0]\n",
                         0),
        0U)
        << result.err;
}

TEST(KelitemServe, SavesAStreamThatDumpReads) {
    const TestFolder folder;
    ServedItems server({"--no-answer", "--save", folder.path("items"), "-c1"});
    EXPECT_EQ(kelitem({"send", "-a", "none", "-l", HOST, server.port()}, "one\n\nthree").status, 0);
    EXPECT_EQ(server.end().status, 0);
    EXPECT_EQ(folder.content("items"), std::string("\0\0\0\3one\0\0\0\0\0\0\0\5three", 20));
    const ToolResult dump = kelitem({"dump", "--text", folder.path("items")});
    EXPECT_EQ(dump.status, 0);
    EXPECT_EQ(dump.out,
              "item 1: offset 0, 3 bytes\n  one\nitem 2: offset 7, 0 bytes\n"
              "item 3: offset 11, 5 bytes\n  three\n3 items, 8 bytes\n");
    EXPECT_EQ(kelitem({"serve", "--save", "/nowhere/items"}).status, 3);
}

TEST(KelitemSend, SendsFilesLinesAndTexts) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a\nb\n");
    ServedItems server;
    const std::regex summary(
        "1 item, 4 bytes sent and answered, [0-9.]+ m?s, [0-9.]+ [A-Za-z]+/s\n");
    EXPECT_TRUE(std::regex_match(kelitem({"send", HOST, server.port(), file}).out, summary));
    EXPECT_EQ(kelitem({"send", "-a", "print", HOST, server.port(), file}).out, "a\nb\n\n");
    EXPECT_EQ(kelitem({"send", "-a", "print", "-l", HOST, server.port(), file}).out, "a\nb\n");
    EXPECT_EQ(kelitem({"send", "-a", "print", HOST, server.port()}, "in").out, "in\n");
    EXPECT_EQ(kelitem({"send", "-qacheck", HOST, server.port(), file, file}).out, "");
    EXPECT_EQ(kelitem({"send", "--text=x", "-aprint", HOST, server.port()}).out, "x\n");
    EXPECT_EQ(kelitem({"send", "--quiet", "-m0", HOST, server.port(), file}).status, 3);
    EXPECT_EQ(server.stop().out, "7 connections, 9 items, 25 bytes\n");
}

TEST(KelitemSend, SendsALongItemWhole) {
    const TestFolder folder;
    std::string content(5000003, 'x');
    for (std::size_t i = 0; i < content.size(); i += 7) {
        content[i] = static_cast<char>(i);
    }
    ServedItems server;
    const ToolResult result =
        kelitem({"send", "--answers=check", HOST, server.port(), folder.file("f", content)});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out.rfind("1 item, 5000003 bytes sent and answered, ", 0), 0U);
    EXPECT_EQ(result.err, "") << "progress is for terminals";
    const ToolResult limited =
        kelitem({"send", "--max-length=5000002", HOST, server.port(), folder.path("f")});
    EXPECT_EQ(limited.status, 3);
    EXPECT_EQ(
        limited.err.rfind("kelitem: ERR_DEST_BUFFER_TOO_SMALL: [] - [5000002] [5000003]\n", 0), 0U);
}

TEST(KelitemSend, FailuresAreThoseOfTheLibraryWithAdvice) {
    std::string closed;
    {
        ServedItems server;
        closed = server.port();
        server.stop();
    }
    const ToolResult refused = kelitem({"send", HOST, closed, "-x", "a"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.err, "kelitem: NX_ERR_SOCKET_CONNECTION_REFUSED: [] - [127.0.0.1] [" +
                               closed +
                               "]\nkelitem: nothing listens there; start the server, or check host "
                               "and port\n");
    const ToolResult unknown = kelitem({"send", "no.such.host.invalid", "1", "-x", "a"});
    EXPECT_EQ(unknown.status, 3);
    EXPECT_EQ(unknown.err.rfind(
                  "kelitem: ERR_SOCKET_GETADDRINFO_ERROR: [] - [no.such.host.invalid] [1]", 0),
              0U);
}

TEST(KelitemSend, AServerThatDoesNotAnswerIsATimeout) {
    ServedItems server({"--no-answer"});
    const ToolResult result = kelitem({"send", "-t", "50", HOST, server.port(), "-x", "a"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "kelitem: NX_ERR_SOCKET_ERROR: [] - [11] [127.0.0.1] [" + server.port() +
                              "]\nkelitem: nothing moved in time; allow more with --timeout\n");
}

/// A server of the test's own that gives one answer, whatever it is asked.
ToolResult askedServer(const Words& words, const std::string& answer) {
    nx::oss::SocketServer listener;
    listener.listen(0, 1, false);
    const TestFolder folder;
    Words all = words;
    all.push_back(std::to_string(listener.getPort()));
    tests::RunningTool tool(folder, "kelitem", all);
    Socket peer;
    listener.accept(peer, nullptr);
    char item[64];
    unsigned long announced = 0;
    peer.readItem(item, announced, 0, sizeof item, false);
    peer.write(answer.data(), 0, answer.size());
    peer.shutdownWrite();
    return tool.end();
}

TEST(KelitemSend, AWrongAnswerIsAProblem) {
    const ToolResult wrong =
        askedServer({"send", "-acheck", "-xabc", HOST}, std::string("\0\0\0\3abx", 7));
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(
        wrong.err,
        "kelitem: the answer to item 1 differs from the item: 3 bytes instead of 3, or others\n");
    const ToolResult cut = askedServer({"send", "-xabc", HOST}, std::string("\0\0\0\3ab", 6));
    EXPECT_EQ(cut.status, 3);
    EXPECT_EQ(cut.err, "kelitem: the other side closed after 2 of 3 bytes of an item\n");
}

TEST(KelitemPing, ShowsPercentilesAndAHistogram) {
    ServedItems server;
    const ToolResult result =
        kelitem({"ping", "-c", "20", "-i0", "--size=1000", HOST, server.port()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(std::regex_search(
        result.out,
        std::regex("^127\\.0\\.0\\.1, port " + server.port() +
                   ": 20 answers to items of 1000 bytes\n"
                   "min [0-9.]+ m?s, 50 % [0-9.]+ m?s, 90 % [0-9.]+ m?s, 99 % [0-9.]+ m?s, "
                   "max [0-9.]+ m?s, mean [0-9.]+ m?s\n(below +[0-9.]+ m?s \\| #* +[0-9]+\n)+$")))
        << result.out;
    const ToolResult quiet = kelitem({"ping", "-qc1", HOST, server.port()});
    EXPECT_EQ(std::count(quiet.out.begin(), quiet.out.end(), '\n'), 2);
}

TEST(KelitemPing, AWrongAnswerIsAProblem) {
    const ToolResult result =
        askedServer({"ping", "-qc1", "-s2", HOST}, std::string("\0\0\0\1a", 5));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.out, "1 answer to items of 2 bytes, 1 of them wrong\n"))
        << result.out;
}

TEST(KelitemPing, AnInterruptShowsWhatWasMeasured) {
    nx::oss::SocketServer listener;
    listener.listen(0, 1, false);
    const TestFolder folder;
    tests::RunningTool tool(folder, "kelitem",
                            {"ping", "-i0", HOST, std::to_string(listener.getPort())});
    Socket peer;
    listener.accept(peer, nullptr);
    char item[64];
    unsigned long announced = 0;
    peer.readItem(item, announced, 0, sizeof item, false);
    peer.writeItem(item, 0, announced);
    // The second item waits for its answer in vain.
    peer.readItem(item, announced, 0, sizeof item, false);
    tool.signal(SIGINT);
    const ToolResult result = tool.end();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.out, ": 1 answer to items of 64 bytes\nmin ")) << result.out;
}

TEST(KelitemDump, ShowsBytesInHexadecimal) {
    const ToolResult result = kelitem({"dump"}, std::string("\0\0\0\x12"
                                                            "0123456789abcdef\x01\xE9\0\0\0\0",
                                                            26));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "item 1: offset 0, 18 bytes\n"
              "  00000000  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66  |0123456789abcdef|\n"
              "  00000010  01 e9                                             |..|\n"
              "item 2: offset 22, 0 bytes\n"
              "2 items, 18 bytes\n");
}

TEST(KelitemDump, ShowsAsManyBytesAsWanted) {
    const std::string stream("\0\0\0\5hello\0\0\0\1x", 14);
    EXPECT_EQ(kelitem({"dump", "-xb3"}, stream).out,
              "item 1: offset 0, 5 bytes\n  hel\n  ...\nitem 2: offset 9, 1 byte\n  x\n"
              "2 items, 6 bytes\n");
    EXPECT_EQ(kelitem({"dump", "--bytes=0"}, stream).out,
              "item 1: offset 0, 5 bytes\nitem 2: offset 9, 1 byte\n2 items, 6 bytes\n");
    EXPECT_EQ(kelitem({"dump"}, "").out, "0 items, 0 bytes\n");
}

TEST(KelitemDump, AStreamThatEndsInsideAnItemIsAProblem) {
    const ToolResult inItem = kelitem({"dump"}, std::string("\0\0\0\1x\0\0\0\5ab", 11));
    EXPECT_EQ(inItem.status, 1);
    EXPECT_EQ(inItem.err, "kelitem: the stream ends inside item 2: 2 of 5 bytes\n");
    EXPECT_TRUE(contains(inItem.out, "\n1 item, 1 byte\n")) << inItem.out;
    const ToolResult inLength = kelitem({"dump"}, std::string("\0\0\0\1x\0\0", 7));
    EXPECT_EQ(inLength.status, 1);
    EXPECT_EQ(inLength.err,
              "kelitem: the stream ends inside the length of item 2, at offset 5: 2 of 4 bytes\n");
}

TEST(KelitemDump, AnItemAboveTheLimitEndsInTheLibrarysRecord) {
    const ToolResult result =
        kelitem({"dump", "--max-length", "16"}, std::string("GET / HTTP/1.1\r\n"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        result.err,
        "kelitem: ERR_DEST_BUFFER_TOO_SMALL: [] - [16] [1195725856]\n"
        "kelitem: item 1 announces 1195725856 bytes, above the limit of 16; either this is no "
        "stream of items, or --max-length has to allow more\n");
}

TEST(KelitemProgress, IsForTerminalsOnly) {
    const TestFolder folder;
    const std::string file = folder.file("f", std::string(20000000, 'x'));
    ServedItems server;
    const ToolResult result =
        tests::runToolOnTerminal("kelitem", {"send", HOST, server.port(), file});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.out, "1 item, 20000000 bytes sent and answered")) << result.out;
    EXPECT_TRUE(std::regex_search(
        result.out, std::regex("\rreceived 20.0 MB of 20.0 MB, 100 %, [0-9.]+ [A-Z]*B/s")))
        << result.out;
}

TEST(KelitemStatistics, PercentilesAreTimesThatWereMeasured) {
    const std::vector<double> times{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(tools::percentile(times, 50), 5);
    EXPECT_EQ(tools::percentile(times, 90), 9);
    EXPECT_EQ(tools::percentile(times, 99), 10);
    EXPECT_EQ(tools::percentile(times, 0), 1);
    EXPECT_EQ(tools::percentile({7}, 50), 7);
}

TEST(KelitemStatistics, DurationsAndSizesHaveUnits) {
    EXPECT_EQ(tools::durationText(0.0000431), "0.043 ms");
    EXPECT_EQ(tools::durationText(0.0123456), "12.35 ms");
    EXPECT_EQ(tools::durationText(0.5), "500.0 ms");
    EXPECT_EQ(tools::durationText(12.3456), "12.35 s");
    EXPECT_EQ(tools::sizeText(1), "1 byte");
    EXPECT_EQ(tools::sizeText(999), "999 bytes");
    EXPECT_EQ(tools::sizeText(1500), "1.5 KB");
    EXPECT_EQ(tools::sizeText(64e6), "64.0 MB");
    EXPECT_EQ(tools::sizeText(5e12), "5000.0 GB");
}

TEST(KelitemStatistics, TheHistogramHasAStepForEachLengthOfTime) {
    const std::vector<std::string> lines =
        tools::histogram({0.00003, 0.00004, 0.00004, 0.00015, 0.00016});
    ASSERT_EQ(lines.size(), 3U);
    const std::string blanks(41, ' ');
    EXPECT_EQ(lines[0], "below   0.050 ms | " + std::string(40, '#') + " 3");
    EXPECT_EQ(lines[1], "below   0.100 ms | " + blanks + "0");
    EXPECT_EQ(lines[2], "below   0.200 ms | " + std::string(27, '#') + std::string(14, ' ') + "2");
}

}  // namespace
