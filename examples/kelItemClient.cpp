// A client that sends the lines of files as items to kelItemServer and checks every answer.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <infra/oss/kelDataBuffer.h>
#include <infra/oss/kelFormatter.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocket.h>
#include <infra/oss/kelUTF8Iterator.h>

#include "kelExampleTools.h"
#include "kelExchangeSettings.h"
#include "kelItemExchange.h"

namespace {

using example::ExchangeSettings;
using nx::oss::DataBuffer;
using nx::oss::Socket;

constexpr char USAGE[] =
    "Usage: kelItemClient [OPTION]... [PORT [FILE]...]\n"
    "Sends each line of the files as one item, without its newline, to the item\n"
    "server on PORT, waits for each answer, and checks that it is the same bytes.\n"
    "Files may hold any bytes; an empty line is an item of 0 bytes.\n"
    "\n"
    "  --settings FILE  read the settings from a properties file; it can name PORT\n"
    "                   and the files, too\n"
    "  --host NAME      the server's host (default 127.0.0.1)\n"
    "  --timeout MS     give up connecting after MS milliseconds (default 5000)\n"
    "  --whole          send each file as one item\n"
    "  --check          only read and check the settings\n"
    "  --version        show the version of the library that is used\n"
    "  --help           show this text\n"
    "\n"
    "Options and arguments come before the settings in the file. Exit status: 0 when\n"
    "every answer was right, 1 for a failure, which is reported on standard error,\n"
    "2 for wrong usage or wrong settings.\n";

struct Options {
    std::optional<std::string> settingsFile;
    std::optional<std::string> host;
    std::optional<unsigned long> timeoutMs;
    std::optional<unsigned long> port;
    std::vector<std::string> files;
    bool whole = false;
    bool checkOnly = false;
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

/// Picks a share of a sequence, spread evenly over it.
class Share {
  public:
    explicit Share(double share) : share_(share) {}

    bool takesNext() {
        due_ += share_;
        if (due_ < 1) {
            return false;
        }
        due_ -= 1;
        return true;
    }

  private:
    double share_;
    double due_ = 0;
};

/// Exchanges the lines; the last one needs no newline.
Totals exchangeLines(Socket& socket, std::string_view text, Share share) {
    Totals totals;
    std::vector<char> answer;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (share.takesNext()) {
            example::exchangeItem(socket, line, answer);
            totals.items += 1;
            totals.bytes += line.size();
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return totals;
}

Totals exchangeWhole(Socket& socket, std::string_view content) {
    std::vector<char> answer;
    example::exchangeItem(socket, content, answer);
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

Totals exchangeRounds(Socket& socket, std::string_view content, const ExchangeSettings& settings,
                      bool whole) {
    Totals sum;
    for (int round = 0; round < settings.rounds; ++round) {
        const Totals totals = whole ? exchangeWhole(socket, content)
                                    : exchangeLines(socket, content, Share(settings.share));
        sum.items += totals.items;
        sum.bytes += totals.bytes;
    }
    return sum;
}

/// Number of characters, if all of the content is well-formed UTF-8 text, which holds no NUL.
std::optional<int> countCharacters(const std::string& content) {
    try {
        const nx::oss::UTF8Iterator text(content.c_str());
        const bool isComplete = static_cast<std::size_t>(text.length()) == content.size();
        return isComplete ? std::optional<int>(text.numChars()) : std::nullopt;
    } catch (const nx::oss::NLSException&) {
        return std::nullopt;
    }
}

/// Appends a number by the conventions of the user's locale.
template <class Number>
void appendNumber(DataBuffer& out, Number value) {
    icu::UnicodeString text;
    nx::oss::Formatter::getDefaultInstance().formatNumber(text, value);
    out.appendString(text, "UTF-8");
}

void describeText(const std::string& path, const std::string& content) {
    DataBuffer line(path.c_str());
    if (const std::optional<int> characters = countCharacters(content)) {
        line.appendString(": UTF-8 text of ");
        appendNumber(line, *characters);
        line.appendString(" characters");
    } else {
        line.appendString(": not UTF-8 text");
    }
    std::cout << line.getString() << "\n";
}

void exchangeFile(Socket& socket, const std::string& path, const ExchangeSettings& settings,
                  const Options& options) {
    const std::string content = readFile(path);
    if (options.settingsFile) {
        describeText(path, content);
    }
    const auto start = std::chrono::steady_clock::now();
    const Totals totals = exchangeRounds(socket, content, settings, options.whole);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    print(path, totals, elapsed.count());
}

void greet(Socket& socket, const icu::UnicodeString& greeting) {
    const nx::oss::UTF8String text(greeting);
    std::vector<char> answer;
    example::exchangeItem(socket, {text.getString(), static_cast<std::size_t>(text.length())},
                          answer);
    std::cout << "Greeting of " << text.numChars() << " characters, " << text.length()
              << " bytes, answered: " << example::printable(greeting) << "\n";
}

/// What the settings came to, a line for each matter.
void printSettings(const ExchangeSettings& settings) {
    DataBuffer text("Server: ");
    text.appendString(example::printable(settings.host).c_str());
    text.appendString(", port ");
    text.appendNumber(settings.port);
    text.appendString(settings.noDelay ? ", without delay" : ", with delay");
    text.appendString(", connected within ");
    appendNumber(text, settings.connectTimeout);
    text.appendString(" ms\nRounds: ");
    appendNumber(text, settings.rounds);
    text.appendString(", of a share of ");
    appendNumber(text, settings.share);
    text.appendString(" of the lines\n");
    std::cout << text.getString();
}

Options parseOptions(int argc, char** argv) {
    static const option OPTIONS[] = {
        {"settings", required_argument, nullptr, 's'}, {"host", required_argument, nullptr, 'o'},
        {"timeout", required_argument, nullptr, 't'},  {"whole", no_argument, nullptr, 'w'},
        {"check", no_argument, nullptr, 'k'},          {"version", no_argument, nullptr, 'v'},
        {"help", no_argument, nullptr, 'h'},           {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        switch (found) {
            case 's':
                options.settingsFile = optarg;
                break;
            case 'o':
                options.host = optarg;
                break;
            case 't':
                options.timeoutMs = example::requireNumber("--timeout", optarg, 1UL << 32);
                break;
            case 'w':
                options.whole = true;
                break;
            case 'k':
                options.checkOnly = true;
                break;
            case 'v':
                example::printVersion();
                std::exit(EXIT_SUCCESS);
            case 'h':
                std::cout << USAGE;
                std::exit(EXIT_SUCCESS);
            default:
                std::cerr << "Try 'kelItemClient --help'.\n";
                std::exit(example::EXIT_WRONG_USAGE);
        }
    }
    if (optind < argc) {
        options.port = example::requireNumber("PORT", argv[optind], 65535);
        options.files.assign(argv + optind + 1, argv + argc);
    }
    return options;
}

/// Looks for the texts that the settings name. Throws IOException "TEXT_UNREADABLE" (path, reason).
void requireReadable(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        errno = 0;
        std::ifstream file(path, std::ios::binary);
        file.peek();
        if (!file.is_open() || file.bad()) {
            example::raise<nx::oss::IOException>(
                "TEXT_UNREADABLE", {icu::UnicodeString::fromUTF8(path), std::strerror(errno)});
        }
    }
}

/// What the file says, if there is one, overruled by options and arguments.
ExchangeSettings chooseSettings(const Options& options) {
    ExchangeSettings settings =
        options.settingsFile ? example::loadSettings(*options.settingsFile) : ExchangeSettings();
    if (options.host) {
        settings.host = icu::UnicodeString::fromUTF8(*options.host);
    }
    settings.connectTimeout = options.timeoutMs.value_or(settings.connectTimeout);
    settings.port = static_cast<unsigned int>(options.port.value_or(settings.port));
    if (options.files.empty()) {
        requireReadable(settings.texts);
    } else {
        settings.texts = options.files;
    }
    return settings;
}

void exchange(const ExchangeSettings& settings, const Options& options) {
    if (options.settingsFile) {
        printSettings(settings);
    }
    Socket socket;
    socket.connect(settings.host, settings.port, &settings.connectTimeout);
    socket.setTcpNoDelay(settings.noDelay);
    if (!settings.greeting.isEmpty()) {
        greet(socket, settings.greeting);
    }
    for (const std::string& path : settings.texts) {
        exchangeFile(socket, path, settings, options);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    ExchangeSettings settings;
    const int status =
        example::runProgram([&] { settings = chooseSettings(options); }, example::EXIT_WRONG_USAGE);
    if (status != EXIT_SUCCESS) {
        return status;
    }
    if (settings.texts.empty()) {
        example::refuseUsage("at least one file is needed");
    }
    if (options.checkOnly) {
        return EXIT_SUCCESS;
    }
    if (settings.port == 0) {
        example::refuseUsage("a port is needed");
    }
    return example::runProgram([&] { exchange(settings, options); });
}
