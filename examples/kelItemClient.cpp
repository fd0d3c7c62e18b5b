// A client that sends the lines of files as items to kelItemServer and checks every answer.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <infra/oss/kelSocket.h>

#include "kelExampleTools.h"

namespace {

using nx::oss::Socket;

constexpr char USAGE[] =
    "Usage: kelItemClient [OPTION]... PORT FILE...\n"
    "Sends each line of the files as one item, without its newline, to the item\n"
    "server on PORT, waits for each answer, and checks that it is the same bytes.\n"
    "Files may hold any bytes; an empty line is an item of 0 bytes.\n"
    "\n"
    "  --host NAME   the server's host (default 127.0.0.1)\n"
    "  --timeout MS  give up connecting after MS milliseconds (default 5000)\n"
    "  --whole       send each file as one item\n"
    "  --help        show this text\n"
    "\n"
    "Exit status: 0 when every answer was right, 1 for a failure, which is reported\n"
    "on standard error, 2 for wrong usage.\n";

struct Options {
    std::string host = "127.0.0.1";
    unsigned long timeoutMs = 5000;
    bool whole = false;
    unsigned long port = 0;
    std::vector<std::string> files;
};

struct Totals {
    unsigned long items = 0;
    unsigned long bytes = 0;
};

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    std::vector<char> chunk(1UL << 16);
    while (file) {
        file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        content.append(chunk.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (!file.eof()) {
        throw std::runtime_error("cannot read " + path + ": " + std::strerror(errno));
    }
    return content;
}

/// Sends one item, waits for the answer, and compares.
void exchangeItem(Socket& socket, std::string_view item, std::vector<char>& answer) {
    if (item.size() > example::LARGEST_ITEM) {
        throw std::runtime_error("an item of " + std::to_string(item.size()) +
                                 " bytes is too long");
    }
    socket.writeItem(item.data(), 0, item.size());
    if (answer.size() < item.size()) {
        answer.resize(item.size());
    }
    unsigned long announced = 0;
    const unsigned long received =
        socket.readItem(answer.data(), announced, 0, item.size(), /*discardOversized=*/false);
    if (received < announced) {
        throw std::runtime_error("the server closed in the middle of an answer");
    }
    if (std::string_view(answer.data(), received) != item) {
        throw std::runtime_error("the answer differs from the item");
    }
}

/// Exchanges every line; the last one needs no newline.
Totals exchangeLines(Socket& socket, std::string_view text) {
    Totals totals;
    std::vector<char> answer;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        exchangeItem(socket, line, answer);
        totals.items += 1;
        totals.bytes += line.size();
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return totals;
}

Totals exchangeWhole(Socket& socket, std::string_view content) {
    std::vector<char> answer;
    exchangeItem(socket, content, answer);
    return {1, content.size()};
}

void print(const std::string& path, const Totals& totals, double seconds) {
    const double rate = seconds > 0 ? 1 / seconds : 0;
    std::cout << std::fixed << path << ": " << totals.items << " items, " << totals.bytes
              << " bytes, all answers right, " << std::setprecision(3) << seconds << " s, "
              << std::setprecision(0) << static_cast<double>(totals.items) * rate << " items/s, "
              << std::setprecision(1) << static_cast<double>(totals.bytes) * rate / 1e6
              << " MB/s\n";
}

void exchangeFile(Socket& socket, const std::string& path, bool whole) {
    const std::string content = readFile(path);
    const auto start = std::chrono::steady_clock::now();
    const Totals totals = whole ? exchangeWhole(socket, content) : exchangeLines(socket, content);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    print(path, totals, elapsed.count());
}

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {{"host", required_argument, nullptr, 'o'},
                                     {"timeout", required_argument, nullptr, 't'},
                                     {"whole", no_argument, nullptr, 'w'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        switch (found) {
            case 'o':
                options.host = optarg;
                break;
            case 't':
                options.timeoutMs = example::requireNumber("--timeout", optarg, 1UL << 32);
                break;
            case 'w':
                options.whole = true;
                break;
            case 'h':
                std::cout << USAGE;
                std::exit(EXIT_SUCCESS);
            default:
                std::cerr << "Try 'kelItemClient --help'.\n";
                std::exit(example::EXIT_WRONG_USAGE);
        }
    }
    if (argc - optind < 2) {
        example::refuseUsage("a port and at least one file are needed");
    }
    options.port = example::requireNumber("PORT", argv[optind], 65535);
    options.files.assign(argv + optind + 1, argv + argc);
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    return example::runProgram([&options] {
        Socket socket;
        socket.connect(icu::UnicodeString::fromUTF8(options.host), options.port,
                       &options.timeoutMs);
        for (const std::string& path : options.files) {
            exchangeFile(socket, path, options.whole);
        }
    });
}
