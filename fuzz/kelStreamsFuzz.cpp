// Writes into a ByteArrayOutputStream of any size, reads from an InputStream that answers as it
// likes, and prints through the PrintStream; each against a plain string.
//
// Input: a letter, then for 0 the size of the array and texts; for 1 the answers of the source, for
// 2 values of eight bytes.

#include <algorithm>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include <unicode/ustream.h>

#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/oss/kelIOException.h>
#include <infra/oss/kelInputStream.h>
#include <infra/oss/kelPrintStream.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::ByteArrayOutputStream;
using nx::oss::IOException;
using nx::oss::Message;

// --- Writing ------------------------------------------------------------------------------------

constexpr char UNTOUCHED = '\x5A';

/// Whether the array was full, which has to be said with its size.
template <class Write>
bool refused(unsigned long size, const Write& write) {
    try {
        write();
        return false;
    } catch (const IOException& error) {
        const Message& message = error.messages.getFirstMessage();
        require(message.getMessageID() == "ERR_BUFFER_SIZE_TOO_SMALL" &&
                    message.getLineNumber() == 47 &&
                    utf8Of(message.getMessageArgs().front()) == std::to_string(size),
                "error of a full array");
        return true;
    }
}

/// The array that all block writes of the process are taken from.
const char FIRST_BLOCK[] = "the first block of the process, whatever is asked for later";

void writeAll(FuzzInput& input) {
    const unsigned long size = input.byte();
    std::string memory(size + 1, UNTOUCHED);
    ByteArrayOutputStream stream(&memory[0], size);
    std::string model;
    while (!input.isEmpty()) {
        const unsigned operation = input.byte();
        const std::size_t failing = operation >> 6;
        const std::string text = input.shortText();
        std::string wanted = text.substr(0, 1);
        const auto write = [&] {
            if (operation % 3 == 0) {
                stream.nx::oss::OutputStream::write(FIRST_BLOCK, 0,
                                                    text.size() % sizeof FIRST_BLOCK);
            } else if (operation % 3 == 1) {
                stream.write(text.c_str());
            } else if (!text.empty()) {
                stream.write(text[0]);
            }
        };
        if (operation % 3 == 0) {
            wanted.assign(FIRST_BLOCK, text.size() % sizeof FIRST_BLOCK);
        } else if (operation % 3 == 1) {
            wanted = text.c_str();
        }
        // An allocation fails at most where the error is made.
        const bool fits = model.size() + wanted.size() <= size;
        const bool done =
            carriedOut(failing, [&] { require(refused(size, write) == !fits, "room"); });
        require(done || !fits, "memory for writing");
        model += wanted.substr(0, size - model.size());
        require(stream.getCount() == model.size(), "count");
        require(memory == model + std::string(memory.size() - model.size(), UNTOUCHED), "bytes");
    }
    stream.flush();
    stream.close();
}

// --- Reading ------------------------------------------------------------------------------------

/// Answers with anything, stores or does not, and breaks off.
class HostileSource : public nx::oss::InputStream {
  public:
    explicit HostileSource(std::string answers) : answers_(std::move(answers)) {}

    using InputStream::read;

    unsigned long read(char* c) override {
        if (next_ == answers_.size()) {
            return 0;
        }
        const auto answer = static_cast<unsigned char>(answers_[next_++]);
        if (answer == 0xFF) {
            throw std::runtime_error("source");
        }
        if (answer % 8 != 7) {
            *c = static_cast<char>(answer);
            model_ += static_cast<char>(answer);
        } else {
            model_ += model_.empty() ? '\0' : model_.back();
        }
        return answer % 5 == 0 ? 0 : answer % 5 == 1 ? 1 : ~0UL;
    }

    /// Starts a block, whose first character is zero when the source stores none.
    void begin() { model_.clear(); }
    /// The characters that the answers stand for, the last one included when it is an end.
    const std::string& model() const { return model_; }

  private:
    std::string answers_;
    std::size_t next_ = 0;
    std::string model_;
};

void readBlock(HostileSource& source, unsigned long offset, unsigned long length) {
    std::string memory(offset + length + 8, UNTOUCHED);
    source.begin();
    unsigned long count = 0;
    bool broken = false;
    try {
        count = source.read(&memory[0], offset, length);
    } catch (const std::runtime_error&) {
        broken = true;
        count = source.model().size();
    }
    require(count <= length, "count");
    require(broken || count == length || source.model().size() == count + 1 ||
                source.model().size() == count,
            "end of the source");
    const std::string wanted = std::string(offset, UNTOUCHED) + source.model().substr(0, count) +
                               std::string(length - count + 8, UNTOUCHED);
    require(memory == wanted, "characters read");
}

void readAll(FuzzInput& input) {
    const unsigned blocks = input.byte() % 16;
    std::string lengths = input.bytes(blocks);
    HostileSource source(input.rest());
    for (const char length : lengths) {
        const auto value = static_cast<unsigned char>(length);
        readBlock(source, value % 5, value);
    }
    source.close();
}

// --- Printing -----------------------------------------------------------------------------------

/// What std::cerr gets in a scope.
class CapturedErrors {
  public:
    CapturedErrors() : before_(std::cerr.rdbuf(text_.rdbuf())) {}
    ~CapturedErrors() { std::cerr.rdbuf(before_); }
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    std::string text() const { return text_.str(); }

  private:
    std::ostringstream text_;
    std::streambuf* before_;
};

template <class Value>
void print(std::ostream& wanted, const Value& value) {
    wanted << value;
    *nx::oss::ossOut << value;
}

void printAll(FuzzInput& input) {
    const CapturedErrors captured;
    std::ostringstream wanted;
    while (!input.isEmpty()) {
        const std::uint64_t word = input.word();
        double real = 0;
        std::memcpy(&real, &word, sizeof real);
        const std::string text = input.shortText();
        print(wanted, static_cast<long>(word));
        print(wanted, word);
        print(wanted, static_cast<int>(word));
        print(wanted, static_cast<unsigned>(word));
        print(wanted, static_cast<short>(word));
        print(wanted, static_cast<unsigned short>(word));
        print(wanted, static_cast<char>(word));
        print(wanted, static_cast<signed char>(word));
        print(wanted, static_cast<unsigned char>(word));
        print(wanted, real);
        print(wanted, static_cast<float>(static_cast<int>(word)) / 7);
        print(wanted, text.c_str());
        print(wanted, icu::UnicodeString::fromUTF8(text.c_str()));
    }
    require(captured.text() == wanted.str(), "printed text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    switch (input.byte() % 3) {
        case 0:
            writeAll(input);
            break;
        case 1:
            readAll(input);
            break;
        default:
            printAll(input);
    }
    return 0;
}
