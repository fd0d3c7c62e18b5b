// Converts files between code pages.

#include <algorithm>
#include <memory>
#include <optional>

#include "common/kelCommandLine.h"
#include "common/kelFiles.h"
#include "kelconv/kelCodePage.h"
#include "kelconv/kelLoss.h"
#include "kelconv/kelPieces.h"

namespace {

using tools::CodePage;
using tools::CommandLine;
using tools::ExitStatus;

constexpr std::size_t PIECE_SIZE = 65536;
constexpr std::size_t MOST_REPORTS = 20;
constexpr char16_t BYTE_ORDER_MARK = 0xFEFF;

const tools::Tool TOOL{
    "kelconv",
    "Converts files between code pages.",
    {{"",
      "[FILE]",
      "Converts a file from one code page to another.",
      "Without FILE, or with FILE -, standard input is converted. The file is read and\n"
      "written in pieces, however long it is. What cannot be converted ends the work,\n"
      "unless --replace is given; a file named with --output stays as it was then.\n",
      {{'f', "from", tools::CODE_PAGE_VALUE, "the code page of FILE (default UTF-8)"},
       {'t', "to", tools::CODE_PAGE_VALUE, "the code page of the result (default UTF-8)"},
       {'o', "output", tools::FILE_VALUE,
        "write to FILE, which is replaced only when all went\nwell; it may be the file that is "
        "read"},
       {'r', "replace", nullptr, "replace what cannot be converted as the code page does"},
       {'b', "bom", "drop|keep|add",
        "what becomes of a byte order mark at the start (default\ndrop); UTF-16 and UTF-32 always "
        "get one"},
       {'c', "check", nullptr,
        "write nothing; report what cannot be converted, for any\nnumber of FILEs"},
       {'l', "list", nullptr, "show all code pages, each with its other names"}},
      0,
      tools::ANY_NUMBER}},
    "a character cannot be converted"};

/// What is lost in one stream, up to a number of reports.
class Losses {
  public:
    Losses(std::string name, bool isCheck) : name_(std::move(name)), isCheck_(isCheck) {}

    void add(const std::vector<std::string>& found) {
        for (const std::string& loss : found) {
            if (count_++ < (isCheck_ ? MOST_REPORTS : 1)) {
                report(loss);
            }
        }
    }

    unsigned long count() const { return count_; }

    void conclude() const {
        if (count_ > MOST_REPORTS) {
            tools::print(name_ + ": and " + std::to_string(count_ - MOST_REPORTS) + " more");
        } else if (count_ == 0) {
            tools::print(name_ + ": " + tools::paint(tools::Colour::GREEN, "no problem"));
        }
    }

  private:
    void report(const std::string& loss) const {
        if (isCheck_) {
            tools::print(tools::paint(tools::Colour::BOLD, name_ + ":") + " " + loss);
        } else {
            tools::complain(name_ + ": " + loss);
        }
    }

    std::string name_;
    bool isCheck_;
    unsigned long count_ = 0;
};

/// One stream on its way from one code page to the other.
class Conversion {
  public:
    Conversion(const CodePage& from, const CodePage& to, const CommandLine& line,
               const std::string& name)
        : decoder_(from, PIECE_SIZE),
          encoder_(to),
          losses_(name, line.has("check")),
          mark_(line.value("bom", "drop")) {
        if (!line.has("replace")) {
            finder_.emplace(from, to);
        }
    }

    /// Converts all of it. Without an output, or after the first loss that nobody looks for,
    /// nothing is written. Returns what was lost.
    const Losses& run(tools::InputFile& input, tools::Output* output) {
        std::vector<char> block(PIECE_SIZE);
        bool goesOn = true;
        while (goesOn) {
            const std::size_t length = input.read(block.data(), block.size());
            decoder_.add({block.data(), length});
            tools::PieceDecoder::Piece piece;
            while (goesOn && decoder_.take(piece)) {
                goesOn = pass(piece, output);
            }
            if (goesOn && length < block.size()) {
                goesOn = pass(decoder_.takeRest(), output);
                if (goesOn && output != nullptr) {
                    output->write(encoder_.putRest());
                }
                break;
            }
        }
        return losses_;
    }

  private:
    bool pass(tools::PieceDecoder::Piece piece, tools::Output* output) {
        if (isStart_) {
            settleMark(piece.text);
            isStart_ = false;
        }
        if (finder_) {
            losses_.add(finder_->look(piece));
        }
        if (output == nullptr) {
            return true;
        }
        if (losses_.count() == 0) {
            output->write(encoder_.put(piece.text));
        }
        return losses_.count() == 0;
    }

    void settleMark(icu::UnicodeString& text) const {
        const bool hasMark = text.startsWith(&BYTE_ORDER_MARK, 1);
        const bool isWritten = !encoder_.signature().empty();
        if (hasMark && (mark_ == "drop" || isWritten)) {
            text.remove(0, 1);
        } else if (!hasMark && mark_ == "add" && !isWritten) {
            text.insert(0, BYTE_ORDER_MARK);
        }
    }

    tools::PieceDecoder decoder_;
    tools::PieceEncoder encoder_;
    std::optional<tools::LossFinder> finder_;
    Losses losses_;
    std::string mark_;
    bool isStart_ = true;
};

ExitStatus list() {
    for (const tools::CodePageNames& page : tools::listCodePages()) {
        std::string names = tools::paint(tools::Colour::BOLD, page.name);
        for (const std::string& other : page.others) {
            names += " " + other;
        }
        tools::print(names);
    }
    return tools::ALL_WELL;
}

ExitStatus check(const CodePage& from, const CodePage& to, const CommandLine& line,
                 const std::vector<std::string>& paths) {
    return tools::forEachFile(paths, [&](const std::string& path) {
        tools::InputFile input(path);
        Conversion conversion(from, to, line, tools::nameOf(path));
        const Losses& losses = conversion.run(input, nullptr);
        losses.conclude();
        return losses.count() == 0 ? tools::ALL_WELL : tools::PROBLEM_FOUND;
    });
}

ExitStatus convert(const CodePage& from, const CodePage& to, const CommandLine& line,
                   const std::string& path) {
    tools::InputFile input(path);
    Conversion conversion(from, to, line, tools::nameOf(path));
    std::unique_ptr<tools::ReplacedFile> file;
    if (line.has("output")) {
        file = std::make_unique<tools::ReplacedFile>(line.value("output", ""));
    }
    tools::Output& output = file ? *file : tools::standardOutput();
    if (conversion.run(input, &output).count() != 0) {
        tools::complain(file ? "nothing was written; --replace converts all the same"
                             : "the output ends before it; --replace converts all the same");
        return tools::PROBLEM_FOUND;
    }
    if (file) {
        file->commit();
    }
    return tools::ALL_WELL;
}

void refuse(bool isWrong, const char* text) {
    if (isWrong) {
        throw tools::UsageError(text);
    }
}

ExitStatus run(const CommandLine& line) {
    std::vector<std::string> paths = line.arguments();
    if (line.has("list")) {
        refuse(!paths.empty(), "--list takes no file");
        return list();
    }
    refuse(!line.has("from") && !line.has("to"),
           "say which code page to convert from or to: --from CODEPAGE, --to CODEPAGE");
    const CodePage from(line.value("from", "UTF-8"));
    const CodePage to(line.value("to", "UTF-8"));
    if (paths.empty()) {
        paths.emplace_back(tools::STANDARD_INPUT);
    }
    if (line.has("check")) {
        refuse(line.has("output"), "--check writes nothing, so it takes no --output");
        refuse(line.has("replace"), "--check looks for what --replace would replace; give one");
        return check(from, to, line, paths);
    }
    refuse(paths.size() > 1, "only one file is converted at a time; --check takes several");
    return convert(from, to, line, paths[0]);
}

}  // namespace

int main(int argc, char** argv) { return tools::runTool(TOOL, argc, argv, run); }
