// Resolves a host and keeps the answer in a file, for kelRecordClient.

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include <infra/oss/kelSocket.h>

#include "kelExampleTools.h"
#include "kelRecordFile.h"

namespace {

using nx::oss::Socket;

constexpr char USAGE[] =
    "Usage: kelResolver HOST PORT FILE\n"
    "Asks the resolver for the addresses of HOST and writes them, with PORT, as an\n"
    "address record to FILE. kelRecordClient connects from it without asking again.\n"
    "\n"
    "  --version  show the version of the library that is used\n"
    "  --help     show this text\n"
    "\n"
    "Exit status: 0, 1 when the host has no address or FILE cannot be written, which\n"
    "is reported on standard error, 2 for wrong usage.\n";

constexpr int ARGUMENTS = 3;

struct Options {
    icu::UnicodeString host;
    unsigned short port = 0;
    std::string file;
};

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {{"version", no_argument, nullptr, 'v'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {nullptr, 0, nullptr, 0}};
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        if (found == 'v') {
            example::printVersion();
            std::exit(EXIT_SUCCESS);
        }
        if (found == 'h') {
            std::cout << USAGE;
            std::exit(EXIT_SUCCESS);
        }
        std::cerr << "Try 'kelResolver --help'.\n";
        std::exit(example::EXIT_WRONG_USAGE);
    }
    if (argc - optind != ARGUMENTS) {
        example::refuseUsage("a host, a port and a file are needed");
    }
    return {icu::UnicodeString::fromUTF8(argv[optind]),
            static_cast<unsigned short>(example::requireNumber("PORT", argv[optind + 1], 65535)),
            argv[optind + 2]};
}

void exportRecord(const Options& options) {
    example::AddressRecord record;
    const int code = Socket::exportAddrInfo(options.host, options.port, record);
    if (code != 0) {
        // The system has no text for the one code that the library adds.
        const char* const reason =
            code == EAI_OVERFLOW ? "the name does not fit into a record" : gai_strerror(code);
        throw std::runtime_error("cannot resolve " + example::printable(options.host) + ": " +
                                 reason);
    }
    // Addresses that do not fit are left out without a sign; none may be left.
    const int addresses = example::countAddresses(record);
    example::writeRecord(options.file, record);
    std::cout << example::printable(options.host) << ", port " << options.port << ": " << addresses
              << (addresses == 1 ? " address, " : " addresses, ") << record.usedLength
              << " bytes used\n";
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    return example::runProgram([&] { exportRecord(options); });
}
