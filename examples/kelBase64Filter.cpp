// kelBase64Filter: standard input as Base64 to standard output, or back.
//
// Input of any length goes through in pieces. Base64 is one text without line breaks, in both
// directions; what the strict decoder of the library refuses is an error. Only one line end behind
// the text is let pass, since most files have one.

#include <infra/util/kelBase64.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include "kelExampleTools.h"

namespace {

using example::refuseUsage;
using nx::util::Base64;

// Whole groups in both directions.
constexpr std::size_t PIECE_BYTES = 48 * 1024;
constexpr std::size_t PIECE_UNITS = PIECE_BYTES / 3 * 4;
// The longest, CR LF.
constexpr std::size_t LINE_END = 2;
// An error about the text holds all of the piece.
constexpr std::size_t SHOWN = 200;

struct Options {
    bool decode = false;
    bool url = false;
};

constexpr const char* HELP =
    "Usage: kelBase64Filter [OPTION]...\n"
    "Writes standard input to standard output as Base64, on one line without an end.\n"
    "\n"
    "  -d, --decode  the other direction; one line end (LF or CR LF) behind the text is let pass,\n"
    "                other white space and missing padding are errors\n"
    "  -u, --url     the alphabet for URLs and file names: '-' and '_' for '+' and '/'\n"
    "      --version the version of the library that is used\n"
    "      --help    this text\n"
    "\n"
    "Exit status: 0; 1 after an error, which is reported on standard error, when what comes "
    "before\n"
    "it may have been written; 2 for wrong usage.\n";

/// Up to `size` bytes; fewer at the end of the input only.
std::size_t readInput(char* dest, std::size_t size) {
    const std::size_t count = std::fread(dest, 1, size, stdin);
    if (std::ferror(stdin) != 0) {
        throw std::runtime_error("cannot read the input");
    }
    return count;
}

void writeOutput(const char* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, stdout) != size) {
        throw std::runtime_error("cannot write the output");
    }
}

bool atEnd() {
    const int next = std::getc(stdin);
    if (next == EOF) {
        return true;
    }
    std::ungetc(next, stdin);
    return false;
}

void encode(bool url) {
    std::vector<char> bytes(PIECE_BYTES);
    std::vector<unsigned short> units(PIECE_UNITS);
    std::vector<char> text(PIECE_UNITS);
    // Only the last piece can be padded, since all others are whole groups.
    while (const std::size_t size = readInput(bytes.data(), bytes.size())) {
        const std::size_t count =
            Base64::encode(units.data(), units.size(), bytes.data(), size, url);
        std::transform(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(count),
                       text.begin(), [](unsigned short unit) { return static_cast<char>(unit); });
        writeOutput(text.data(), count);
    }
}

/// How much of the text at the end of the input is in front of its line end.
std::size_t lengthOfText(const char* text, std::size_t size) {
    if (size == 0 || text[size - 1] != '\n') {
        return size;
    }
    return size > 1 && text[size - 2] == '\r' ? size - 2 : size - 1;
}

void decode(bool url) {
    std::vector<char> text(PIECE_UNITS + LINE_END);
    std::vector<unsigned short> units(text.size() + 1);
    std::vector<char> bytes(Base64::decodeSize(text.size()));
    // What follows a piece is looked at with it: it may be the line end.
    std::size_t kept = 0;
    for (bool isLast = false; !isLast;) {
        const std::size_t size = kept + readInput(&text[kept], text.size() - kept);
        isLast = size < text.size() || atEnd();
        std::size_t count = isLast ? lengthOfText(text.data(), size) : PIECE_UNITS;
        // Padding ends the text. If the input goes on, the library is to see that.
        if (!isLast && text[count - 1] == Base64::fillChar) {
            ++count;
        }
        std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count),
                       units.begin(), [](char byte) { return static_cast<unsigned char>(byte); });
        units[count] = 0;  // errors show the text up to here
        writeOutput(bytes.data(),
                    Base64::decode(bytes.data(), bytes.size(), units.data(), count, url));
        kept = LINE_END;
        std::copy(text.end() - LINE_END, text.end(), text.begin());
    }
}

Options readOptions(int argc, char** argv) {
    constexpr option NAMES[] = {{"decode", no_argument, nullptr, 'd'},
                                {"url", no_argument, nullptr, 'u'},
                                {"version", no_argument, nullptr, 'v'},
                                {"help", no_argument, nullptr, 'h'},
                                {nullptr, 0, nullptr, 0}};
    Options options;
    for (int found; (found = getopt_long(argc, argv, "du", NAMES, nullptr)) != -1;) {
        switch (found) {
            case 'd':
                options.decode = true;
                break;
            case 'u':
                options.url = true;
                break;
            case 'v':
                example::printVersion();
                std::exit(EXIT_SUCCESS);
            case 'h':
                std::cout << HELP;
                std::exit(EXIT_SUCCESS);
            default:
                refuseUsage("unknown option");
        }
    }
    if (optind < argc) {
        refuseUsage(std::string("'") + argv[optind] + "' is not expected");
    }
    return options;
}

std::string shortened(std::string text) {
    if (text.size() > SHOWN) {
        std::size_t end = SHOWN;
        while ((text[end] & 0xC0) == 0x80) {
            --end;  // whole characters of UTF-8
        }
        text.resize(end);
        text += "...";
    }
    return text;
}

void filter(const Options& options) {
    if (options.decode) {
        decode(options.url);
    } else {
        encode(options.url);
    }
    if (std::fflush(stdout) != 0) {
        throw std::runtime_error("cannot write the output");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = readOptions(argc, argv);
    return example::runProgram([&] {
        try {
            filter(options);
        } catch (const nx::oss::BaseException& failure) {
            throw std::runtime_error(shortened(example::describe(failure)));
        }
    });
}
