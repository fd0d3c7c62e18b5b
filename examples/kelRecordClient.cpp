// A client of kelItemServer that takes the server's address from a file of kelResolver.

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <infra/oss/kelSocket.h>

#include "kelExampleTools.h"
#include "kelItemExchange.h"
#include "kelRecordFile.h"

namespace {

using nx::oss::Socket;

constexpr char USAGE[] =
    "Usage: kelRecordClient [OPTION]... FILE TEXT...\n"
    "Connects to an item server from the address record in FILE, without asking the\n"
    "resolver, sends each TEXT as one item, waits for each answer, and checks that it\n"
    "is the same bytes.\n"
    "\n"
    "  --timeout MS  give up connecting after MS milliseconds (default 5000)\n"
    "  --version     show the version of the library that is used\n"
    "  --help        show this text\n"
    "\n"
    "Exit status: 0 when every answer was right, 1 for a failure, which is reported on\n"
    "standard error, 2 for wrong usage or a file that holds no usable record.\n";

struct Options {
    unsigned long timeoutMs = 5000;
    std::string file;
    std::vector<std::string> texts;
};

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {{"timeout", required_argument, nullptr, 't'},
                                     {"version", no_argument, nullptr, 'v'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        switch (found) {
            case 't':
                options.timeoutMs = example::requireNumber("--timeout", optarg, 1UL << 32);
                break;
            case 'v':
                example::printVersion();
                std::exit(EXIT_SUCCESS);
            case 'h':
                std::cout << USAGE;
                std::exit(EXIT_SUCCESS);
            default:
                std::cerr << "Try 'kelRecordClient --help'.\n";
                std::exit(example::EXIT_WRONG_USAGE);
        }
    }
    if (argc - optind < 2) {
        example::refuseUsage("a file and at least one text are needed");
    }
    options.file = argv[optind];
    options.texts.assign(argv + optind + 1, argv + argc);
    return options;
}

/// A record that has addresses. What is wrong with it otherwise is the library's word.
example::AddressRecord requireRecord(const std::string& path) {
    const example::AddressRecord record = example::readRecord(path);
    try {
        example::countAddresses(record);
    } catch (const nx::oss::BaseException&) {
        example::complain(path + " holds no usable address record");
        throw;
    }
    return record;
}

void exchange(const example::AddressRecord& record, const Options& options) {
    const example::Target target = example::targetOf(record);
    Socket socket;
    socket.connect(target.host, target.port, record, &options.timeoutMs);
    std::vector<char> answer;
    for (const std::string& text : options.texts) {
        example::exchangeItem(socket, text, answer);
    }
    std::cout << example::printable(target.host) << ", port " << target.port << ": "
              << options.texts.size() << (options.texts.size() == 1 ? " item" : " items")
              << ", all answers right\n";
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    example::AddressRecord record;
    const int status = example::runProgram([&] { record = requireRecord(options.file); },
                                           example::EXIT_WRONG_USAGE);
    if (status != EXIT_SUCCESS) {
        return status;
    }
    return example::runProgram([&] { exchange(record, options); });
}
